// Running inverse DCTs in tests: blocks as an encoder makes them, hostile ones, multiplier tables,
// and a guarded output frame.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>

#include "jpeg/idct_scalar.h"
#include "jpeg/range_limit.h"
#include "kovra_jpeg.h"

namespace kovra::test::idct {

using Block = std::array<int16_t, 64>;
using Multipliers = std::array<int32_t, 64>;
using Quant = std::array<uint16_t, 64>;
using Samples = std::array<std::array<uint8_t, 8>, 8>;  // [row][column]

inline constexpr uint8_t kUnwritten = 0xA5;

// The exported routines that run a vector version where the build has one, with their scalar cores.
struct VectorPair {
    const char *name;
    DALTJ_IdctFn exported, scalar;
};
inline constexpr VectorPair kVectorPairs[] = {{"DoIdct", DALTJ_DoIdct, jpeg::idct_full_scalar},
                                              {"DoIdct8By8", DALTJ_DoIdct8By8, jpeg::idct_8by8_scalar},
                                              {"DoIdct_2to1", DALTJ_DoIdct_2to1, jpeg::idct_2to1_scalar}};

// Runs fn into an 8 x 8 window at column 5 of a larger frame; fails the test if it wrote outside.
inline Samples run_idct(DALTJ_IdctFn fn, const Block &block, const Multipliers &multipliers) {
    std::array<std::array<uint8_t, 20>, 10> frame;
    for (auto &row : frame) row.fill(kUnwritten);
    uint8_t *rows[8];
    for (int r = 0; r < 8; ++r) rows[r] = frame[r + 1].data();
    fn(jpeg::sample_range_limit() + jpeg::kIdctLevelShift, multipliers.data(), block.data(), rows, 5);
    Samples out;
    for (int r = 0; r < 8; ++r) {
        std::copy_n(rows[r] + 5, 8, out[r].begin());
        std::fill_n(rows[r] + 5, 8, kUnwritten);
    }
    for (const auto &row : frame)
        if (std::count(row.begin(), row.end(), kUnwritten) != 20) ADD_FAILURE() << "wrote outside its output";
    return out;
}

inline double basis(int frequency, int position) {
    return (frequency == 0 ? std::numbers::sqrt2 / 2 : 1.0) * std::cos((2 * position + 1) * frequency * std::numbers::pi / 16);
}

inline Quant random_quant(std::mt19937 &rng, int max_step) {
    Quant q;
    for (auto &step : q) step = static_cast<uint16_t>(1 + rng() % max_step);
    return q;
}

// Random content (smooth, an edge, noise or a saturated checkerboard), forward-transformed in
// double precision and quantised with `quant`.
inline Block legal_block(std::mt19937 &rng, const Quant &quant) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const int kind = static_cast<int>(rng() % 4);
    const double a = unit(rng) * 255, b = unit(rng) * 255, fx = unit(rng) * 3, fy = unit(rng) * 3;
    std::array<std::array<double, 8>, 8> px;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x)
            px[y][x] = kind == 0   ? a + (b - a) * (0.5 + 0.5 * std::sin(fx * x + fy * y))
                       : kind == 1 ? (x * fx + y * fy > 6 ? a : b)
                       : kind == 2 ? unit(rng) * 255
                                   : ((x + y) & 1) * 255.0;
    Block block;
    for (int i = 0; i < 64; ++i) {
        double sum = 0;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) sum += (px[y][x] - 128) * basis(i % 8, x) * basis(i / 8, y);
        block[i] = static_cast<int16_t>(std::lround(sum / 4 / quant[i]));
    }
    return block;
}

// Any coefficients or any multipliers.
template <class Table>
Table hostile(std::mt19937 &rng) {
    Table t;
    for (auto &v : t) v = static_cast<typename Table::value_type>(rng());
    return t;
}

// The AAN members' multipliers for `quant` (each step times sqrt(2) cos(k pi / 16) each way, 1 for
// k = 0, 12 fraction bits), and the accurate members' plain steps.
inline Multipliers aan_multipliers(const Quant &quant) {
    Multipliers m;
    for (int i = 0; i < 64; ++i) m[i] = static_cast<int32_t>(std::lround(quant[i] * basis(i / 8, 0) * basis(i % 8, 0) * 2 * 4096));
    return m;
}
inline Multipliers plain_multipliers(const Quant &quant) {
    Multipliers m;
    std::copy(quant.begin(), quant.end(), m.begin());
    return m;
}

}  // namespace kovra::test::idct
