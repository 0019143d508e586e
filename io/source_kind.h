// Classification of source kinds shared by the reading, seeking and window code.
#pragma once

#include "kovra_io.h"

namespace kovra::io {

inline bool is_memory_kind(int32_t kind) { return kind == IO_KIND_MEMORY || kind == IO_KIND_OWNED_MEMORY; }
inline bool is_file_kind(int32_t kind) { return kind == IO_KIND_PATH || kind == IO_KIND_FILE; }

// False for a source that cannot deliver bytes: a file kind without its stream, a memory kind
// without its memory (handed back with KOVRADALT_DestroyInputBuffer), a caller stream without
// its read callback. Reads and seeks refuse such a source instead of following a null. A
// stream's skip callback is optional: only the seeks that must skip need it, and they check.
inline bool source_usable(const KOVRADALT_IO *io) {
    if (io == nullptr) return false;
    if (is_file_kind(io->kind)) return io->file != nullptr;
    if (is_memory_kind(io->kind)) return io->source != nullptr;
    if (io->kind == IO_KIND_STREAM) return io->read_fn != nullptr;
    return true;  // other kinds are refused by each operation itself
}

// Bytes a memory source can deliver from its position: count when it lies wholly before the
// end, else what remains (0 at or past the end).
inline int32_t memory_bytes_available(const KOVRADALT_IO *io, int32_t count) {
    int64_t position = io->position;
    if (position + count < io->size) return count;
    if (position >= io->size) return 0;
    return static_cast<int32_t>(io->size - position);
}

// 32-bit two's-complement addition and subtraction, as positions and offsets combine on the target.
inline int32_t wrapping_add(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int32_t wrapping_sub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

}  // namespace kovra::io
