// Set-up for the graphics framework: creates the GIF record on a decoder record, reads the
// header from the source's current position, fixes the output size for an integer sample size,
// and seeks the first frame. Direct mode (no `animated`) serves KOVRADALTI_DecodeGIF; frame mode
// composes frames through a canvas for KOVRADALTI_DecodeAGIF.
//
// Until the record is attached to the decoder record, a failure releases it; after that it stays
// attached (the caller's clean-up releases it with KOVRADALTI_DeleteGIFInfo).

#include <algorithm>

#include "gif/gif_alloc.h"
#include "gif/gif_input.h"
#include "gif/header.h"
#include "kovra_gif.h"
#include "kovra_os.h"

namespace {

using namespace kovra::gif;

void set_output_size(DALTI_GIFDecoderInfo *rec, int32_t out_width, int32_t out_height) {
    rec->out_width = out_width;
    rec->row_out_width = out_width;
    rec->out_height = out_height;
    if (rec->output_format == KOVRADALT_FORMAT_RGBA32 || rec->output_format == KOVRADALT_FORMAT_BGRA32) {
        rec->out_stride = static_cast<uint32_t>(out_width) * 4u;
        rec->out_pixel_size = 4;
    } else if (rec->output_format == KOVRADALT_FORMAT_INDEX8) {
        rec->out_stride = static_cast<uint32_t>(out_width);
        rec->out_pixel_size = 1;
    }
}

// A new line buffer of screen_width + 4096 bytes, with a new translation table (see
// alloc_line_block).
bool renew_line_buffer(DALTI_GIFDecoderInfo *rec) {
    free_line_block(rec);
    rec->line_buffer_size = 0;
    const int64_t row_bytes = std::max(rec->screen_width, 0);
    const int64_t size = row_bytes + DALTI_GIF_LINE_SLACK;
    if (!alloc_line_block(rec, size, row_bytes)) return false;
    rec->line_buffer_size = static_cast<int32_t>(size);
    return true;
}

bool output_size_ok(int32_t out_width, int32_t out_height) {
    return out_width >= 1 && out_height >= 1 && out_width <= INT32_MAX / 4;
}

int32_t reduced(int32_t side, int32_t sample_size) { return side < sample_size ? 1 : side / sample_size; }

DALTI_GIFDecoderInfo *new_record() {
    auto *rec = static_cast<DALTI_GIFDecoderInfo *>(alloc_zeroed(sizeof(DALTI_GIFDecoderInfo)));
    if (rec == nullptr) return nullptr;
    if (DALTI_CreateGIFDecoderInfo(rec) == 0) {
        DALTI_DelGIFDecoderInfo(rec);
        return nullptr;
    }
    return rec;
}

// Header and global table from the source's current position.
bool read_header(DALTI_GIFDecoderInfo *rec, KOVRADALT_IO *io) {
    DALTI_GIFInput *input = rec->input;
    input->avail = read_source(io, input->buffer, DALTI_GIF_INPUT_CAPACITY);
    if (input->avail < kHeaderBytes) return false;
    if (read_logical_screen(rec) != ScreenResult::kOk) return false;
    if (rec->global_color_count != 0) {
        rec->active_colors = rec->global_colors;
        rec->active_color_count = rec->global_color_count;
    }
    return true;
}

}  // namespace

extern "C" {

KOVRA_API int32_t KOVRADALTI_ParseGIFHeader_SKIA(KOVRADALT_IO *io, KOVRADALT_DecInfo *dec, int32_t sample_size,
                                                 void *animated) {
    if (sample_size < 1 || dec == nullptr || io == nullptr) return 0;
    DALTI_GIFDecoderInfo *rec = new_record();
    if (rec == nullptr) return 0;
    rec->frame_mode = 0;
    rec->input->source = io;
    rec->input->next = rec->input->buffer;
    rec->output_format = dec->output_format;
    rec->transparent_index = -1;
    if (!read_header(rec, io)) {
        DALTI_DelGIFDecoderInfo(rec);
        return 0;
    }
    dec->width = static_cast<uint32_t>(rec->screen_width);
    dec->height = static_cast<uint32_t>(rec->screen_height);
    if (animated != nullptr &&
        (rec->screen_width > DALTI_GIF_MAX_FRAME_SIDE || rec->screen_height > DALTI_GIF_MAX_FRAME_SIDE)) {
        DALTI_DelGIFDecoderInfo(rec);
        return 0;
    }
    dec->gif_info = rec;

    set_output_size(rec, reduced(rec->screen_width, sample_size), reduced(rec->screen_height, sample_size));
    dec->scaled_width = static_cast<uint32_t>(rec->out_width);
    dec->progress_total = static_cast<uint32_t>(rec->out_height);
    if (!renew_line_buffer(rec)) return 0;
    if (sample_size == 1) rec->one_to_one = 1;
    if (DALTI_SeekImageData(nullptr, rec) == 0) return 0;
    if (animated == nullptr) return 1;

    rec->frame_mode = 1;
    rec->row_colors = static_cast<uint32_t *>(alloc_array_zeroed(rec->screen_width, sizeof(uint32_t)));
    if (rec->row_colors == nullptr) return 0;
    rec->row_colors_capacity = rec->screen_width;
    rec->canvas = nullptr;
    return 1;
}

KOVRA_API int32_t DALTI_InitializeGIF_SKIA(DALTI_GIFDecoderInfo *rec, int32_t out_width, int32_t out_height) {
    if (rec == nullptr || !output_size_ok(out_width, out_height)) return 0;
    set_output_size(rec, out_width, out_height);
    return renew_line_buffer(rec) ? 1 : 0;
}

KOVRA_API int32_t KOVRADALTI_SetGIF_SKIA(KOVRADALT_DecInfo *dec, int32_t out_width, int32_t out_height) {
    if (dec == nullptr || dec->gif_info == nullptr || !output_size_ok(out_width, out_height)) return 0;
    dec->gif_info->one_to_one = 0;
    return DALTI_InitializeGIF_SKIA(dec->gif_info, out_width, out_height);
}

}  // extern "C"
