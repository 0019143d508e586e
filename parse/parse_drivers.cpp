// The public parse drivers. Each sets up a byte window over the record's source, rewinds the
// source, parses, and releases the window memory; the record receives type, width, height and the
// header extras, the caller's KOVRADALT_ImageInfo the same plus file size, frame count and the GIF
// delay table (which the caller frees with KOVRADALT_OsFree).
//
// Every driver zero-fills the caller's info first: a delay table still attached to it from an
// earlier parse must be freed by the caller beforehand. gif_total_delay is never reset here, so a
// record parsed twice accumulates both scans' totals. The source is left wherever parsing stopped.

#include <cstring>

#include "io/source_kind.h"
#include "io/window_bytes.h"
#include "kovra_jpeg.h"
#include "kovra_os.h"
#include "os/error_word.h"
#include "parse/header_readers.h"

namespace {

// Entry checks shared by the drivers: clears the error word, refuses a missing record or one
// whose source cannot be read (error word 1).
bool record_ready(KOVRADALT_DecInfo *dec) {
    kovra::clear_error();
    if (dec == nullptr || !kovra::io::source_usable(dec->io)) {
        kovra::set_error(KOVRADALT_ERR_NULL_ARGUMENT);
        return false;
    }
    return true;
}

void zero_info(KOVRADALT_ImageInfo *info) {
    if (info != nullptr) std::memset(info, 0, sizeof *info);
}

// The record keeps the extras in the order 4, 5, 7, 6.
void copy_header_extras(KOVRADALT_DecInfo *dec, const KOVRADALT_ImageInfo *info) {
    dec->interlaced = info->interlaced;
    dec->header_extra_5 = info->header_extra_5;
    dec->header_extra_7 = info->header_extra_7;
    dec->header_extra_6 = info->header_extra_6;
}

// A window over the record's source from DALTJ_AllocateStreamBuffer (the memory itself for a
// caller memory source), released through DALTJ_ReleaseStreamBuffer.
class StreamWindow {
public:
    explicit StreamWindow(KOVRADALT_IO *io) : io_(io), buffer_(DALTJ_AllocateStreamBuffer(io)) {}
    ~StreamWindow() {
        if (buffer_ != nullptr) DALTJ_ReleaseStreamBuffer(io_, buffer_);
    }
    StreamWindow(const StreamWindow &) = delete;
    StreamWindow &operator=(const StreamWindow &) = delete;

    bool allocated() const { return buffer_ != nullptr; }
    // Rewinds the source; false when the seek fails.
    bool rewind() { return KOVRADALT_Seek_IO(io_, 0, SEEK_SET) >= 0; }
    DALTJ_ByteWindow &window() { return window_; }

private:
    KOVRADALT_IO *io_;
    uint8_t *buffer_;
    DALTJ_ByteWindow window_ = kovra::io::make_window(io_, buffer_);
};

// A window over a private zero-filled 16384-byte buffer, whatever the source kind.
class PrivateWindow {
public:
    explicit PrivateWindow(KOVRADALT_IO *io)
        : buffer_(static_cast<uint8_t *>(KOVRADALT_OsMalloc(KOVRADALT_WINDOW_CAPACITY))),
          window_(kovra::io::make_window(io, buffer_)) {
        if (buffer_ != nullptr) std::memset(buffer_, 0, KOVRADALT_WINDOW_CAPACITY);
    }
    ~PrivateWindow() { KOVRADALT_OsFree(buffer_); }
    PrivateWindow(const PrivateWindow &) = delete;
    PrivateWindow &operator=(const PrivateWindow &) = delete;

    bool allocated() const { return buffer_ != nullptr; }
    bool rewind() { return KOVRADALT_Seek_IO(window_.io, 0, SEEK_SET) >= 0; }
    DALTJ_ByteWindow &window() { return window_; }

private:
    uint8_t *buffer_;
    DALTJ_ByteWindow window_;
};

}  // namespace

extern "C" {

KOVRA_API int32_t KOVRADALT_Parser(KOVRADALT_DecInfo *dec, KOVRADALT_ImageInfo *info) {
    if (!record_ready(dec) || info == nullptr) return KOVRADALT_TYPE_UNKNOWN;
    zero_info(info);
    {
        StreamWindow stream(dec->io);
        if (!stream.allocated()) {
            kovra::set_error(KOVRADALT_ERR_NO_MEMORY);
            return KOVRADALT_TYPE_UNKNOWN;
        }
        if (!stream.rewind()) return KOVRADALT_TYPE_UNKNOWN;
        info->scan_flag = 0;
        dec->image_type = DALT_Parse(dec, &stream.window(), info);
    }
    info->width = dec->width;
    info->height = dec->height;
    info->file_size = static_cast<uint32_t>(dec->io->size);
    copy_header_extras(dec, info);
    return dec->image_type;
}

KOVRA_API int32_t KOVRADALT_SimpleParserGIF(KOVRADALT_DecInfo *dec, KOVRADALT_ImageInfo *info,
                                            uint32_t default_delay) {
    if (!record_ready(dec)) return KOVRADALT_TYPE_UNKNOWN;
    zero_info(info);
    {
        PrivateWindow window(dec->io);
        if (!window.allocated()) {
            kovra::set_error(KOVRADALT_ERR_NO_MEMORY);
            return KOVRADALT_TYPE_UNKNOWN;
        }
        if (!window.rewind()) return KOVRADALT_TYPE_UNKNOWN;
        if (DALTJ_CheckBuffer(&window.window(), 8) == DALTJ_WINDOW_FAILED) {
            kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
            return KOVRADALT_TYPE_UNKNOWN;
        }
        // The signature is not checked: the caller says this is a GIF.
        dec->image_type = static_cast<int32_t>(__DALT_ParserGIF(dec, &window.window(), info, default_delay));
    }
    if (info != nullptr) {
        info->width = dec->width;
        info->height = dec->height;
        info->file_size = static_cast<uint32_t>(dec->io->size);
    }
    return dec->image_type;
}

KOVRA_API int32_t KOVRADALT_JpgParser(KOVRADALT_DecInfo *dec, KOVRADALT_ImageInfo *info) {
    if (!record_ready(dec) || info == nullptr) return 0;
    zero_info(info);
    if (KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) < 0) return 0;
    if (DALTJ_GetHInfo(dec->io, info) == 0) {
        kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return 0;
    }
    dec->width = info->width;
    dec->height = info->height;
    info->image_count = 1;
    info->file_size = static_cast<uint32_t>(dec->io->size);
    copy_header_extras(dec, info);
    return 1;
}

// Locates no offsets in this library: both words are 0 and the result is 0 on every path; the
// source is still read up to its first eight bytes so that an unreadable one reports error 5.
KOVRA_API int32_t KOVRADALT_GetJpegOffset(KOVRADALT_DecInfo *dec, uint32_t *start, uint32_t *end) {
    if (!record_ready(dec)) return 0;
    if (start != nullptr) *start = 0;
    if (end != nullptr) *end = 0;
    StreamWindow stream(dec->io);
    if (!stream.allocated()) {
        kovra::set_error(KOVRADALT_ERR_NO_MEMORY);
        return 0;
    }
    if (!stream.rewind()) return 0;
    if (DALTJ_CheckBuffer(&stream.window(), 8) == DALTJ_WINDOW_FAILED) kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
    return 0;
}

}  // extern "C"
