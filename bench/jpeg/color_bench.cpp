// Colour conversion speed in pixels per second: this library's one-to-one format 5 road
// (DALTJ_DoFastYcbcrToRgb, on the vector unit where there is one), its scalar row alone, and its
// format 15 resampler (DALTJ_DoYcbcrToUpscaleRgb, at the source size and at half of it), beside libjpeg-turbo's YCbCr to RGBA converters on the same rows: its C
// ycc_rgb_convert (the one a decompressor installs when its SIMD is switched off, as this program
// does before anything else) and its SIMD ones (SSE2 and AVX2, called directly).

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

extern "C" {
#include <jpeglib.h>
#include <jpegint.h>
void jsimd_ycc_extrgbx_convert_sse2(JDIMENSION, JSAMPIMAGE, JDIMENSION, JSAMPARRAY, int);
void jsimd_ycc_extrgbx_convert_avx2(JDIMENSION, JSAMPIMAGE, JDIMENSION, JSAMPARRAY, int);
}

#include "color/ycc_rgb.h"
#include "jpeg/range_limit.h"
#include "kovra_jpeg.h"

namespace {

constexpr int32_t kWidth = 1920, kRows = 64;
constexpr int64_t kPixels = int64_t{kWidth} * kRows;

// Random YCbCr rows (the converters' speed does not depend on the samples).
struct Rows {
    std::vector<uint8_t> samples[3];
    std::vector<uint8_t *> pointers[3];
    std::vector<uint8_t> out;
    std::vector<uint8_t *> out_rows;
    Rows() : out(size_t(kPixels) * 4) {
        std::mt19937 rng(1);
        for (int c = 0; c < 3; ++c) {
            samples[c].resize(size_t(kPixels));
            for (auto &s : samples[c]) s = uint8_t(rng());
            for (int32_t r = 0; r < kRows; ++r) pointers[c].push_back(samples[c].data() + size_t(r) * kWidth);
        }
        for (int32_t r = 0; r < kRows; ++r) out_rows.push_back(out.data() + size_t(r) * kWidth * 4);
    }
};

Rows &rows() {
    static Rows r;
    return r;
}

void count_pixels(benchmark::State &state, int64_t per_iteration) {
    state.SetItemsProcessed(state.iterations() * per_iteration);
}

void kovra_one_to_one(benchmark::State &state) {
    Rows &r = rows();
    KOVRADALT_DecInfo region{};
    DALTJ_SampleRows set{0, {r.pointers[0].data(), r.pointers[1].data(), r.pointers[2].data(), nullptr}};
    DALTJ_DecoderInfo ctx{};
    ctx.checkContext = &region;
    ctx.sampleRows = &set;
    ctx.rangeLimit = kovra::jpeg::sample_range_limit();
    ctx.scaleCode = 1;
    ctx.sourceSize = uint32_t(kRows) << 16 | uint32_t(kWidth);
    ctx.writeEnabled = 1;
    ctx.outputFormat = 5;
    ctx.outputPitch = 4 * kWidth;
    for (auto _ : state) {
        ctx.outY = r.out.data();
        DALTJ_DoFastYcbcrToRgb(&ctx, nullptr, kRows);
        benchmark::DoNotOptimize(r.out.data());
    }
    count_pixels(state, kPixels);
}

void kovra_scalar_row(benchmark::State &state) {
    Rows &r = rows();
    for (auto _ : state) {
        for (int32_t row = 0; row < kRows; ++row) {
            kovra::color::ycc_row_to_pixels_scalar(r.pointers[0][row], r.pointers[1][row], r.pointers[2][row], kWidth,
                                                   kovra::jpeg::sample_range_limit(), r.out_rows[row]);
        }
        benchmark::DoNotOptimize(r.out.data());
    }
    count_pixels(state, kPixels);
}

// Source pixels per second onto an output of 1 / state.range(0) the size in each direction.
void kovra_resampler(benchmark::State &state) {
    Rows &r = rows();
    const int32_t width = kWidth / int32_t(state.range(0)), height = kRows / int32_t(state.range(0));
    std::vector<uint32_t> accumulators(2 * size_t(width));
    KOVRADALT_DecInfo region{};
    DALTJ_SampleRows set{0, {r.pointers[0].data(), r.pointers[1].data(), r.pointers[2].data(), nullptr}};
    DALTJ_DecoderInfo ctx{};
    ctx.checkContext = &region;
    ctx.sampleRows = &set;
    ctx.sourceSize = uint32_t(kRows) << 16 | uint32_t(kWidth);
    ctx.scaledWidth = width;
    ctx.scaledHeight = height;
    ctx.accumRows[0] = accumulators.data();
    ctx.accumRows[1] = accumulators.data() + width;
    ctx.outputFormat = 15;
    ctx.outputStride = width;
    for (auto _ : state) {
        ctx.outY = r.out.data();
        ctx.outCb = ctx.outY + size_t(width) * height;
        ctx.outCr = ctx.outCb + size_t(width) * height;
        DALTJ_DoYcbcrToUpscaleRgb(&ctx, nullptr, 0);
        DALTJ_DoYcbcrToUpscaleRgb(&ctx, nullptr, kRows);
        benchmark::DoNotOptimize(r.out.data());
    }
    count_pixels(state, kPixels);
}

// A decompressor started on a small JPEG of its own making, to RGBA: its color_convert is the
// converter libjpeg-turbo chose.
struct Peer {
    jpeg_decompress_struct cinfo{};
    jpeg_error_mgr err{};
    std::vector<uint8_t> jpeg;

