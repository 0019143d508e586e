// The fuzz input behind every source kind a host can hand the library: caller memory, a caller
// stream (read/skip/rewind callbacks over the bytes), a caller's open FILE (fmemopen over the bytes) and a path (a
// memory-backed file, one per process, rewritten for each input and named through
// /proc/self/fd), so that the fuzz targets reach the input layer's file reads as well; and a byte
// window at the start of a source, set up the way the library's own parse drivers set one up.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_io.h"

namespace kovra::fuzz {

enum class InputKind { kMemory, kStream, kFile, kPath };

// A decoder record over the input as a source of one kind; destroys it and closes what backs it.
class InputSource {
public:
    InputSource(const uint8_t *data, size_t size, InputKind kind, int32_t format = 0) : stream_{data, size, 0} {
        const auto length = static_cast<int32_t>(size);
        switch (kind) {
            case InputKind::kMemory:
                dec_ = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, const_cast<uint8_t *>(data), length, format, 0);
                break;
            case InputKind::kStream:
                dec_ = KOVRADALT_CreateDecInfoWithStream(&stream_, length, read, skip, rewind, format, 0);
                break;
            case InputKind::kFile:
                file_ = size > 0 ? fmemopen(const_cast<uint8_t *>(data), size, "rb") : nullptr;
                if (file_ != nullptr) dec_ = KOVRADALT_CreateDecInfo(IO_KIND_FILE, file_, length, format, 0);
                break;
            case InputKind::kPath: {
                const std::string &path = rewrite_path_file(data, size);
                if (!path.empty())
                    dec_ = KOVRADALT_CreateDecInfo(IO_KIND_PATH, const_cast<char *>(path.c_str()), 0, format, 0);
                break;
            }
        }
    }
    ~InputSource() {
        if (dec_ != nullptr) KOVRADALT_DestroyDecInfo(dec_);
        if (file_ != nullptr) std::fclose(file_);
    }
    InputSource(const InputSource &) = delete;
    InputSource &operator=(const InputSource &) = delete;

    KOVRADALT_DecInfo *dec() const { return dec_; }

private:
    struct SpanStream {
        const uint8_t *data;
        size_t size, cursor;
    };
    static uint32_t read(void *handle, void *buffer, uint32_t count) {
        auto *s = static_cast<SpanStream *>(handle);
        const size_t left = s->cursor < s->size ? s->size - s->cursor : 0;
        const size_t n = left < count ? left : count;
        if (n > 0) std::memcpy(buffer, s->data + s->cursor, n);
        s->cursor += n;
        return static_cast<uint32_t>(n);
    }
    // A negative skip arrives as a wrapped count and moves the cursor back.
    static uint32_t skip(void *handle, void *, uint32_t count) {
        auto *s = static_cast<SpanStream *>(handle);
        s->cursor += static_cast<int32_t>(count);
        return static_cast<uint32_t>(s->cursor);
    }
    static uint32_t rewind(void *handle, void *, uint32_t) {
        static_cast<SpanStream *>(handle)->cursor = 0;
        return 0;
    }

    // The process's memory-backed file, holding `data` now; its path, or "" when it cannot be had.
    static const std::string &rewrite_path_file(const uint8_t *data, size_t size) {
        static const int fd = memfd_create("kovra-fuzz-input", 0);
        static const std::string path = fd < 0 ? std::string() : "/proc/self/fd/" + std::to_string(fd);
        static const std::string none;
        if (fd < 0 || ftruncate(fd, 0) != 0) return none;
        return pwrite(fd, data, size, 0) == static_cast<ssize_t>(size) ? path : none;
    }

    SpanStream stream_;
    FILE *file_ = nullptr;
    KOVRADALT_DecInfo *dec_ = nullptr;
};

// Runs `read(window)` on a window over `dec`'s source from its first byte, then releases the
// window's buffer.
template <typename Read>
void with_window(KOVRADALT_DecInfo *dec, Read read) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    if (buffer != nullptr && KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) >= 0) {
        DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
        read(window);
    }
    if (buffer != nullptr) DALTJ_ReleaseStreamBuffer(dec->io, buffer);
}

}  // namespace kovra::fuzz
