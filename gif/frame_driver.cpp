// Driving frames: a single image decoded into palette indexes, and animation frames decoded one
// call at a time into 32-bit pixels with the composed image kept in the canvas between calls.
//
// An animation frame is written in three parts: the output rows above the frame come from the
// canvas, the frame's own rows come from the composer (frame_composer.cpp) as they are decoded,
// and the rows below the last one written come from the canvas again. The canvas is created by
// the first frame at output size: fully transparent when that frame has transparency, else
// white. The canvas is this file's buffer; its size is checked against the output size on every
// call, so a size changed between frames fails the frame instead of stepping outside it.
//
// A first frame that fills the canvas (see first_frame_fills_canvas) and goes whole into 32-bit
// RGBA output is composed into the output alone: the canvas is written from the output only when
// a further frame follows (or the frame failed), so a single image never touches its canvas's
// pages. Every colour word such a frame leaves in the canvas comes back exactly from its output
// pixel: real colours carry alpha 0xFF and show unchanged, and only GIF_COLOR_UNSET shows as 0.

#include <algorithm>
#include <cstring>

#include "gif/color_words.h"
#include "gif/gif_alloc.h"
#include "gif/resample.h"
#include "kovra_gif.h"
#include "kovra_os.h"

namespace {

using namespace kovra::gif;

enum class Canvas { kReady, kReadyUnfilled, kAllocationFailed, kMismatch };

uint32_t canvas_start_word(const DALTI_GIFDecoderInfo *rec) {
    return rec->has_transparency != 0 ? GIF_COLOR_UNSET : kCanvasWhite;
}

// A first frame that covers the whole screen row after row, opaque, and leaves itself in the
// canvas (or clears it to white) writes every canvas word before any is read, so the canvas need
// not be filled first; only the rows it leaves unwritten (a short decode) are filled afterwards.
bool first_frame_fills_canvas(const DALTI_GIFDecoderInfo *rec) {
    return rec->frame_left == 0 && rec->frame_top == 0 && rec->frame_width >= rec->screen_width &&
           rec->frame_height >= rec->screen_height && rec->interlaced == 0 && rec->has_transparency == 0 &&
           rec->disposal_method != 3;
}

// Creates the canvas on the first frame; refuses a canvas whose size no longer matches.
Canvas prepare_canvas(DALTI_GIFDecoderInfo *rec) {
    if (rec->canvas != nullptr) {
        const bool same = rec->canvas_width == rec->row_out_width && rec->canvas_width == rec->out_width &&
                          rec->canvas_height == rec->out_height;
        if (!same) return Canvas::kMismatch;
        if (rec->canvas_deferred != 0) {
            // Called again after the last frame: the canvas was never written.
            std::fill(rec->canvas, rec->canvas + int64_t{rec->canvas_width} * rec->canvas_height,
                      canvas_start_word(rec));
            rec->canvas_deferred = 0;
        }
        return Canvas::kReady;
    }
    if (rec->out_width < 1 || rec->out_height < 1 || rec->row_out_width != rec->out_width) return Canvas::kMismatch;
    const int64_t words = static_cast<int64_t>(rec->out_width) * rec->out_height;
    if (words > static_cast<int64_t>(UINT32_MAX / sizeof(uint32_t))) return Canvas::kAllocationFailed;
    auto *canvas = static_cast<uint32_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(words * sizeof(uint32_t))));
    if (canvas == nullptr) return Canvas::kAllocationFailed;
    rec->canvas = canvas;
    rec->canvas_width = rec->out_width;
    rec->canvas_height = rec->out_height;
    if (first_frame_fills_canvas(rec)) return Canvas::kReadyUnfilled;
    std::fill(canvas, canvas + words, canvas_start_word(rec));
    return Canvas::kReady;
}

// True when the first frame, which fills the canvas, can leave its image in the output alone: RGBA
// output with every row in the caller's buffer, and a colour table built from the file (whose
// words all come back from their pixels).
bool can_defer_canvas(const DALTI_GIFDecoderInfo *rec, const uint8_t *out, int32_t out_rows) {
    return rec->output_format == KOVRADALT_FORMAT_RGBA32 && out != nullptr && out_rows >= rec->out_height &&
           rec->active_color_count > 0 && rec->one_to_one != 0;
}

