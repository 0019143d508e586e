// Running inverse DCTs in tests: legal blocks made from sample content, hostile ones, multiplier
// tables, and a guarded output frame.
#pragma once

#include <array>
#include <cstdint>
#include <random>

#include "jpeg/idct_scalar.h"
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

// Runs fn into an 8 x 8 window of a larger frame filled with kUnwritten, at a non-zero output
// column; fails the test if anything outside the window changed. Returns the window.
Samples run_idct(DALTJ_IdctFn fn, const Block &block, const Multipliers &multipliers);

// A quantisation table of random steps 1..max_step.
Quant random_quant(std::mt19937 &rng, int max_step);

// A block as an encoder makes it: random sample content (smooth, edged, noisy or saturated),
// forward-transformed in double precision and quantised with `quant`.
Block legal_block(std::mt19937 &rng, const Quant &quant);

// Any coefficients and any multipliers.
Block hostile_block(std::mt19937 &rng);
Multipliers hostile_multipliers(std::mt19937 &rng);

// The AAN members' multipliers for `quant` (each step times the AAN scale factors of its
// position, 12 fraction bits), and the accurate members' plain steps.
Multipliers aan_multipliers(const Quant &quant);
Multipliers plain_multipliers(const Quant &quant);

}  // namespace kovra::test::idct
