// giflib input callback over bytes in memory, shared by the reference reader and the baseline.
#pragma once

#include <gif_lib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kovra::gifref {

struct MemoryReader {
    const uint8_t *data;
    size_t size;
    size_t position;
};

inline int read_memory(GifFileType *file, GifByteType *buffer, int count) {
    auto *reader = static_cast<MemoryReader *>(file->UserData);
    size_t n = std::min(static_cast<size_t>(count < 0 ? 0 : count), reader->size - reader->position);
    std::memcpy(buffer, reader->data + reader->position, n);
    reader->position += n;
    return static_cast<int>(n);
}

}  // namespace kovra::gifref
