// The scalar cores of the three inverse DCTs that a vector version may replace: the exported
// routine calls its core, and the core stays callable on its own, as the bit-exact reference a
// vector version is tested against. Arguments as for every inverse DCT (kovra_jpeg.h).
#pragma once

#include <cstdint>

namespace kovra::jpeg {

// DALTJ_DoIdct: the full-size AAN IDCT, with the DC-only column shortcut.
void idct_full_scalar(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                      uint8_t **output_rows, uint32_t output_column);

// DALTJ_DoIdct8By8: the same samples without the column shortcut.
void idct_8by8_scalar(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                      uint8_t **output_rows, uint32_t output_column);

// DALTJ_DoIdct_2to1: 4 x 4 output, each sample the average of a 2 x 2 group.
void idct_2to1_scalar(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                      uint8_t **output_rows, uint32_t output_column);

}  // namespace kovra::jpeg
