// Every (y, cb, cr) through the format 5 writer against the JFIF transform in double precision,
// rounded and clamped: each channel within 1 (the writer truncates where the exact transform
// rounds), the alpha byte 255, and the cube's corners exact; and byte for byte the scalar row's
// pixels, whatever implementation the writer uses, also for rows of every length and alignment
// that leave a remainder. The emulated build walks every seventh (y, cb) plane row to keep its run
// short.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "color/ycc_rgb.h"
#include "color_scene.h"

namespace kovra::test::color {
namespace {

#ifdef KOVRA_EMULATED
constexpr int kStride = 7;
#else
constexpr int kStride = 1;
#endif

uint8_t rounded(double v) { return static_cast<uint8_t>(std::clamp(std::lround(v), 0L, 255L)); }

std::array<uint8_t, 4> exact_pixel(int y, int cb, int cr) {
    const double cbd = cb - 128.0, crd = cr - 128.0;
    return {255, rounded(y + 1.402 * crd), rounded(y - 0.344136 * cbd - 0.714136 * crd), rounded(y + 1.772 * cbd)};
}

using kovra::color::ycc_row_to_pixels_scalar;
using Row = std::array<uint8_t, 256>;

const Row &ramp() {
    static const Row row = [] {
        Row r{};
        for (int i = 0; i < 256; ++i) r[i] = uint8_t(i);
        return r;
    }();
    return row;
}

Row y_row(int value) {
    Row r;
    r.fill(uint8_t(value));
    return r;
}

// One row of 256 pixels: cr = 0..255 at the given y and cb.
std::vector<uint8_t> pixel_row(Scene &scene, uint8_t y, uint8_t cb) {
    scene.output(5, 4 * 256);
    DALTJ_YcbcrWriteOutput1to1(&scene.ctx, y_row(y).data(), y_row(cb).data(), ramp().data(), 256);
    return scene.planes[0];
}

TEST(YcbcrToRgb, WholeCubeWithinOneOfTheExactTransform) {
    Scene scene;
    scene.ctx.scaleCode = 1;
    for (int yc = 0; yc < 65536; yc += kStride) {
        const int y = yc >> 8, cb = yc & 255;
        const std::vector<uint8_t> row = pixel_row(scene, uint8_t(y), uint8_t(cb));
        std::vector<uint8_t> scalar(4 * 256);
        ycc_row_to_pixels_scalar(y_row(y).data(), y_row(cb).data(), ramp().data(), 256, scene.ctx.rangeLimit,
                                 scalar.data());
        ASSERT_EQ(row, scalar) << "y " << y << " cb " << cb;
        for (int cr = 0; cr < 256; ++cr) {
            const auto exact = exact_pixel(y, cb, cr);
            for (int ch = 0; ch < 4; ++ch) {
                ASSERT_LE(std::abs(row[4 * cr + ch] - exact[ch]), ch == 0 ? 0 : 1)
                    << "y " << y << " cb " << cb << " cr " << cr << " byte " << ch;
            }
        }
    }
}

TEST(YcbcrToRgb, EveryLengthAndAlignmentAsTheScalarRow) {
    std::mt19937 rng(5);
    Image samples = random_image(rng, 80, 3);
    const uint8_t *rows[3] = {samples.samples.data(), samples.samples.data() + 80, samples.samples.data() + 160};
    for (int32_t start = 0; start < 4; ++start) {
        for (int32_t count = 0; count <= 70; ++count) {
            std::vector<uint8_t> ours(4 * size_t(count) + 1, 0xA5), scalar = ours;
            kovra::color::ycc_row_to_pixels(rows[0] + start, rows[1] + start, rows[2] + start, count,
                                            jpeg::sample_range_limit(), ours.data() + 1);
            ycc_row_to_pixels_scalar(rows[0] + start, rows[1] + start, rows[2] + start, count,
                                     jpeg::sample_range_limit(), scalar.data() + 1);
            ASSERT_EQ(ours, scalar) << start << " " << count;
        }
    }
}

TEST(YcbcrToRgb, CubeCornersAndBlack) {
    Scene scene;
    scene.ctx.scaleCode = 1;
    const struct {
        uint8_t y, cb, cr, r, g, b;
    } corners[] = {{0, 0, 0, 0, 135, 0},       {0, 0, 255, 178, 0, 0},     {0, 255, 0, 0, 47, 225},
                   {0, 255, 255, 178, 0, 225}, {255, 0, 0, 75, 255, 28},   {255, 0, 255, 255, 208, 28},
                   {255, 255, 0, 75, 255, 255}, {255, 255, 255, 255, 120, 255}, {0, 128, 128, 0, 0, 0}};
    for (const auto &k : corners) {
        const std::vector<uint8_t> row = pixel_row(scene, k.y, k.cb);
        EXPECT_EQ((std::vector<uint8_t>(row.begin() + 4 * k.cr, row.begin() + 4 * k.cr + 4)),
                  (std::vector<uint8_t>{255, k.r, k.g, k.b}))
            << int(k.y) << " " << int(k.cb) << " " << int(k.cr);
    }
}

}  // namespace
}  // namespace kovra::test::color
