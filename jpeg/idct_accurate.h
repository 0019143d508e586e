// The accurate-integer scaled IDCTs: the published integer algorithms of the Independent JPEG
// Group's reference decoder (Loeffler-Ligtenberg-Moschytz butterflies). Multipliers are the plain
// quantisation steps; constants have 13 fraction bits; pass 1 keeps 2 bits of extra precision;
// every descale adds half first (rounds to nearest); the range-limit index is masked with 0x3FF,
// which the table answers with its cyclic window (range_limit.h).
//
// Two kinds of 1-D kernel, both returning values scaled by 2^kScaleBits:
// - N-point transforms of the first N coefficients (Llm8, Llm4, Llm2): the output is the block
//   at N samples across, from its N lowest frequencies;
// - 8-to-4 and 8-to-2 steps (Halve, Quarter) that give the averages of 2 (or 4) neighbouring
//   outputs of the 8-point transform directly, from every input but 4 (or 0, 1, 3, 5, 7).
// A block pairs a column kernel with a row kernel (accurate_block). A column whose used AC
// coefficients are zero, or a workspace row whose used AC terms are zero, takes its DC value
// directly: the butterflies would give the same.
#pragma once

#include <cstdint>

#include "jpeg/idct_arith.h"
#include "jpeg/range_limit.h"

