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

// The line block: the frame decoder's translation table, then kLineFront bytes, the line buffer's
// `size` bytes and DALTI_GIF_LINE_SPARE more, in one allocation (one allocation fewer per decode,
// and the table's first entries, all a small image's codes use, lie next to the line). The record
// keeps the line buffer's start and the table; the LZW decoder's 8-byte stores may cover the
// kLineFront bytes in front of the line (rewriting the bytes they hold). Only those bytes and the
// line's first `row_bytes` are cleared: a row is read only within them (a row cut short by an end
// code shows what they held), and the slack behind them is always written before it is read. The
// table is not cleared: a new one holds no roots, and the decoder sets them up before any use.
inline constexpr int64_t kLineFront = 8;
inline constexpr int64_t kLineTableBytes = sizeof(DALTI_LZWTable);
static_assert(kLineTableBytes % 64 == 0, "the line front starts on a cache line");

inline bool alloc_line_block(DALTI_GIFDecoderInfo *rec, int64_t size, int64_t row_bytes) {
    const uint64_t bytes = static_cast<uint64_t>(kLineTableBytes + kLineFront + size) + DALTI_GIF_LINE_SPARE;
    if (size < 0 || bytes > UINT32_MAX) return false;
    auto *block = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(bytes)));
    if (block == nullptr) return false;
    uint8_t *front = block + kLineTableBytes;
    std::memset(front, 0, static_cast<size_t>(kLineFront + std::min(row_bytes, size)));
    rec->lzw_table = reinterpret_cast<DALTI_LZWTable *>(block);
    rec->lzw_roots_ready = 0;
    rec->line_buffer = front + kLineFront;
    return true;
}

inline void free_line_block(DALTI_GIFDecoderInfo *rec) {
    if (rec->line_buffer != nullptr) KOVRADALT_OsFree(rec->line_buffer - kLineFront - kLineTableBytes);
    rec->line_buffer = nullptr;
    rec->lzw_table = nullptr;
}

}  // namespace kovra::gif
