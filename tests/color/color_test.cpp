// What the road's corpus sweep cannot reach: the writers' region, parity and format rules on small
// hand-checked rows and the drivers' row accounting; and the vector conversion against the scalar
// one over every input.

#include <gtest/gtest.h>

#include <algorithm>

#include "color/ycc_rgb.h"
#include "color_scene.h"

namespace kovra::test::color {
namespace {

using Bytes = std::vector<uint8_t>;

// A row of n samples first, first + 1, ...
Image ramp(uint8_t first, int32_t n = 16, int32_t rows = 1) {
    Image image{n, rows, {}};
    for (int32_t i = 0; i < n * rows; ++i) image.samples.push_back(uint8_t(first + i));
    return image;
}

Bytes bytes(std::initializer_list<int> values) { return Bytes(values.begin(), values.end()); }
Bytes run(uint8_t first, int n) { return ramp(first, n).samples; }
Bytes cat(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Bytes untouched(int n) { return Bytes(size_t(n), 0xA5); }

TEST(OneToOne, Format5ConvertsFromTheMaskedOddColumnUsingTheScaleCode) {
    Scene scene;
    Image y = ramp(0), chroma = Image{16, 1, Bytes(16, 128)};
    scene.ctx.scaleCode = 2;        // mask 6
    scene.region.region_scale = 8;  // not used by this format
    scene.region.region_left = 13;  // 13 & 6 = 4, odd: pixels from column 5
    scene.ctx.outputPitch = 100;
    scene.output(5, 12);
    DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y.samples.data(), chroma.samples.data(), chroma.samples.data(), 3);
    EXPECT_EQ(scene.planes[0], bytes({255, 5, 5, 5, 255, 6, 6, 6, 255, 7, 7, 7}));
    EXPECT_EQ(scene.ctx.outY, scene.planes[0].data() + 100);
    EXPECT_EQ(scene.ctx.outputRowsWritten, 1u);
}

TEST(OneToOne, Format14CopiesChromaOnEvenRowsWithAnOddWidthsExtraSample) {
    Scene scene;
    Image y = ramp(0), cb = ramp(100), cr = ramp(200);
    scene.ctx.scaleCode = 1;        // not used by this format
    scene.region.region_scale = 4;  // mask 2
    scene.region.region_left = 7;   // chroma from 7 & 2 = 2, luma one later
    scene.ctx.outputStride = 4;
    scene.output(14, 8, 4);
    for (int row = 0; row < 2; ++row)
        DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y.samples.data(), cb.samples.data(), cr.samples.data(), 3);
    EXPECT_EQ(scene.planes[0], cat(cat(run(3, 3), untouched(1)), cat(run(3, 3), untouched(1))));
    EXPECT_EQ(scene.planes[1], run(102, 4));
    EXPECT_EQ(scene.planes[2], run(202, 4));
    EXPECT_EQ(scene.ctx.outCb, scene.planes[1].data() + 4);  // the odd row left chroma where it was
    EXPECT_EQ(scene.ctx.outY, scene.planes[0].data() + 8);
}

// A format a writer does not write: nothing written, only the row count and, for the planar
// YUV writers, the pitch move.
TEST(Writers, OtherFormatsOnlyCount) {
    using Write = void (*)(DALTJ_DecoderInfo *, const uint8_t *);
    static std::vector<uint32_t> accumulator(4, 0x3FFFFFFF);
    const struct {
        std::vector<int32_t> writes;
        uint32_t rows;  // rows counted, and pitches added to outY
        Write write;
    } writers[] = {
        {{5, 14, 15}, 0, [](DALTJ_DecoderInfo *c, const uint8_t *s) { DALTJ_YcbcrWriteOutput1to1(c, s, s, s, 4); }},
        {{15}, 0, [](DALTJ_DecoderInfo *c, const uint8_t *) { DALTJ_YcbcrWriteOutput(c, accumulator.data(), 4); }},
        {{4}, 0, [](DALTJ_DecoderInfo *c, const uint8_t *s) { DALTJ_GrayWriteOutput1to1(c, s, 4); }},
        {{4}, 0, [](DALTJ_DecoderInfo *c, const uint8_t *) { DALTJ_GrayWriteOutput(c, accumulator.data(), 4); }},
        {{15}, 1, [](DALTJ_DecoderInfo *c, const uint8_t *s) { DALTJ_YcbcrWriteOutput1to1_YUV444(c, s, s, s, s, 4); }},
        {{15}, 2, [](DALTJ_DecoderInfo *c, const uint8_t *s) { DALTJ_YcbcrWriteOutput1to1_YUV420(c, s, s, s, s, 4); }},
        {{}, 1, [](DALTJ_DecoderInfo *c, const uint8_t *) { DALTJ_YcbcrWriteOutput1to1_YUV422_H2V1(c); }},
        {{}, 2, [](DALTJ_DecoderInfo *c, const uint8_t *) { DALTJ_YcbcrWriteOutput1to1_YUV422_H1V2(c); }},
    };
    Scene scene;
    Image row = ramp(0);
    scene.ctx.outputStride = scene.ctx.outputPitch = 3;
    scene.region.region_width = 4;
    for (int32_t format : {4, 5, 7, 14, 15}) {
        for (const auto &w : writers) {
            if (std::find(w.writes.begin(), w.writes.end(), format) != w.writes.end()) continue;
            scene.output(format, 64, 64);
            scene.ctx.outputRowsWritten = 0;
            w.write(&scene.ctx, row.samples.data());
            EXPECT_EQ(scene.ctx.outputRowsWritten, std::max(w.rows, 1u)) << format;
            EXPECT_EQ(scene.ctx.outY, scene.planes[0].data() + 3 * w.rows) << format;
            EXPECT_EQ(scene.ctx.outCb, scene.planes[1].data()) << format;
            EXPECT_EQ(scene.planes[0], untouched(64)) << format;
        }
    }
}

TEST(PlanarYuv, Yuv444CopiesFromTheRegionColumnAndStridesByTheRegionWidth) {
    Scene scene;
    Image y = ramp(0), cb = ramp(100), cr = ramp(200);
    scene.region.region_scale = 4;  // mask 2
    scene.region.region_left = 7;   // 7 & 2 = 2, odd: every plane from column 3
    scene.region.region_width = 3;
    scene.ctx.outputPitch = 1;
    scene.output(15, 3, 3);
    DALTJ_YcbcrWriteOutput1to1_YUV444(&scene.ctx, y.samples.data(), nullptr, cb.samples.data(), cr.samples.data(), 2);
    EXPECT_EQ(scene.planes[0], cat(run(3, 2), untouched(1)));
    EXPECT_EQ(scene.planes[1], cat(run(103, 2), untouched(1)));
    EXPECT_EQ(scene.planes[2], cat(run(203, 2), untouched(1)));
    EXPECT_EQ(scene.ctx.outY, scene.planes[0].data() + 4);
    EXPECT_EQ(scene.ctx.outCr, scene.planes[2].data() + 3);
}

// 4:2:0 with width 5 from region column 3 (region_left 3 at mask 2: luma from 3, chroma from
// 2 / 2 = 1), planes as wide as the region, chroma planes 3 wide. Row B follows row A by `width`.
struct Yuv420 : Scene {
    Image a = ramp(0), b = ramp(30), cb = ramp(100), cr = ramp(200);
    Yuv420(int32_t top, int32_t height, int32_t rows, int32_t chroma_rows) {
        region.region_scale = 4;
        region.region_left = 3;
        region.region_width = 5;
        region.region_top = top;
        region.region_height = height;
        output(15, size_t(rows) * 5, size_t(chroma_rows) * 3);
    }
    int32_t call(uint16_t output_row) {
        ctx.outputRow = output_row;
        return DALTJ_YcbcrWriteOutput1to1_YUV420(&ctx, a.samples.data(), b.samples.data(), cb.samples.data(),
                                                 cr.samples.data(), 5);
    }
    Bytes row_a() const { return run(3, 5); }
    Bytes row_b() const { return run(33, 5); }
};

TEST(PlanarYuv, Yuv420OddRegionTopStartsOnRowBAndAnOddHeightEndsOnRowA) {
    Yuv420 even(0, 5, 5, 3);
    EXPECT_EQ(even.call(0), 2);
    EXPECT_EQ(even.call(2), 4);
    EXPECT_EQ(even.call(4), 6);  // the last row: row A alone, over where row B would go
    const Bytes pair = cat(even.row_a(), even.row_b());
    EXPECT_EQ(even.planes[0], cat(cat(pair, pair), even.row_a()));
    EXPECT_EQ(even.planes[1], cat(cat(run(101, 3), run(101, 3)), run(101, 3)));

    Yuv420 odd(1, 4, 4, 2);
    odd.call(0);  // row B alone, one row down
    odd.call(2);
    odd.call(4);  // the last row: row A alone, no chroma
    EXPECT_EQ(odd.planes[0], cat(cat(odd.row_b(), odd.row_a()), cat(odd.row_b(), odd.row_a())));
    EXPECT_EQ(odd.planes[2], cat(run(201, 3), run(201, 3)));
    EXPECT_EQ(odd.ctx.outCb, odd.planes[1].data() + 6);
}

TEST(PlanarYuv, Yuv420AfterAnOddRowCountWritesRowAAndLeavesTheChromaPlanes) {
    Yuv420 scene(0, 4, 1, 1);
    scene.ctx.outputRowsWritten = 1;
    EXPECT_EQ(scene.call(0), 3);
    EXPECT_EQ(scene.planes[0], scene.row_a());
    EXPECT_EQ(scene.planes[1], run(101, 3));
    EXPECT_EQ(scene.ctx.outCb, scene.planes[1].data());
}

TEST(OneToOne, DriverWritesEveryRowOrCountsTheRowsOfASelectedCall) {
    Scene scene;
    Image y = ramp(0, 2, 4), chroma{2, 4, Bytes(8, 128)};
    scene.source(0, y);
    scene.source(1, chroma);
    scene.source(2, chroma);
    scene.ctx.sourceSize = 8u << 16 | 2;  // 8 rows onto 4: a call starting at an odd row is selected
    scene.ctx.scaledHeight = 4;
    scene.ctx.rowGroupPending = 1;
    EXPECT_EQ(DALTJ_DoFastYcbcrToRgb(&scene.ctx, nullptr, 3), 0);
    EXPECT_EQ(scene.ctx.outputRowsWritten, 0u);
    EXPECT_EQ(scene.ctx.rowGroupPending, 0);
    DALTJ_DoFastYcbcrToRgb(&scene.ctx, nullptr, 1);
    DALTJ_DoFastYcbcrToRgb(&scene.ctx, nullptr, 1);  // from row 4: not selected
    EXPECT_EQ(scene.ctx.outputRowsWritten, 1u);
    EXPECT_EQ(scene.ctx.inputRow, 5);

    scene.ctx.writeEnabled = 1;
    scene.ctx.outputPitch = 8;
    scene.rows.sampleRowIndex = 2;
    scene.output(5, 16);
    DALTJ_DoFastYcbcrToRgb(&scene.ctx, nullptr, 2);
    EXPECT_EQ(scene.planes[0], bytes({255, 4, 4, 4, 255, 5, 5, 5, 255, 6, 6, 6, 255, 7, 7, 7}));
    EXPECT_EQ(scene.rows.sampleRowIndex, 2);
    EXPECT_EQ(scene.ctx.outputRowsWritten, 3u);
    EXPECT_EQ(DALTJ_DoFastYcbcrToRgb(&scene.ctx, nullptr, 0), 0);
    EXPECT_EQ(scene.ctx.inputRow, 7);
}

TEST(UpscaleRowCounter, CountsTheOutputRowsThatSampleEachSourceRow) {
    Scene scene;
    scene.ctx.outputHeight = 2;  // 2 source rows onto 5 output rows: 2, 3, 2, 3, ...
    scene.ctx.imageHeightRows = 5;
    auto rows_counted = [&scene] {
        const uint32_t before = scene.ctx.outputRowsWritten;
        EXPECT_EQ(DALTJ_DoFastYcbcrToUpscaleRgb(&scene.ctx, nullptr, 1), 0);
        return scene.ctx.outputRowsWritten - before;
    };
    for (uint32_t rows : {2u, 3u, 2u}) EXPECT_EQ(rows_counted(), rows);
    scene.ctx.imageHeightRows = 1;  // 2 source rows onto 1: 0, 1, 0
    for (uint32_t rows : {1u, 0u, 1u}) EXPECT_EQ(rows_counted(), rows);
    scene.ctx.imageHeightRows = 5;
    scene.ctx.inputRow = 0;
    scene.ctx.outputRowsWritten = 0;
    DALTJ_DoFastYcbcrToUpscaleRgb(&scene.ctx, nullptr, 3);  // the entry row's count, three times
    EXPECT_EQ(scene.ctx.outputRowsWritten, 6u);
    EXPECT_EQ(scene.ctx.inputRow, 3);
}

TEST(Grey, OneToOneRegionOffsetsAndTheRegionWidthAsStride) {
    Scene scene;
    Image row = ramp(0);
    scene.region.region_left = 5;  // masks: scale code 1 -> 4, scale code 16 -> 0
    scene.region.region_width = 10;
    scene.ctx.scaleCode = 1;
    scene.region.region_scale = 16;  // beyond the table: no mask
    scene.output(4, 30);
    DALTJ_GrayWriteOutput1to1(&scene.ctx, row.samples.data(), 2);  // no region: only the odd column
    scene.region.region_enabled = 1;
    DALTJ_GrayWriteOutput1to1(&scene.ctx, row.samples.data(), 2);  // scaleCode's mask
    scene.ctx.regionMode = 1;
    DALTJ_GrayWriteOutput1to1(&scene.ctx, row.samples.data(), 2);  // region_scale's mask
    EXPECT_EQ(scene.planes[0], cat(cat(cat(bytes({1, 2}), untouched(8)), cat(bytes({5, 6}), untouched(8))),
                                   cat(bytes({1, 2}), untouched(8))));
    EXPECT_EQ(scene.ctx.outputRowsWritten, 3u);
}

TEST(Grey, DriverWritesOneToOneFromTheColumnOffsetAndWaitsForItsRegion) {
    Scene scene;
    Image grey = ramp(0, 8, 3);
    scene.source(0, grey);
    scene.ctx.sourceSize = 3u << 16 | 2;
    scene.ctx.sourceColumnOffset = 3;
    scene.ctx.writeEnabled = 1;
    scene.region.region_width = 2;
    scene.output(4, 4);
    scene.rows.sampleRowIndex = 1;
    scene.ctx.regionGate = 1;
    EXPECT_EQ(DALTJ_DoGrayConvert(&scene.ctx, nullptr, 2), 0);  // region not ready: nothing
    EXPECT_EQ(scene.ctx.inputRow, 0);
    scene.region.region_ready = 1;
    scene.rows.sampleRowIndex = 0;
    scene.ctx.rowGroupPending = 1;
    EXPECT_EQ(DALTJ_DoGrayConvert(&scene.ctx, nullptr, 2), 0);
    EXPECT_EQ(scene.ctx.rowGroupPending, 0);
    EXPECT_EQ(scene.planes[0], bytes({11, 12, 19, 20}));  // rows 1 and 2: the table moved on once
    EXPECT_EQ(scene.ctx.outputRowsWritten, 2u);
    EXPECT_EQ(scene.ctx.inputRow, 2);
}

TEST(CountedSources, WriteEnabledRowsAreCountedOnly) {
    Scene scene;
    scene.ctx.writeEnabled = 1;
    scene.ctx.rowGroupPending = 1;
    for (auto driver : {DALTJ_DoRgbConvert, DALTJ_DoCMYKToRgb, DALTJ_DoYCCKToRgb}) {
        EXPECT_EQ(driver(&scene.ctx, nullptr, 2), 0);
    }
    EXPECT_EQ(scene.ctx.outputRowsWritten, 6u);
    EXPECT_EQ(scene.ctx.inputRow, 6);
    EXPECT_EQ(scene.ctx.rowGroupPending, 0);
}

// The resamplers on sizes whose result needs no model: the same size is the image itself, half
// the size each 2 x 2 block's truncated mean, twice the size each sample repeated; each axis on
// its own, random images fed in calls of 1..8 rows. The YCbCr tracking resampler into three
// planes, the grey one, and the grey per-call driver (one row a call, never taller than the source).
TEST(Resampler, SameHalfAndDoubleSizes) {
    std::mt19937 rng(11);
    Scene scene;
    auto index = [](int32_t in, int32_t out, int32_t i, int second) { return in == out ? i : in > out ? 2 * i + second : i / 2; };
    for (int trial = 0; trial < 90; ++trial) {
        const int32_t sw = 1 + int32_t(rng() % 40), sh = 1 + int32_t(rng() % 40);
        const int kind = trial % 3, wx = int(rng() % 3), hx = kind == 2 ? int(rng() % 2) : int(rng() % 3);
        const int32_t w = wx == 0 ? sw : wx == 1 ? 2 * sw : sw, h = hx == 0 ? sh : hx == 1 ? sh : 2 * sh;
        const int32_t in_w = wx == 1 ? sw : wx == 2 ? 2 * sw : sw, in_h = hx == 1 ? 2 * sh : sh;
        std::array<Image, 3> source;
        for (auto &image : source) image = random_image(rng, in_w, in_h);
        for (int c = 0; c < 3; ++c) scene.source(c, source[c]);
        scene.output(kind == 0 ? 15 : 4, size_t(w) * h, size_t(w) * h);
        scene.ctx.sourceSize = uint32_t(in_h) << 16 | uint32_t(in_w);
        scene.ctx.scaledWidth = scene.ctx.outputStride = scene.ctx.targetWidth = w;
        scene.ctx.scaledHeight = h;
        scene.ctx.imageHeightRows = uint32_t(h);
        scene.ctx.inputRow = 0;
        scene.accumulate(w);
        if (kind == 2) {
            for (int32_t k = 0; k < in_h; ++k) {
                scene.rows.sampleRowIndex = k == 0 ? 0 : 1;  // the driver moves the row table itself
                DALTJ_DoGrayConvert(&scene.ctx, nullptr, 1);
            }
        } else {
            auto resampler = kind == 0 ? DALTJ_DoYcbcrToUpscaleRgb : DALTJ_DoGrayUpscaleConvert;
            resampler(&scene.ctx, nullptr, 0);
            for (int32_t k = 0; k < in_h;) {
                const int32_t n = std::min<int32_t>(in_h - k, 1 + int32_t(rng() % 8));
                scene.rows.sampleRowIndex = k;
                resampler(&scene.ctx, nullptr, n);
                k += n;
            }
        }
        for (int c = 0; c < (kind == 0 ? 3 : 1); ++c) {
            std::vector<uint8_t> expected;
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x) {
                    int sum = 0;
                    for (int k = 0; k < 4; ++k)
                        sum += source[c].at(index(in_w, w, x, k & 1), index(in_h, h, y, k >> 1));
                    expected.push_back(uint8_t(sum >> 2));
                }
            ASSERT_EQ(scene.planes[c], expected) << "kind " << kind << ", " << in_w << "x" << in_h << " -> " << w << "x" << h;
        }
    }
}

