// Bounds of the rows the writers touch. Output rows live in the caller's buffer of out_height
// rows of out_stride bytes (an animation frame call may say its buffer holds fewer); colour rows
// live in the canvas or in row_colors, whose sizes the record keeps. A row that would fall
// outside them is not written.
#pragma once

#include <algorithm>
#include <cstdint>

#include "kovra_gif.h"

namespace kovra::gif {

// Output rows the caller's buffer holds: out_height, or fewer when the frame call said so.
inline int64_t output_rows_held(const DALTI_GIFDecoderInfo *rec) {
    if (rec->frame_out_rows == 0) return rec->out_height;
    return std::min<int64_t>(rec->out_height, std::max(rec->frame_out_rows, 0));
}

// The caller's output row `row` if it exists and can take `bytes` bytes; else null.
inline uint8_t *output_row(const DALTI_GIFDecoderInfo *rec, uint8_t *out, int64_t row, int64_t bytes) {
    if (out == nullptr || row < 0 || row >= output_rows_held(rec) || bytes > static_cast<int64_t>(rec->out_stride)) {
        return nullptr;
    }
    return out + row * static_cast<int64_t>(rec->out_stride);
}

// How many colour words may be read or written at `words`: up to the end of the canvas or of
// row_colors when it points into one of them, `wanted` when it is a buffer of the host's.
inline int32_t words_available(const DALTI_GIFDecoderInfo *rec, const uint32_t *words, int32_t wanted) {
    const auto at = reinterpret_cast<uintptr_t>(words);
    auto room_in = [at](const uint32_t *base, int64_t count) -> int64_t {
        if (base == nullptr || count <= 0) return -1;
        const auto begin = reinterpret_cast<uintptr_t>(base);
        if (at < begin || at >= begin + static_cast<uint64_t>(count) * sizeof(uint32_t)) return -1;
        return count - static_cast<int64_t>((at - begin) / sizeof(uint32_t));
    };
    if (words == nullptr) return 0;
    int64_t room = room_in(rec->canvas, static_cast<int64_t>(rec->canvas_width) * rec->canvas_height);
    if (room < 0) room = room_in(rec->row_colors, rec->row_colors_capacity);
    if (room < 0) return wanted;
    return static_cast<int32_t>(std::min<int64_t>(room, wanted));
}

}  // namespace kovra::gif
