// Opening decoder handles: a path (the handle opens the file itself and measures it when no size
// is given), caller memory, or a caller stream served through read/skip/rewind callbacks. A
// failure after a slot was taken closes the handle again, so no slot leaks.

#include "api/handle_table.h"
#include "kovra_os.h"

namespace {

// Opens the path into the handle and settles its size; false when the file cannot be opened or
// measured.
bool open_path(dal_dec_handle *handle, const char *path, int32_t size) {
    handle->file = KOVRADALT_OsFopen(path, "rb");
    if (handle->file == nullptr) return false;
    if (size != 0) {
        handle->size = size;
        return true;
    }
    if (KOVRADALT_OsFseek(handle->file, 0, SEEK_END) != 0) return false;
    const int32_t measured = KOVRADALT_OsFtell(handle->file);
    if (measured < 0 || KOVRADALT_OsFseek(handle->file, 0, SEEK_SET) != 0) return false;
    handle->size = measured;
    return true;
}

int32_t fail(int32_t handle) {
    dal_dec_handle_close(handle);
    return 0;
}

// The part both openers share once the kind's own fields are in place.
int32_t finish_open(int32_t handle, dal_dec_handle *record, void *source, int32_t kind) {
    record->source = source;
    record->source_kind = kind;
    record->holder = dal_create_dec_info();
    return record->holder != nullptr ? handle : fail(handle);
}

}  // namespace

extern "C" {

KOVRA_API int32_t dal_dec_handle_open(void *source, int32_t size, int32_t kind) {
    if (source == nullptr || (kind != IO_KIND_PATH && kind != IO_KIND_MEMORY)) return 0;
    if (kind == IO_KIND_MEMORY && size == 0) return 0;
    const int32_t handle = kovra::api::take_slot();
    if (handle == 0) return 0;
    dal_dec_handle *record = kovra::api::handle_record(handle);
    if (kind == IO_KIND_PATH) {
        if (!open_path(record, static_cast<const char *>(source), size)) return fail(handle);
    } else {
        record->size = size;
    }
    return finish_open(handle, record, source, kind);
}

// A stream handle also needs its read callback, without which the source could never deliver a
// byte. Skip and rewind may be null: the seeks that need them fail when they are made.
KOVRA_API int32_t dal_dec_handle_open_stream(void *source, int32_t size, int32_t kind,
                                             KOVRADALT_StreamFn read_fn, KOVRADALT_StreamFn skip_fn,
                                             KOVRADALT_StreamFn rewind_fn) {
    if (source == nullptr || kind < 0 || kind > IO_KIND_STREAM) return 0;
    if (kind == IO_KIND_MEMORY && size == 0) return 0;
    if (kind == IO_KIND_STREAM && read_fn == nullptr) return 0;
    const int32_t handle = kovra::api::take_slot();
    if (handle == 0) return 0;
    dal_dec_handle *record = kovra::api::handle_record(handle);
    switch (kind) {
        case IO_KIND_PATH:
            if (!open_path(record, static_cast<const char *>(source), size)) return fail(handle);
            break;
        case IO_KIND_MEMORY:
            record->size = size;
            break;
        case IO_KIND_STREAM:
            record->size = size;
            record->read_fn = read_fn;
            record->skip_fn = skip_fn;
            record->rewind_fn = rewind_fn;
            break;
        default:  // an open file or kind 3 cannot be handed over by handle
            return fail(handle);
    }
    return finish_open(handle, record, source, kind);
}

KOVRA_API int32_t KOVRADALT_OpenDecHandle(void *source, int32_t size, int32_t kind) {
    return dal_dec_handle_open(source, size, kind);
}

KOVRA_API int32_t KOVRADALT_OpenDecHandle_Stream(void *source, int32_t size, int32_t kind,
                                                 KOVRADALT_StreamFn read_fn, KOVRADALT_StreamFn skip_fn,
                                                 KOVRADALT_StreamFn rewind_fn) {
    return dal_dec_handle_open_stream(source, size, kind, read_fn, skip_fn, rewind_fn);
}

}  // extern "C"
