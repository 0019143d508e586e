// The byte window: parsers ask DALTJ_CheckBuffer for `need` bytes and consume them by moving
// `pos` and `avail` themselves. File and stream sources fill a private 16384-byte buffer; memory
// sources slide a view over the source, so nothing is ever copied for them.
//
// A refill after consumption only tops the window up by the `pos` bytes consumed since the last
// fill, never to the full capacity: a window that started short stays short. The unread bytes
// are moved to the front (or the view moved onto them) before the source is asked for more, so
// even a failed refill leaves data[pos .. pos + avail) naming exactly the unread bytes.

#include <cstring>

#include "io/source_kind.h"
#include "kovra_io.h"
#include "kovra_os.h"

namespace {

int32_t first_fill(DALTJ_ByteWindow *window) {
    if (window->data == nullptr) return 0;
    int32_t got = KOVRADALT_Read_IO2(window->io, &window->data, KOVRADALT_WINDOW_CAPACITY);
    if (got < 1) return 0;
    window->avail = got;
    return got;
}

int32_t top_up(DALTJ_ByteWindow *window, int32_t need) {
    if (static_cast<int64_t>(window->avail) + need > KOVRADALT_WINDOW_CAPACITY) return 0;
    const int32_t consumed = window->pos;
    int32_t got;
    if (kovra::io::is_memory_kind(window->io->kind)) {
        // The bytes after the unread ones are already in view; only the source position moves.
        window->data += consumed;
        window->pos = 0;
        uint8_t *ignored = window->data;
        got = KOVRADALT_Read_IO2(window->io, &ignored, consumed);
    } else {
        std::memmove(window->data, window->data + consumed, static_cast<size_t>(window->avail));
        window->pos = 0;
        uint8_t *tail = window->data + window->avail;
        got = KOVRADALT_Read_IO2(window->io, &tail, consumed);
    }
    if (got < 1) return 0;
    window->avail += got;
    return got;
}

}  // namespace

extern "C" KOVRA_API int32_t DALTJ_CheckBuffer(DALTJ_ByteWindow *window, int32_t need) {
    if (window->avail >= need) return DALTJ_WINDOW_ENOUGH;
    int32_t got = window->avail == 0 ? first_fill(window) : top_up(window, need);
    if (got == 0) return DALTJ_WINDOW_FAILED;
    window->consumed_total += got;
    window->pos = 0;
    return DALTJ_WINDOW_REFILLED;
}
