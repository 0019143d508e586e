// The byte window: parsers ask DALTJ_CheckBuffer for `need` bytes and consume them by moving
// `pos` and `avail` themselves. File and stream sources fill a private 16384-byte buffer; memory
// sources slide a view over the source, so nothing is ever copied for them.
//
// A refill after consumption only tops the window up by the `pos` bytes consumed since the last
// fill, never to the full capacity: a window that started short stays short. The unread bytes
// are moved to the front (or the view moved onto them) before the source is asked for more, so
// even a failed refill leaves data[pos .. pos + avail) naming exactly the unread bytes.
//
// The window's fields are in the caller's hands, so they are checked before any use: a state
// that names bytes outside the buffer, or outside the source for a memory view, is refused.

#include <cstring>

#include "io/source_kind.h"
#include "kovra_io.h"
#include "kovra_os.h"

namespace {
using kovra::io::is_memory_kind;

// Offset of the window's data from the start of a memory source (any value when it lies outside).
int64_t view_offset(const DALTJ_ByteWindow *window) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(window->data) -
                                reinterpret_cast<uintptr_t>(window->io->source));
}

// A memory view's filled part data[0 .. pos + avail) lies inside the source.
bool view_inside_source(const DALTJ_ByteWindow *window) {
    if (window->io->source == nullptr) return false;
    const int64_t start = view_offset(window);
    return start >= 0 && start + window->pos + window->avail <= window->io->size;
}

bool state_sane(const DALTJ_ByteWindow *window, int32_t need) {
    if (window->data == nullptr || need < 0 || window->pos < 0 || window->avail < 0) return false;
    if (static_cast<int64_t>(window->pos) + window->avail > KOVRADALT_WINDOW_CAPACITY) return false;
    const bool memory_view = window->io != nullptr && is_memory_kind(window->io->kind) && window->avail > 0;
    return !memory_view || view_inside_source(window);
}

int32_t first_fill(DALTJ_ByteWindow *window) {
    int32_t got = KOVRADALT_Read_IO2(window->io, &window->data, KOVRADALT_WINDOW_CAPACITY);
    if (got < 1) return 0;
    window->avail = got;
    return got;
}

// False when topping up a memory view by what the source delivers from its position would
// stretch the view past the source's end (the source was moved back behind the window).
bool top_up_stays_inside(const DALTJ_ByteWindow *window) {
    const KOVRADALT_IO *io = window->io;
    if (io->position < 0) return true;  // the source delivers nothing from there
    const int64_t end = view_offset(window) + window->pos + window->avail;
    return end + kovra::io::memory_bytes_available(io, window->pos) <= io->size;
}

int32_t top_up(DALTJ_ByteWindow *window, int32_t need) {
    if (static_cast<int64_t>(window->avail) + need > KOVRADALT_WINDOW_CAPACITY) return 0;
    const int32_t consumed = window->pos;
    int32_t got;
    if (is_memory_kind(window->io->kind)) {
        if (!top_up_stays_inside(window)) return 0;
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
    if (window == nullptr || !state_sane(window, need)) return DALTJ_WINDOW_FAILED;
    if (window->avail >= need) return DALTJ_WINDOW_ENOUGH;
    if (window->io == nullptr) return DALTJ_WINDOW_FAILED;
    int32_t got = window->avail == 0 ? first_fill(window) : top_up(window, need);
    if (got == 0) return DALTJ_WINDOW_FAILED;
    window->consumed_total = kovra::io::wrapping_add(window->consumed_total, got);
    window->pos = 0;
    return DALTJ_WINDOW_REFILLED;
}
