#include "support/sources.h"

#include <algorithm>
#include <cstring>

#include "kovra_os.h"
#include "os/alloc_failure.h"

namespace kovra::test {

uint32_t MemoryStream::read(void *handle, void *buffer, uint32_t count) {
    auto *stream = static_cast<MemoryStream *>(handle);
    ++stream->reads;
    size_t left = stream->cursor < stream->bytes.size() ? stream->bytes.size() - stream->cursor : 0;
    size_t n = std::min<size_t>(left, count);
    if (n > 0) std::memcpy(buffer, stream->bytes.data() + stream->cursor, n);
    stream->cursor += n;
    return static_cast<uint32_t>(n);
}

uint32_t MemoryStream::skip(void *handle, void *, uint32_t count) {
    auto *stream = static_cast<MemoryStream *>(handle);
    stream->cursor += static_cast<int32_t>(count);  // a negative skip arrives as a wrapped count
    return static_cast<uint32_t>(stream->cursor);
}

uint32_t MemoryStream::rewind(void *handle, void *, uint32_t) {
    auto *stream = static_cast<MemoryStream *>(handle);
    ++stream->rewinds;
    stream->cursor = 0;
    return 0;
}

const char *source_kind_name(SourceKind kind) {
    switch (kind) {
        case SourceKind::kPath: return "path";
        case SourceKind::kMemory: return "memory";
        case SourceKind::kFile: return "file";
        case SourceKind::kStream: return "stream";
        case SourceKind::kOwnedMemory: return "owned_memory";
    }
    return "?";
}

SourceRecord::SourceRecord(SourceKind kind, const std::vector<uint8_t> &bytes, int32_t output_format) {
    const auto size = static_cast<int32_t>(bytes.size());
    switch (kind) {
        case SourceKind::kPath:
            path_ = dir_.write("image", bytes).string();
            record_ = KOVRADALT_CreateDecInfo(IO_KIND_PATH, path_.data(), 0, output_format, 0);
            break;
        case SourceKind::kMemory:
            memory_ = bytes;
            record_ = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, memory_.data(), size, output_format, 0);
            break;
        case SourceKind::kFile:
            path_ = dir_.write("image", bytes).string();
            file_ = std::fopen(path_.c_str(), "rb");
            record_ = KOVRADALT_CreateDecInfo(IO_KIND_FILE, file_, size, output_format, 0);
            break;
        case SourceKind::kStream:
            stream_ = std::make_unique<MemoryStream>();
            stream_->bytes = bytes;
            record_ = KOVRADALT_CreateDecInfoWithStream(stream_.get(), size, MemoryStream::read, MemoryStream::skip,
                                                        MemoryStream::rewind, output_format, 0);
            break;
        case SourceKind::kOwnedMemory: {
            // The record frees this memory when it is destroyed.
            auto *owned = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(std::max<size_t>(bytes.size(), 1))));
            if (!bytes.empty()) std::memcpy(owned, bytes.data(), bytes.size());
            record_ = KOVRADALT_CreateDecInfo(IO_KIND_OWNED_MEMORY, owned, size, output_format, 0);
            if (record_ == nullptr) KOVRADALT_OsFree(owned);
            break;
        }
    }
}

SourceRecord::~SourceRecord() {
    if (record_ != nullptr) KOVRADALT_DestroyDecInfo(record_);
    if (file_ != nullptr) std::fclose(file_);
}

AllocationFailure::AllocationFailure(long successes) { kovra::os::fail_allocations_after(successes); }
AllocationFailure::~AllocationFailure() { kovra::os::stop_failing_allocations(); }

}  // namespace kovra::test
