// Seeking an input source. File kinds defer to the C library; memory kinds clamp forward moves
// at the end; caller streams are driven through their skip and rewind callbacks.

#include "io/source_kind.h"
#include "kovra_io.h"
#include "kovra_os.h"

namespace {
using kovra::io::wrapping_add;

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

int32_t seek_stream(KOVRADALT_IO *io, int32_t offset, int32_t whence) {
    switch (whence) {
        case SEEK_SET:
            if (io->rewind_fn == nullptr) return 0;
            if (offset < 0) return -1;
            io->rewind_fn(io->source, nullptr, 0);
            io->position = 0;
            if (offset == 0) return 0;
            io->position = static_cast<int32_t>(io->skip_fn(io->source, nullptr, static_cast<uint32_t>(offset)));
            return io->position;
        case SEEK_CUR:
            io->skip_fn(io->source, nullptr, static_cast<uint32_t>(offset));
            io->position = wrapping_add(io->position, offset);
            return io->position;
        case SEEK_END: {
            if (offset > 0) return -1;
            int32_t target = wrapping_add(io->size, offset);
            io->skip_fn(io->source, nullptr, static_cast<uint32_t>(wrapping_add(target, -io->position)));
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
