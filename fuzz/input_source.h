// The fuzz input behind every source kind a host can hand the library: caller memory, a caller
// stream (span_stream.h), a caller's open FILE (fmemopen over the bytes) and a path (a
// memory-backed file, one per process, rewritten for each input and named through
// /proc/self/fd), so that the fuzz targets reach the input layer's file reads as well.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/span_stream.h"
#include "kovra_decinfo.h"

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
                dec_ = KOVRADALT_CreateDecInfoWithStream(&stream_, length, SpanStream::read, SpanStream::skip,
                                                         SpanStream::rewind, format, 0);
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

}  // namespace kovra::fuzz
