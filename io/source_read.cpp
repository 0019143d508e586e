// Reading an input source. Memory kinds are bounded by the source size; bytes outside the
// memory (a position moved before the start by a relative seek) read as zeros. Read_IO2 hands
// out a pointer into memory sources instead of copying.

#include <algorithm>
#include <cstring>

#include "io/source_kind.h"
#include "kovra_io.h"
#include "kovra_os.h"

namespace {

using kovra::io::memory_bytes_available;

void copy_from_memory(const KOVRADALT_IO *io, uint8_t *destination, int32_t count) {
    const auto *memory = static_cast<const uint8_t *>(io->source);
    int64_t first = io->position;
    int32_t before_start = first < 0 ? static_cast<int32_t>(std::min<int64_t>(-first, count)) : 0;
    std::memset(destination, 0, static_cast<size_t>(before_start));
    if (count > before_start) {
        std::memcpy(destination + before_start, memory + first + before_start,
                    static_cast<size_t>(count - before_start));
    }
}

// Reads through the file or stream behind a non-memory source; -1 for a refused kind.
int32_t read_external(KOVRADALT_IO *io, void *destination, int32_t count) {
    uint32_t got;
    if (kovra::io::is_file_kind(io->kind)) {
        got = KOVRADALT_ReadFile(io->file, destination, static_cast<uint32_t>(count));
    } else if (io->kind == IO_KIND_STREAM) {
        got = std::min(io->read_fn(io->source, destination, static_cast<uint32_t>(count)),
                       static_cast<uint32_t>(count));
    } else {
        return -1;
    }
    io->position = kovra::io::wrapping_add(io->position, static_cast<int32_t>(got));
    return static_cast<int32_t>(got);
}

}  // namespace

extern "C" {

KOVRA_API int32_t KOVRADALT_Read_IO(KOVRADALT_IO *io, void *destination, int32_t count) {
    if (!kovra::io::source_usable(io)) return -1;
    if (count < 0) count = 0;
    if (!kovra::io::is_memory_kind(io->kind)) return read_external(io, destination, count);
    int32_t n = memory_bytes_available(io, count);
    copy_from_memory(io, static_cast<uint8_t *>(destination), n);
    io->position = kovra::io::wrapping_add(io->position, n);
    return n;
}

KOVRA_API int32_t KOVRADALT_Read_IO2(KOVRADALT_IO *io, uint8_t **buffer, int32_t count) {
    if (!kovra::io::source_usable(io)) return -1;
    if (count < 0) count = 0;
    if (!kovra::io::is_memory_kind(io->kind)) return read_external(io, *buffer, count);
    // A position before the start has no memory to point at: nothing is available.
    if (io->position < 0) return 0;
    int32_t n = memory_bytes_available(io, count);
    if (n > 0) *buffer = static_cast<uint8_t *>(io->source) + io->position;
    io->position += n;
    return n;
}

}  // extern "C"
