// Tables exported for hosts of the JPEG path: the region resize dispatch and two entropy-decoder
// tables. Nothing inside the library reads them.

#include "kovra_jpeg.h"

namespace {
constexpr int32_t huff_extend_threshold(int k) { return k == 0 ? 0 : int32_t{1} << (k - 1); }
}  // namespace

extern "C" {

KOVRA_API DALTJ_RegionMcuFn pRegionDecodingResize[7] = {
    DALTJ_RegionDecodeSingleiMcuResize2to1,    DALTJ_RegionDecodeSingleiMcuResize2to1,
    DALTJ_RegionDecodeSingleiMcuResize4to1,    DALTJ_RegionDecodeSingleiMcuResize8to1,
    DALTJ_RegionDecodeSingleiMcuResizeMore16, DALTJ_RegionDecodeSingleiMcuResizeMore16,
    DALTJ_RegionDecodeSingleiMcuResizeMore16,
};

// EXTEND thresholds: entry k is the smallest positive value of a k-bit magnitude category.
const int32_t DALTJ_HUFF_EXTEND_TEST[16] = {
    huff_extend_threshold(0),  huff_extend_threshold(1),  huff_extend_threshold(2),  huff_extend_threshold(3),
    huff_extend_threshold(4),  huff_extend_threshold(5),  huff_extend_threshold(6),  huff_extend_threshold(7),
    huff_extend_threshold(8),  huff_extend_threshold(9),  huff_extend_threshold(10), huff_extend_threshold(11),
    huff_extend_threshold(12), huff_extend_threshold(13), huff_extend_threshold(14), huff_extend_threshold(15),
};

// Zig-zag position -> natural (row-major) index, padded with 63 so an overshooting run still
// lands inside the block.
const uint8_t DALTJ_NATURAL_ORDER[80] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33,
    40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36,
    29, 22, 15, 23, 30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54,
    47, 55, 62, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63,
};

}  // extern "C"
