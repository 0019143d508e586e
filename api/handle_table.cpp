// Slots of the handle table and the records that live in them, plus the holder that owns a
// handle's decoder record. Releasing a handle (dal_dec_handle_close) closes the file a path handle
// opened, destroys the decoder record and frees the holder and the handle record.
//
// The decoder record's source holds the same file stream as the handle once set-info has copied
// it across; the handle forgets that stream in the record when it closes it, so destroying the
// record afterwards does not close it a second time.

#include "api/handle_table.h"

#include <cstring>

#include "kovra_jpeg.h"
#include "kovra_os.h"

namespace kovra::api {
namespace {
dal_dec_handle *g_slots[KOVRADALT_HANDLE_SLOTS] = {};

template <typename T>
T *zeroed_allocation() {
    auto *object = static_cast<T *>(KOVRADALT_OsMalloc(sizeof(T)));
    if (object != nullptr) std::memset(object, 0, sizeof(T));
    return object;
}

// After the handle closed its file, the record's source must not close it again.
void forget_closed_file(dal_dec_handle *handle) {
    dal_dec_info_holder *holder = handle->holder;
    if (holder == nullptr || holder->dec_info == nullptr) return;
    KOVRADALT_IO *io = holder->dec_info->io;
    if (io != nullptr && io->file == handle->file) io->file = nullptr;
}
}  // namespace

bool handle_in_range(int32_t handle) { return handle >= 1 && handle <= KOVRADALT_HANDLE_MAX; }

dal_dec_handle *handle_record(int32_t handle) { return handle_in_range(handle) ? g_slots[handle] : nullptr; }

int32_t take_slot() {
    for (int32_t handle = 1; handle <= KOVRADALT_HANDLE_MAX; ++handle) {
        if (g_slots[handle] != nullptr) continue;
        g_slots[handle] = zeroed_allocation<dal_dec_handle>();
        return g_slots[handle] != nullptr ? handle : 0;
    }
    return 0;
}

void free_slot(int32_t handle) {
    KOVRADALT_OsFree(g_slots[handle]);
    g_slots[handle] = nullptr;
}

}  // namespace kovra::api

extern "C" {

KOVRA_API dal_dec_info_holder *dal_create_dec_info(void) {
    using kovra::api::zeroed_allocation;
    auto *holder = zeroed_allocation<dal_dec_info_holder>();
    auto *dec = zeroed_allocation<KOVRADALT_DecInfo>();
    auto *io = zeroed_allocation<KOVRADALT_IO>();
    if (holder == nullptr || dec == nullptr || io == nullptr) {
        KOVRADALT_OsFree(io);
        KOVRADALT_OsFree(dec);
        KOVRADALT_OsFree(holder);
        return nullptr;
    }
    dec->io = io;
    holder->dec_info = dec;
    return holder;
}

KOVRA_API void dal_destroy_dec_info(dal_dec_info_holder *holder) {
    if (holder == nullptr) return;
    if (holder->dec_info != nullptr) {
        (void)DALTJ_DestroyJpegInfo(holder->dec_info);
        KOVRADALT_DestroyDecInfo(holder->dec_info);
        holder->dec_info = nullptr;
    }
    KOVRADALT_OsFree(holder);
}

KOVRA_API int32_t dal_dec_handle_create(void) { return kovra::api::take_slot(); }

KOVRA_API dal_dec_handle *dal_dec_handle_get_struct(int32_t handle) { return kovra::api::handle_record(handle); }

KOVRA_API int32_t dal_dec_handle_destory(int32_t handle) {
    if (kovra::api::handle_record(handle) == nullptr) return 0;
    kovra::api::free_slot(handle);
    return 1;
}

KOVRA_API int32_t dal_dec_handle_close(int32_t handle) {
    dal_dec_handle *record = kovra::api::handle_record(handle);
    if (record == nullptr) return 0;
    if (record->source_kind == IO_KIND_PATH && record->file != nullptr) {
        KOVRADALT_OsFclose(record->file);
        kovra::api::forget_closed_file(record);
        record->file = nullptr;
    }
    if (record->holder != nullptr) {
        dal_destroy_dec_info(record->holder);
        record->holder = nullptr;
    }
    kovra::api::free_slot(handle);
    return 1;
}

KOVRA_API int32_t __dal_dec_handle_contorl(int32_t handle, int32_t *out_handle, dal_dec_handle **out_record,
                                           int32_t code) {
    switch (code) {
        case DAL_HANDLE_CTRL_CREATE: {
            if (out_handle == nullptr) return 0;
            const int32_t taken = kovra::api::take_slot();
            if (taken == 0) return 0;
            *out_handle = taken;
            return 1;
        }
        case DAL_HANDLE_CTRL_GET:
            if (!kovra::api::handle_in_range(handle) || out_record == nullptr) return 0;
            *out_record = kovra::api::handle_record(handle);
            return 1;
        case DAL_HANDLE_CTRL_DESTROY:
            return dal_dec_handle_destory(handle);
        default:
            return 0;
    }
}

}  // extern "C"
