// 16-byte-aligned allocation on top of KOVRADALT_OsMalloc. The word just below each returned
// block holds the address the underlying allocation gave, so DALT_FakeFree can find it.
//
//   raw ... [header word][aligned block of at least `size` bytes] ... raw + (size + 47) & ~15

#include <cstdint>
#include <cstring>

#include "kovra_os.h"

namespace {
constexpr uintptr_t kAlignment = 16;

uint32_t padded_size(uint32_t size) { return (size + 47u) & ~uint32_t{15}; }
}  // namespace

extern "C" {

KOVRA_API void *DALT_FakeMalloc(uint32_t /*ignored*/, uint32_t size) {
    // Sizes within 47 bytes of 4 GiB would wrap; refuse them rather than return a short block.
    if (size > UINT32_MAX - 47u) return nullptr;
    auto *raw = static_cast<uint8_t *>(KOVRADALT_OsMalloc(padded_size(size)));
    if (raw == nullptr) return nullptr;
    uintptr_t aligned = (reinterpret_cast<uintptr_t>(raw) + 19u) & ~(kAlignment - 1);
    uint8_t *block = raw + (aligned - reinterpret_cast<uintptr_t>(raw));
    std::memcpy(block - sizeof(void *), &raw, sizeof(void *));
    return block;
}

KOVRA_API void DALT_FakeFree(void *pointer) {
    if (pointer == nullptr) return;
    void *raw = nullptr;
    std::memcpy(&raw, static_cast<uint8_t *>(pointer) - sizeof(void *), sizeof(void *));
    KOVRADALT_OsFree(raw);
}

}  // extern "C"
