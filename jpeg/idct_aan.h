// The AAN-style inverse DCTs: the fast scaled separable transform of Arai, Agui and Nakajima with
// 8-bit constants, shared by the full-size and dithered IDCTs and by every AAN-style member of the
// scaled family (the single-harmonic members use a cheaper line transform in the same frame).
//
// Precision: a multiplier carries the AAN scale factor of its position and 10 more bits, so that
// (C * Q) >> 10 is a pass-1 input with 2 fraction bits. Every product by a constant is truncated
// by >> 8, with no rounding term anywhere. A sum leaves pass 2 with 5 fraction bits (3 for the gain
// of the 2-D transform, 2 of working precision), which the range-limit lookup removes.
//
// Partial members: a line transform instantiated for N inputs treats inputs N..7 as the constant
// 0, which the compiler folds away. So a member that reads only a corner of the block computes
// exactly what the full transform computes for a block that is zero outside that corner.
//
// Workspace: 8 x 8 Int on the stack, ws[row][column]; pass 1 fills the used columns of all eight
// rows, pass 2 reads the used columns of each row.
#pragma once

#include <cstdint>
#include <cstring>

#include "jpeg/idct_arith.h"
#include "jpeg/range_limit.h"

namespace kovra::jpeg {

// A pass-1 input: the dequantised coefficient with 2 fraction bits.
inline Int aan_input(const int16_t *coefficients, const int32_t *multipliers, int i) {
    return dequantised(coefficients, multipliers, i) >> 10;
}

inline Int scaled(Int x, int32_t constant) { return (x * constant) >> 8; }

// The 8-point AAN transform of in[0..N-1] (inputs N..7 zero), written to out[k * stride]. T is
// Int, or eight lines at once in vector lanes (idct_simd_lanes.h).
struct Aan {
    template <int N, class T = Int>
    [[gnu::always_inline]] static void line(const T *in, T *out, int stride) {
        auto p = [in](int k) { return k < N ? in[k] : T(0); };
        const T tmp10 = p(0) + p(4), tmp11 = p(0) - p(4), tmp13 = p(2) + p(6);
        const T tmp12 = scaled(p(2) - p(6), 362) - tmp13;
        const T tmp0 = tmp10 + tmp13, tmp3 = tmp10 - tmp13;
        const T tmp1 = tmp11 + tmp12, tmp2 = tmp11 - tmp12;

        const T z13 = p(5) + p(3), z10 = p(5) - p(3), z11 = p(1) + p(7), z12 = p(1) - p(7);
        const T tmp7 = z11 + z13;
        const T z5 = scaled(z10 + z12, 473);
        const T tmp6 = scaled(z10, -669) - tmp7 + z5;
        const T tmp5 = scaled(z11 - z13, 362) - tmp6;
        const T tmp4 = scaled(z12, 277) - z5 + tmp5;
        out[0] = tmp0 + tmp7, out[stride] = tmp1 + tmp6;
        out[2 * stride] = tmp2 + tmp5, out[3 * stride] = tmp3 - tmp4;
        out[4 * stride] = tmp3 + tmp4, out[5 * stride] = tmp2 - tmp5;
        out[6 * stride] = tmp1 - tmp6, out[7 * stride] = tmp0 - tmp7;
    }
};

// The single-harmonic line of the 1By2/2By1/2By2 members: a DC term d and the first harmonic a,
// whose cosines at the eight positions are a, and a times 217, 145 and 51 over 256 (cos(3pi/16),
// cos(5pi/16), cos(7pi/16) against cos(pi/16)), each truncated.
struct Harmonic {
    template <int N>
    [[gnu::always_inline]] static void line(const Int *in, Int *out, int stride) {
        static_assert(N == 1 || N == 2, "a single-harmonic line has a DC term and at most one harmonic");
        const Int d = in[0], a = N == 2 ? in[1] : Int(0);
        const Int a1 = scaled(a, 217), a2 = scaled(a, 145), a3 = scaled(a, 51);
        out[0] = d + a, out[stride] = d + a1, out[2 * stride] = d + a2, out[3 * stride] = d + a3;
        out[4 * stride] = d - a3, out[5 * stride] = d - a2, out[6 * stride] = d - a1, out[7 * stride] = d - a;
    }
};

// Pass 1 over a block whose coefficients lie in its top-left Cols x Rows corner: columns
// 0..Cols-1 into ws. A column whose rows 1.. are zero holds its DC value all the way down, which
// is what the transform gives it; kDcShortcut takes that without the butterflies, and runs the
// four-input line on a full-height column whose rows 4.. are zero.
template <class Transform, int Cols, int Rows, bool kDcShortcut = true>
[[gnu::always_inline]] inline void aan_columns(const int16_t *coefficients, const int32_t *multipliers,
                                               Int (*ws)[8]) {
    for (int c = 0; c < Cols; ++c) {
        if (kDcShortcut) {
            bool dc_only = true;
            #pragma GCC unroll 8
            for (int k = 1; k < Rows && dc_only; ++k) dc_only = coefficients[8 * k + c] == 0;
            if (dc_only) {
                const Int dc = aan_input(coefficients, multipliers, c);
                #pragma GCC unroll 8
                for (int r = 0; r < 8; ++r) ws[r][c] = dc;
                continue;
            }
        }
        Int in[Rows];
        #pragma GCC unroll 8
        for (int k = 0; k < Rows; ++k) in[k] = aan_input(coefficients, multipliers, 8 * k + c);
        if constexpr (kDcShortcut && Rows == 8) {
            if ((in[4].v | in[5].v | in[6].v | in[7].v) == 0) {
                Transform::template line<4>(in, &ws[0][c], 8);
                continue;
            }
        }
        Transform::template line<Rows>(in, &ws[0][c], 8);
    }
}

// A full-size block: pass 1, then row_out(r, w) for each workspace row w.
template <class Transform, int Cols, int Rows, bool kDcShortcut = true, class RowOut>
[[gnu::always_inline]] inline void aan_block(const int32_t *multipliers, const int16_t *coefficients,
                                             RowOut &&row_out) {
    Int ws[8][8];
    aan_columns<Transform, Cols, Rows, kDcShortcut>(coefficients, multipliers, ws);
    for (int r = 0; r < 8; ++r) row_out(r, ws[r]);
}

// The samples of a row whose sums left the masked range: every index clamped. Kept out of line,
// so that the common path need not keep its sums.
template <class Transform, int Cols>
[[gnu::noinline, gnu::cold]] void aan_row_clamped(const uint8_t *range_limit, const Int *w, uint8_t *samples) {
    Int sums[8];
    Transform::template line<Cols>(w, sums, 1);
    for (int k = 0; k < 8; ++k) samples[k] = range_limit[aan_index(sums[k])];
}

// Writes the eight full-size samples of workspace row w. Every output of a line carries its DC
// input once, with no product on the way, so the lookup bias goes in there. With kDcShortcut, a
// row whose other inputs are zero holds its DC value all the way across, as the line would give it.
template <class Transform, int Cols, bool kDcShortcut = false>
[[gnu::always_inline]] inline void aan_row(const uint8_t *range_limit, const Int *w, uint8_t *samples) {
    if constexpr (kDcShortcut && Cols > 1) {
        int32_t ac = 0;
        #pragma GCC unroll 8
        for (int k = 1; k < Cols; ++k) ac |= w[k].v;
        if (ac == 0) {
            std::memset(samples, range_limit[aan_index(w[0])], 8);
            return;
        }
    }
    Int biased[Cols];
    biased[0] = w[0] + kAanSumBias;
    #pragma GCC unroll 8
    for (int k = 1; k < Cols; ++k) biased[k] = w[k];
    Int sums[8];
    if (kDcShortcut && Cols == 8 && (w[4].v | w[5].v | w[6].v | w[7].v) == 0) {
        Transform::template line<Cols == 8 ? 4 : Cols>(biased, sums, 1);
    } else {
        Transform::template line<Cols>(biased, sums, 1);
    }
    if (!aan_samples_biased<8>(range_limit, sums, samples)) [[unlikely]] {
        aan_row_clamped<Transform, Cols>(range_limit, w, samples);
    }
}

// A full-size block written to the output rows.
template <class Transform, int Cols, int Rows, bool kDcShortcut = true>
[[gnu::flatten]] inline void aan_block_out(const uint8_t *range_limit, const int32_t *multipliers,
                                           const int16_t *coefficients, uint8_t **output_rows, uint32_t output_column) {
    aan_block<Transform, Cols, Rows, kDcShortcut>(multipliers, coefficients, [&](int r, const Int *w) {
        aan_row<Transform, Cols, kDcShortcut>(range_limit, w, output_rows[r] + output_column);
    });
}

}  // namespace kovra::jpeg
