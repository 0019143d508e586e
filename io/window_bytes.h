// Bounded access to the bytes a window holds. Parsers sometimes look past the unread bytes (a
// short first fill, a fixed index from the window's start); anything beyond what the window
// actually holds reads as 0 instead of touching memory the library does not own.
#pragma once

#include <cstdint>

#include "kovra_io.h"

namespace kovra::io {

// Byte `index` counted from the start of the window's data; 0 outside the filled part.
inline uint8_t window_byte(const DALTJ_ByteWindow &window, int64_t index) {
    if (index < 0 || index >= static_cast<int64_t>(window.pos) + window.avail) return 0;
    return window.data[index];
}

// Byte `offset` counted from the first unread byte.
inline uint8_t unread_byte(const DALTJ_ByteWindow &window, int64_t offset) {
    return window_byte(window, window.pos + offset);
}

// Little-endian 16-bit value at `offset` from the first unread byte.
inline uint32_t unread_u16le(const DALTJ_ByteWindow &window, int64_t offset) {
    return unread_byte(window, offset) | (static_cast<uint32_t>(unread_byte(window, offset + 1)) << 8);
}

inline void consume(DALTJ_ByteWindow &window, int32_t count) {
    window.pos += count;
    window.avail -= count;
}

// Sets up a window over a source with the given memory; pos, avail and totals start at 0.
inline DALTJ_ByteWindow make_window(KOVRADALT_IO *io, uint8_t *memory) {
    return DALTJ_ByteWindow{io, 0, io->size, 0, 0, memory};
}

}  // namespace kovra::io
