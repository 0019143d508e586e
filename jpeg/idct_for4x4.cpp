// Half-size AAN members for blocks whose coefficients lie in a top-left corner, and the 3/8-size
// member: each gives exactly what DALTJ_DoIdct_2to1's computation gives for such a block
// (idct_aan_reduced.h), skipping the butterflies of the zero inputs. _8to3 reduces the whole block
// to 3 x 3, averaging full-size rows and samples 0-1, 3-4 and 6-7.

#include "jpeg/idct_aan_reduced.h"
#include "kovra_jpeg.h"

using kovra::jpeg::Aan;
using kovra::jpeg::aan_reduced_out;
using kovra::jpeg::kHalves;
using kovra::jpeg::kThirds;

extern "C" {

KOVRA_API void DALTJ_DoIdct1x1For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 1, 1, kHalves>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct1x2For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 1, 2, kHalves>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct2x1For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 2, 1, kHalves>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct2x2AllFor4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                        const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 2, 2, kHalves>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct2x2For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    if (coefficients[1] == 0 && coefficients[9] == 0) {
        DALTJ_DoIdct1x2For4x4(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
    } else {
        DALTJ_DoIdct2x2AllFor4x4(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
    }
}

KOVRA_API void DALTJ_DoIdct3x3For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 3, 3, kHalves>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct4x4For4x4(const uint8_t *rangeLimit, const int32_t *multipliers,
                                     const int16_t *coefficients, uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 4, 4, kHalves>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_8to3(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn) {
    aan_reduced_out<Aan, 8, 8, kThirds>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

}  // extern "C"
