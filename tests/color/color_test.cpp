// What the road's corpus sweep cannot reach: the writers' region, parity and format rules on small
// hand-checked rows, the drivers' row accounting, the resamplers, and the vector conversion
// against the scalar one over every input.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "color/ycc_rgb.h"
#include "jpeg/range_limit.h"
#include "kovra_jpeg.h"

namespace {

using Bytes = std::vector<uint8_t>;

// n samples first, first + 1, ...
Bytes run(int first, int n = 16) {
    Bytes b;
    for (int i = 0; i < n; ++i) b.push_back(uint8_t(first + i));
    return b;
}
Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}
Bytes untouched(int n) { return Bytes(size_t(n), 0xA5); }

// A context with its region record and row set; source components are row tables over images,
// output planes sized exactly (so the sanitizers see any write beyond them) and filled with 0xA5.
struct Scene {
    KOVRADALT_DecInfo region{};
    DALTJ_SampleRows rows{};
    DALTJ_DecoderInfo ctx{};
    std::array<std::vector<uint8_t *>, 3> tables;
    std::array<Bytes, 3> planes;  // Y (or grey or pixels), Cb, Cr
    std::array<std::vector<uint32_t>, 2> accumulators;

    Scene() {
        ctx.checkContext = &region;
        ctx.sampleRows = &rows;
        ctx.rangeLimit = kovra::jpeg::sample_range_limit();
    }
    void source(int c, Bytes &image, int32_t width) {
        tables[c].clear();
        for (size_t y = 0; y < image.size() / width; ++y) tables[c].push_back(image.data() + y * width);
        rows.componentRows[c] = tables[c].data();
    }
    void output(int32_t format, size_t bytes, size_t chroma_bytes = 0) {
        ctx.outputFormat = format;
        planes = {untouched(int(bytes)), untouched(int(chroma_bytes)), untouched(int(chroma_bytes))};
        ctx.outY = planes[0].data(), ctx.outCb = planes[1].data(), ctx.outCr = planes[2].data();
    }
};

TEST(OneToOne, Formats5And14TakeTheirMaskedColumnFromTheirOwnScale) {
    Scene scene;
    Bytes y = run(0), cb = run(100), cr = run(200), grey(16, 128);
    scene.ctx.scaleCode = 2;        // mask 6: format 5
    scene.region.region_scale = 4;  // mask 2: format 14
    scene.region.region_left = 13;  // 13 & 6 = 4, 13 & 2 = 0, odd: luma one later
    scene.ctx.outputPitch = 100;
    scene.output(5, 12);
    DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y.data(), grey.data(), grey.data(), 3);
    EXPECT_EQ(scene.planes[0], Bytes({255, 5, 5, 5, 255, 6, 6, 6, 255, 7, 7, 7}));
    EXPECT_EQ(scene.ctx.outY, scene.planes[0].data() + 100);
    scene.region.region_left = 7;  // chroma from 7 & 2 = 2, luma from 3; chroma on even rows only
    scene.ctx.outputStride = 4;
    scene.output(14, 8, 4);
    for (int row = 0; row < 2; ++row) DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y.data(), cb.data(), cr.data(), 3);
    EXPECT_EQ(scene.planes[0], cat({run(3, 3), untouched(1), run(3, 3), untouched(1)}));
    EXPECT_EQ(scene.planes[1], run(102, 4));  // an odd width takes one more chroma sample
    EXPECT_EQ(scene.planes[2], run(202, 4));
    EXPECT_EQ(scene.ctx.outCb, scene.planes[1].data() + 4);
    EXPECT_EQ(scene.ctx.outputRowsWritten, 3u);
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
    Bytes row = run(0);
    scene.ctx.outputStride = scene.ctx.outputPitch = 3;
    scene.region.region_width = 4;
    for (int32_t format : {4, 5, 7, 14, 15})
        for (const auto &w : writers) {
            if (std::find(w.writes.begin(), w.writes.end(), format) != w.writes.end()) continue;
            scene.output(format, 64, 64);
            scene.ctx.outputRowsWritten = 0;
            w.write(&scene.ctx, row.data());
            EXPECT_EQ(scene.ctx.outputRowsWritten, std::max(w.rows, 1u)) << format;
            EXPECT_EQ(scene.ctx.outY, scene.planes[0].data() + 3 * w.rows) << format;
            EXPECT_EQ(scene.ctx.outCb, scene.planes[1].data()) << format;
            EXPECT_EQ(scene.planes[0], untouched(64)) << format;
        }
}

