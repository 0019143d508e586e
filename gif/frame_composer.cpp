// Frame composition: each decoded row of palette indexes is laid over the canvas (the previous
// composed frame, at output size) and the result is written into the frame output buffer.
//
// For every output row the screen row maps to (resample.h): output columns left and right of the
// frame come from the canvas; each sampled frame pixel takes colour c = active_colors[i] and,
// by disposal method and transparency,
//   disposal 3 (restore previous): the row shows c (or the canvas for the transparent index) and
//                                  the canvas keeps its old value;
//   disposal 2 (restore background): the row shows the same, and the canvas entry is cleared to
//                                  GIF_COLOR_UNSET when the frame has transparency, else to white;
//   otherwise: c goes to the row and the canvas; a transparent pixel shows the canvas.
// The composed row goes straight into the output with format 7's regular packing or format 8's
// frame-path packing (color_words.h), canvas columns included. Screen rows at or below the screen's
// bottom and frames starting at or right of its right edge are dropped without stepping out_row.
//
// Speed: a FrameLineComposer works out once per frame what every row needs (the span, the row
// composer, the output pixel of each palette index). Rows of a kept frame at full width go four
// pixels at a time, with one 16-byte store into the canvas and one into the output, since stores
// rather than arithmetic bound this work; sixteen indexes at a time are compared with the
// transparent one (SSE2 or NEON), so that groups of four transparent pixels (most of an
// animation's delta frame) only show the canvas, and only mixed groups blend.

#include "gif/frame_composer.h"

#include <algorithm>
#include <cstring>

#include "gif/color_words.h"
#include "gif/interlace.h"
#include "gif/resample.h"
#include "gif/row_bounds.h"
#include "gif/transparent_bits.h"
#include "kovra_gif.h"

