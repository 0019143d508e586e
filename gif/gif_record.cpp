// The GIF decoder record's life: creation of its owned blocks, destruction, and the queries a
// host makes on it (colour count, transparency, delay, the active colour table).
//
// Of the record's own blocks only the input record and the LZW tables record are zero-filled when
// allocated; every other block is written before it is read. The input buffer is read only up to
// what the source put there. A colour table is read only as the active table, which the header
// read (global: built from the file, or cleared when the file has none) or the frame's descriptor
// (local) fills whole first. The frame decoder's table comes with the line buffer (gif_alloc.h);
// the step functions' tables (prefix, suffix, length) are set by DALTI_InitializeTransTBL
// before use. An icon's decode never touches most of these blocks, so on a fresh heap their
// pages are never mapped, and clearing them cost more than the rest of its decode.

#include "gif/gif_alloc.h"
#include "kovra_gif.h"
#include "kovra_os.h"

namespace {

using kovra::gif::alloc_zeroed;

constexpr uint32_t kColorTableBytes = DALTI_GIF_PALETTE_SLOTS * sizeof(uint32_t);

template <typename T>
bool allocate(T *&field, uint64_t bytes) {
    field = static_cast<T *>(alloc_zeroed(bytes));
    return field != nullptr;
}

template <typename T>
bool allocate_uncleared(T *&field, uint64_t bytes) {
    field = static_cast<T *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(bytes)));
    return field != nullptr;
}

template <typename T>
void release(T *&field) {
    KOVRADALT_OsFree(field);
    field = nullptr;
}

void swap_red_blue(uint32_t *colors, uint32_t count) {
    if (count > DALTI_GIF_PALETTE_SLOTS) count = DALTI_GIF_PALETTE_SLOTS;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t word = colors[i];
        colors[i] = (word & 0xFF00FF00u) | ((word & 0xFFu) << 16) | ((word >> 16) & 0xFFu);
    }
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALTI_CreateGIFDecoderInfo(DALTI_GIFDecoderInfo *rec) {
    if (rec == nullptr) return 0;
    if (!allocate(rec->input, sizeof(DALTI_GIFInput))) return 0;
    if (!allocate_uncleared(rec->input->buffer, DALTI_GIF_INPUT_CAPACITY)) return 0;
    if (!allocate_uncleared(rec->global_colors, kColorTableBytes)) return 0;
    if (!allocate_uncleared(rec->local_colors, kColorTableBytes)) return 0;
    if (!allocate(rec->lzw, sizeof(DALTI_LZWTables))) return 0;
    if (!allocate_uncleared(rec->lzw->prefix, DALTI_LZW_TABLE_SIZE * sizeof(uint32_t))) return 0;
    if (!allocate_uncleared(rec->lzw->suffix, DALTI_LZW_TABLE_SIZE)) return 0;
    return allocate_uncleared(rec->lzw->length, DALTI_LZW_TABLE_SIZE * sizeof(uint32_t)) ? 1 : 0;
}

KOVRA_API void DALTI_DelGIFDecoderInfo(DALTI_GIFDecoderInfo *rec) {
    if (rec == nullptr) return;
    if (rec->input != nullptr) {
        release(rec->input->buffer);
        release(rec->input);
    }
    kovra::gif::free_line_block(rec);
    release(rec->aux_buffer);
    release(rec->global_colors);
    release(rec->local_colors);
    release(rec->canvas);
    release(rec->row_colors);
    if (rec->lzw != nullptr) {
        release(rec->lzw->prefix);
        release(rec->lzw->suffix);
        release(rec->lzw->length);
        release(rec->lzw);
    }
    release(rec->cached_frames);
    rec->cached_frame_slots = 0;
    KOVRADALT_OsFree(rec);
}

KOVRA_API int32_t KOVRADALTI_DeleteGIFInfo(KOVRADALT_DecInfo *dec) {
    if (dec != nullptr) DALTI_DelGIFDecoderInfo(dec->gif_info);
    return 1;
}

KOVRA_API int32_t KOVRADALTI_GetColorInfo(KOVRADALT_DecInfo *dec, uint32_t *count_out, int32_t *transparent_out,
                                          uint32_t *delay_out) {
    if (dec == nullptr || dec->gif_info == nullptr) return 0;
    const DALTI_GIFDecoderInfo *rec = dec->gif_info;
    if (transparent_out != nullptr) *transparent_out = rec->transparent_index;
    if (count_out != nullptr) *count_out = rec->active_color_count;
    if (delay_out != nullptr) *delay_out = rec->frame_delay;
    return 1;
}

KOVRA_API uint32_t *KOVRADALTI_GetColorMap(KOVRADALT_DecInfo *dec) {
    if (dec == nullptr || dec->gif_info == nullptr) return nullptr;
    DALTI_GIFDecoderInfo *rec = dec->gif_info;
    // Done on every call: a second call gives the original byte order back.
    if (dec->output_format == KOVRADALT_FORMAT_BGRA32 && rec->active_colors != nullptr) {
        swap_red_blue(rec->active_colors, rec->active_color_count);
    }
    return rec->active_colors;
}

}  // extern "C"
