// The single-harmonic AAN members: blocks that hold a DC term and at most the first vertical
// and/or horizontal harmonic (C0, C1, C8, C9). Each harmonic is spread over the eight positions
// with the truncated cosine ratios of idct_aan.h's Harmonic line, separably: the 2 x 2 member
// with C1 and C9 zero is the 1By2 member, with C8 and C9 zero the 2By1 member.
//
// The 1/4-size members reduce that same reconstruction to 2 x 2 (idct_aan_reduced.h): each output
// row averages full-size rows 1 and 2 (or 5 and 6) in the workspace, and each output sample the
// full-size samples 1 and 2 (or 5 and 6) of its row, the middle of each half.

#include "jpeg/idct_aan_reduced.h"
#include "kovra_jpeg.h"

using kovra::jpeg::aan_block_out;
using kovra::jpeg::aan_reduced_out;
using kovra::jpeg::Harmonic;
using kovra::jpeg::kQuarters;

extern "C" {

KOVRA_API void DALTJ_DoIdct1By2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Harmonic, 1, 2>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct2By1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Harmonic, 2, 1>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct2By2All(const uint8_t *rangeLimit, const int32_t *multipliers,
                                   const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Harmonic, 2, 2>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct2By2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    if (coefficients[1] == 0 && coefficients[9] == 0) {
        DALTJ_DoIdct1By2(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
    } else {
        DALTJ_DoIdct2By2All(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
    }
}

KOVRA_API void DALTJ_DoIdct_4to1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Harmonic, 2, 2, kQuarters>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

// Only the first output row (for a chroma block whose second row is not needed).
KOVRA_API void DALTJ_DoIdct_4to1_CBCR(const uint8_t *rangeLimit, const int32_t *multipliers,
                                      const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Harmonic, 2, 2, kQuarters, 1>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoProgIdct_4to1(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    DALTJ_DoIdct_4to1(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

}  // extern "C"
