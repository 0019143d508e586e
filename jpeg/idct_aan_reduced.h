// Reduced-size output from the AAN-style transforms (idct_aan.h): each output sample stands for
// two full-size rows and two full-size columns of the 8 x 8 reconstruction.
//
// Vertically the two full-size rows are averaged in the workspace, (a + b) >> 1, before pass 2;
// horizontally the two full-size samples are averaged after the range limit,
// (R[u] + R[v]) >> 1. A row whose AC terms are zero is its DC sample all along, which is what the
// averaging gives it anyway.
#pragma once

#include <cstdint>

#include "jpeg/idct_aan.h"

namespace kovra::jpeg {

// Which full-size rows (and columns) each output row (and sample) averages.
struct Pairs {
    int count;
    int first[4];
    int second[4];
};

inline constexpr Pairs kHalves{4, {0, 2, 4, 6}, {1, 3, 5, 7}};   // 8 -> 4
inline constexpr Pairs kThirds{3, {0, 3, 6}, {1, 4, 7}};         // 8 -> 3
inline constexpr Pairs kQuarters{2, {1, 5}, {2, 6}};             // 8 -> 2: the middle of each half

// A reduced block from the coefficients of the top-left Cols x Rows corner: row_out(j, samples)
// receives output row j, kPairs.count samples.
template <class Transform, int Cols, int Rows, Pairs kPairs, class RowOut>
inline void aan_reduced(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                        RowOut &&row_out) {
    Int ws[8][8];
    aan_columns<Transform, Cols, Rows>(coefficients, multipliers, ws);
    for (int j = 0; j < kPairs.count; ++j) {
        Int w[Cols];
        int32_t ac = 0;
        #pragma GCC unroll 8
        for (int k = 0; k < Cols; ++k) {
            w[k] = (ws[kPairs.first[j]][k] + ws[kPairs.second[j]][k]) >> 1;
            if (k > 0) ac |= w[k].v;
        }
        uint8_t s[4];
        if (ac == 0) {
            const uint8_t dc = range_limit[aan_index(w[0])];
            #pragma GCC unroll 8
            for (int i = 0; i < kPairs.count; ++i) s[i] = dc;
        } else {
            uint8_t full[8];
            aan_row<Transform, Cols>(range_limit, w, full);
            #pragma GCC unroll 8
            for (int i = 0; i < kPairs.count; ++i) {
                s[i] = static_cast<uint8_t>((full[kPairs.first[i]] + full[kPairs.second[i]]) >> 1);
            }
        }
        row_out(j, s);
    }
}

// A reduced block written to the output rows: kOutRows rows of kPairs.count samples.
template <class Transform, int Cols, int Rows, Pairs kPairs, int kOutRows = kPairs.count>
[[gnu::flatten]] inline void aan_reduced_out(const uint8_t *range_limit, const int32_t *multipliers,
                                             const int16_t *coefficients, uint8_t **output_rows,
                                             uint32_t output_column) {
    aan_reduced<Transform, Cols, Rows, kPairs>(range_limit, multipliers, coefficients, [&](int j, const uint8_t *s) {
        if (j < kOutRows) store_row<kPairs.count>(output_rows[j] + output_column, s);
    });
}

}  // namespace kovra::jpeg
