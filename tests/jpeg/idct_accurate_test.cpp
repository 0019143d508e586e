// The rectangular accurate-integer members against a double-precision inverse DCT of their size
// (the N lowest frequencies each way, N-point cosines), rounded: within the bounds that the
// published algorithm meets at full size (IEEE 1180: a peak error of one level, an overall mean
// square error below 0.02); and the closed forms of the three smallest, exactly.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "idct_support.h"

namespace kovra::test::idct {
namespace {

double reference(const Block &b, const Quant &q, int width, int height, int x, int y) {
    auto c = [](int k) { return k == 0 ? std::numbers::sqrt2 / 2 : 1.0; };
    double sum = 0;
    for (int v = 0; v < height; ++v) {
        for (int u = 0; u < width; ++u) {
            const double across = std::cos((2 * x + 1) * u * std::numbers::pi / (2 * width));
            const double down = std::cos((2 * y + 1) * v * std::numbers::pi / (2 * height));
            sum += c(u) * c(v) * b[8 * v + u] * q[8 * v + u] * across * down;
        }
    }
    return std::clamp(std::floor(128 + sum / 4 + 0.5 + 1e-9), 0.0, 255.0);  // ties upwards, as the descales do
}

TEST(IdctAccurate, RectangularMembersStayWithinOneLevelOfTheExactTransform) {
    const struct {
        DALTJ_IdctFn fn;
        int width, height;
    } members[] = {{DALTJ_DoIdct_8x4, 8, 4}, {DALTJ_DoIdct_4x8, 4, 8}, {DALTJ_DoIdct_4x2, 4, 2},
                   {DALTJ_DoIdct_2x4, 2, 4}, {DALTJ_DoIdct_2x1, 2, 1}, {DALTJ_DoIdct_1x2, 1, 2}};
    std::mt19937 rng(13);
    for (const auto &m : members) {
        double squared = 0;
        int samples = 0;
        for (int n = 0; n < 2000; ++n) {
            const Quant q = random_quant(rng, n % 2 ? 8 : 100);
            const Block b = legal_block(rng, q);
            const Samples out = run_idct(m.fn, b, plain_multipliers(q));
            for (int y = 0; y < 8; ++y) {
                for (int x = 0; x < 8; ++x) {
                    if (x >= m.width || y >= m.height) {
                        ASSERT_EQ(out[y][x], kUnwritten);
                        continue;
                    }
                    const double error = out[y][x] - reference(b, q, m.width, m.height, x, y);
                    ASSERT_LE(std::abs(error), 1.0) << m.width << "x" << m.height << " block " << n;
                    squared += error * error;
                    ++samples;
                }
            }
        }
        EXPECT_LT(squared / samples, 0.02) << m.width << "x" << m.height;
    }
}

// (C0*Q0 + 4 +- C1*Q1) >> 3 on the masked table, across a row (2x1), down a column (1x2), or
// alone (1x1).
TEST(IdctAccurate, SmallestMembersFollowTheirClosedForms) {
    auto level = [](int32_t sum) { return static_cast<uint8_t>(std::clamp((sum >> 3) + 128, 0, 255)); };
    Multipliers m{};
    m.fill(3);
    for (int16_t dc = -400; dc <= 400; ++dc) {
        for (const int16_t odd : {0, 1, -2, 5, 77, -130}) {
            Block b{};
            b[0] = dc;
            b[1] = b[8] = odd;
            const uint8_t plus = level(dc * 3 + 4 + odd * 3), minus = level(dc * 3 + 4 - odd * 3);
            const Samples across = run_idct(DALTJ_DoIdct_2x1, b, m), down = run_idct(DALTJ_DoIdct_1x2, b, m);
            ASSERT_EQ(across[0][0], plus) << dc << " " << odd;
            ASSERT_EQ(across[0][1], minus) << dc << " " << odd;
            ASSERT_EQ(down[0][0], plus) << dc << " " << odd;
            ASSERT_EQ(down[1][0], minus) << dc << " " << odd;
            ASSERT_EQ(run_idct(DALTJ_DoIdct_1x1, b, m)[0][0], level(dc * 3 + 4));
        }
    }
}

}  // namespace
}  // namespace kovra::test::idct
