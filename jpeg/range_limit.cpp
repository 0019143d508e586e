// The range-limit table, built at compile time (layout in range_limit.h).

#include "jpeg/range_limit.h"

#include <array>
#include <cstring>

namespace kovra::jpeg {
namespace {

constexpr uint8_t clamped(int s) { return static_cast<uint8_t>(s < 0 ? 0 : (s > 255 ? 255 : s)); }

constexpr std::array<uint8_t, kRangeLimitSize> make_range_limit() {
    std::array<uint8_t, kRangeLimitSize> table{};
    for (int at = 0; at < kRangeLimitSize; ++at) {
        const int s = at - kRangeLimitBelow;
        // Above the accurate members' index 511 (s = 639) the window wraps round to -512.
        const int wrapped = s - kIdctLevelShift > kAanIndexMax ? s - (kAccurateIndexMask + 1) : s;
        table[at] = clamped(wrapped);
    }
    return table;
}

constexpr std::array<uint8_t, kRangeLimitSize> kTable = make_range_limit();

}  // namespace

const uint8_t *sample_range_limit() { return kTable.data() + kRangeLimitBelow; }

bool idct_table_is_plain_clamp(const uint8_t *idct_table) {
    const uint8_t *own = sample_range_limit() + kIdctLevelShift;
    return idct_table == own ||
           std::memcmp(idct_table + kAanIndexMin, own + kAanIndexMin, kAanIndexMax - kAanIndexMin + 1) == 0;
}

}  // namespace kovra::jpeg
