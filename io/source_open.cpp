// Opening and closing input sources. A KOVRADALT_IO is zero-filled at creation; the path kind owns
// a copy of the path and the file it opened, every other kind leaves its bytes to their owner.

#include <cstring>

#include "kovra_io.h"
#include "kovra_os.h"
#include "os/error_word.h"

namespace {

KOVRADALT_IO *new_source(int32_t kind) {
    auto *io = static_cast<KOVRADALT_IO *>(KOVRADALT_OsMalloc(sizeof(KOVRADALT_IO)));
    if (io == nullptr) {
        kovra::set_error(KOVRADALT_ERR_NO_MEMORY);
        return nullptr;
    }
    std::memset(io, 0, sizeof *io);
    io->kind = kind;
    io->buffer_size = KOVRADALT_WINDOW_CAPACITY;
    return io;
}

// Frees whatever a half-opened source holds; the caller returns null afterwards.
KOVRADALT_IO *discard(KOVRADALT_IO *io) {
    if (io->kind == IO_KIND_PATH && io->file != nullptr) KOVRADALT_CloseFile(io->file);
    KOVRADALT_OsFree(io->path_copy);
    KOVRADALT_OsFree(io);
    return nullptr;
}

char *copy_string(const char *text) {
    size_t length = std::strlen(text);
    if (length >= UINT32_MAX) return nullptr;
    auto *copy = static_cast<char *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(length + 1)));
    if (copy != nullptr) std::memcpy(copy, text, length + 1);
    return copy;
}

bool measure_file_size(KOVRADALT_IO *io) {
    int32_t end = KOVRADALT_SeekFile(io->file, 0, SEEK_END);
    if (end < 0) return false;
    if (KOVRADALT_SeekFile(io->file, 0, SEEK_SET) < 0) return false;
    io->size = end;
    return true;
}

KOVRADALT_IO *open_path(KOVRADALT_IO *io, const char *path, int32_t size) {
    FILE *file = path != nullptr ? KOVRADALT_OpenFile(path) : KOVRADALT_FILE_FAILED;
    if (file == KOVRADALT_FILE_FAILED) {
        kovra::set_error(KOVRADALT_ERR_CANNOT_OPEN);
        return discard(io);
    }
    io->file = file;
    if (size != 0) {
        io->size = size;
    } else if (!measure_file_size(io)) {
        return discard(io);
    }
    io->path_copy = copy_string(path);
    if (io->path_copy == nullptr) return discard(io);
    io->source = const_cast<char *>(path);
    io->position = 0;
    return io;
}

KOVRADALT_IO *open_memory(KOVRADALT_IO *io, void *memory, int32_t size) {
    if (size == 0) {
        kovra::set_error(KOVRADALT_ERR_EMPTY_MEMORY);
        return discard(io);
    }
    io->source = memory;
    io->size = size;
    io->position = 0;
    return io;
}

KOVRADALT_IO *open_file(KOVRADALT_IO *io, FILE *file, int32_t size) {
    if (file == nullptr) {
        kovra::set_error(KOVRADALT_ERR_CANNOT_OPEN);
        return discard(io);
    }
    io->file = file;
    io->start_offset = KOVRADALT_SeekFile(file, 0, SEEK_CUR);
    io->size = size;
    // Without a size the stream is read from its very start and its length stays unknown.
    if (size == 0 && KOVRADALT_SeekFile(file, 0, SEEK_SET) < 0) return discard(io);
    io->position = 0;
    return io;
}

}  // namespace

extern "C" {

KOVRA_API KOVRADALT_IO *KOVRADALT_Open_IO(int32_t kind, void *source, int32_t size) {
    KOVRADALT_IO *io = new_source(kind);
    if (io == nullptr) return nullptr;
    switch (kind) {
        case IO_KIND_PATH:
            return open_path(io, static_cast<const char *>(source), size);
        case IO_KIND_MEMORY:
        case IO_KIND_OWNED_MEMORY:
            return open_memory(io, source, size);
        case IO_KIND_FILE:
            return open_file(io, static_cast<FILE *>(source), size);
        default:
            kovra::set_error(KOVRADALT_ERR_SOURCE_KIND);
            return discard(io);
    }
}

KOVRA_API KOVRADALT_IO *KOVRADALT_Open_Stream(void *handle, KOVRADALT_StreamFn read_fn,
                                               KOVRADALT_StreamFn skip_fn, KOVRADALT_StreamFn rewind_fn,
                                               int32_t size) {
    KOVRADALT_IO *io = new_source(IO_KIND_STREAM);
    if (io == nullptr) return nullptr;
    io->source = handle;
    io->read_fn = read_fn;
    io->skip_fn = skip_fn;
    io->rewind_fn = rewind_fn;
    io->size = size;
    io->position = 0;
    return io;
}

KOVRA_API int32_t KOVRADALT_Close_IO(KOVRADALT_IO *io) {
    switch (io->kind) {
        case IO_KIND_PATH:
            KOVRADALT_OsFree(io->path_copy);
            KOVRADALT_CloseFile(io->file);
            KOVRADALT_OsFree(io);
            return 1;
        case IO_KIND_MEMORY:
        case IO_KIND_FILE:
        case IO_KIND_STREAM:
        case IO_KIND_OWNED_MEMORY:
            KOVRADALT_OsFree(io);
            return 1;
        default:
            return 0;
    }
}

}  // extern "C"
