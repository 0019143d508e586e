// Every decodable corpus JPEG through the library's road (the host's stages, the row drivers,
// the inverse DCTs and colour converters) against libjpeg-turbo decoding the same file the same
// way: the fast integer inverse DCT (ifast at full size, the reduced transforms below it) and
// plain replication of subsampled chroma. Files libjpeg-turbo reads with a warning (corrupt
// data) are decoded but not compared: their out-of-range sums wrap in libjpeg-turbo's tables and
// clamp in this library's. For the others, the Y, Cb, Cr planes must be exactly libjpeg-turbo's
// at full size, and the RGB pixels, whose conversion truncates where libjpeg-turbo's rounds, are
// reported as PSNR and largest channel difference (the goal: 50 dB, no channel off by more than 2).
// Two threads through the library's two-thread decode must give exactly one thread's pixels
// (here and on the DC-only road).

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

extern "C" {
#include <jpeglib.h>
}

#include "jpeg_host.h"
#include "libjpeg_peer.h"
#include "multipliers.h"
#include "support/corpus.h"

namespace {

using namespace kovra::jpeg_host;
using kovra::jpeg_road::Peer;
using kovra::jpeg_road::start_like_the_road;

// libjpeg-turbo's decode at 1/denominator into `space` (interleaved). False on an error or a warning.
bool peer_decode(const std::vector<uint8_t> &bytes, int denominator, J_COLOR_SPACE space, Picture &out) {
    Peer p(bytes);
    if (setjmp(p.jump)) return false;
    start_like_the_road(p, denominator, space);
    out.width = p.cinfo.output_width;
    out.height = p.cinfo.output_height;
    const size_t stride = size_t{out.width} * p.cinfo.output_components;
    out.pixels.assign(stride * out.height, 0);
    while (p.cinfo.output_scanline < p.cinfo.output_height) {
        JSAMPROW row = out.pixels.data() + stride * p.cinfo.output_scanline;
        jpeg_read_scanlines(&p.cinfo, &row, 1);
    }
    jpeg_finish_decompress(&p.cinfo);
    return p.err.num_warnings == 0;
}

struct Difference {
    double psnr = INFINITY;
    int maxDiff = 0;
};

// Ours (RGBA, grey or planes) against the first `channels` of the peer's `stride` interleaved ones.
Difference compare(const Picture &ours, const Picture &peer, int channels, int stride = 0) {
    if (stride == 0) stride = channels;
    Difference d;
    double squares = 0;
    const size_t pixels = size_t{ours.width} * ours.height;
    auto at = [&](size_t p, int k) {
        return ours.format == Format::rgba ? ours.pixels[p * 4 + k] : ours.pixels[k * pixels + p];
    };
    for (size_t p = 0; p < pixels; ++p)
        for (int k = 0; k < channels; ++k) {
            const int e = at(p, k) - peer.pixels[p * stride + k];
            squares += double(e) * e;
            d.maxDiff = std::max(d.maxDiff, std::abs(e));
        }
    if (squares > 0) d.psnr = 10 * std::log10(255.0 * 255.0 * double(pixels) * channels / squares);
    return d;
}

const char *sampling_name(const Description &d) {
    if (d.components == 1) return "grey";
    if (d.hSampling[0] == 2 && d.vSampling[0] == 2) return "4:2:0";
    if (d.hSampling[0] == 2 && d.vSampling[0] == 1) return "4:2:2";
    if (d.hSampling[0] == 1 && d.vSampling[0] == 1) return "4:4:4";
    return "other";
}

struct Outcome {
    Error error = Error::none;
    bool compared = false;
    Difference colour, planes;
};

// One file both ways: the pixels a person sees (RGB or grey), and the planes before conversion.
Outcome decode_both_ways(const std::vector<uint8_t> &bytes, const Jpeg &jpeg, int denominator) {
    const bool grey = jpeg.description().components == 1;
    Outcome o;
    Picture ours, peer;
    DecodeOptions options;
    options.scaleDenominator = denominator;
    options.format = grey ? Format::grey : Format::rgba;
    if ((o.error = jpeg.decode(options, ours)) != Error::none) return o;
    Picture twoThreads;
    options.threads = 2;
    EXPECT_EQ(jpeg.decode(options, twoThreads), Error::none);
    EXPECT_TRUE(twoThreads.pixels == ours.pixels) << "two threads differ from one";
    options.threads = 1;
    if (!peer_decode(bytes, denominator, grey ? JCS_GRAYSCALE : JCS_RGB, peer)) return o;
    EXPECT_EQ(ours.width, peer.width);
    EXPECT_EQ(ours.height, peer.height);
    if (ours.width != peer.width || ours.height != peer.height) return o;
    o.colour = compare(ours, peer, grey ? 1 : 3);
    if (!grey) {
        options.format = Format::planar;
        if ((o.error = jpeg.decode(options, ours)) != Error::none) return o;
        peer_decode(bytes, denominator, JCS_YCbCr, peer);
        o.planes = compare(ours, peer, 3);
    }
    o.compared = true;
    return o;
}

void sweep(int denominator) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0, refused = 0, corrupt = 0;
    Difference worst{INFINITY, 0};
    for (const auto &path : kovra::test::corpus_files("jpeg-exif", {".jpg", ".jpeg"})) {
        const std::vector<uint8_t> bytes = kovra::test::read_file(path);
        const std::string name = path.lexically_relative(kovra::test::corpus_dir()).string();
        Jpeg jpeg;
        if (jpeg.open_memory(bytes) != Error::none) {
            ++refused;
            continue;
        }
        const Outcome o = decode_both_ways(bytes, jpeg, denominator);
        if (o.error == Error::unsupported) {
            ++refused;
            continue;
        }
        ASSERT_EQ(o.error, Error::none) << name << ": " << message(o.error);
        if (!o.compared) {
            ++corrupt;
            continue;
        }
        const Description &d = jpeg.description();
        std::printf("1/%d %-5s %s %5ux%-5u PSNR %6.2f dB max %3d (planes %6.2f dB max %3d)  %s\n", denominator,
                    sampling_name(d), d.progressive ? "prog" : "base", scaled_size(d.width, denominator),
                    scaled_size(d.height, denominator), o.colour.psnr, o.colour.maxDiff, o.planes.psnr,
                    o.planes.maxDiff, name.c_str());
        EXPECT_EQ(o.planes.maxDiff, 0) << name;
        EXPECT_LE(o.colour.maxDiff, 1) << name;
        worst.psnr = std::min(worst.psnr, o.colour.psnr);
        worst.maxDiff = std::max(worst.maxDiff, o.colour.maxDiff);
        ++compared;
    }
    std::printf("1/%d: %d files compared (worst PSNR %.2f dB, largest difference %d), %d refused, %d with corrupt "
                "data\n",
                denominator, compared, worst.psnr, worst.maxDiff, refused, corrupt);
    EXPECT_GT(compared, 100);
}

