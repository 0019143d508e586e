// Row writers of the direct path and of canvas rows. Each call places one row at out_row and then
// steps out_row by the interlace rules.
//
// Direct path (frame_mode 0): palette indexes from line_buffer, format 13 only; one-to-one copies
// the frame's columns that lie on the screen, otherwise the row is resampled (see resample.h)
// with columns left of the frame skipped and columns right of it left untouched. Frame path
// (frame_mode 1): rows of colour words at canvas_row are converted into the output with the
// regular format 7 / 8 packing (color_words.h). Other formats write nothing.

#include <algorithm>
#include <cstring>

#include "gif/color_words.h"
#include "gif/interlace.h"
#include "gif/resample.h"
#include "gif/row_bounds.h"
#include "kovra_gif.h"

namespace {

using namespace kovra::gif;

bool is_color_format(int32_t format) {
    return format == KOVRADALT_FORMAT_RGBA32 || format == KOVRADALT_FORMAT_BGRA32;
}

// Converts `count` colour words at canvas_row into output row `row`.
void write_color_row(DALTI_GIFDecoderInfo *rec, uint8_t *out, int64_t row, int32_t count) {
    count = words_available(rec, rec->canvas_row, count);
    if (count <= 0) return;
    uint8_t *dst = output_row(rec, out, row, static_cast<int64_t>(count) * 4);
    if (dst != nullptr) convert_row(rec->canvas_row, count, rec->output_format, dst);
}

// Resamples the frame's part of the index row into output row `dst` (format 13).
void downsize_index_row(const DALTI_GIFDecoderInfo *rec, uint8_t *dst, int32_t first_col, int32_t end_col) {
    const uint8_t *line = rec->line_buffer;
    const int64_t left = rec->frame_left;
    ColumnWalk walk(first_col, rec->screen_width, rec->row_out_width);
    for (int32_t k = first_col; k < end_col; ++k) {
        dst[k] = line[walk.x() - left];
        walk.next();
    }
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALTI_WriteGIFOneToOneRow(DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    if (rec->out_row >= rec->screen_height || rec->output_format != KOVRADALT_FORMAT_INDEX8) return 1;
    const int64_t left = rec->frame_left;
    int64_t count = rec->frame_width;
    if (left + count > rec->screen_width) count = rec->screen_width - left;
    if (count > 0 && left >= 0 && rec->line_buffer != nullptr && count <= rec->line_buffer_size) {
        uint8_t *dst = output_row(rec, out, static_cast<int64_t>(rec->out_row) - rec->first_out_row, left + count);
        if (dst != nullptr) std::memcpy(dst + left, rec->line_buffer, static_cast<size_t>(count));
    }
    ++rec->rows_written;
    return 1;
}

KOVRA_API int32_t DALTI_DownsizeGIFRow(DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    if (rec->output_format != KOVRADALT_FORMAT_INDEX8 || rec->out_row >= rec->screen_height) return 1;
    const int32_t screen_w = rec->screen_width;
    const int32_t out_w = rec->row_out_width;
    const OutputRows rows = output_rows_of(rec->out_row, rec->first_out_row, rec->screen_height, rec->out_height);
    const int64_t left = rec->frame_left;
    const int64_t right = std::min<int64_t>(left + rec->frame_width, screen_w);
    if (left >= right || left < 0 || out_w < 1 || rec->line_buffer == nullptr || right - left > rec->line_buffer_size) {
        rec->rows_written += static_cast<uint32_t>(rows.count);
        return 1;
    }
    const int32_t first_col = first_column_at(left, screen_w, out_w);
    const int32_t end_col = first_column_at(right, screen_w, out_w);
    const uint8_t *written = nullptr;
    for (int32_t r = 0; r < rows.count; ++r) {
        uint8_t *dst = output_row(rec, out, rows.first + r, end_col);
        if (dst != nullptr) {
            if (written == nullptr) {
                downsize_index_row(rec, dst, first_col, end_col);
                written = dst;
            } else if (end_col > first_col) {
                std::memcpy(dst + first_col, written + first_col, static_cast<size_t>(end_col - first_col));
            }
        }
        ++rec->rows_written;
    }
    return 1;
}

KOVRA_API int32_t DALTI_DownsizeAGIFRow(DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    write_color_row(rec, out, rec->out_row, rec->row_out_width);
    return 1;
}

KOVRA_API int32_t DALTI_WriteAGIFOneToOneRow(DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    if (rec->out_row >= rec->screen_height || !is_color_format(rec->output_format)) return 1;
    write_color_row(rec, out, rec->out_row, std::min(rec->screen_width, rec->row_out_width));
    ++rec->rows_written;
    return 1;
}

KOVRA_API int32_t DALTI_WriteTheLine(DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    if (rec->frame_mode == 0) {
        if (rec->one_to_one != 0) {
            DALTI_WriteGIFOneToOneRow(rec, out);
        } else {
            DALTI_DownsizeGIFRow(rec, out);
        }
    } else if (rec->one_to_one == 0) {
        if (rec->out_row < rec->screen_height) DALTI_DownsizeAGIFRow(rec, out);
    } else {
        DALTI_WriteAGIFOneToOneRow(rec, out);
    }
    return advance_out_row(rec) ? 1 : 0;
}

}  // extern "C"
