// The one sample a DC-only reduced decoder makes of a block: its DC level, as the full inverse
// DCT gives it for a block that holds only a DC term, table[(B[0] * Q[0]) >> 15] with table the
// range-limit table shifted by the level shift. The product is taken in 64 bits and the index
// clamped to the range every range-limit table covers (sample -227 .. 481, where it clamps to
// 0 and 255 already), so no coefficient or multiplier reads outside the table.
#pragma once

#include <algorithm>
#include <cstdint>

namespace kovra::jpeg {

inline uint8_t dc_sample(const uint8_t *rangeLimit, const int16_t *block, const int32_t *multipliers) {
    constexpr int64_t kLevelShift = 128, kLowestSample = -227, kHighestSample = 481;
    const int64_t level = (int64_t{block[0]} * multipliers[0]) >> 15;
    return rangeLimit[std::clamp(level + kLevelShift, kLowestSample, kHighestSample)];
}

}  // namespace kovra::jpeg
