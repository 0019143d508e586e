// The AAN inverse DCTs on the vector unit (idct_simd_lanes.h), eight lines at a time in 16-bit
// lanes, giving exactly the samples of the scalar cores.
//
// Layout: the coefficient rows are the registers, so a lane is a column and pass 1 runs the
// transform across registers (Aan::line on Lanes). The workspace rows are then transposed, so
// that a lane is a workspace row for pass 2, and the sums are transposed back into output rows.
// The half-size output averages pairs of workspace rows before the transpose, and pairs of
// samples after the range limit, as the scalar core does. Pass 1 reads the coefficient rows up to
// the last pair that holds anything (the one-input transform of a block whose rows 1..7 are zero
// folds to copies of row 0), and a block with only its DC term skips both passes. Rows whose
// columns 4..7 are zero (every row of most blocks of a photograph) are dequantised and bounded two
// to a register.
//
// Dequantisation: the multipliers decoders build are m * 1024 with m in 0..32767, for which
// (c * q) >> 10 is c * m, one multiply-add of 16-bit pairs per four lanes. The common path takes
// every table so, checking it on the rows it reads; a block whose table is not such a table, or
// that does not fit in 16 bits, or whose range-limit table is not the library's own, goes out of
// line (refused_block()), where the products are the 32-bit ones of the scalar core.
//
// Why 16 bits give the 32-bit results. A product by a constant is exact for every 16-bit input
// (scaled() in idct_simd_lanes.h), and sums wrap, so a value comes out exact whenever its true
// value fits in 16 bits, provided every value that a product takes, and every output, does too.
// In a line transform those are linear in the inputs x_k, apart from the truncation of at most
// three products: each is at most sum_k K_k |x_k| + 3 in magnitude, where K_k, the largest weight
// any of them gives input k, is 1, 1, 1, 302/256, 1, 452/256, 618/256, 1287/256. So a column c
// of the workspace is at most B_c = sum_k K_k |p_kc| + 3 (p the dequantised coefficients, k the
// row), and every value of pass 2 at most sum_c K_c B_c + 3 < T + 47, with
// T = sum_k sum_c K_k K_c |p_kc|; averaging rows keeps within the same bounds. Pass 2 adds the
// level shift, 128 << 5, to its DC input, which every output carries once: 4096 more on the
// outputs. block_fits() checks T < 28620 on the dequantised block, rounding on the safe side; a
// block that fails (526 of the 641,243 corpus blocks the benchmark reads) goes to the scalar core.
// The dequantisation is saturated to 16 bits, and a saturated value fails the check.
//
// The range-limit lookup is then a saturating narrowing of sum >> 5, which is what a table built
// as the library builds it holds (range_limit.h); any other table goes to the scalar core whole.

#include "jpeg/idct_simd.h"

#include "jpeg/idct_scalar.h"

#if KOVRA_IDCT_SIMD

#include <cstring>

#include "jpeg/idct_aan.h"

namespace kovra::jpeg {
namespace {

using lanes::Lanes;
using Rows = Lanes[8];

// K_k in 1/256.
constexpr int kLineWeight[8] = {256, 256, 256, 302, 256, 452, 618, 1287};

// K_k K_c / 90 in 1/65536, rounded up: (|p_kc| * block_weight(k, c)) >> 16 is
// K_k K_c |p_kc| / 90, less by under 1.
constexpr int16_t block_weight(int k, int c) {
    return static_cast<int16_t>((kLineWeight[k] * kLineWeight[c] + 89) / 90);
}

// How coefficient rows go into registers to be dequantised and bounded: whole, or, where their
// columns 4..7 are zero, two to a register (columns 0..3 of each). Register k takes its lanes
// 0..3 from natural position low[k] on, and its lanes 4..7 from high[k] on; weight[k] holds the
// bound's weights for its lanes.
struct Layout {
    int registers = 0;
    int low[8]{}, high[8]{};
    int16_t weight[8][8]{};