// Planes as wide as the region (region_left 3 or 7 at mask 2); 4:4:4 strides by the region width
// plus the pitch. 4:2:0: luma from column 3, chroma from 2 / 2 = 1, chroma planes 3 wide; row B
// follows row A; an odd region top starts on row B, an odd height ends on row A, and after an
// odd row count row A is written without chroma.
TEST(PlanarYuv, RegionColumnsRowPairsAndParity) {
    Bytes a = run(0), b = run(30), cb = run(100), cr = run(200);
    Scene s444;
    s444.region.region_scale = 4, s444.region.region_left = 7, s444.region.region_width = 3;
    s444.ctx.outputPitch = 1;
    s444.output(15, 3, 3);
    DALTJ_YcbcrWriteOutput1to1_YUV444(&s444.ctx, a.data(), nullptr, cb.data(), cr.data(), 2);
    EXPECT_EQ(s444.planes[0], cat({run(3, 2), untouched(1)}));
    EXPECT_EQ(s444.planes[2], cat({run(203, 2), untouched(1)}));
    EXPECT_EQ(s444.ctx.outY, s444.planes[0].data() + 4);
    EXPECT_EQ(s444.ctx.outCr, s444.planes[2].data() + 3);

    const struct {
        int32_t top, height, rows, chroma_rows, written_before;
        std::vector<int32_t> returns;
        Bytes luma, chroma;
    } cases[] = {
        {0, 5, 5, 3, 0, {2, 4, 6}, cat({run(3, 5), run(33, 5), run(3, 5), run(33, 5), run(3, 5)}), cat({run(201, 3), run(201, 3), run(201, 3)})},
        {1, 4, 4, 2, 0, {2, 4, 6}, cat({run(33, 5), run(3, 5), run(33, 5), run(3, 5)}), cat({run(201, 3), run(201, 3)})},
        {0, 4, 1, 1, 1, {3}, run(3, 5), run(201, 3)},
    };
    for (const auto &t : cases) {
        Scene s;
        s.region.region_scale = 4, s.region.region_left = 3, s.region.region_width = 5;
        s.region.region_top = t.top, s.region.region_height = t.height;
        s.ctx.outputRowsWritten = uint32_t(t.written_before);
        s.output(15, size_t(t.rows) * 5, size_t(t.chroma_rows) * 3);
        for (size_t call = 0; call < t.returns.size(); ++call) {
            s.ctx.outputRow = uint16_t(2 * call);
            EXPECT_EQ(DALTJ_YcbcrWriteOutput1to1_YUV420(&s.ctx, a.data(), b.data(), cb.data(), cr.data(), 5), t.returns[call]);
        }
        EXPECT_EQ(s.planes[0], t.luma) << t.top;
        EXPECT_EQ(s.planes[2], t.chroma) << t.top;
        EXPECT_EQ(s.ctx.outCb, s.planes[1].data() + (t.written_before ? 0 : 3 * t.chroma_rows)) << t.top;
    }
}

TEST(OneToOne, DriverWritesEveryRowOrCountsTheRowsOfASelectedCall) {
    Scene scene;
    Bytes y = run(0, 8), chroma(8, 128);
    scene.source(0, y, 2);
    scene.source(1, chroma, 2);
    scene.source(2, chroma, 2);
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
    EXPECT_EQ(scene.planes[0], Bytes({255, 4, 4, 4, 255, 5, 5, 5, 255, 6, 6, 6, 255, 7, 7, 7}));
    EXPECT_EQ(scene.ctx.outputRowsWritten, 3u);
    EXPECT_EQ(DALTJ_DoFastYcbcrToRgb(&scene.ctx, nullptr, 0), 0);
    EXPECT_EQ(scene.ctx.inputRow, 7);
}

