// Seeking an input source. File kinds defer to the C library; memory kinds clamp forward moves
// at the end; caller streams are driven through their skip and rewind callbacks.

#include "io/source_kind.h"
#include "kovra_io.h"
#include "kovra_os.h"

namespace {
using kovra::io::wrapping_add;
using kovra::io::wrapping_sub;

int32_t seek_memory(KOVRADALT_IO *io, int32_t offset, int32_t whence) {
    switch (whence) {
        case SEEK_SET:
            if (offset < 0) return -1;
            io->position = offset >= io->size ? io->size : offset;
            return io->position;
        case SEEK_CUR: {
            // A negative target is kept as it is; reads treat bytes before the start as zeros.
            int32_t target = wrapping_add(io->position, offset);
            io->position = target >= io->size ? io->size : target;
            return io->position;
        }
        case SEEK_END:
            if (offset > 0) return -1;
            io->position = wrapping_add(io->size, offset);
            return io->position;
        default:
            return io->position;
    }
}

// A move of `count` bytes needs the skip callback unless it is no move at all.
bool can_skip(const KOVRADALT_IO *io, int32_t count) { return io->skip_fn != nullptr || count == 0; }

uint32_t skip(KOVRADALT_IO *io, int32_t count) {
    return io->skip_fn == nullptr ? 0 : io->skip_fn(io->source, nullptr, static_cast<uint32_t>(count));
}

// A stream without a skip callback still reads, rewinds and answers seeks that need no move; a
// seek that would have to skip fails with -1 before anything is called or changed.
int32_t seek_stream(KOVRADALT_IO *io, int32_t offset, int32_t whence) {
    switch (whence) {
        case SEEK_SET:
            if (io->rewind_fn == nullptr) return 0;
            if (offset < 0 || !can_skip(io, offset)) return -1;
            io->rewind_fn(io->source, nullptr, 0);
            io->position = 0;
            if (offset == 0) return 0;
            io->position = static_cast<int32_t>(skip(io, offset));
            return io->position;
        case SEEK_CUR:
            if (!can_skip(io, offset)) return -1;
            skip(io, offset);
            io->position = wrapping_add(io->position, offset);
            return io->position;
        case SEEK_END: {
            if (offset > 0) return -1;
            const int32_t target = wrapping_add(io->size, offset);
            const int32_t move = wrapping_sub(target, io->position);
            if (!can_skip(io, move)) return -1;
            skip(io, move);
            io->position = target;
            return io->position;
        }
        default:
            return io->position;
    }
}
}  // namespace

extern "C" KOVRA_API int32_t KOVRADALT_Seek_IO(KOVRADALT_IO *io, int32_t offset, int32_t whence) {
    if (!kovra::io::source_usable(io)) return -1;
    if (kovra::io::is_file_kind(io->kind)) {
        io->position = KOVRADALT_SeekFile(io->file, offset, whence);
        return io->position;
    }
    if (kovra::io::is_memory_kind(io->kind)) return seek_memory(io, offset, whence);
    if (io->kind == IO_KIND_STREAM) return seek_stream(io, offset, whence);
    return -1;
}
