// The inverse DCTs libjpeg-turbo has no counterpart of (idct_peer_test compares those it has): the
// partial members against the routine they shorten; the reduced AAN and harmonic members against a
// plain transcription (wrapping 32-bit arithmetic, each constant product truncated); the
// rectangular accurate members against the exact transform; the vector versions against their
// scalar cores (SSE2 natively, NEON on the ARMv7 build); the dither.

#include <functional>

#include "idct_support.h"
#include "jpeg/idct_arith.h"
#include "jpeg/idct_dither.h"
#include "jpeg/idct_simd.h"

namespace kovra::test::idct {
namespace {

using jpeg::Int;
using Line = std::array<Int, 8>;
using LineFn = Line (*)(const Line &);

Int truncated(Int x, int32_t constant) { return (x * constant) >> 8; }

Line aan_line(const Line &p) {
    const Int tmp10 = p[0] + p[4], tmp11 = p[0] - p[4], tmp13 = p[2] + p[6];
    const Int tmp12 = truncated(p[2] - p[6], 362) - tmp13;
    const Int tmp0 = tmp10 + tmp13, tmp3 = tmp10 - tmp13, tmp1 = tmp11 + tmp12, tmp2 = tmp11 - tmp12;
    const Int z13 = p[5] + p[3], z10 = p[5] - p[3], z11 = p[1] + p[7], z12 = p[1] - p[7];
    const Int tmp7 = z11 + z13, z5 = truncated(z10 + z12, 473);
    const Int tmp6 = truncated(z10, -669) - tmp7 + z5;
    const Int tmp5 = truncated(z11 - z13, 362) - tmp6;
    const Int tmp4 = truncated(z12, 277) - z5 + tmp5;
    return {tmp0 + tmp7, tmp1 + tmp6, tmp2 + tmp5, tmp3 - tmp4, tmp3 + tmp4, tmp2 - tmp5, tmp1 - tmp6, tmp0 - tmp7};
}

Line harmonic_line(const Line &p) {
    const Int d = p[0], a = p[1], a1 = truncated(a, 217), a2 = truncated(a, 145), a3 = truncated(a, 51);
    return {d + a, d + a1, d + a2, d + a3, d - a3, d - a2, d - a1, d - a};
}

uint8_t sample(Int sum) { return static_cast<uint8_t>(std::clamp((sum.v >> 5) + 128, 0, 255)); }

using Reference = std::function<Samples(const Block &, const Multipliers &)>;

// Output sample (j, i) averages full-size rows first[j], second[j] after the column pass and
// samples first[i], second[i] after the range limit; no averaging when first == second.
Reference model(LineFn line, std::vector<int> first, std::vector<int> second, size_t out_rows) {
    return [=](const Block &b, const Multipliers &m) {
        std::array<Line, 8> ws;
        for (int c = 0; c < 8; ++c) {
            Line p;
            for (int k = 0; k < 8; ++k) p[k] = (Int(b[8 * k + c]) * Int(m[8 * k + c])) >> 10;
            const Line column = line(p);
            for (int r = 0; r < 8; ++r) ws[r][c] = column[r];
        }
        Samples out;
        for (auto &row : out) row.fill(kUnwritten);
        const bool same = first == second;
        for (size_t j = 0; j < out_rows; ++j) {
            Line w;
            for (int k = 0; k < 8; ++k) w[k] = same ? ws[first[j]][k] : (ws[first[j]][k] + ws[second[j]][k]) >> 1;
            const Line v = line(w);
            for (size_t i = 0; i < first.size(); ++i)
                out[j][i] = same ? sample(v[first[i]]) : (sample(v[first[i]]) + sample(v[second[i]])) >> 1;
        }
        return out;
    };
}

Reference same_as(DALTJ_IdctFn fn) {
    return [fn](const Block &b, const Multipliers &m) { return run_idct(fn, b, m); };
}

// Legal blocks with the AAN multipliers of their table, then hostile blocks and tables; each
// member also gives the same samples whatever lies outside the corner it reads.
TEST(IdctFamily, MembersMatchTheirReferenceOnLegalAndHostileBlocks) {
    const std::vector<int> all{0, 1, 2, 3, 4, 5, 6, 7};
    const Reference full = same_as(DALTJ_DoIdct), half = same_as(DALTJ_DoIdct_2to1);
    const Reference harmonic = model(harmonic_line, all, all, 8), dc = model(aan_line, {0}, {0}, 1);
    const Reference quarter = model(harmonic_line, {1, 5}, {2, 6}, 2);
    const struct {
        DALTJ_IdctFn fn;
        int cols, rows;
        Reference reference;
    } members[] = {
        {DALTJ_DoIdct8By8, 8, 8, full},       {DALTJ_DoIdct1By1, 1, 1, full},         {DALTJ_DoIdct3By3, 3, 3, full},
        {DALTJ_DoIdct4By4, 4, 4, full},       {DALTJ_DoIdct5By5, 5, 5, full},         {DALTJ_DoIdct6By6, 6, 6, full},
        {DALTJ_DoIdct7By7, 7, 7, full},       {DALTJ_DoIdct1x1, 1, 1, dc},            {DALTJ_DoIdct_8to1, 1, 1, dc},
        {DALTJ_DoIdct1By2, 1, 2, harmonic},   {DALTJ_DoIdct2By1, 2, 1, harmonic},     {DALTJ_DoIdct2By2All, 2, 2, harmonic},
        {DALTJ_DoIdct2By2, 2, 2, harmonic},   {DALTJ_DoIdct1x1For4x4, 1, 1, half},    {DALTJ_DoIdct1x2For4x4, 1, 2, half},
        {DALTJ_DoIdct2x1For4x4, 2, 1, half},  {DALTJ_DoIdct2x2For4x4, 2, 2, half},    {DALTJ_DoIdct2x2AllFor4x4, 2, 2, half},
        {DALTJ_DoIdct3x3For4x4, 3, 3, half},  {DALTJ_DoIdct4x4For4x4, 4, 4, half},    {DALTJ_DoIdct_4to1, 2, 2, quarter},
        {DALTJ_DoProgIdct_4to1, 2, 2, quarter}, {DALTJ_DoIdct_4to1_CBCR, 2, 2, model(harmonic_line, {1, 5}, {2, 6}, 1)},
        {DALTJ_DoIdct_2to1, 8, 8, model(aan_line, {0, 2, 4, 6}, {1, 3, 5, 7}, 4)},
        {DALTJ_DoIdct_8to3, 8, 8, model(aan_line, {0, 3, 6}, {1, 4, 7}, 3)},
    };
    std::mt19937 rng(11);
    for (int n = 0; n < 6000; ++n) {
        const Quant q = random_quant(rng, rng() % 2 ? 16 : 255);
        const bool legal = n < 3000;
        const Block block = legal ? legal_block(rng, q) : hostile<Block>(rng);
        const Multipliers m = legal ? aan_multipliers(q) : hostile<Multipliers>(rng);
        for (size_t k = 0; k < std::size(members); ++k) {
            Block corner = block;
            for (int i = 0; i < 64; ++i)
                if (i % 8 >= members[k].cols || i / 8 >= members[k].rows) corner[i] = 0;
            const Samples out = run_idct(members[k].fn, corner, m);
            ASSERT_EQ(out, members[k].reference(corner, m)) << "member " << k << ", block " << n;
            ASSERT_EQ(run_idct(members[k].fn, block, m), out) << "member " << k << " read outside, block " << n;
        }
    }
}

// The rectangular accurate members: a peak error of one level and a mean square error below 0.02
// (the bounds the published algorithm meets at full size) against the exact transform of their size.
TEST(IdctAccurate, RectangularMembersStayWithinOneLevelOfTheExactTransform) {
    const struct {
        DALTJ_IdctFn fn;
        int width, height;
    } members[] = {{DALTJ_DoIdct_8x4, 8, 4}, {DALTJ_DoIdct_4x8, 4, 8}, {DALTJ_DoIdct_4x2, 4, 2},
                   {DALTJ_DoIdct_2x4, 2, 4}, {DALTJ_DoIdct_2x1, 2, 1}, {DALTJ_DoIdct_1x2, 1, 2}};
    auto cosine = [](int k, int x, int size) {
        return (k == 0 ? std::numbers::sqrt2 / 2 : 1.0) * std::cos((2 * x + 1) * k * std::numbers::pi / (2 * size));
    };
    std::mt19937 rng(13);
    for (const auto &m : members) {
        double squared = 0;
        for (int n = 0; n < 2000; ++n) {
            const Quant q = random_quant(rng, n % 2 ? 8 : 100);
            const Block b = legal_block(rng, q);
            const Samples out = run_idct(m.fn, b, plain_multipliers(q));
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) {
                    if (x >= m.width || y >= m.height) {
                        ASSERT_EQ(out[y][x], kUnwritten);
                        continue;
                    }
                    double sum = 0;
                    for (int v = 0; v < m.height; ++v)
                        for (int u = 0; u < m.width; ++u)
                            sum += b[8 * v + u] * q[8 * v + u] * cosine(u, x, m.width) * cosine(v, y, m.height);
                    const double error = out[y][x] - std::clamp(std::floor(128 + sum / 4 + 0.5 + 1e-9), 0.0, 255.0);
                    ASSERT_LE(std::abs(error), 1.0) << m.width << "x" << m.height << " block " << n;
                    squared += error * error;
                }
        }
        EXPECT_LT(squared / (2000 * m.width * m.height), 0.02) << m.width << "x" << m.height;
    }
}

// Blocks of real content (signs flipped, multipliers moved off their exact values), products that
// wrap at 32 bits, hostile blocks and tables, and one coefficient at every magnitude up to the
// 16-bit extremes with multipliers of 1024 and at the 32-bit extremes; and a table other than the
// library's, which the vector versions must read as the scalar cores do.
TEST(IdctSimd, VectorVersionsWriteWhatTheScalarCoresWrite) {
#if defined(__x86_64__) || defined(__ARM_NEON)
    ASSERT_TRUE(jpeg::kIdctSimd);
#endif
#if defined(__arm__)
    constexpr int kBlocks = 60'000, kStride = 8;  // under emulation
#else
    constexpr int kBlocks = 300'000, kStride = 1;
#endif
    auto expect_agree = [](const Block &b, const Multipliers &m, int n) {
        for (const VectorPair &pair : kVectorPairs)
            ASSERT_EQ(run_idct(pair.exported, b, m), run_idct(pair.scalar, b, m)) << pair.name << ", case " << n;
    };
    std::mt19937 rng(10);
    std::vector<std::pair<Block, Multipliers>> pool(512);
    for (auto &[b, m] : pool) {
        const Quant q = random_quant(rng, 1 << (rng() % 9));
        b = legal_block(rng, q), m = aan_multipliers(q);
    }
    for (int n = 0; n < kBlocks; ++n) {
        auto [b, m] = pool[rng() % pool.size()];
        for (int i = 0; i < 64; ++i) {
            if (n % 8 == 7) {
                b[i] = static_cast<int16_t>(1 << (rng() % 4));
                m[i] = static_cast<int32_t>((rng() % 4) << 30) + static_cast<int32_t>(rng() % 4096);
            } else {  // every eighth time m * 1024, as decoders build them (every 16th but one odd)
                b[i] = static_cast<int16_t>(rng() & 1 ? -b[i] : b[i]);
                m[i] = ((m[i] + static_cast<int32_t>(rng() % 1024) - 512) & (n % 8 == 5 ? ~1023 : ~0)) | (n % 16 == 13 && i == 0);
            }
        }
        if (n % 8 == 3) b = hostile<Block>(rng), m = hostile<Multipliers>(rng);
        expect_agree(b, m, n);
        if (HasFatalFailure()) return;
    }
    std::vector<int32_t> magnitudes{32767, 32768};
    for (double v = 1; v < 32768; v = v < 64 ? v + 1 : v * 1.01) magnitudes.push_back(static_cast<int32_t>(v));
    for (const int32_t multiplier : {1024, INT32_MAX, INT32_MIN}) {
        const size_t stride = multiplier == 1024 ? kStride : 64;
        Multipliers m;
        m.fill(multiplier);
        for (int at = 0; at < 64; ++at)
            for (size_t i = at % stride; i < magnitudes.size(); i += stride)
                for (const int32_t sign : {1, -1}) {
                    Block b{};
                    b[at] = static_cast<int16_t>(sign * magnitudes[i]);
                    expect_agree(b, m, at);
                    if (HasFatalFailure()) return;
                }
    }
    std::vector<uint8_t> table(2048);
    for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i * 7 + 3);
    Multipliers m;
    m.fill(1024);
    Block ordinary{300, -120}, dc_only{300}, saturated;
    ordinary[9] = 40;
    saturated.fill(30000);
    for (const VectorPair &pair : kVectorPairs)
        for (const Block *b : {&ordinary, &dc_only, &saturated}) {
            Samples vector{}, scalar{};
            uint8_t *vector_rows[8], *scalar_rows[8];
            for (int r = 0; r < 8; ++r) vector_rows[r] = vector[r].data(), scalar_rows[r] = scalar[r].data();
            pair.exported(table.data() + 1024, m.data(), b->data(), vector_rows, 0);
            pair.scalar(table.data() + 1024, m.data(), b->data(), scalar_rows, 0);
            EXPECT_EQ(vector, scalar) << pair.name << " on another table";
        }
}

