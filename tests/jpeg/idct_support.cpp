#include "idct_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "jpeg/range_limit.h"

namespace kovra::test::idct {
namespace {

double basis(int frequency, int position, int size = 8) {
    const double scale = frequency == 0 ? std::numbers::sqrt2 / 2 : 1.0;
    return scale * std::cos((2 * position + 1) * frequency * std::numbers::pi / (2 * size));
}

using Pixels = std::array<std::array<double, 8>, 8>;

Pixels random_content(std::mt19937 &rng) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    Pixels px{};
    const int kind = static_cast<int>(rng() % 4);
    const double a = unit(rng) * 255, b = unit(rng) * 255, fx = unit(rng) * 3, fy = unit(rng) * 3;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            switch (kind) {
            case 0: px[y][x] = a + (b - a) * (0.5 + 0.5 * std::sin(fx * x + fy * y)); break;  // smooth
            case 1: px[y][x] = x * fx + y * fy > 6 ? a : b; break;                               // an edge
            case 2: px[y][x] = unit(rng) * 255; break;                                           // noise
            default: px[y][x] = ((x + y) & 1) ? 255 : 0; break;                                  // saturated
            }
        }
    }
    return px;
}

// The library's range-limit table as the inverse DCTs take it (index 0 = mid-grey).
const uint8_t *idct_range_limit() { return jpeg::sample_range_limit() + jpeg::kIdctLevelShift; }

}  // namespace

Samples run_idct(DALTJ_IdctFn fn, const Block &block, const Multipliers &multipliers) {
    constexpr int kColumn = 5, kWidth = 20;
    std::array<std::array<uint8_t, kWidth>, 10> frame{};
    for (auto &row : frame) row.fill(kUnwritten);
    uint8_t *rows[8];
    for (int r = 0; r < 8; ++r) rows[r] = frame[r + 1].data();
    fn(idct_range_limit(), multipliers.data(), block.data(), rows, kColumn);
    Samples out{};
    for (int r = 0; r < 10; ++r) {
        for (int c = 0; c < kWidth; ++c) {
            const bool inside = r >= 1 && r <= 8 && c >= kColumn && c < kColumn + 8;
            if (inside) {
                out[r - 1][c - kColumn] = frame[r][c];
            } else if (frame[r][c] != kUnwritten) {
                ADD_FAILURE() << "wrote outside its output: " << r - 1 << ", " << c - kColumn;
            }
        }
    }
    return out;
}

Quant random_quant(std::mt19937 &rng, int max_step) {
    Quant q{};
    for (auto &step : q) step = static_cast<uint16_t>(1 + rng() % max_step);
    return q;
}

Block legal_block(std::mt19937 &rng, const Quant &quant) {
    const Pixels px = random_content(rng);
    Block block{};
    for (int v = 0; v < 8; ++v) {
        for (int u = 0; u < 8; ++u) {
            double sum = 0;
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) sum += (px[y][x] - 128) * basis(u, x) * basis(v, y);
            block[8 * v + u] = static_cast<int16_t>(std::lround(sum / 4 / quant[8 * v + u]));
        }
    }
    return block;
}

Block hostile_block(std::mt19937 &rng) {
    Block block{};
    for (auto &c : block) c = static_cast<int16_t>(rng());
    return block;
}

Multipliers hostile_multipliers(std::mt19937 &rng) {
    Multipliers m{};
    for (auto &q : m) q = static_cast<int32_t>(rng());
    return m;
}

Multipliers aan_multipliers(const Quant &quant) {
    Multipliers m{};
    for (int i = 0; i < 64; ++i) {
        // sqrt(2) cos(k pi / 16) each way, 1 for k = 0
        const double scale = basis(i / 8, 0) * basis(i % 8, 0) / (basis(0, 0) * basis(0, 0));
        m[i] = static_cast<int32_t>(std::lround(quant[i] * scale * 4096));
    }
    return m;
}

Multipliers plain_multipliers(const Quant &quant) {
    Multipliers m{};
    for (int i = 0; i < 64; ++i) m[i] = quant[i];
    return m;
}

}  // namespace kovra::test::idct