// The DC-only decoders at 1/8 against libjpeg-turbo's 1 x 1 transform: a block's level is
// truncated here, rounded there, so each sample may be one below. In 4:2:0 libjpeg-turbo makes
// chroma with a 2 x 2 transform instead of replicating one sample, so only luma is held there.
TEST(JpegRoad, DcOnlyEighthSizeMatchesThePeer) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0;
    for (const auto &path : kovra::test::corpus_files("jpeg-exif", {".jpg", ".jpeg"})) {
        const std::vector<uint8_t> bytes = kovra::test::read_file(path);
        Jpeg jpeg;
        Picture ours, peer;
        DecodeOptions options;
        options.scaleDenominator = 8;
        options.format = Format::planar;
        options.dcOnly = true;
        if (jpeg.open_memory(bytes) != Error::none || jpeg.decode(options, ours) != Error::none) continue;
        Picture twoThreads;
        options.threads = 2;
        EXPECT_EQ(jpeg.decode(options, twoThreads), Error::none);
        EXPECT_TRUE(twoThreads.pixels == ours.pixels) << "two threads differ from one: " << path;
        if (!peer_decode(bytes, 8, JCS_YCbCr, peer)) continue;
        const Description &d = jpeg.description();
        const int planesHeld = d.vSampling[0] == 2 ? 1 : 3;
        const Difference diff = compare(ours, peer, planesHeld, 3);
        const std::string name = path.lexically_relative(kovra::test::corpus_dir()).string();
        EXPECT_LE(diff.maxDiff, 1) << name << " (" << sampling_name(d) << ")";
        ++compared;
    }
    std::printf("1/8 DC only: %d files compared\n", compared);
    EXPECT_GT(compared, 100);
}

// At every scale the planes are libjpeg-turbo's exactly; a truncating conversion leaves RGB at
// most one level below a rounding one (48.1 dB at worst).
TEST(JpegRoad, FullSizeMatchesThePeer) { sweep(1); }
TEST(JpegRoad, HalfSizeMatchesThePeer) { sweep(2); }
TEST(JpegRoad, QuarterSizeMatchesThePeer) { sweep(4); }
TEST(JpegRoad, EighthSizeMatchesThePeer) { sweep(8); }

std::vector<uint8_t> seed(const char *name) {
    return kovra::test::read_file(std::filesystem::path(KOVRA_ROAD_SEEDS) / name);
}

