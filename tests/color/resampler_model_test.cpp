// The resamplers against a model that takes each output pixel straight from the source image:
// the truncated mean of the four samples at the quarter points of its footprint, horizontally at
// (c * Sw + Sw / 4) / W and (c * Sw + 3 * Sw / 4) / W, vertically the same with the heights. Random
// sizes from 1 x 1 to a few hundred, up and down, fed in calls of random length; one context
// serves every image in turn, reset between them.

#include <gtest/gtest.h>

#include "color_scene.h"

namespace kovra::test::color {
namespace {

int32_t quarter_point(int32_t out, int32_t source_span, int32_t out_span, int quarter) {
    return static_cast<int32_t>((int64_t{out} * source_span + ((quarter * int64_t{source_span}) >> 2)) / out_span);
}

// The model's plane of `image` resampled to width x height.
std::vector<uint8_t> model(const Image &image, int32_t width, int32_t height) {
    std::vector<uint8_t> out;
    for (int32_t r = 0; r < height; ++r) {
        const int32_t u = quarter_point(r, image.height, height, 1), l = quarter_point(r, image.height, height, 3);
        for (int32_t c = 0; c < width; ++c) {
            const int32_t a = quarter_point(c, image.width, width, 1), b = quarter_point(c, image.width, width, 3);
            const int sum = image.at(a, u) + image.at(b, u) + image.at(a, l) + image.at(b, l);
            out.push_back(static_cast<uint8_t>(sum >> 2));
        }
    }
    return out;
}

struct Sizes {
    int32_t sw, sh, w, h;
};

Sizes random_sizes(std::mt19937 &rng, bool taller_output_allowed) {
    auto size = [&] { return rng() % 4 == 0 ? int32_t(1 + rng() % 4) : int32_t(1 + rng() % 300); };
    Sizes s{size(), size(), size(), size()};
    if (!taller_output_allowed && s.h > s.sh) std::swap(s.h, s.sh);
    return s;
}

void set_grid(Scene &scene, const Sizes &s) {
    scene.ctx.sourceSize = uint32_t(s.sh) << 16 | uint32_t(s.sw);
    scene.ctx.scaledWidth = s.w;
    scene.ctx.scaledHeight = s.h;
    scene.ctx.outputStride = s.w;
    scene.accumulate(s.w);
}

// Feeds every source row in calls of 1..8 rows through a tracking resampler.
void feed_rows(Scene &scene, int32_t rows, std::mt19937 &rng, void (*resampler)(DALTJ_DecoderInfo *, void *, int32_t)) {
    resampler(&scene.ctx, nullptr, 0);
    for (int32_t k = 0; k < rows;) {
        const int32_t n = std::min<int32_t>(rows - k, 1 + int32_t(rng() % 8));
        scene.rows.sampleRowIndex = k;
        resampler(&scene.ctx, nullptr, n);
        k += n;
    }
}

TEST(Resampler, YcbcrToThreePlanesMatchesTheModel) {
    std::mt19937 rng(11);
    Scene scene;
    for (int trial = 0; trial < 150; ++trial) {
        const Sizes s = random_sizes(rng, true);
        std::array<Image, 3> source;
        for (auto &image : source) image = random_image(rng, s.sw, s.sh);
        for (int c = 0; c < 3; ++c) scene.source(c, source[c]);
        const size_t plane = size_t(s.w) * s.h;
        scene.output(15, plane, plane);
        set_grid(scene, s);
        scene.ctx.outputRowsWritten = 0;
        feed_rows(scene, s.sh, rng, DALTJ_DoYcbcrToUpscaleRgb);
        ASSERT_EQ(scene.ctx.outputRowsWritten, uint32_t(s.h)) << s.sw << "x" << s.sh << " -> " << s.w << "x" << s.h;
        for (int c = 0; c < 3; ++c) ASSERT_EQ(scene.planes[c], model(source[c], s.w, s.h)) << "component " << c;
    }
}

TEST(Resampler, GreyTrackingAndPerCallDriversMatchTheModel) {
    std::mt19937 rng(12);
    Scene scene;
    for (int trial = 0; trial < 150; ++trial) {
        const Sizes s = random_sizes(rng, trial % 2 == 0);
        Image grey = random_image(rng, s.sw, s.sh);
        scene.source(0, grey);
        scene.output(4, size_t(s.w) * s.h);
        set_grid(scene, s);
        if (trial % 2 == 0) {
            feed_rows(scene, s.sh, rng, DALTJ_DoGrayUpscaleConvert);
        } else {  // the per-call driver: one row a call, output no taller than the source
            scene.ctx.targetWidth = s.w;
            scene.ctx.imageHeightRows = uint32_t(s.h);
            scene.ctx.inputRow = 0;
            for (int32_t k = 0; k < s.sh; ++k) {
                scene.rows.sampleRowIndex = k == 0 ? 0 : 1;  // the driver moves the row table itself
                DALTJ_DoGrayConvert(&scene.ctx, nullptr, 1);
            }
        }
        ASSERT_EQ(scene.planes[0], model(grey, s.w, s.h))
            << trial << ": " << s.sw << "x" << s.sh << " -> " << s.w << "x" << s.h;
    }
}

// RGB, CMYK and YCCK rows are resampled and counted, never written: every output row is counted
// once and the accumulators end clear.
TEST(Resampler, CountedSourcesCountEveryOutputRowAndWriteNothing) {
    std::mt19937 rng(13);
    Scene scene;
    for (auto driver : {DALTJ_DoRgbConvert, DALTJ_DoCMYKToRgb, DALTJ_DoYCCKToRgb, DALTJ_DoRgbUpscaleConvert}) {
        const Sizes s = random_sizes(rng, driver == DALTJ_DoRgbUpscaleConvert);
        std::array<Image, 4> source;
        for (int c = 0; c < 4; ++c) scene.source(c, source[c] = random_image(rng, s.sw, s.sh));
        scene.output(5, 0);
        set_grid(scene, s);
        scene.ctx.sourceColumns = s.sw;
        scene.ctx.targetWidth = s.w;
        scene.ctx.outputHeight = s.sh;
        scene.ctx.imageHeightRows = uint32_t(s.h);
        scene.ctx.inputRow = 0;
        scene.ctx.outputRowsWritten = 0;
        for (int32_t k = 0; k < s.sh; ++k) {
            scene.rows.sampleRowIndex = k;
            driver(&scene.ctx, nullptr, 1);
        }
        EXPECT_EQ(scene.ctx.outputRowsWritten, uint32_t(s.h));
        EXPECT_EQ(scene.ctx.inputRow, s.sh);
        for (auto &row : scene.accumulators) EXPECT_EQ(std::count(row.begin(), row.end(), 0u), s.w);
    }
}

}  // namespace
}  // namespace kovra::test::color