    constexpr bool paired(int k) const { return high[k] != low[k] + 4; }
};

// Rows 0..rows-1, whole up to row paired_from and in pairs from there (rows 0 and 1 of a block
// with only row 0 non-zero).
constexpr Layout layout(int rows, int paired_from) {
    Layout l;
    for (int r = 0; r < rows; ++l.registers) {
        const int k = l.registers;
        l.low[k] = 8 * r;
        l.high[k] = r >= paired_from ? 8 * r + 8 : 8 * r + 4;
        for (int i = 0; i < 8; ++i) {
            const int at = i < 4 ? l.low[k] + i : l.high[k] + i - 4;
            l.weight[k][i] = block_weight(at / 8, at % 8);
        }
        r += l.paired(k) ? 2 : 1;
    }
    return l;
}

// With the sum of those terms over the block at most this, T < 90 * (254 + 64) = 28620, so that
// T + 47 + 4096 < 32768. Below 255, so that the sum can take each lane as at most 255.
constexpr uint32_t kWeightedLimit = 254;

// Whether a block with dequantised registers d[0..N-1] (the rest zero) stays exact in 16 bits.
template <int N>
[[gnu::always_inline]] inline bool block_fits(const Rows &d, const int16_t (&weight)[8][8]) {
    lanes::V sum = lanes::weighted_magnitude(d[0].v, lanes::load(weight[0]));
    #pragma GCC unroll 8
    for (int k = 1; k < N; ++k) sum = lanes::add_saturated(sum, lanes::weighted_magnitude(d[k].v, lanes::load(weight[k])));
    return lanes::sum_of_bytes(sum) <= kWeightedLimit;
}

// What pass 1 found: a block with nothing but its DC term, the workspace (its columns 4..7 zero
// when narrow), or a column that would not fit in 16 bits (or, with the short dequantisation,
// multipliers it does not take).
enum class Pass1 { kDcOnly, kWorkspace, kNarrowWorkspace, kTooLarge };

// The column transform of coefficient rows 0..N-1 (the rest zero), their columns 4..7 zero from
// row kPairedFrom on, or kTooLarge.
template <int N, bool kShort, int kPairedFrom>
[[gnu::always_inline]] inline Pass1 columns_in(const lanes::V (&c)[8], const int32_t *multipliers, Rows &ws) {
    static constexpr Layout kLayout = layout(N, kPairedFrom);
    constexpr int kRegisters = kLayout.registers;
    lanes::V in[8];
    #pragma GCC unroll 8
    for (int k = 0; k < kRegisters; ++k) {
        in[k] = kLayout.paired(k) ? lanes::low_halves(c[kLayout.low[k] / 8], c[kLayout.high[k] / 8]) : c[kLayout.low[k] / 8];
    }
    Rows d;
    lanes::dequantised<kRegisters, kShort>(in, multipliers, kLayout.low, kLayout.high, d);
    if (!block_fits<kRegisters>(d, kLayout.weight)) return Pass1::kTooLarge;
    Rows p;
    #pragma GCC unroll 8
    for (int k = 0; k < kRegisters; ++k) {
        if (kLayout.paired(k)) {
            p[kLayout.low[k] / 8] = lanes::low_half(d[k].v), p[kLayout.high[k] / 8] = lanes::high_half(d[k].v);
        } else {
            p[kLayout.low[k] / 8] = d[k];
        }
    }
    Aan::line<N>(p, ws, 1);
    return kPairedFrom == 0 ? Pass1::kNarrowWorkspace : Pass1::kWorkspace;
}

// The same with the layout that the block's zeros allow: all rows in pairs when its columns 4..7
// are zero, rows 4.. in pairs when theirs are (bottom: rows 4..7 together).
template <int N, bool kShort>
[[gnu::always_inline]] inline Pass1 columns_of(const lanes::V (&c)[8], const int32_t *multipliers, bool narrow,
                                               lanes::V bottom, Rows &ws) {
    if (narrow) return columns_in<N, kShort, 0>(c, multipliers, ws);
    if (N > 4 && lanes::high_half_zero(bottom)) return columns_in<N, kShort, 4>(c, multipliers, ws);
    return columns_in<N, kShort, 8>(c, multipliers, ws);
}

// Pass 1 into the workspace rows, skipping the coefficient rows that are zero.
template <bool kShort>
[[gnu::always_inline]] inline Pass1 columns(const int16_t *coefficients, const int32_t *multipliers, Rows &ws) {
    lanes::V c[8];
    #pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) c[k] = lanes::load(coefficients + 8 * k);
    const lanes::V rows23 = lanes::either(c[2], c[3]), rows45 = lanes::either(c[4], c[5]);
    const lanes::V rows67 = lanes::either(c[6], c[7]);
    const lanes::V bottom = lanes::either(rows45, rows67);
    const bool narrow = lanes::high_half_zero(lanes::either(lanes::either(c[0], c[1]), lanes::either(rows23, bottom)));
    if (!lanes::is_zero(rows67)) return columns_of<8, kShort>(c, multipliers, narrow, bottom, ws);
    if (!lanes::is_zero(rows45)) return columns_of<6, kShort>(c, multipliers, narrow, bottom, ws);
    if (!lanes::is_zero(rows23)) return columns_of<4, kShort>(c, multipliers, narrow, bottom, ws);
    if (!lanes::is_zero(c[1])) return columns_of<2, kShort>(c, multipliers, narrow, bottom, ws);
    static constexpr int16_t kAc[8] = {0, -1, -1, -1, -1, -1, -1, -1};
    if (lanes::is_zero(lanes::both(c[0], lanes::load(kAc)))) return Pass1::kDcOnly;
    return columns_of<1, kShort>(c, multipliers, narrow, bottom, ws);
}

// Pass 2 over the transposed workspace, whose columns N..7 are zero: sums[k] holds sample k of
// each lane's row, level-shifted, still with its 5 fraction bits.
template <int N>
[[gnu::always_inline]] inline void rows_of(Rows &ws, Rows &sums) {
    lanes::V t[8];
    #pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) t[k] = ws[k].v;
    lanes::transpose(t);
    #pragma GCC unroll 8
    for (int k = 0; k < N; ++k) ws[k] = t[k];
    ws[0] = ws[0] + Lanes(128 << 5);
    Aan::line<N>(ws, sums, 1);
}

// Pass 2 where pass 1 gave a workspace.
[[gnu::always_inline]] inline void rows(Pass1 pass1, Rows &ws, Rows &sums) {
    if (pass1 == Pass1::kNarrowWorkspace) {
        rows_of<4>(ws, sums);
    } else {
        rows_of<8>(ws, sums);
    }
}

// The sample of a block with nothing but its DC term.
inline uint8_t dc_sample(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients) {
    return range_limit[aan_index(aan_input(coefficients, multipliers, 0))];
}

// The sample of a level-shifted sum, to be clamped to 0..255.
[[gnu::always_inline]] inline lanes::V unclamped_sample(Lanes sum) { return lanes::shift_right<5>(sum.v); }

// The eight rows of full-size samples.
[[gnu::always_inline]] inline void write_full(const Rows &sums, uint8_t **output_rows, uint32_t output_column) {
    lanes::V s[8];
    #pragma GCC unroll 8
    for (int k = 0; k < 8; ++k) s[k] = unclamped_sample(sums[k]);
    lanes::Bytes row_pairs[4];
    lanes::narrow_transposed(s, row_pairs);
    #pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) {
        lanes::store8(output_rows[2 * j] + output_column, row_pairs[j], 0);
        lanes::store8(output_rows[2 * j + 1] + output_column, row_pairs[j], 1);
    }
}

// The four rows of half-size samples: output column i (one output row per lane) averages the
// samples of columns 2i and 2i + 1, clamped first.
[[gnu::always_inline]] inline void write_half(const Rows &sums, uint8_t **output_rows, uint32_t output_column) {
    auto samples = [&sums](int a, int b) {
        return lanes::narrow_unsigned(unclamped_sample(sums[a]), unclamped_sample(sums[b]));
    };
    const lanes::Bytes columns02 = lanes::half_sum_bytes(samples(0, 4), samples(1, 5));
    const lanes::Bytes columns13 = lanes::half_sum_bytes(samples(2, 6), samples(3, 7));
    const lanes::Bytes rows = lanes::rows_of_four(columns02, columns13);
    #pragma GCC unroll 4
    for (int j = 0; j < 4; ++j) lanes::store4(output_rows[j] + output_column, rows, j);
}

// A full-size (kSize 8) or half-size (kSize 4) block, or false when the block does not fit in 16
// bits (or, with the short dequantisation, kShort, its multipliers are not what it takes). A block
// with nothing but its DC term is written as kSize rows of its sample. No call on the way, so
// that the common path needs no registers saved.
template <int kSize, bool kShort>
[[gnu::always_inline]] inline bool vector_block(const uint8_t *range_limit, const int32_t *multipliers,
                                                const int16_t *coefficients, uint8_t **output_rows,
                                                uint32_t output_column) {
    Rows ws;
    const Pass1 pass1 = columns<kShort>(coefficients, multipliers, ws);
    if (pass1 == Pass1::kTooLarge) return false;
    if (pass1 == Pass1::kDcOnly) {
        // kSize copies of the sample as one store a row.
        const uint64_t dc = dc_sample(range_limit, multipliers, coefficients) * 0x0101010101010101u;
        for (int r = 0; r < kSize; ++r) std::memcpy(output_rows[r] + output_column, &dc, kSize);
        return true;
    }
    if (kSize == 4) {
        #pragma GCC unroll 4
        for (int j = 0; j < 4; ++j) ws[j] = lanes::half_sum(ws[2 * j].v, ws[2 * j + 1].v);
        #pragma GCC unroll 4
        for (int j = 4; j < 8; ++j) ws[j] = lanes::splat(0);
    }
    Rows sums;
    rows(pass1, ws, sums);
    if (kSize == 8) {
        write_full(sums, output_rows, output_column);
    } else {
        write_half(sums, output_rows, output_column);
    }
    return true;
}

// The library's own table, which holds the plain clamp (null until the library's initialisation
// has run, which sends every block to refused_block()).
const uint8_t *const kOwnTable = sample_range_limit() + kIdctLevelShift;

// Every block that the common path refused: with a table that holds the plain clamp, the vector
// version with the 32-bit products, unless the common path has just run that very version (the
// library's own table where there is no short dequantisation); otherwise, or where that refuses
// too, the scalar core.
template <int kSize>
[[gnu::noinline]] void refused_block(const uint8_t *range_limit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **output_rows, uint32_t output_column) {
    const bool already_tried = range_limit == kOwnTable && !lanes::kShortDequantisation;
    if (!already_tried && idct_table_is_plain_clamp(range_limit) &&
        vector_block<kSize, false>(range_limit, multipliers, coefficients, output_rows, output_column)) {
        return;
    }
    const auto scalar = kSize == 8 ? idct_full_scalar : idct_2to1_scalar;
    scalar(range_limit, multipliers, coefficients, output_rows, output_column);
}

// The common path: the library's own table, and multipliers that the short dequantisation takes
// where it is worth a try.
template <int kSize>
[[gnu::always_inline]] inline void any_block(const uint8_t *range_limit, const int32_t *multipliers,
                                             const int16_t *coefficients, uint8_t **output_rows,
                                             uint32_t output_column) {
    if (range_limit == kOwnTable &&
        vector_block<kSize, lanes::kShortDequantisation>(range_limit, multipliers, coefficients, output_rows,
                                                         output_column)) {
        return;
    }
    refused_block<kSize>(range_limit, multipliers, coefficients, output_rows, output_column);
}

}  // namespace

void idct_full_simd(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                    uint8_t **output_rows, uint32_t output_column) {
    any_block<8>(range_limit, multipliers, coefficients, output_rows, output_column);
}

void idct_2to1_simd(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                    uint8_t **output_rows, uint32_t output_column) {
    any_block<4>(range_limit, multipliers, coefficients, output_rows, output_column);
}

}  // namespace kovra::jpeg

#else

namespace kovra::jpeg {

void idct_full_simd(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                    uint8_t **output_rows, uint32_t output_column) {
    idct_full_scalar(range_limit, multipliers, coefficients, output_rows, output_column);
}

void idct_2to1_simd(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                    uint8_t **output_rows, uint32_t output_column) {
    idct_2to1_scalar(range_limit, multipliers, coefficients, output_rows, output_column);
}

}  // namespace kovra::jpeg

#endif
