// CMYK and YCCK pixels to RGB values, which the four-component drivers accumulate (and count,
// without writing).
//
// CMYK is stored inverted (255 = no ink): each of the first three components is scaled by k/255,
// dividing and truncating. YCCK first undoes the YCbCr transform into inverted colour values,
// with the sample bias of 128 folded into the constants (433, 120 and 481 are 255 plus the folded
// terms), clamps through the range-limit table at indexes -225..481, then scales by k/256 with a
// shift. The two roads divide differently by design.
#pragma once

#include <cstdint>

#include "color/ycc_rgb.h"

namespace kovra::color {

struct Rgb {
    uint32_t r, g, b;
};

inline Rgb cmyk_to_rgb(uint32_t c0, uint32_t c1, uint32_t c2, uint32_t k) {
    return {c0 * k / 255, c1 * k / 255, c2 * k / 255};
}

inline Rgb ycck_to_rgb(uint32_t y, uint32_t cb, uint32_t cr, uint32_t k, const uint8_t *range_limit) {
    const int32_t luma = static_cast<int32_t>(y), blue = static_cast<int32_t>(cb), red = static_cast<int32_t>(cr);
    return {range_limit[433 - luma - ((red * kCrToR) >> 16)] * k >> 8,
            range_limit[120 - luma - ((blue * kCbToG + red * kCrToG) >> 16)] * k >> 8,
            range_limit[481 - luma - ((blue * kCbToB) >> 16)] * k >> 8};
}

}  // namespace kovra::color
