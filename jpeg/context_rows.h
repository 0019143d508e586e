// The context-row pointer moves of the MCU row drivers (see context_rows.cpp).
#pragma once

#include "kovra_jpeg.h"

namespace kovra::jpeg {

inline constexpr uint32_t kMaxVSampFactor = 4;
inline constexpr uint32_t kMaxComponents = 4;

// Whether every frame component's vertical sampling factor is 1..4, numComponents at most 4 and
// the component array present: what the two pointer moves below index by.
bool context_rows_usable(const DALTJ_DecoderInfo *ctx);

// Last MCU row: repeats each component's last real sample row over the rows below it in the
// current list, and sets rowgroupsAvail to the first component's real row groups.
void set_bottom_pointers(DALTJ_DecoderInfo *ctx);

// After the first MCU row: makes the row group above the list's start and the two below its end
// address the neighbouring row groups, in both lists.
void set_wraparound_pointers(DALTJ_DecoderInfo *ctx);

}  // namespace kovra::jpeg
