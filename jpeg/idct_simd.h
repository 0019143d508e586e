// The vector versions of the full-size AAN IDCT (DALTJ_DoIdct, and DALTJ_DoIdct8By8, whose samples
// are the same) and of DALTJ_DoIdct_2to1, sample for sample the same as their scalar cores
// (idct_scalar.h) for every block, multiplier table and table built as the library builds it.
// The exported routines call these; on a build without a vector unit (KOVRA_IDCT_SIMD 0) they are
// the scalar cores. Arguments as for every inverse DCT (kovra_jpeg.h).
#pragma once

#include <cstdint>

#include "jpeg/idct_simd_lanes.h"

namespace kovra::jpeg {

inline constexpr bool kIdctSimd = KOVRA_IDCT_SIMD;

void idct_full_simd(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                    uint8_t **output_rows, uint32_t output_column);

void idct_2to1_simd(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                    uint8_t **output_rows, uint32_t output_column);

}  // namespace kovra::jpeg
