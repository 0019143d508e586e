// The accurate-integer members of the scaled family (idct_accurate.h): rectangular outputs from
// the N lowest frequencies each way, the reduced 4 x 4 and 2 x 2 of the reference decoder, and
// the three smallest outputs in closed form.

#include "jpeg/idct_accurate.h"
#include "kovra_jpeg.h"

using namespace kovra::jpeg;

namespace {

// (C0*Q0 + 4 + odd) >> 3, masked: one sample from the DC term and a 2-point odd term.
uint8_t two_point_sample(const uint8_t *range_limit, Int dc, Int odd) {
    return range_limit[accurate_index((dc + Int(4) + odd) >> 3)];
}

}  // namespace

extern "C" {

KOVRA_API void DALTJ_DoIdct_8x4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    accurate_block<Llm4, Llm8>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_4x8(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    accurate_block<Llm8, Llm4>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_4x4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    accurate_block<Halve, Halve>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_4x2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    accurate_block<Llm2, Llm4>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_2x4(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    accurate_block<Llm4, Llm2>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_2x2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    accurate_block<Quarter, Quarter>(rangeLimit, multipliers, coefficients, outputRows, outputColumn);
}

KOVRA_API void DALTJ_DoIdct_2x1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    const Int dc = dequantised(coefficients, multipliers, 0), odd = dequantised(coefficients, multipliers, 1);
    outputRows[0][outputColumn] = two_point_sample(rangeLimit, dc, odd);
    outputRows[0][outputColumn + 1] = two_point_sample(rangeLimit, dc, Int(0) - odd);
}

KOVRA_API void DALTJ_DoIdct_1x2(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    const Int dc = dequantised(coefficients, multipliers, 0), odd = dequantised(coefficients, multipliers, 8);
    outputRows[0][outputColumn] = two_point_sample(rangeLimit, dc, odd);
    outputRows[1][outputColumn] = two_point_sample(rangeLimit, dc, Int(0) - odd);
}

KOVRA_API void DALTJ_DoIdct_1x1(const uint8_t *rangeLimit, const int32_t *multipliers, const int16_t *coefficients,
                                uint8_t **outputRows, uint32_t outputColumn) {
    outputRows[0][outputColumn] = two_point_sample(rangeLimit, dequantised(coefficients, multipliers, 0), Int(0));
}

}  // extern "C"
