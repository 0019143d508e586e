// DALTJ_DoIdct8By8: the full-size AAN IDCT without the DC-only column shortcut. It gives the same
// samples as DALTJ_DoIdct for every block (the shortcut is exact); a vector version may store
// each row as two words.

#include "jpeg/idct_aan.h"
#include "jpeg/idct_scalar.h"
#include "jpeg/idct_simd.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg {

void idct_8by8_scalar(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                      uint8_t **output_rows, uint32_t output_column) {
    aan_block_out<Aan, 8, 8, false>(range_limit, multipliers, coefficients, output_rows, output_column);
}

}  // namespace kovra::jpeg

extern "C" KOVRA_API void DALTJ_DoIdct8By8(const uint8_t *rangeLimit, const int32_t *multipliers,
                                           const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    kovra::jpeg::idct_full_simd(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}
