// The vector inverse DCTs against their scalar cores, byte for byte (idct_simd_support.h): on
// random legal blocks made from sample content, on every single-coefficient block across the
// magnitudes where the vector version's 16-bit bound starts to refuse a block, on blocks whose
// dequantisation wraps at 32 bits, and on hostile blocks. Natively that is SSE2, on the ARMv7
// build NEON (under emulation, so fewer blocks).

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "idct_simd_support.h"
#include "jpeg/idct_simd.h"

namespace kovra::test::idct {
namespace {

#if defined(__arm__)
constexpr int kLegalBlocks = 200'000;
constexpr size_t kMagnitudeStride = 8;
#else
constexpr int kLegalBlocks = 1'000'000;
constexpr size_t kMagnitudeStride = 1;
#endif

// Cheap variation for the many blocks made from one pool entry.
struct XorShift {
    uint64_t state;
    uint64_t operator()() {
        state ^= state << 13, state ^= state >> 7, state ^= state << 17;
        return state;
    }
};

TEST(IdctSimd, VectorVersionIsBuiltOnBothTargets) {
#if defined(__x86_64__) || defined(__ARM_NEON)
    EXPECT_TRUE(jpeg::kIdctSimd);
#else
    GTEST_SKIP() << "no vector unit on this target";
#endif
}

// The vector versions compute the clamp that the library's table holds; given any other table
// they give what the scalar core reads from it, for every kind of block.
TEST(IdctSimd, AnotherTableIsReadAsTheScalarCoreReadsIt) {
    if (!jpeg::kIdctSimd) GTEST_SKIP() << "no vector unit on this target";
    std::vector<uint8_t> table(2048);
    for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i * 7 + 3);
    const uint8_t *other = table.data() + 1024;
    Multipliers m{};
    m.fill(1024);
    Block ordinary{}, dc_only{}, hostile{};
    ordinary[0] = 300, ordinary[1] = -120, ordinary[9] = 40;
    dc_only[0] = 300;
    hostile.fill(30000);
    for (const VectorPair &pair : kVectorPairs) {
        for (const Block *b : {&ordinary, &dc_only, &hostile}) {
            Samples vector{}, scalar{};
            uint8_t *vector_rows[8], *scalar_rows[8];
            for (int r = 0; r < 8; ++r) vector_rows[r] = vector[r].data(), scalar_rows[r] = scalar[r].data();
            pair.exported(other, m.data(), b->data(), vector_rows, 0);
            pair.scalar(other, m.data(), b->data(), scalar_rows, 0);
            EXPECT_EQ(vector, scalar) << pair.name;
        }
    }
}

// Legal blocks from a pool, each time with its coefficients' signs flipped at random (another
// content of the same spectrum) and its multipliers moved off their exact values.
TEST(IdctSimd, RandomLegalBlocksMatchTheScalarCores) {
    std::mt19937 rng(10);
    struct Legal {
        Block block;
        Multipliers multipliers;
    };
    std::vector<Legal> pool(1024);
    for (Legal &legal : pool) {
        const Quant quant = random_quant(rng, 1 << (rng() % 9));
        legal = {legal_block(rng, quant), aan_multipliers(quant)};
    }
    XorShift next{10};
    for (int n = 0; n < kLegalBlocks; ++n) {
        Legal legal = pool[next() % pool.size()];
        const uint64_t signs = next();
        for (int i = 0; i < 64; i += 4) {
            const uint64_t offsets = next();
            for (int j = i; j < i + 4; ++j) {
                if ((signs >> j) & 1) legal.block[j] = static_cast<int16_t>(-legal.block[j]);
                legal.multipliers[j] += static_cast<int32_t>((offsets >> (16 * (j - i))) & 1023) - 512;
            }
        }
        const VectorPair &pair = kVectorPairs[n % 3];
        ASSERT_TRUE(agree(pair, legal.block, legal.multipliers)) << pair.name << ", block " << n;
    }
}

// One coefficient, anywhere, from 1 up to the extremes of 16 bits, with a multiplier of 1024 (the
// coefficient is the pass-1 input), and a few with multipliers at the extremes of 32 bits.
// Guarded runs: nothing may be written outside the output block.
TEST(IdctSimd, SingleCoefficientsOfEveryMagnitude) {
    std::vector<int32_t> magnitudes;
    for (double v = 1; v < 32768; v = v < 64 ? v + 1 : v * 1.01) magnitudes.push_back(static_cast<int32_t>(v));
    magnitudes.push_back(32767);
    magnitudes.push_back(32768);
    for (const int32_t multiplier : {1024, INT32_MAX, INT32_MIN}) {
        const size_t stride = multiplier == 1024 ? kMagnitudeStride : 64;
        Multipliers m{};
        m.fill(multiplier);
        for (int at = 0; at < 64; ++at) {
            for (size_t i = at % stride; i < magnitudes.size(); i += stride) {
                for (const int32_t sign : {1, -1}) {
                    Block b{};
                    b[at] = static_cast<int16_t>(sign * magnitudes[i]);
                    for (const VectorPair &pair : kVectorPairs) {
                        ASSERT_EQ(run_idct(pair.exported, b, m), run_idct(pair.scalar, b, m))
                            << pair.name << ", coefficient " << b[at] << " at " << at << ", multiplier "
                            << multiplier;
                    }
                }
            }
        }
    }
}

// Products that wrap at 32 bits to a small pass-1 input (so the vector version takes them), and
// hostile blocks and tables, which it hands to the scalar core.
TEST(IdctSimd, WrappingAndHostileBlocksMatchTheScalarCores) {
    std::mt19937 rng(11);
    for (int n = 0; n < kLegalBlocks / 20; ++n) {
        Block b = n % 2 ? hostile_block(rng) : Block{};
        Multipliers m = hostile_multipliers(rng);
        if (n % 2 == 0) {
            for (int i = 0; i < 64; ++i) {
                b[i] = static_cast<int16_t>(1 << (rng() % 4));
                m[i] = static_cast<int32_t>((rng() % 4) << 30) + static_cast<int32_t>(rng() % 4096);
            }
        }
        const VectorPair &pair = kVectorPairs[n % 3];
        ASSERT_EQ(run_idct(pair.exported, b, m), run_idct(pair.scalar, b, m)) << pair.name << ", block " << n;
    }
}

}  // namespace
}  // namespace kovra::test::idct
