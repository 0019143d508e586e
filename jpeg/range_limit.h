// The range-limit table: the one clamping table that the inverse DCTs and the colour converters
// share. A sample index s reads as s clamped to 0..255, over the index range that every reader
// can reach; the context's rangeLimit (and chromaRangeLimit) point at s = 0.
//
//   s in [-384, 0)      0
//   s in [0, 256)       s
//   s in [256, 640)     255
//   s in [640, 1024)    0           these two stretches are the upper half of the accurate
//   s in [1024, 1152)   s - 1024    members' cyclic window (see below)
//
// The colour converters read s in [-227, 481]. The inverse DCTs take rangeLimit + 128, so that
// their index 0 is mid-grey (the level shift):
// - the AAN-style members index with sum >> 5 over [-512, 511], where the table clamps plainly;
//   everything beyond would read 0 or 255 as well, so aan_index() clamps there without changing a
//   sample, and aan_samples_biased() keeps a row's lookups inside the table by masking, telling
//   when a sum needed the clamp;
// - the accurate-integer members mask their index with 0x3FF (accurate_index): indexes 0..511 are
//   the sums 0..511 and indexes 512..1023 stand for the sums -512..-1, clamped.
// So no index that any block produces, however hostile, falls outside the table.
#pragma once

#include <cstdint>

#include "jpeg/idct_arith.h"

namespace kovra::jpeg {

inline constexpr int kRangeLimitBelow = 384;   // entries before sample index 0
inline constexpr int kRangeLimitSize = 1536;   // entries in all
inline constexpr int kIdctLevelShift = 128;    // the inverse DCTs' table starts here
inline constexpr int32_t kAanIndexMin = -512;
inline constexpr int32_t kAanIndexMax = 511;
inline constexpr int32_t kAccurateIndexMask = 0x3FF;

// The library's table, pointing at sample index 0.
const uint8_t *sample_range_limit();

// Whether an inverse DCT's table (a table pointer + kIdctLevelShift) holds the plain clamp over
// every index the AAN members reach, as the library's own does: the vector versions compute that
// clamp rather than look it up, so they serve only such tables. The library's own table is known by
// its address; any other is compared whole on every call (a host may free a table and build a
// different one at the same address), so a caller's table costs one 1 KB compare per block.
bool idct_table_is_plain_clamp(const uint8_t *idct_table);

// The AAN members' index for a sum that carries 5 fraction bits: sum >> 5, clamped.
inline int32_t aan_index(Int sum) {
    const int32_t i = sum.v >> 5;
    return i < kAanIndexMin ? kAanIndexMin : (i > kAanIndexMax ? kAanIndexMax : i);
}

// The AAN members' samples for N sums with 5 fraction bits that carry a bias of kAanSumBias:
// sum >> 5 is then the offset of the sample from range_limit + kAanIndexMin. Each offset is masked
// into the table, so the lookup stays inside it whatever the sum. Returns whether every sum was
// in range (always, but for a hostile block); where one was not, its sample is wrong and the row
// must be looked up again with aan_index().
inline constexpr int32_t kAanSumBias = -kAanIndexMin << 5;

template <int N>
[[gnu::always_inline]] inline bool aan_samples_biased(const uint8_t *range_limit, const Int *sums, uint8_t *samples) {
    const uint8_t *base = range_limit + kAanIndexMin;
    constexpr uint32_t kSpan = kAanIndexMax - kAanIndexMin;
    uint32_t any = 0;
    #pragma GCC unroll 8
    for (int k = 0; k < N; ++k) {
        const uint32_t sum = static_cast<uint32_t>(sums[k].v);
        any |= sum;
        samples[k] = base[(sum >> 5) & kSpan];
    }
    return any <= (kSpan << 5 | 31);
}

// The accurate members' index for an already descaled sum.
inline int32_t accurate_index(Int descaled) { return descaled.v & kAccurateIndexMask; }

}  // namespace kovra::jpeg