namespace kovra::gif {
namespace {

enum class Disposal { kKeep, kRestorePrevious, kRestoreBackground };
enum class Packing { kNone, kRgba, kFrameBgra };

using Frame = FrameLineComposer::Frame;
using RowComposer = FrameLineComposer::RowComposer;

template <Packing kPacking>
inline uint32_t packed(uint32_t word) {
    if constexpr (kPacking == Packing::kRgba) {
        return rgba_pixel(word);
    } else {
        return frame_bgra_pixel(word);
    }
}

template <Packing kPacking>
inline void put(uint8_t *dst, int32_t k, uint32_t pixel) {
    if constexpr (kPacking != Packing::kNone) store_le32(dst + 4 * static_cast<int64_t>(k), pixel);
}

// packed() of four words at once.
template <Packing kPacking>
inline Words4 packed4(Words4 words) {
    if constexpr (kPacking == Packing::kRgba) {
        return rgba_pixels4(words);
    } else {
        return (words & 0xFFu) | (((words >> 10) & 0xFFu) << 8) | (((words >> 20) & 0xFFu) << 16) | 0xFF000000u;
    }
}

// Output columns [from, to) straight from the canvas.
template <Packing kPacking>
void put_canvas(const uint32_t *canvas_line, uint8_t *dst, int32_t from, int32_t to) {
    if (from < to) convert_words<packed4<kPacking>, packed<kPacking>>(canvas_line + from, to - from,
                                                                      dst + 4 * static_cast<int64_t>(from));
}

// One frame pixel: the transparent index shows the canvas, any other its colour; the canvas
// takes what the disposal method leaves.
template <Disposal kDisposal, bool kTransparency, Packing kPacking>
inline void compose_pixel(uint8_t index, uint32_t *canvas_px, uint8_t *dst, int32_t k, const uint32_t *colors,
                          const Frame &frame, int32_t transparent) {
    if (kTransparency && static_cast<int32_t>(index) == transparent) {
        if constexpr (kPacking != Packing::kNone) put<kPacking>(dst, k, packed<kPacking>(*canvas_px));
    } else {
        if constexpr (kPacking != Packing::kNone) put<kPacking>(dst, k, frame.shown[index]);
        if constexpr (kDisposal == Disposal::kKeep) *canvas_px = colors[index];
    }
    if constexpr (kDisposal == Disposal::kRestoreBackground) {
        *canvas_px = kTransparency ? GIF_COLOR_UNSET : kCanvasWhite;
    }
}

// Four pixels of a kept frame, with one 16-byte store into the canvas and one into the output.
// Bit i of `clear` marks pixel i transparent: it keeps the canvas's word and shows it, selected
// without a branch; four transparent pixels leave the canvas alone and only show it.
template <Packing kPacking>
inline void keep4(const uint8_t *index, uint32_t clear, const uint32_t *colors, const Frame &frame, uint32_t *canvas,
                  uint8_t *out) {
    if (clear == 0xFu) {
        store_pixels4(out, packed4<kPacking>(load_words4(canvas)));
        return;
    }
    Words4 canvas_words = {colors[index[0]], colors[index[1]], colors[index[2]], colors[index[3]]};
    Words4 shown = {frame.shown[index[0]], frame.shown[index[1]], frame.shown[index[2]], frame.shown[index[3]]};
    if (clear != 0) {
        const Words4 lanes = {clear & 1u, clear & 2u, clear & 4u, clear & 8u};
        const auto keep_old = reinterpret_cast<Words4>(lanes != 0u);
        const Words4 old = load_words4(canvas);
        canvas_words = (old & keep_old) | (canvas_words & ~keep_old);
        shown = (packed4<kPacking>(old) & keep_old) | (shown & ~keep_old);
    }
    store_words4(canvas, canvas_words);
    store_pixels4(out, shown);
}

// One output row: canvas columns around the frame's span, composed pixels inside it.
template <Disposal kDisposal, bool kTransparency, Packing kPacking>
void compose_row(const DALTI_GIFDecoderInfo *rec, const Frame &frame, uint32_t *canvas_line, uint8_t *dst) {
    const int32_t first_col = frame.first_col;
    const int32_t end_col = frame.end_col;
    const int32_t out_w = frame.out_width;
    if constexpr (kPacking != Packing::kNone) put_canvas<kPacking>(canvas_line, dst, 0, first_col);
    const uint8_t *line = rec->line_buffer;
    const uint32_t *colors = rec->active_colors;
    const int32_t transparent = rec->transparent_index;
    if (kDisposal == Disposal::kKeep && kPacking != Packing::kNone && frame.same_width) {
        // Sixteen indexes are checked for the transparent one at a time, then go four by four.
        const bool may_clear = kTransparency && transparent >= 0 && transparent <= 0xFF;
        const auto clear_index = static_cast<uint8_t>(transparent);
        int32_t k = first_col;
        for (; k + 15 < end_col; k += 16) {
            const uint8_t *const index = line + (k - first_col);
            const uint32_t clear = may_clear ? transparent_bits16(index, clear_index) : 0;
            for (int32_t g = 0; g < 16; g += 4) {
                keep4<kPacking>(index + g, (clear >> g) & 0xFu, colors, frame, canvas_line + k + g,
                                dst + 4 * static_cast<int64_t>(k + g));
            }
        }
        for (; k + 3 < end_col; k += 4) {
            const uint8_t *const index = line + (k - first_col);
            uint32_t clear = 0;
            for (int32_t i = 0; may_clear && i < 4; ++i) clear |= static_cast<uint32_t>(index[i] == clear_index) << i;
            keep4<kPacking>(index, clear, colors, frame, canvas_line + k, dst + 4 * static_cast<int64_t>(k));
        }
        for (; k < end_col; ++k) {
            compose_pixel<kDisposal, kTransparency, kPacking>(line[k - first_col], canvas_line + k, dst, k, colors,
                                                              frame, transparent);
        }
    } else if (frame.same_width) {
        // Output column k is screen column k, and the span starts at frame_left.
        for (int32_t k = first_col; k < end_col; ++k) {
            compose_pixel<kDisposal, kTransparency, kPacking>(line[k - first_col], canvas_line + k, dst, k, colors,
                                                              frame, transparent);
        }
    } else {
        const int64_t left = rec->frame_left;
        ColumnWalk walk(first_col, rec->screen_width, out_w);
        for (int32_t k = first_col; k < end_col; ++k) {
            compose_pixel<kDisposal, kTransparency, kPacking>(line[walk.x() - left], canvas_line + k, dst, k, colors,
                                                              frame, transparent);
            walk.next();
        }
    }
    if constexpr (kPacking != Packing::kNone) put_canvas<kPacking>(canvas_line, dst, end_col, out_w);
}

template <Disposal kDisposal, bool kTransparency>
RowComposer composer_for_packing(Packing packing) {
    switch (packing) {
        case Packing::kRgba: return compose_row<kDisposal, kTransparency, Packing::kRgba>;
        case Packing::kFrameBgra: return compose_row<kDisposal, kTransparency, Packing::kFrameBgra>;
        default: return compose_row<kDisposal, kTransparency, Packing::kNone>;
    }
}

RowComposer composer_for(const DALTI_GIFDecoderInfo *rec, Packing packing) {
    const bool transparency = rec->has_transparency != 0;
    switch (rec->disposal_method) {
        case 2:
            return transparency ? composer_for_packing<Disposal::kRestoreBackground, true>(packing)
                                : composer_for_packing<Disposal::kRestoreBackground, false>(packing);
        case 3:
            return transparency ? composer_for_packing<Disposal::kRestorePrevious, true>(packing)
                                : composer_for_packing<Disposal::kRestorePrevious, false>(packing);
        default:
            return transparency ? composer_for_packing<Disposal::kKeep, true>(packing)
                                : composer_for_packing<Disposal::kKeep, false>(packing);
    }
}

Packing packing_of(int32_t format) {
    if (format == KOVRADALT_FORMAT_RGBA32) return Packing::kRgba;
    if (format == KOVRADALT_FORMAT_BGRA32) return Packing::kFrameBgra;
    return Packing::kNone;
}

template <Packing kPacking>
void fill_shown(const uint32_t *colors, uint32_t *shown) {
    for (int32_t i = 0; i < DALTI_GIF_PALETTE_SLOTS; i += 4) {
        store_words4(shown + i, packed4<kPacking>(load_words4(colors + i)));
    }
}

// True when the record's buffers can hold every row this frame may touch.
bool frame_buffers_fit(const DALTI_GIFDecoderInfo *rec) {
    const int32_t out_w = rec->row_out_width;
    if (rec->canvas == nullptr || rec->line_buffer == nullptr || rec->active_colors == nullptr || out_w < 1) {
        return false;
    }
    if (out_w > rec->canvas_width) return false;
    return rec->frame_left >= 0 && std::min<int64_t>(rec->frame_width, rec->screen_width) <= rec->line_buffer_size;
}

}  // namespace

// frame_.shown is filled only where rows are written out (it is 1 KB, and a small image's whole
// decode costs little more than clearing it).
FrameLineComposer::FrameLineComposer(const DALTI_GIFDecoderInfo *rec) {
    buffers_fit_ = frame_buffers_fit(rec);
    const int32_t screen_w = rec->screen_width;
    const int32_t out_w = rec->row_out_width;
    const int64_t right = std::min<int64_t>(static_cast<int64_t>(rec->frame_left) + rec->frame_width, screen_w);
    frame_.first_col = first_column_at(rec->frame_left, screen_w, out_w);
    frame_.end_col = std::max(first_column_at(right, screen_w, out_w), frame_.first_col);
    frame_.out_width = out_w;
    frame_.same_width = screen_w == out_w;
    const Packing packing = packing_of(rec->output_format);
    frame_.row_bytes = packing == Packing::kNone ? 0 : static_cast<int64_t>(out_w) * 4;
    // A first frame composed into the output alone (frame_driver.cpp) is opaque and leaves the
    // canvas as it was: what it shows is the same.
    with_output_ = rec->canvas_deferred == 1 ? composer_for_packing<Disposal::kRestorePrevious, false>(packing)
                                             : composer_for(rec, packing);
    canvas_only_ = composer_for(rec, Packing::kNone);
    if (buffers_fit_ && packing == Packing::kRgba) {
        fill_shown<Packing::kRgba>(rec->active_colors, frame_.shown);
    } else if (buffers_fit_ && packing == Packing::kFrameBgra) {
        fill_shown<Packing::kFrameBgra>(rec->active_colors, frame_.shown);
    }
}

int32_t FrameLineComposer::compose_line(DALTI_GIFDecoderInfo *rec) const {
    if (rec->out_row >= rec->screen_height || rec->frame_left >= rec->screen_width) return 1;
    if (!buffers_fit_) return 0;
    const OutputRows rows = output_rows_of(rec->out_row, rec->first_out_row, rec->screen_height, rec->out_height);
    bool wrote = false;
    for (int32_t r = 0; r < rows.count; ++r) {
        const int64_t j = rows.first + r;
        if (j < 0 || j >= rec->canvas_height) break;
        uint32_t *canvas_line = rec->canvas + j * rec->canvas_width;
        uint8_t *dst = output_row(rec, rec->frame_out, j, frame_.row_bytes);
        if (dst != nullptr) {
            with_output_(rec, frame_, canvas_line, dst);
        } else {
            canvas_only_(rec, frame_, canvas_line, nullptr);
        }
        rec->next_out_row = static_cast<int32_t>(j + 1);
        wrote = true;
    }
    if (wrote && rec->interlaced != 0) rec->interlace_high_row = std::max(rec->interlace_high_row, rec->next_out_row);
    return advance_out_row(rec) ? 1 : 0;
}

}  // namespace kovra::gif

extern "C" KOVRA_API int32_t DALTI_MakeFrameLineBuffer(DALTI_GIFDecoderInfo *rec) {
    return kovra::gif::FrameLineComposer(rec).compose_line(rec);
}
