// DALTJ_DoIdct: one 8 x 8 block of quantised coefficients to 8 x 8 samples with the AAN transform
// (idct_aan.h). A column or workspace row whose AC inputs are all zero takes its DC value without
// the butterflies, and one whose inputs 4..7 are zero runs the four-input line.

#include "jpeg/idct_aan.h"
#include "jpeg/idct_scalar.h"
#include "jpeg/idct_simd.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg {

void idct_full_scalar(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                      uint8_t **output_rows, uint32_t output_column) {
    aan_block_out<Aan, 8, 8>(range_limit, multipliers, coefficients, output_rows, output_column);
}

}  // namespace kovra::jpeg

extern "C" KOVRA_API void DALTJ_DoIdct(const uint8_t *rangeLimit, const int32_t *multipliers,
                                       const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    kovra::jpeg::idct_full_simd(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}
