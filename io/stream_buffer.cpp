// Window memory for a source: a caller memory source is viewed in place, every other kind gets a
// 16384-byte buffer (zero-filled, so bytes a short read never reached are deterministic).

#include <cstring>

#include "kovra_io.h"
#include "kovra_os.h"

extern "C" {

KOVRA_API uint8_t *DALTJ_AllocateStreamBuffer(KOVRADALT_IO *io) {
    if (io->kind == IO_KIND_MEMORY) return static_cast<uint8_t *>(io->source);
    auto *buffer = static_cast<uint8_t *>(KOVRADALT_OsMalloc(KOVRADALT_WINDOW_CAPACITY));
    if (buffer != nullptr) std::memset(buffer, 0, KOVRADALT_WINDOW_CAPACITY);
    return buffer;
}

KOVRA_API void DALTJ_ReleaseStreamBuffer(KOVRADALT_IO *io, uint8_t *buffer) {
    if (io->kind != IO_KIND_MEMORY) KOVRADALT_OsFree(buffer);
}

}  // extern "C"
