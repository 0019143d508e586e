// The region column-mask table (region_columns.h).

#include "color/region_columns.h"

extern "C" {
const int32_t DALTJ_RegionColumnMask[16] = {0, 14, 6, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
}
