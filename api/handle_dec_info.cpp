// The decoder record behind a handle: set-info copies the handle's source and settings into it
// and parses it once; get and close parse it too when that has not happened yet. A stream handle
// is never parsed here: its record only receives the stream and its callbacks.
//
// A record whose source was never filled in (get or close before any set-info) is not readable;
// its parse fails cleanly and leaves the handle unparsed.

#include <cstring>

#include "api/handle_table.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace {

KOVRADALT_DecInfo *record_of(const dal_dec_handle *handle) {
    return handle->holder != nullptr ? handle->holder->dec_info : nullptr;
}

// The path copy is reused when it is long enough, else replaced by a fresh one. A failed
// allocation leaves the source without a copy (nothing reads it; close frees it).
void copy_path(KOVRADALT_IO *io, const char *path) {
    if (path == nullptr) return;
    const size_t length = std::strlen(path);
    if (io->path_copy != nullptr && std::strlen(io->path_copy) >= length) {
        std::memcpy(io->path_copy, path, length + 1);
        return;
    }
    KOVRADALT_OsFree(io->path_copy);
    io->path_copy = nullptr;
    if (length >= UINT32_MAX) return;
    io->path_copy = static_cast<char *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(length + 1)));
    if (io->path_copy != nullptr) std::memcpy(io->path_copy, path, length + 1);
}

void copy_source(const dal_dec_handle *handle, KOVRADALT_IO *io) {
    if (io == nullptr) return;
    io->kind = handle->source_kind;
    io->source = handle->source;
    io->file = handle->file;
    io->size = handle->size;
    io->position = 0;
    if (handle->source_kind == IO_KIND_PATH) copy_path(io, static_cast<const char *>(handle->source));
}

// Parses the image (not a stream handle, which only gets its callbacks attached) and keeps the
// type and size in the handle. The parse's delay table is not needed here and is freed.
void parse_once(dal_dec_handle *handle, KOVRADALT_DecInfo *dec) {
    if (handle->source_kind == IO_KIND_STREAM) {
        if (dec->io == nullptr) return;
        dec->io->kind = IO_KIND_STREAM;
        dec->io->size = handle->size;
        dec->io->read_fn = handle->read_fn;
        dec->io->skip_fn = handle->skip_fn;
        dec->io->rewind_fn = handle->rewind_fn;
        dec->io->source = handle->source;
        return;
    }
    KOVRADALT_ImageInfo info;
    std::memset(&info, 0, sizeof info);
    handle->parsed_type = KOVRADALT_Parser(dec, &info);
    KOVRADALT_OsFree(info.frame_delays);
    handle->width = info.width;
    handle->height = info.height;
}

bool owned_memory_source(const KOVRADALT_DecInfo *dec) {
    return dec->io != nullptr && dec->io->kind == IO_KIND_OWNED_MEMORY;
}

void parse_if_needed(dal_dec_handle *handle, KOVRADALT_DecInfo *dec) {
    if (handle->parsed_type == 0 && !owned_memory_source(dec)) parse_once(handle, dec);
}

}  // namespace

extern "C" {

KOVRA_API void __dal_codec_ctrl_set_dec_info(dal_dec_handle *handle, int32_t output_format, uint32_t option) {
    if (handle == nullptr) return;
    KOVRADALT_DecInfo *dec = record_of(handle);
    if (dec == nullptr) return;
    dec->output_format = output_format;
    dec->option = option;
    copy_source(handle, dec->io);
}

KOVRA_API KOVRADALT_DecInfo *dal_set_decinfo_from_handle(dal_dec_handle *handle, int32_t output_format) {
    if (handle == nullptr) return nullptr;
    KOVRADALT_DecInfo *dec = record_of(handle);
    if (dec == nullptr) return nullptr;
    __dal_codec_ctrl_set_dec_info(handle, 0, handle->holder->option);
    dec->output_format = output_format;
    if (handle->parsed_type == 0) parse_once(handle, dec);
    return dec;
}

KOVRA_API KOVRADALT_DecInfo *dal_get_decinfo_from_handle(dal_dec_handle *handle) {
    if (handle == nullptr) return nullptr;
    KOVRADALT_DecInfo *dec = record_of(handle);
    if (dec == nullptr) return nullptr;
    dec->output_format = handle->output_format;
    parse_if_needed(handle, dec);
    return dec;
}

KOVRA_API KOVRADALT_DecInfo *KOVRADALT_SetDecInfoFromHandle(int32_t handle, int32_t output_format) {
    dal_dec_handle *record = kovra::api::handle_record(handle);
    if (record == nullptr) return nullptr;
    record->output_format = output_format;
    return dal_set_decinfo_from_handle(record, output_format);
}

KOVRA_API KOVRADALT_DecInfo *KOVRADALT_GetDecInfoFromHandle(int32_t handle) {
    return dal_get_decinfo_from_handle(kovra::api::handle_record(handle));
}

KOVRA_API int32_t KOVRADALT_CloseDecHandle(int32_t handle) {
    dal_dec_handle *record = kovra::api::handle_record(handle);
    if (record == nullptr) return 0;
    KOVRADALT_DecInfo *dec = record_of(record);
    if (dec != nullptr) {
        dec->output_format = record->output_format;
        parse_if_needed(record, dec);
        if (owned_memory_source(dec) && dec->io->source != nullptr) {
            KOVRADALT_OsFree(dec->io->source);
            dec->io->source = nullptr;
        }
    }
    return dal_dec_handle_close(handle);
}

}  // extern "C"