// Consecutive blocks take opposite quarters of the dither table from any starting phase; the
// table mirrors itself with the opposite sign along each row, but for row 4's ends.
TEST(IdctDither, PhasesAndTable) {
    for (const uint32_t start_row : {0u, 5u}) {
        gDitherRowPhase = start_row;
        gDitherColPhase = 0;
        uint32_t row_phase = start_row, col_phase = 0;
        Multipliers m;
        m.fill(1024);  // the DC term itself is the sum
        for (int32_t dc = -4700; dc < 4700; dc += 37) {
            Samples expected;
            for (int r = 0; r < 8; ++r)
                for (int k = 0; k < 8; ++k) expected[r][k] = sample(Int(dc) + DALTJ_IdctDitherTable[(row_phase + r) % 16][col_phase + k]);
            ASSERT_EQ(run_idct(DALTJ_DoIdctDither, Block{static_cast<int16_t>(dc)}, m), expected) << "DC " << dc;
            row_phase = (row_phase + 8) % 16, col_phase = (col_phase + 8) % 16;
            ASSERT_EQ(gDitherRowPhase, row_phase);
            ASSERT_EQ(gDitherColPhase, col_phase);
        }
    }
    for (int r = 0; r < 16; ++r)
        for (int k = (r == 4 ? 1 : 0); k < 8; ++k) EXPECT_EQ(DALTJ_IdctDitherTable[r][15 - k], -DALTJ_IdctDitherTable[r][k]) << r;
    EXPECT_EQ(DALTJ_IdctDitherTable[4][0] + 8, DALTJ_IdctDitherTable[4][15]);
}

TEST(IdctHelpers, Logn) {
    const std::pair<int32_t, int32_t> cases[] = {{0, -1}, {1, 0}, {-1, 0}, {3, 1}, {-3, 1}, {4, 2},
                                                 {1023, 9}, {1024, 10}, {INT32_MAX, 30}, {INT32_MIN, 31}};
    for (const auto &[n, log] : cases) EXPECT_EQ(DALTJ_LOGN(n), log) << n;
}

}  // namespace
}  // namespace kovra::test::idct