TEST(UpscaleRowCounter, CountsTheOutputRowsThatSampleEachSourceRow) {
    Scene scene;
    auto counted = [&scene](uint32_t out_rows, int32_t rows) {
        scene.ctx.imageHeightRows = out_rows;
        const uint32_t before = scene.ctx.outputRowsWritten;
        EXPECT_EQ(DALTJ_DoFastYcbcrToUpscaleRgb(&scene.ctx, nullptr, rows), 0);
        return scene.ctx.outputRowsWritten - before;
    };
    scene.ctx.outputHeight = 2;  // 2 source rows onto 5 output rows: 2, 3, 2; onto 1: 1, 0, 1
    const uint32_t steps[][2] = {{5, 2}, {5, 3}, {5, 2}, {1, 1}, {1, 0}, {1, 1}};
    for (const auto &[out_rows, expected] : steps) EXPECT_EQ(counted(out_rows, 1), expected);
    scene.ctx.inputRow = 0;
    EXPECT_EQ(counted(5, 3), 6u);  // the entry row's count, three times
    EXPECT_EQ(scene.ctx.inputRow, 3);
}

TEST(Grey, WriterRegionMasksAndDriverRegionGate) {
    Scene scene;
    Bytes row = run(0);
    scene.region.region_left = 5;  // masks: scale code 1 -> 4, region scale 16 (beyond the table) -> 0
    scene.region.region_width = 10;
    scene.ctx.scaleCode = 1;
    scene.region.region_scale = 16;
    scene.output(4, 30);
    DALTJ_GrayWriteOutput1to1(&scene.ctx, row.data(), 2);  // no region: only the odd column
    scene.region.region_enabled = 1;
    DALTJ_GrayWriteOutput1to1(&scene.ctx, row.data(), 2);  // scaleCode's mask
    scene.ctx.regionMode = 1;
    DALTJ_GrayWriteOutput1to1(&scene.ctx, row.data(), 2);  // region_scale's mask
    EXPECT_EQ(scene.planes[0], cat({run(1, 2), untouched(8), run(5, 2), untouched(8), run(1, 2), untouched(8)}));

    Scene driver;
    Bytes grey = run(0, 24);
    driver.source(0, grey, 8);
    driver.ctx.sourceSize = 3u << 16 | 2;
    driver.ctx.sourceColumnOffset = 3;
    driver.ctx.writeEnabled = driver.ctx.regionGate = 1;
    driver.region.region_width = 2;
    driver.output(4, 4);
    driver.rows.sampleRowIndex = 1;
    EXPECT_EQ(DALTJ_DoGrayConvert(&driver.ctx, nullptr, 2), 0);  // region not ready: nothing
    EXPECT_EQ(driver.ctx.inputRow, 0);
    driver.region.region_ready = 1;
    driver.rows.sampleRowIndex = 0;
    driver.ctx.rowGroupPending = 1;
    EXPECT_EQ(DALTJ_DoGrayConvert(&driver.ctx, nullptr, 2), 0);
    EXPECT_EQ(driver.ctx.rowGroupPending, 0);
    EXPECT_EQ(driver.planes[0], Bytes({11, 12, 19, 20}));  // rows 1 and 2: the table moved on once
    EXPECT_EQ(driver.ctx.outputRowsWritten, 2u);
    EXPECT_EQ(driver.ctx.inputRow, 2);

    Scene counted;
    counted.ctx.writeEnabled = counted.ctx.rowGroupPending = 1;
    for (auto convert : {DALTJ_DoRgbConvert, DALTJ_DoCMYKToRgb, DALTJ_DoYCCKToRgb}) EXPECT_EQ(convert(&counted.ctx, nullptr, 2), 0);
    EXPECT_EQ(counted.ctx.outputRowsWritten, 6u);  // these sources' rows are counted only
    EXPECT_EQ(counted.ctx.inputRow, 6);
    EXPECT_EQ(counted.ctx.rowGroupPending, 0);
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
        const int32_t w = wx == 1 ? 2 * sw : sw, h = hx == 2 ? 2 * sh : sh;
        const int32_t in_w = wx == 2 ? 2 * sw : sw, in_h = hx == 1 ? 2 * sh : sh;
        std::array<Bytes, 3> source;
        for (int c = 0; c < 3; ++c) {
            for (int32_t i = 0; i < in_w * in_h; ++i) source[c].push_back(uint8_t(rng()));
            scene.source(c, source[c], in_w);
        }
        scene.output(kind == 0 ? 15 : 4, size_t(w) * h, size_t(w) * h);
        scene.ctx.sourceSize = uint32_t(in_h) << 16 | uint32_t(in_w);
        scene.ctx.scaledWidth = scene.ctx.outputStride = scene.ctx.targetWidth = w;
        scene.ctx.scaledHeight = h;
        scene.ctx.imageHeightRows = uint32_t(h);
        scene.ctx.inputRow = 0;
        for (auto &row : scene.accumulators) row.assign(size_t(w), 0);
        scene.ctx.accumRows[0] = scene.accumulators[0].data(), scene.ctx.accumRows[1] = scene.accumulators[1].data();
        if (kind == 2) {
            for (int32_t k = 0; k < in_h; ++k) {
                scene.rows.sampleRowIndex = k == 0 ? 0 : 1;  // the driver moves the row table itself
                DALTJ_DoGrayConvert(&scene.ctx, nullptr, 1);
            }
        } else {
            auto resampler = kind == 0 ? DALTJ_DoYcbcrToUpscaleRgb : DALTJ_DoGrayUpscaleConvert;
            resampler(&scene.ctx, nullptr, 0);
            for (int32_t k = 0, n; k < in_h; k += n) {
                n = std::min<int32_t>(in_h - k, 1 + int32_t(rng() % 8));
                scene.rows.sampleRowIndex = k;
                resampler(&scene.ctx, nullptr, n);
            }
        }
        for (int c = 0; c < (kind == 0 ? 3 : 1); ++c) {
            Bytes expected;
            for (int32_t y = 0; y < h; ++y)
                for (int32_t x = 0; x < w; ++x) {
                    int sum = 0;
                    for (int k = 0; k < 4; ++k) sum += source[c][index(in_h, h, y, k >> 1) * in_w + index(in_w, w, x, k & 1)];
                    expected.push_back(uint8_t(sum >> 2));
                }
            ASSERT_EQ(scene.planes[c], expected) << "kind " << kind << ", " << in_w << "x" << in_h << " -> " << w << "x" << h;
        }
    }
}

