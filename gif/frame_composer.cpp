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
// The composed row is kept in canvas_row (row_colors) and converted with format 7's regular
// packing or format 8's frame-path packing (color_words.h). Screen rows at or below the screen's
// bottom and frames starting at or right of its right edge are dropped without stepping out_row.

#include <algorithm>
#include <cstring>

#include "gif/color_words.h"
#include "gif/interlace.h"
#include "gif/resample.h"
#include "gif/row_bounds.h"
#include "kovra_gif.h"

namespace {

using namespace kovra::gif;

enum class Disposal { kKeep, kRestorePrevious, kRestoreBackground };

struct RowSpan {
    int32_t first_col;  // first output column inside the frame
    int32_t end_col;    // first output column right of it
};

template <Disposal kDisposal, bool kTransparency>
inline uint32_t compose(uint8_t index, uint32_t *canvas_px, const uint32_t *colors, int32_t transparent) {
    const uint32_t old = *canvas_px;
    const bool clear = kTransparency && static_cast<int32_t>(index) == transparent;
    const uint32_t shown = clear ? old : colors[index];
    if constexpr (kDisposal == Disposal::kRestoreBackground) {
        *canvas_px = kTransparency ? GIF_COLOR_UNSET : kCanvasWhite;
    } else if constexpr (kDisposal == Disposal::kKeep) {
        *canvas_px = shown;
    }
    return shown;
}

template <Disposal kDisposal, bool kTransparency>
void compose_span(const DALTI_GIFDecoderInfo *rec, const RowSpan &span, uint32_t *canvas_line, uint32_t *row) {
    const uint8_t *line = rec->line_buffer;
    const uint32_t *colors = rec->active_colors;
    const int32_t transparent = rec->transparent_index;
    const int64_t left = rec->frame_left;
    if (rec->screen_width == rec->row_out_width) {
        // Same width: output column k is screen column k, and the span starts at frame_left.
        uint32_t *row_px = row + span.first_col;
        uint32_t *canvas_px = canvas_line + span.first_col;
        const int32_t count = span.end_col - span.first_col;
        for (int32_t i = 0; i < count; ++i) {
            row_px[i] = compose<kDisposal, kTransparency>(line[i], canvas_px + i, colors, transparent);
        }
        return;
    }
    ColumnWalk walk(span.first_col, rec->screen_width, rec->row_out_width);
    for (int32_t k = span.first_col; k < span.end_col; ++k) {
        row[k] = compose<kDisposal, kTransparency>(line[walk.x() - left], canvas_line + k, colors, transparent);
        walk.next();
    }
}

using SpanComposer = void (*)(const DALTI_GIFDecoderInfo *, const RowSpan &, uint32_t *, uint32_t *);

SpanComposer composer_for(const DALTI_GIFDecoderInfo *rec) {
    const bool transparency = rec->has_transparency != 0;
    switch (rec->disposal_method) {
        case 2:
            return transparency ? compose_span<Disposal::kRestoreBackground, true>
                                : compose_span<Disposal::kRestoreBackground, false>;
        case 3:
            return transparency ? compose_span<Disposal::kRestorePrevious, true>
                                : compose_span<Disposal::kRestorePrevious, false>;
        default:
            return transparency ? compose_span<Disposal::kKeep, true> : compose_span<Disposal::kKeep, false>;
    }
}

void write_frame_row(const DALTI_GIFDecoderInfo *rec, const uint32_t *row, int32_t count, uint8_t *dst) {
    if (rec->output_format == KOVRADALT_FORMAT_RGBA32) {
        for (int32_t k = 0; k < count; ++k) store_le32(dst + 4 * k, rgba_pixel(row[k]));
    } else if (rec->output_format == KOVRADALT_FORMAT_BGRA32) {
        for (int32_t k = 0; k < count; ++k) store_le32(dst + 4 * k, frame_bgra_pixel(row[k]));
    }
}

// True when the record's buffers can hold every row this call may touch.
bool frame_buffers_fit(const DALTI_GIFDecoderInfo *rec) {
    const int32_t out_w = rec->row_out_width;
    if (rec->canvas == nullptr || rec->line_buffer == nullptr || rec->active_colors == nullptr || out_w < 1) {
        return false;
    }
    if (out_w > rec->canvas_width) return false;
    if (rec->frame_left < 0 || std::min<int64_t>(rec->frame_width, rec->screen_width) > rec->line_buffer_size) {
        return false;
    }
    return words_available(rec, rec->canvas_row, out_w) == out_w;
}

}  // namespace

extern "C" KOVRA_API int32_t DALTI_MakeFrameLineBuffer(DALTI_GIFDecoderInfo *rec) {
    if (rec->out_row >= rec->screen_height || rec->frame_left >= rec->screen_width) return 1;
    if (!frame_buffers_fit(rec)) return 0;
    const int32_t screen_w = rec->screen_width;
    const int32_t out_w = rec->row_out_width;
    const int64_t right = std::min<int64_t>(static_cast<int64_t>(rec->frame_left) + rec->frame_width, screen_w);
    RowSpan span{first_column_at(rec->frame_left, screen_w, out_w), first_column_at(right, screen_w, out_w)};
    if (span.end_col < span.first_col) span.end_col = span.first_col;
    const OutputRows rows = output_rows_of(rec->out_row, rec->first_out_row, rec->screen_height, rec->out_height);
    const SpanComposer compose_row = composer_for(rec);
    uint32_t *row = rec->canvas_row;
    bool wrote = false;
    for (int32_t r = 0; r < rows.count; ++r) {
        const int64_t j = rows.first + r;
        if (j < 0 || j >= rec->canvas_height) break;
        uint32_t *canvas_line = rec->canvas + j * rec->canvas_width;
        std::memcpy(row, canvas_line, static_cast<size_t>(span.first_col) * sizeof(uint32_t));
        compose_row(rec, span, canvas_line, row);
        std::memcpy(row + span.end_col, canvas_line + span.end_col,
                    static_cast<size_t>(out_w - span.end_col) * sizeof(uint32_t));
        uint8_t *dst = output_row(rec, rec->frame_out, j, static_cast<int64_t>(out_w) * 4);
        if (dst != nullptr) write_frame_row(rec, row, out_w, dst);
        rec->next_out_row = static_cast<int32_t>(j + 1);
        wrote = true;
    }
    if (wrote && rec->interlaced != 0) rec->interlace_high_row = std::max(rec->interlace_high_row, rec->next_out_row);
    return advance_out_row(rec) ? 1 : 0;
}
