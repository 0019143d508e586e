// DALTJ_DoIdct_2to1: half-size output, 4 x 4 samples from the whole 8 x 8 block with the AAN
// transform; each sample averages a 2 x 2 group of the full-size reconstruction
// (idct_aan_reduced.h), each output row is one word.

#include "jpeg/idct_aan_reduced.h"
#include "jpeg/idct_scalar.h"
#include "jpeg/idct_simd.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg {

void idct_2to1_scalar(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients,
                      uint8_t **output_rows, uint32_t output_column) {
    aan_reduced_out<Aan, 8, 8, kHalves>(range_limit, multipliers, coefficients, output_rows, output_column);
}

}  // namespace kovra::jpeg

extern "C" KOVRA_API void DALTJ_DoIdct_2to1(const uint8_t *rangeLimit, const int32_t *multipliers,
                                            const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    kovra::jpeg::idct_2to1_simd(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}