// Every (y, cb, cr) through the format 5 writer, and rows of every length and alignment, give
// byte for byte the scalar row's pixels (SSE2 natively, NEON on the ARMv7 build, whose emulated
// run takes every seventh (y, cb) row). libjpeg-turbo holds the conversion itself (ycc_peer_test).
TEST(YcbcrToRgb, TheWriterGivesTheScalarRowsPixels) {
#ifdef KOVRA_EMULATED
    constexpr int kStride = 7;
#else
    constexpr int kStride = 1;
#endif
    Scene scene;
    scene.ctx.scaleCode = 1;
    const Bytes ramp = run(0, 256);
    Bytes y(256), cb(256), scalar(4 * 256);
    for (int yc = 0; yc < 65536; yc += kStride) {
        std::fill(y.begin(), y.end(), uint8_t(yc >> 8)), std::fill(cb.begin(), cb.end(), uint8_t(yc));
        scene.output(5, 4 * 256);
        DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y.data(), cb.data(), ramp.data(), 256);
        kovra::color::ycc_row_to_pixels_scalar(y.data(), cb.data(), ramp.data(), 256, scene.ctx.rangeLimit, scalar.data());
        ASSERT_EQ(scene.planes[0], scalar) << "y " << (yc >> 8) << " cb " << (yc & 255);
    }
    std::mt19937 rng(5);
    Bytes samples(240);
    for (uint8_t &s : samples) s = uint8_t(rng());
    for (int32_t start = 0; start < 4; ++start)
        for (int32_t count = 0; count <= 70; ++count) {
            Bytes ours(4 * size_t(count) + 1, 0xA5), theirs = ours;
            const uint8_t *at = samples.data() + start;
            kovra::color::ycc_row_to_pixels(at, at + 80, at + 160, count, scene.ctx.rangeLimit, ours.data() + 1);
            kovra::color::ycc_row_to_pixels_scalar(at, at + 80, at + 160, count, scene.ctx.rangeLimit, theirs.data() + 1);
            ASSERT_EQ(ours, theirs) << start << " " << count;
        }
}

}  // namespace
