// The range-limit table, built at compile time (layout in range_limit.h).

#include "jpeg/range_limit.h"

#include <array>
#include <atomic>

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

namespace {

bool holds_plain_clamp(const uint8_t *idct_table) {
    for (int32_t i = kAanIndexMin; i <= kAanIndexMax; ++i) {
        if (idct_table[i] != clamped(i + kIdctLevelShift)) return false;
    }
    return true;
}

// The last table found to hold the clamp, besides the library's own.
std::atomic<const uint8_t *> last_plain_table{nullptr};

}  // namespace

bool idct_table_is_plain_clamp(const uint8_t *idct_table) {
    if (idct_table == sample_range_limit() + kIdctLevelShift) return true;
    if (idct_table == last_plain_table.load(std::memory_order_relaxed)) return true;
    if (!holds_plain_clamp(idct_table)) return false;
    last_plain_table.store(idct_table, std::memory_order_relaxed);
    return true;
}

}  // namespace kovra::jpeg