// The cancel callback is asked before every MCU row with the rows written so far (the first MCU
// row's last row group waits for the second: context rows); refusing stops the decode there.
TEST(JpegHost, CancelStopsBeforeTheNextMcuRow) {
    Jpeg jpeg;
    ASSERT_EQ(jpeg.open_memory(seed("ycc420-32x32.jpg")), Error::none);
    std::vector<uint32_t> asked;
    DecodeOptions options;
    options.keepGoing = [&](uint32_t rows) {
        asked.push_back(rows);
        return rows == 0;
    };
    Picture picture;
    EXPECT_EQ(jpeg.decode(options, picture), Error::cancelled);
    EXPECT_EQ(asked, (std::vector<uint32_t>{0, 14}));
    asked.clear();
    options.keepGoing = [&](uint32_t rows) {
        asked.push_back(rows);
        return true;
    };
    EXPECT_EQ(jpeg.decode(options, picture), Error::none);
    EXPECT_EQ(asked, (std::vector<uint32_t>{0, 14}));
}

// A grey image in every layout: the same luma, R = G = B with opaque alpha, neutral chroma.
TEST(JpegHost, GreyInEveryLayout) {
    Jpeg jpeg;
    ASSERT_EQ(jpeg.open_memory(seed("grey-10x10.jpg")), Error::none);
    Picture grey, rgba, planar;
    DecodeOptions options;
    options.format = Format::grey;
    ASSERT_EQ(jpeg.decode(options, grey), Error::none);
    options.format = Format::rgba;
    ASSERT_EQ(jpeg.decode(options, rgba), Error::none);
    options.format = Format::planar;
    ASSERT_EQ(jpeg.decode(options, planar), Error::none);
    const size_t pixels = size_t{grey.width} * grey.height;
    ASSERT_EQ(pixels, 100u);
    for (size_t p = 0; p < pixels; ++p) {
        const uint8_t g = grey.pixels[p];
        EXPECT_EQ(std::vector<uint8_t>(rgba.pixels.begin() + 4 * p, rgba.pixels.begin() + 4 * p + 4),
                  (std::vector<uint8_t>{g, g, g, 255}));
        EXPECT_EQ(planar.pixels[p], g);
        EXPECT_EQ(planar.pixels[pixels + p], 128);
        EXPECT_EQ(planar.pixels[2 * pixels + p], 128);
    }
}

// The full-size multipliers are libjpeg-turbo's ifast table times 1024, for every step a
// baseline table can hold at every position.
TEST(JpegHost, MultipliersAreTheIfastTable) {
    const std::vector<uint8_t> bytes = seed("grey-10x10.jpg");
    std::array<uint16_t, 64> steps{};
    for (unsigned q = 1; q <= 255; ++q) {
        steps.fill(static_cast<uint16_t>(q));
        Peer p(bytes);
        ASSERT_EQ(setjmp(p.jump), 0);
        jpeg_read_header(&p.cinfo, TRUE);
        std::fill(std::begin(p.cinfo.quant_tbl_ptrs[0]->quantval), std::end(p.cinfo.quant_tbl_ptrs[0]->quantval),
                  static_cast<UINT16>(q));
        p.cinfo.dct_method = JDCT_IFAST;
        jpeg_start_decompress(&p.cinfo);
        const auto *ifast = static_cast<const int16_t *>(p.cinfo.comp_info[0].dct_table);
        const std::array<int32_t, 64> ours = aan_multipliers(steps);
        for (int i = 0; i < 64; ++i) ASSERT_EQ(ours[i], ifast[i] * 1024) << "step " << q << " at " << i;
        jpeg_abort_decompress(&p.cinfo);
    }
}

TEST(JpegHost, ErrorsComeBackAsValues) {
    Jpeg jpeg;
    Picture picture;
    EXPECT_EQ(jpeg.decode({}, picture), Error::not_open);
    EXPECT_EQ(jpeg.open_file("/nonexistent/photo.jpg"), Error::unreadable);
    EXPECT_EQ(jpeg.open_memory({'G', 'I', 'F', '8', '9', 'a'}), Error::corrupt);
    std::vector<uint8_t> cut = seed("ycc444-36x28.jpg");
    cut.resize(200);  // inside the tables
    EXPECT_EQ(jpeg.open_memory(cut), Error::corrupt);
    Limits small;
    small.maxPixels = 36 * 28 - 1;
    EXPECT_EQ(jpeg.open_memory(seed("ycc444-36x28.jpg"), small), Error::too_large);
    ASSERT_EQ(jpeg.open_memory(seed("grey-10x10.jpg")), Error::none);
    DecodeOptions refused;
    refused.scaleDenominator = 3;
    EXPECT_EQ(jpeg.decode(refused, picture), Error::unsupported);
    refused.scaleDenominator = 8;
    refused.dcOnly = true;  // the DC-only decoders write YCbCr only
    EXPECT_EQ(jpeg.decode(refused, picture), Error::unsupported);
}

}  // namespace
