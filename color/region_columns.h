// Where a decoded region's first sample sits inside a decoded row. Rows are decoded whole MCUs at
// a time, so a region that starts at output column x starts x modulo the scaled MCU width into
// the row: DALTJ_RegionColumnMask[code] keeps those low bits of x (16, 8, 4 samples for scale
// codes 1, 2, 4), leaving the lowest bit, which the writers add on their own or not at all.
#pragma once

#include <cstdint>

#include "kovra_jpeg.h"

namespace kovra::color {

// x AND the mask of scale code `code`; codes outside the table mask everything away.
inline int32_t masked_region_left(int32_t code, int32_t region_left) {
    const int32_t mask = code >= 0 && code < 16 ? DALTJ_RegionColumnMask[code] : 0;
    return region_left & mask;
}

inline int32_t odd_column(int32_t region_left) { return region_left & 1; }

}  // namespace kovra::color
