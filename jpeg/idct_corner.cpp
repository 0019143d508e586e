// Full-size AAN members for blocks whose coefficients lie in a top-left corner: the caller picks
// one from the position of the last non-zero coefficient, and it gives exactly what DALTJ_DoIdct
// gives for such a block, skipping the butterflies of the zero inputs (idct_aan.h). The 1 x 1
// corner is the DC sample everywhere; the single-sample DC members write only that sample.

#include "jpeg/idct_aan.h"
#include "kovra_jpeg.h"

using kovra::jpeg::Aan;
using kovra::jpeg::aan_block_out;

extern "C" {

KOVRA_API void DALTJ_DoIdct1By1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Aan, 1, 1>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct3By3(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Aan, 3, 3>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct4By4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Aan, 4, 4>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct5By5(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Aan, 5, 5>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct6By6(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Aan, 6, 6>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct7By7(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    aan_block_out<Aan, 7, 7>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct1x1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                               uint8_t **outputRows, uint32_t outputColumn) {
    using namespace kovra::jpeg;
    outputRows[0][outputColumn] = rangeLimit[aan_index(aan_input(coefficients, multipliers, 0))];
}

KOVRA_API void DALTJ_DoIdct_8to1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                 uint8_t **outputRows, uint32_t outputColumn) {
    DALTJ_DoIdct1x1(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

}  // extern "C"
