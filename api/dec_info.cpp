// Creation, destruction and setters of the decoder information record. The record owns its
// source, its progress record and its auxiliary work buffers; destroy releases each of them.

#include <cstring>

#include "kovra_decinfo.h"
#include "kovra_jpeg.h"
#include "kovra_os.h"
#include "os/error_word.h"

namespace {

KOVRADALT_DecInfo *new_record() {
    auto *dec = static_cast<KOVRADALT_DecInfo *>(KOVRADALT_OsMalloc(sizeof(KOVRADALT_DecInfo)));
    if (dec == nullptr) {
        kovra::set_error(KOVRADALT_ERR_NO_MEMORY);
        return nullptr;
    }
    std::memset(dec, 0, sizeof *dec);
    return dec;
}

void clear_chain(KOVRADALT_DecInfo *dec) {
    std::memset(dec->chain_state, 0, sizeof dec->chain_state);
    dec->chain_flag = 0;
}

// A library-owned memory source is freed with the record unless a work buffer (aux_buffer_3)
// took it over, in which case the memory is left to that owner. The source record itself is
// always released, so no path leaks it.
void release_source(KOVRADALT_DecInfo *dec) {
    KOVRADALT_IO *io = dec->io;
    if (io == nullptr) return;
    if (dec->aux_buffer_3 == nullptr && io->kind == IO_KIND_OWNED_MEMORY) {
        KOVRADALT_OsFree(io->source);
        io->source = nullptr;
    }
    KOVRADALT_Close_IO(io);
    dec->io = nullptr;
}

void detach_from_parent(KOVRADALT_DecInfo *dec) {
    KOVRADALT_DecInfo *parent = dec->chain_parent;
    if (parent == nullptr) return;
    int32_t slot = dec->chain_slot;
    if (slot >= 0 && slot < static_cast<int32_t>(sizeof parent->chain_state / sizeof parent->chain_state[0])) {
        parent->chain_state[slot] = nullptr;
    }
    dec->chain_slot = 0;
}

}  // namespace

extern "C" {

KOVRA_API KOVRADALT_DecInfo *KOVRADALT_CreateDecInfo(int32_t kind, void *source, int32_t size,
                                                      int32_t output_format, uint32_t option) {
    kovra::clear_error();
    KOVRADALT_DecInfo *dec = new_record();
    if (dec == nullptr) return nullptr;
    dec->io = KOVRADALT_Open_IO(kind, source, size);
    if (dec->io == nullptr) {
        KOVRADALT_OsFree(dec);
        return nullptr;
    }
    clear_chain(dec);
    dec->chain_parent = nullptr;
    dec->chain_slot = 0;
    dec->check_fn = KOVRADALT_CheckFn;
    dec->output_format = output_format;
    dec->option = option;
    dec->aux_buffer_4 = nullptr;
    return dec;
}

KOVRA_API KOVRADALT_DecInfo *KOVRADALT_CreateDecInfoWithStream(void *handle, int32_t size,
                                                                KOVRADALT_StreamFn read_fn,
                                                                KOVRADALT_StreamFn skip_fn,
                                                                KOVRADALT_StreamFn rewind_fn,
                                                                int32_t output_format, uint32_t option) {
    kovra::clear_error();
    KOVRADALT_DecInfo *dec = new_record();
    if (dec == nullptr) return nullptr;
    dec->io = KOVRADALT_Open_Stream(handle, read_fn, skip_fn, rewind_fn, size);
    if (dec->io == nullptr) {
        KOVRADALT_OsFree(dec);
        return nullptr;
    }
    dec->check_fn = KOVRADALT_CheckFn;
    dec->output_format = output_format;
    dec->option = option;
    return dec;
}

KOVRA_API int32_t KOVRADALT_DestroyDecInfo(KOVRADALT_DecInfo *dec) {
    kovra::clear_error();
    if (dec == nullptr) {
        kovra::set_error(KOVRADALT_ERR_NULL_ARGUMENT);
        return 0;
    }
    KOVRADALT_OsFree(dec->progress);
    release_source(dec);
    KOVRADALT_OsFree(dec->aux_buffer_3);
    clear_chain(dec);
    detach_from_parent(dec);
    KOVRADALT_OsFree(dec->aux_buffer_4);
    KOVRADALT_OsFree(dec->aux_buffer_5);
    KOVRADALT_OsFree(dec->aux_buffer_2);
    KOVRADALT_OsFree(dec->aux_buffer_1);
    KOVRADALT_OsFree(dec);
    return 1;
}

KOVRA_API int32_t KOVRADALT_DestroyInputBuffer(KOVRADALT_DecInfo *dec) {
    if (dec == nullptr || dec->io == nullptr || dec->io->kind != IO_KIND_MEMORY || dec->io->source == nullptr) {
        return 0;
    }
    KOVRADALT_OsFree(dec->io->source);
    dec->io->source = nullptr;
    return 1;
}

KOVRA_API int32_t KOVRADALT_DestroyJpegInfo(KOVRADALT_DecInfo *dec) { return DALTJ_DestroyJpegInfo(dec); }

KOVRA_API int32_t KOVRADALT_SetDecOption(KOVRADALT_DecInfo *dec, uint32_t option) {
    if (dec == nullptr) return 0;
    dec->option = option;
    return 1;
}

KOVRA_API int32_t KOVRADALT_SetDecMode(KOVRADALT_DecInfo *dec, int32_t mode) {
    if (dec == nullptr) return 0;
    dec->mode = mode > 4 ? 4 : (mode < 0 ? 0 : mode);
    return 1;
}

}  // extern "C"