// The canvas as composing the first frame would have left it, rows [0, rows) from the output;
// `disposal` is the frame's (the record may hold the next frame's by now).
void write_deferred_canvas(DALTI_GIFDecoderInfo *rec, const uint8_t *out, int32_t rows, uint32_t disposal) {
    const int64_t width = rec->canvas_width;
    for (int32_t j = 0; j < rows; ++j) {
        uint32_t *canvas_line = rec->canvas + j * width;
        if (disposal == 2) {
            std::fill(canvas_line, canvas_line + width, kCanvasWhite);
            continue;
        }
        const uint8_t *pixels = out + static_cast<int64_t>(j) * rec->out_stride;
        for (int64_t k = 0; k < width; ++k) {
            const uint32_t pixel = load_le32(pixels + 4 * k);
            canvas_line[k] = pixel == 0 ? GIF_COLOR_UNSET : pixel;
        }
    }
}

// Writes output row `row` from the canvas through the regular writer.
bool write_canvas_row(DALTI_GIFDecoderInfo *rec, uint8_t *out, int32_t row) {
    rec->out_row = row;
    rec->canvas_row = rec->canvas + static_cast<int64_t>(row) * rec->canvas_width;
    return DALTI_WriteTheLine(rec, out) != 0;
}

// True when screen row y produces output row j under the row sampling rule.
bool screen_row_gives(const DALTI_GIFDecoderInfo *rec, int32_t y, int64_t j) {
    const OutputRows rows = output_rows_of(y, rec->first_out_row, rec->screen_height, rec->out_height);
    return rows.count > 0 && rows.first == j;
}

// Output rows above the frame, from the canvas. Leaves next_out_row after the last one.
bool write_rows_above(DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    const int64_t screen_h = rec->screen_height;
    const int64_t above = (static_cast<int64_t>(rec->out_height) * rec->frame_top + screen_h / 2) / screen_h;
    const auto rows = static_cast<int32_t>(std::min<int64_t>(above, rec->canvas_height));
    rec->next_out_row = 0;
    for (int32_t j = 0; j < rows; ++j) {
        if (!write_canvas_row(rec, out, j)) return false;
        rec->next_out_row = j + 1;
    }
    // The row just below them comes from the canvas too unless the frame's first screen row is
    // the one that produces it.
    if (rows > 0 && rows < rec->canvas_height && !screen_row_gives(rec, rec->frame_top, rows)) {
        if (!write_canvas_row(rec, out, rows)) return false;
        ++rec->next_out_row;
    }
    return true;
}

// Output rows below the frame, from the canvas, up to the caller's last row.
bool write_rows_below(DALTI_GIFDecoderInfo *rec, uint8_t *out, int32_t out_rows) {
    const int32_t last = std::min(out_rows, rec->canvas_height);
    int32_t from;
    if (rec->interlaced != 0) {
        if (static_cast<int64_t>(rec->frame_top) + rec->frame_height >= rec->screen_height) return true;
        from = rec->interlace_high_row;
    } else {
        from = rec->next_out_row;
    }
    for (int32_t j = std::max(from, 0); j < last; ++j) {
        if (!write_canvas_row(rec, out, j)) return false;
    }
    return true;
}

int32_t seek_next_frame(KOVRADALT_DecInfo *dec, DALTI_GIFDecoderInfo *rec) {
    if (DALTI_SeekImageData(nullptr, rec) != 0) {
        dec->gif_total_delay = rec->frame_delay;
        return 1;
    }
    dec->gif_total_delay = 0;
    rec->frame_top = 0;
    return 3;
}

bool covers_screen(const DALTI_GIFDecoderInfo *rec) {
    return rec->frame_left == 0 && rec->frame_top == 0 && rec->frame_width >= rec->screen_width &&
           rec->frame_height >= rec->screen_height;
}

}  // namespace

