// Decoder records over the same bytes through every source kind a host can hand the library:
// caller memory, a caller stream (read/skip/rewind over a byte vector), a caller's open FILE and a
// path (both over a memory-backed file named through /proc/self/fd), library-owned memory; and a
// byte window at a source's start, set up as the parse drivers set one up. Fuzz targets and tests
// share them.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_os.h"

namespace kovra::fuzz {

// The first four in this order: the fuzz targets pick one from two bits of their input.
enum class InputKind { kMemory, kStream, kFile, kPath, kOwnedMemory };

// A negative skip arrives as a wrapped count and moves the cursor back.
struct MemoryStream {
    std::vector<uint8_t> bytes;
    size_t cursor = 0;

    static uint32_t read(void *handle, void *buffer, uint32_t count) {
        auto *s = static_cast<MemoryStream *>(handle);
        const size_t n = std::min<size_t>(count, s->cursor < s->bytes.size() ? s->bytes.size() - s->cursor : 0);
        if (n > 0) std::memcpy(buffer, s->bytes.data() + s->cursor, n);
        s->cursor += n;
        return static_cast<uint32_t>(n);
    }
    static uint32_t skip(void *handle, void *, uint32_t count) {
        return static_cast<uint32_t>(static_cast<MemoryStream *>(handle)->cursor += static_cast<int32_t>(count));
    }
    static uint32_t rewind(void *handle, void *, uint32_t) { return static_cast<uint32_t>(static_cast<MemoryStream *>(handle)->cursor = 0); }
};

// A decoder record over `data` (which must outlive it) and what backs its source; dec() is null
// when creation failed.
class InputSource {
public:
    InputSource(const uint8_t *data, size_t size, InputKind kind, int32_t format = 0) : stream_{{data, data + size}} {
        const auto length = static_cast<int32_t>(size);
        if (kind == InputKind::kMemory) dec_ = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, const_cast<uint8_t *>(data), length, format, 0);
        if (kind == InputKind::kStream)
            dec_ = KOVRADALT_CreateDecInfoWithStream(&stream_, length, MemoryStream::read, MemoryStream::skip, MemoryStream::rewind, format, 0);
        if (kind == InputKind::kOwnedMemory) {  // the record frees this copy
            void *owned = KOVRADALT_OsMalloc(static_cast<uint32_t>(std::max<size_t>(size, 1)));
            if (owned != nullptr && size > 0) std::memcpy(owned, data, size);
            if ((dec_ = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, owned, length, format, 0)) == nullptr) KOVRADALT_OsFree(owned);
        }
        if (kind != InputKind::kFile && kind != InputKind::kPath) return;
        std::string path = "/proc/self/fd/" + std::to_string(fd_ = memfd_create("kovra-input", 0));
        if (fd_ < 0 || pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size)) return;
        if (kind == InputKind::kPath) dec_ = KOVRADALT_CreateDecInfo(IO_KIND_PATH, path.data(), 0, format, 0);
        if (kind == InputKind::kFile && (file_ = std::fopen(path.c_str(), "rb")) != nullptr)
            dec_ = KOVRADALT_CreateDecInfo(IO_KIND_FILE, file_, length, format, 0);
    }
    ~InputSource() {
        if (dec_ != nullptr) KOVRADALT_DestroyDecInfo(dec_);
        if (file_ != nullptr) std::fclose(file_);
        if (fd_ >= 0) close(fd_);
    }
    InputSource(const InputSource &) = delete;
    InputSource &operator=(const InputSource &) = delete;
    KOVRADALT_DecInfo *dec() const { return dec_; }

private:
    MemoryStream stream_;
    int fd_ = -1;
    FILE *file_ = nullptr;
    KOVRADALT_DecInfo *dec_ = nullptr;
};

// Runs `read(window)` on a window over `dec`'s source from its first byte, then releases its buffer.
template <typename Read>
void with_window(KOVRADALT_DecInfo *dec, Read read) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
    if (buffer != nullptr && KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) >= 0) read(window);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
}

}  // namespace kovra::fuzz
