// Allocation helpers of the GIF decoder: zero-filled blocks whose sizes are computed in 64 bits
// and refused when they do not fit the platform allocator's 32-bit size.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "kovra_gif.h"
#include "kovra_os.h"

namespace kovra::gif {

inline void *alloc_zeroed(uint64_t bytes) {
    if (bytes > UINT32_MAX) return nullptr;
    void *block = KOVRADALT_OsMalloc(static_cast<uint32_t>(bytes));
    if (block != nullptr) std::memset(block, 0, static_cast<size_t>(bytes));
    return block;
}

// count * size, or nothing when either is negative or the product does not fit in 32 bits.
inline void *alloc_array_zeroed(int64_t count, uint64_t size) {
    if (count < 0) return nullptr;
    const uint64_t bytes = static_cast<uint64_t>(count) * size;  // both below 2^32: no wrap
    if (static_cast<uint64_t>(count) > UINT32_MAX || size > UINT32_MAX) return nullptr;
    return alloc_zeroed(bytes);
}

// The line buffer: `size` bytes that rows are decoded into, DALTI_GIF_LINE_SPARE bytes beyond them,
// and kLineFront bytes in front of its start, which the LZW decoder's 8-byte stores may cover
// (rewriting the bytes they hold). The record keeps the pointer to its start. Only the front and
// the first `row_bytes` are cleared: a row is read only within them (a row cut short by an end
// code shows what they held), and the slack behind them is always written before it is read.
inline constexpr int64_t kLineFront = 8;

inline uint8_t *alloc_line_buffer(int64_t size, int64_t row_bytes) {
    const uint64_t bytes = static_cast<uint64_t>(kLineFront + size) + DALTI_GIF_LINE_SPARE;
    if (bytes > UINT32_MAX) return nullptr;
    auto *block = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(bytes)));
    if (block == nullptr) return nullptr;
    std::memset(block, 0, static_cast<size_t>(kLineFront + std::min(row_bytes, size)));
    return block + kLineFront;
}

inline void free_line_buffer(uint8_t *line) {
    if (line != nullptr) KOVRADALT_OsFree(line - kLineFront);
}

}  // namespace kovra::gif
