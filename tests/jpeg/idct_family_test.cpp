// The AAN-style inverse DCTs against a plain transcription of their rules (wrapping 32-bit
// arithmetic, every constant product truncated, no shortcuts, and a clamp in place of the
// range-limit table), on legal blocks and on hostile blocks with hostile multipliers; the partial
// members against the full computation on blocks that are zero outside their corner; the dither
// phases; the range-limit table's layout; the small helpers.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "idct_support.h"
#include "jpeg/idct_arith.h"
#include "jpeg/idct_dither.h"

namespace kovra::test::idct {
namespace {

using jpeg::Int;
using Line = std::array<Int, 8>;
using Workspace = std::array<Line, 8>;  // [row][column]
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

Workspace columns(LineFn line, const Block &b, const Multipliers &m) {
    Workspace ws{};
    for (int c = 0; c < 8; ++c) {
        Line p{};
        for (int k = 0; k < 8; ++k) p[k] = (Int(b[8 * k + c]) * Int(m[8 * k + c])) >> 10;
        const Line column = line(p);
        for (int r = 0; r < 8; ++r) ws[r][c] = column[r];
    }
    return ws;
}

Samples unwritten() {
    Samples s;
    for (auto &row : s) row.fill(kUnwritten);
    return s;
}

Samples full_model(LineFn line, const Block &b, const Multipliers &m) {
    const Workspace ws = columns(line, b, m);
    Samples out{};
    for (int r = 0; r < 8; ++r) {
        const Line values = line(ws[r]);
        for (int k = 0; k < 8; ++k) out[r][k] = sample(values[k]);
    }
    return out;
}

// Output sample (j, i) averages full-size rows first[j], second[j] in the workspace and full-size
// samples first[i], second[i] after the range limit.
Samples reduced_model(LineFn line, const std::vector<int> &first, const std::vector<int> &second, size_t out_rows,
                      const Block &b, const Multipliers &m) {
    const Workspace ws = columns(line, b, m);
    Samples out = unwritten();
    for (size_t j = 0; j < out_rows; ++j) {
        Line w{};
        for (int k = 0; k < 8; ++k) w[k] = (ws[first[j]][k] + ws[second[j]][k]) >> 1;
        const Line values = line(w);
        for (size_t i = 0; i < first.size(); ++i) {
            out[j][i] = (sample(values[first[i]]) + sample(values[second[i]])) >> 1;
        }
    }
    return out;
}

using Reference = std::function<Samples(const Block &, const Multipliers &)>;

Reference same_as(DALTJ_IdctFn fn) {
    return [fn](const Block &b, const Multipliers &m) { return run_idct(fn, b, m); };
}

Samples dc_model(const Block &b, const Multipliers &m) {
    Samples out = unwritten();
    out[0][0] = sample((Int(b[0]) * Int(m[0])) >> 10);
    return out;
}

struct Member {
    const char *name;
    DALTJ_IdctFn fn;
    int cols, rows;  // the corner it reads
    Reference reference;
};

std::vector<Member> members() {
    const Reference aan = [](const Block &b, const Multipliers &m) { return full_model(aan_line, b, m); };
    const Reference harmonic = [](const Block &b, const Multipliers &m) { return full_model(harmonic_line, b, m); };
    const Reference halves = [](const Block &b, const Multipliers &m) {
        return reduced_model(aan_line, {0, 2, 4, 6}, {1, 3, 5, 7}, 4, b, m);
    };
    const Reference thirds = [](const Block &b, const Multipliers &m) {
        return reduced_model(aan_line, {0, 3, 6}, {1, 4, 7}, 3, b, m);
    };
    auto quarters = [](size_t rows) {
        return [rows](const Block &b, const Multipliers &m) {
            return reduced_model(harmonic_line, {1, 5}, {2, 6}, rows, b, m);
        };
    };
    const Reference full = same_as(DALTJ_DoIdct), half = same_as(DALTJ_DoIdct_2to1);
    return {
        {"DoIdct", DALTJ_DoIdct, 8, 8, aan},
        {"DoIdct8By8", DALTJ_DoIdct8By8, 8, 8, aan},
        {"DoIdct1By1", DALTJ_DoIdct1By1, 1, 1, full},
        {"DoIdct3By3", DALTJ_DoIdct3By3, 3, 3, full},
        {"DoIdct4By4", DALTJ_DoIdct4By4, 4, 4, full},
        {"DoIdct5By5", DALTJ_DoIdct5By5, 5, 5, full},
        {"DoIdct6By6", DALTJ_DoIdct6By6, 6, 6, full},
        {"DoIdct7By7", DALTJ_DoIdct7By7, 7, 7, full},
        {"DoIdct1x1", DALTJ_DoIdct1x1, 1, 1, dc_model},
        {"DoIdct_8to1", DALTJ_DoIdct_8to1, 1, 1, dc_model},
        {"DoIdct1By2", DALTJ_DoIdct1By2, 1, 2, harmonic},
        {"DoIdct2By1", DALTJ_DoIdct2By1, 2, 1, harmonic},
        {"DoIdct2By2All", DALTJ_DoIdct2By2All, 2, 2, harmonic},
        {"DoIdct2By2", DALTJ_DoIdct2By2, 2, 2, harmonic},
        {"DoIdct_2to1", DALTJ_DoIdct_2to1, 8, 8, halves},
        {"DoIdct1x1For4x4", DALTJ_DoIdct1x1For4x4, 1, 1, half},
        {"DoIdct1x2For4x4", DALTJ_DoIdct1x2For4x4, 1, 2, half},
        {"DoIdct2x1For4x4", DALTJ_DoIdct2x1For4x4, 2, 1, half},
        {"DoIdct2x2For4x4", DALTJ_DoIdct2x2For4x4, 2, 2, half},
        {"DoIdct2x2AllFor4x4", DALTJ_DoIdct2x2AllFor4x4, 2, 2, half},
        {"DoIdct3x3For4x4", DALTJ_DoIdct3x3For4x4, 3, 3, half},
        {"DoIdct4x4For4x4", DALTJ_DoIdct4x4For4x4, 4, 4, half},
        {"DoIdct_8to3", DALTJ_DoIdct_8to3, 8, 8, thirds},
        {"DoIdct_4to1", DALTJ_DoIdct_4to1, 2, 2, quarters(2)},
        {"DoProgIdct_4to1", DALTJ_DoProgIdct_4to1, 2, 2, quarters(2)},
        {"DoIdct_4to1_CBCR", DALTJ_DoIdct_4to1_CBCR, 2, 2, quarters(1)},
    };
}

void expect_members_match(const std::function<std::pair<Block, Multipliers>()> &next, int blocks) {
    const std::vector<Member> all = members();
    for (int n = 0; n < blocks; ++n) {
        const auto [block, multipliers] = next();
        for (const Member &member : all) {
            const Block b = corner(block, member.cols, member.rows);
            ASSERT_EQ(run_idct(member.fn, b, multipliers), member.reference(b, multipliers))
                << member.name << ", block " << n;
        }
    }
}

TEST(IdctAanFamily, LegalBlocksGiveTheModelsSamples) {
    std::mt19937 rng(11);
    expect_members_match([&] {
        const Quant q = random_quant(rng, rng() % 2 ? 16 : 255);
        return std::pair{legal_block(rng, q), aan_multipliers(q)};
    }, 3000);
}

TEST(IdctAanFamily, HostileBlocksWrapLikeTheModel) {
    std::mt19937 rng(12);
    expect_members_match([&] { return std::pair{hostile_block(rng), hostile_multipliers(rng)}; }, 3000);
}

TEST(IdctDither, ConsecutiveBlocksUseOppositeQuartersFromAnyPhase) {
    for (const uint32_t start_row : {0u, 5u}) {
        gDitherRowPhase = start_row;
        gDitherColPhase = 0;
        uint32_t row_phase = start_row, col_phase = 0;
        Multipliers m{};
        m.fill(1024);  // the DC term itself is the sum
        for (int32_t dc = -4700; dc < 4700; dc += 37) {
            Block b{};
            b[0] = static_cast<int16_t>(dc);
            Samples expected{};
            for (int r = 0; r < 8; ++r) {
                const int32_t *dither = DALTJ_IdctDitherTable[(row_phase + r) % 16];
                for (int k = 0; k < 8; ++k) expected[r][k] = sample(Int(dc) + dither[col_phase + k]);
            }
            ASSERT_EQ(run_idct(DALTJ_DoIdctDither, b, m), expected) << "DC " << dc;
            row_phase = (row_phase + 8) % 16;
            col_phase = (col_phase + 8) % 16;
            ASSERT_EQ(gDitherRowPhase, row_phase);
            ASSERT_EQ(gDitherColPhase, col_phase);
        }
    }
}

// The table mirrors itself with the opposite sign along each row, except row 4's last entry.
TEST(IdctDither, TableMirrorsEachRowButOneEntry) {
    for (int r = 0; r < 16; ++r) {
        for (int k = 0; k < 8; ++k) {
            if (r == 4 && k == 0) continue;
            EXPECT_EQ(DALTJ_IdctDitherTable[r][15 - k], -DALTJ_IdctDitherTable[r][k]) << r << "," << k;
        }
    }
    EXPECT_EQ(DALTJ_IdctDitherTable[4][0], 127);
    EXPECT_EQ(DALTJ_IdctDitherTable[4][15], 135);
}

// The inverse DCTs' view: clamping over the AAN index range, and the accurate members' masked
// window, whose upper half stands for the negative sums. The colour converters' range lies inside.
TEST(RangeLimit, ClampsEveryIndexEitherStyleCanRead) {
    const uint8_t *table = idct_range_limit();
    for (int i = -512; i < 512; ++i) {
        const int clamped = std::clamp(i + 128, 0, 255);
        EXPECT_EQ(table[i], clamped) << i;
        EXPECT_EQ(table[i & 0x3FF], clamped) << i;
    }
}

TEST(IdctHelpers, DctMethodsAndLogn) {
    EXPECT_EQ(DALTJ_GetDctMethod2to1(nullptr), &DALTJ_DoIdct_4x4);
    EXPECT_EQ(DALTJ_GetDctMethod4to1(nullptr), &DALTJ_DoIdct_2x2);
    EXPECT_EQ(DALTJ_GetDctMethod8to1(nullptr), &DALTJ_DoIdct_1x1);
    const std::pair<int32_t, int32_t> cases[] = {{0, -1}, {1, 0}, {-1, 0}, {2, 1}, {3, 1}, {-3, 1}, {4, 2},
                                                 {1023, 9}, {1024, 10}, {-8, 3}, {INT32_MAX, 30}, {INT32_MIN, 31}};
    for (const auto &[n, log] : cases) EXPECT_EQ(DALTJ_LOGN(n), log) << n;
}

}  // namespace
}  // namespace kovra::test::idct