extern "C" {

KOVRA_API int32_t KOVRADALTI_DecodeGIF(KOVRADALT_DecInfo *dec, uint8_t *out, int32_t width, int32_t height) {
    if (dec == nullptr || dec->gif_info == nullptr) return 0;
    DALTI_GIFDecoderInfo *rec = dec->gif_info;
    rec->frame_out = out;
    rec->frame_out_rows = 0;
    if (!covers_screen(rec)) {
        if (rec->output_format != KOVRADALT_FORMAT_INDEX8) return 0;
        const uint32_t fill = rec->has_transparency != 0 ? static_cast<uint32_t>(rec->transparent_index) & 0xFFu
                                                         : rec->background_index & 0xFFu;
        if (out != nullptr && width > 0 && height > 0) {
            std::memset(out, static_cast<int>(fill), static_cast<size_t>(width) * static_cast<size_t>(height));
        }
    }
    rec->out_row = rec->frame_top;
    return DALTI_DecodeGIFImage(dec->io, rec, out);
}

KOVRA_API int32_t KOVRADALTI_DecodeAGIF(KOVRADALT_DecInfo *dec, uint8_t *out, int32_t ignored, int32_t out_rows) {
    (void)ignored;
    if (dec == nullptr || dec->gif_info == nullptr) return 0;
    DALTI_GIFDecoderInfo *rec = dec->gif_info;
    rec->frame_out = out;
    // Every row written below out_rows: the rows above the frame and the frame's own rows as
    // well as the rows below it (those beyond are still composed into the canvas).
    rec->frame_out_rows = out_rows > 0 ? out_rows : -1;
    if (rec->screen_height < 1) return 0;
    const bool frame_mode = rec->frame_mode != 0;
    bool canvas_unfilled = false;
    bool decoded_ok = true;
    if (frame_mode) {
        if (rec->active_colors == nullptr) return 0;
        switch (prepare_canvas(rec)) {
            case Canvas::kAllocationFailed:
                // The record cannot go on without its canvas: it goes, and the host's link to it
                // is cleared so that nothing can reach the freed record.
                DALTI_DelGIFDecoderInfo(rec);
                dec->gif_info = nullptr;
                return 0;
            case Canvas::kMismatch:
                return 0;
            case Canvas::kReadyUnfilled:
                canvas_unfilled = true;
                break;
            case Canvas::kReady:
                break;
        }
        // (No rows lie above a frame that fills the canvas.)
        if (!write_rows_above(rec, out)) return 0;
    }
    if (rec->interlaced != 0) rec->interlace_pass = 1;
    rec->out_row = rec->frame_top;
    rec->canvas_row = rec->row_colors;
    rec->interlace_high_row = 0;
    if (canvas_unfilled && can_defer_canvas(rec, out, out_rows)) rec->canvas_deferred = 1;
    const int32_t decoded = DALTI_DecodeGIFImage(dec->io, rec, out);
    const int32_t rows_composed = std::min(std::max(rec->next_out_row, 0), rec->canvas_height);
    if (canvas_unfilled) {
        // The frame wrote its rows in order from the top; the rest gets the start colour.
        const int64_t from = static_cast<int64_t>(rows_composed) * rec->canvas_width;
        const int64_t words = static_cast<int64_t>(rec->canvas_width) * rec->canvas_height;
        if (from < words) std::fill(rec->canvas + from, rec->canvas + words, canvas_start_word(rec));
    }
    if (frame_mode && !write_rows_below(rec, out, out_rows)) decoded_ok = false;
    const uint32_t disposal = rec->disposal_method;
    const int32_t result = decoded_ok && decoded != 0 ? seek_next_frame(dec, rec) : 0;
    if (rec->canvas_deferred == 1) {
        if (result == 3) {
            rec->canvas_deferred = 2;
        } else {
            write_deferred_canvas(rec, out, rows_composed, disposal);
            rec->canvas_deferred = 0;
        }
    }
    return result;
}

KOVRA_API uint32_t *KOVRADALTI_SetDecodeAGIFBuffer(void *ignored_1, void *ignored_2, int32_t count) {
    (void)ignored_1;
    (void)ignored_2;
    if (count > 4) return nullptr;
    return static_cast<uint32_t *>(alloc_array_zeroed(count, sizeof(uint32_t)));
}

KOVRA_API int32_t KOVRADALTI_DecodeGIFIter(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALTI_DecodeGIFLine(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALTI_DecodeAGIFIter(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALTI_AbortGIFIter(KOVRADALT_DecInfo *) { return 0; }
KOVRA_API int32_t KOVRADALTI_AborAGIF(KOVRADALT_DecInfo *) { return 0; }

}  // extern "C"