namespace kovra::jpeg {

inline constexpr int kConstBits = 13;
inline constexpr int kPass1Bits = 2;

inline Int descale(Int x, int bits) { return (x + (Int(1) << (bits - 1))) >> bits; }

// The rotation of the even part of the 8-point transform (c6 and c2 +- c6), also the odd part of
// the 4-point one: {z1 + a * (c2 - c6), z1 - b * (c2 + c6)} with z1 = (a + b) * c6.
struct Rotation {
    Int plus;
    Int minus;
};
inline Rotation rotate(Int a, Int b) {
    const Int z1 = (a + b) * 4433;  // 0.541196100
    return {z1 + a * 6270, z1 - b * 15137};  // 0.765366865, 1.847759065
}

struct Llm8 {
    static constexpr int kOut = 8;
    static constexpr int kScaleBits = kConstBits;
    static constexpr int kUsed[] = {0, 1, 2, 3, 4, 5, 6, 7};
    static void run(const Int *in, Int *out) {
        const Rotation even = rotate(in[2], in[6]);
        const Int tmp0 = (in[0] + in[4]) << kConstBits, tmp1 = (in[0] - in[4]) << kConstBits;
        const Int tmp10 = tmp0 + even.plus, tmp13 = tmp0 - even.plus;
        const Int tmp11 = tmp1 + even.minus, tmp12 = tmp1 - even.minus;

        const Int z1 = in[7] + in[1], z2 = in[5] + in[3], z3 = in[7] + in[3], z4 = in[5] + in[1];
        const Int z5 = (z3 + z4) * 9633;               // 1.175875602
        const Int w1 = z1 * -7373, w2 = z2 * -20995;   // 0.899976223, 2.562915447
        const Int w3 = z3 * -16069 + z5, w4 = z4 * -3196 + z5;  // 1.961570560, 0.390180644
        const Int odd0 = in[7] * 2446 + w1 + w3;       // 0.298631336
        const Int odd1 = in[5] * 16819 + w2 + w4;      // 2.053119869
        const Int odd2 = in[3] * 25172 + w2 + w3;      // 3.072711026
        const Int odd3 = in[1] * 12299 + w1 + w4;      // 1.501321110

        out[0] = tmp10 + odd3, out[7] = tmp10 - odd3;
        out[1] = tmp11 + odd2, out[6] = tmp11 - odd2;
        out[2] = tmp12 + odd1, out[5] = tmp12 - odd1;
        out[3] = tmp13 + odd0, out[4] = tmp13 - odd0;
    }
};

struct Llm4 {
    static constexpr int kOut = 4;
    static constexpr int kScaleBits = kConstBits;
    static constexpr int kUsed[] = {0, 1, 2, 3};
    static void run(const Int *in, Int *out) {
        const Int tmp10 = (in[0] + in[2]) << kConstBits, tmp12 = (in[0] - in[2]) << kConstBits;
        const Rotation odd = rotate(in[1], in[3]);
        out[0] = tmp10 + odd.plus, out[3] = tmp10 - odd.plus;
        out[1] = tmp12 + odd.minus, out[2] = tmp12 - odd.minus;
    }
};

struct Llm2 {
    static constexpr int kOut = 2;
    static constexpr int kScaleBits = kConstBits;
    static constexpr int kUsed[] = {0, 1};
    static void run(const Int *in, Int *out) {
        out[0] = (in[0] + in[1]) << kConstBits;
        out[1] = (in[0] - in[1]) << kConstBits;
    }
};

struct Halve {
    static constexpr int kOut = 4;
    static constexpr int kScaleBits = kConstBits + 1;
    static constexpr int kUsed[] = {0, 1, 2, 3, 5, 6, 7};
    static void run(const Int *in, Int *out) {
        const Int tmp0 = in[0] << (kConstBits + 1);
        const Int tmp2 = in[2] * 15137 + in[6] * -6270;  // 1.847759065, 0.765366865
        const Int tmp10 = tmp0 + tmp2, tmp12 = tmp0 - tmp2;
        const Int odd0 = in[7] * -1730 + in[5] * 11893 + in[3] * -17799 + in[1] * 8697;
        const Int odd2 = in[7] * -4176 + in[5] * -4926 + in[3] * 7373 + in[1] * 20995;
        out[0] = tmp10 + odd2, out[3] = tmp10 - odd2;
        out[1] = tmp12 + odd0, out[2] = tmp12 - odd0;
    }
};

struct Quarter {
    static constexpr int kOut = 2;
    static constexpr int kScaleBits = kConstBits + 2;
    static constexpr int kUsed[] = {0, 1, 3, 5, 7};
    static void run(const Int *in, Int *out) {
        const Int tmp10 = in[0] << (kConstBits + 2);
        const Int odd = in[7] * -5906 + in[5] * 6967 + in[3] * -10426 + in[1] * 29692;
        out[0] = tmp10 + odd;
        out[1] = tmp10 - odd;
    }
};

// Column kernel Col (its kOut output rows), row kernel Row (its kOut output samples per row).
template <class Col, class Row>
[[gnu::flatten]] inline void accurate_block(const uint8_t *range_limit, const int32_t *multipliers,
                                            const int16_t *coefficients, uint8_t **output_rows,
                                            uint32_t output_column) {
    Int ws[Col::kOut][8];
    for (const int c : Row::kUsed) {
        int32_t ac = 0;
        #pragma GCC unroll 8
        for (const int k : Col::kUsed) ac |= k > 0 ? coefficients[8 * k + c] : 0;
        if (ac == 0) {
            const Int dc = dequantised(coefficients, multipliers, c) << kPass1Bits;
            #pragma GCC unroll 8
            for (int r = 0; r < Col::kOut; ++r) ws[r][c] = dc;
            continue;
        }
        Int in[8];
        #pragma GCC unroll 8
        for (const int k : Col::kUsed) in[k] = dequantised(coefficients, multipliers, 8 * k + c);
        Int out[Col::kOut];
        Col::run(in, out);
        #pragma GCC unroll 8
        for (int r = 0; r < Col::kOut; ++r) ws[r][c] = descale(out[r], Col::kScaleBits - kPass1Bits);
    }
    for (int r = 0; r < Col::kOut; ++r) {
        int32_t ac = 0;
        #pragma GCC unroll 8
        for (const int k : Row::kUsed) ac |= k > 0 ? ws[r][k].v : 0;
        uint8_t s[Row::kOut];
        if (ac == 0) {
            const uint8_t dc = range_limit[accurate_index(descale(ws[r][0], kPass1Bits + 3))];
            #pragma GCC unroll 8
            for (int i = 0; i < Row::kOut; ++i) s[i] = dc;
        } else {
            Int out[Row::kOut];
            Row::run(ws[r], out);
            #pragma GCC unroll 8
            for (int i = 0; i < Row::kOut; ++i) {
                s[i] = range_limit[accurate_index(descale(out[i], Row::kScaleBits + kPass1Bits + 3))];
            }
        }
        store_row<Row::kOut>(output_rows[r] + output_column, s);
    }
}

}  // namespace kovra::jpeg