    Peer() {
        jpeg_compress_struct c{};
        c.err = jpeg_std_error(&err);
        jpeg_create_compress(&c);
        unsigned char *data = nullptr;
        unsigned long size = 0;
        jpeg_mem_dest(&c, &data, &size);
        c.image_width = c.image_height = 16;
        c.input_components = 3;
        c.in_color_space = JCS_RGB;
        jpeg_set_defaults(&c);
        jpeg_start_compress(&c, TRUE);
        std::vector<JSAMPLE> row(16 * 3, 128);
        for (JSAMPROW p = row.data(); c.next_scanline < 16;) jpeg_write_scanlines(&c, &p, 1);
        jpeg_finish_compress(&c);
        jpeg_destroy_compress(&c);
        jpeg.assign(data, data + size);
        std::free(data);

        cinfo.err = jpeg_std_error(&err);
        jpeg_create_decompress(&cinfo);
        jpeg_mem_src(&cinfo, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&cinfo, TRUE);
        cinfo.out_color_space = JCS_EXT_RGBA;
        jpeg_start_decompress(&cinfo);
        cinfo.output_width = kWidth;  // what the converters read as the row width
    }
    ~Peer() { jpeg_destroy_decompress(&cinfo); }
};

Peer &peer() {
    static Peer p;
    return p;
}

void libjpeg_turbo_c(benchmark::State &state) {
    Rows &r = rows();
    JSAMPARRAY image[3] = {r.pointers[0].data(), r.pointers[1].data(), r.pointers[2].data()};
    for (auto _ : state) {
        peer().cinfo.cconvert->color_convert(&peer().cinfo, image, 0, r.out_rows.data(), kRows);
        benchmark::DoNotOptimize(r.out.data());
    }
    count_pixels(state, kPixels);
}

template <void (*Convert)(JDIMENSION, JSAMPIMAGE, JDIMENSION, JSAMPARRAY, int)>
void libjpeg_turbo_simd(benchmark::State &state) {
    Rows &r = rows();
    JSAMPARRAY image[3] = {r.pointers[0].data(), r.pointers[1].data(), r.pointers[2].data()};
    for (auto _ : state) {
        Convert(kWidth, image, 0, r.out_rows.data(), kRows);
        benchmark::DoNotOptimize(r.out.data());
    }
    count_pixels(state, kPixels);
}

BENCHMARK(kovra_one_to_one);
BENCHMARK(kovra_scalar_row);
BENCHMARK(libjpeg_turbo_c);
BENCHMARK(libjpeg_turbo_simd<jsimd_ycc_extrgbx_convert_sse2>)->Name("libjpeg_turbo_sse2");
BENCHMARK(libjpeg_turbo_simd<jsimd_ycc_extrgbx_convert_avx2>)->Name("libjpeg_turbo_avx2");
BENCHMARK(kovra_resampler)->Arg(1)->Arg(2);

}  // namespace

int main(int argc, char **argv) {
    setenv("JSIMD_FORCENONE", "1", 1);  // read once, when libjpeg-turbo first asks about its SIMD
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