// Every (y, cb, cr) through the format 5 writer, and rows of every length and alignment (which
// leave a remainder), give byte for byte the scalar row's pixels, whatever implementation the
// writer uses (SSE2 natively, NEON on the ARMv7 build, whose emulated run takes every seventh
// (y, cb) row). libjpeg-turbo holds the conversion itself (ycc_peer_test).
TEST(YcbcrToRgb, TheWriterGivesTheScalarRowsPixels) {
#ifdef KOVRA_EMULATED
    constexpr int kStride = 7;
#else
    constexpr int kStride = 1;
#endif
    Scene scene;
    scene.ctx.scaleCode = 1;
    std::array<uint8_t, 256> ramp, y, cb;
    for (int i = 0; i < 256; ++i) ramp[i] = uint8_t(i);
    for (int yc = 0; yc < 65536; yc += kStride) {
        y.fill(uint8_t(yc >> 8)), cb.fill(uint8_t(yc));
        scene.output(5, 4 * 256);
        DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y.data(), cb.data(), ramp.data(), 256);
        std::vector<uint8_t> scalar(4 * 256);
        kovra::color::ycc_row_to_pixels_scalar(y.data(), cb.data(), ramp.data(), 256, scene.ctx.rangeLimit, scalar.data());
        ASSERT_EQ(scene.planes[0], scalar) << "y " << (yc >> 8) << " cb " << (yc & 255);
    }
    std::mt19937 rng(5);
    Image samples = random_image(rng, 80, 3);
    const uint8_t *rows[3] = {samples.samples.data(), samples.samples.data() + 80, samples.samples.data() + 160};
    for (int32_t start = 0; start < 4; ++start) {
        for (int32_t count = 0; count <= 70; ++count) {
            std::vector<uint8_t> ours(4 * size_t(count) + 1, 0xA5), scalar = ours;
            kovra::color::ycc_row_to_pixels(rows[0] + start, rows[1] + start, rows[2] + start, count,
                                            jpeg::sample_range_limit(), ours.data() + 1);
            kovra::color::ycc_row_to_pixels_scalar(rows[0] + start, rows[1] + start, rows[2] + start, count,
                                                   jpeg::sample_range_limit(), scalar.data() + 1);
            ASSERT_EQ(ours, scalar) << start << " " << count;
        }
    }
}

}  // namespace
}  // namespace kovra::test::color
