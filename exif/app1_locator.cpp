// Finds the EXIF block of a JPEG through a byte window and reads it. The walk starts at SOI and
// looks at every 0xFF: APP1 segments are checked for "Exif" 0 0 and skipped when they hold
// something else (XMP, for instance); the table, frame, scan and other application segments
// (C0, C2, C4, DA, DB, DD, E0..EF, DC, FE) are skipped by their length; every other byte is
// stepped over one at a time, so the walk also runs through entropy-coded data and only ends
// when the source runs dry. A segment longer than the window is skipped by seeking the source.
//
// When the block is found its TIFF data (the segment after "Exif" 0 0) is read whole into a
// buffer owned here for the duration of the call — or, for memory sources, looked at in place
// with no buffer at all — and handed to the EXIF record reader. The window is left empty, positioned after the block.
//
// A request to the window that leaves fewer bytes than asked for is treated like a failed
// request: those bytes are beyond the end of the source, so no EXIF block can follow.

#include <cstring>

#include "exif/ifd_readers.h"
#include "io/source_kind.h"
#include "io/window_bytes.h"
#include "kovra_exif.h"
#include "kovra_os.h"

namespace {

using kovra::io::consume;
using kovra::io::unread_byte;

constexpr uint8_t kMarkerPrefix = 0xFF;
constexpr uint8_t kApp1 = 0xE1;
constexpr uint8_t kExifId[6] = {'E', 'x', 'i', 'f', 0, 0};
constexpr int32_t kApp1Header = 8;        // the length field and "Exif" 0 0
constexpr uint32_t kMinSegmentLength = 2;  // the length field counts itself

bool fill(DALTJ_ByteWindow *window, int32_t need) {
    // The window's own first test, done here: most requests are already satisfied.
    if (window->avail >= need) return true;
    return DALTJ_CheckBuffer(window, need) != DALTJ_WINDOW_FAILED && window->avail >= need;
}

uint8_t take(DALTJ_ByteWindow *window) {
    const uint8_t byte = unread_byte(*window, 0);
    consume(*window, 1);
    return byte;
}

uint32_t take_be16(DALTJ_ByteWindow *window) {
    const uint32_t value = static_cast<uint32_t>(unread_byte(*window, 0)) << 8 | unread_byte(*window, 1);
    consume(*window, 2);
    return value;
}

constexpr bool is_skipped_segment(uint8_t m) {
    return m == 0xC0 || m == 0xC2 || m == 0xC4 || m == 0xDA || m == 0xDB || m == 0xDD ||
           (m >= 0xE0 && m <= 0xEF) || m == 0xDC || m == 0xFE;
}

// Markers the walk acts on, as a table: the scan through entropy-coded data asks once per 0xFF.
// After any other byte following 0xFF (a stuffed 0x00 in scan data, a restart marker) the walk
// just goes on scanning.
struct HandledMarkers {
    bool handled[256] = {};
    constexpr HandledMarkers() {
        for (int m = 0; m < 256; ++m) {
            const auto byte = static_cast<uint8_t>(m);
            handled[m] = byte == kApp1 || byte == kMarkerPrefix || is_skipped_segment(byte);
        }
    }
};
constexpr HandledMarkers kHandled;

// Consumes bytes up to the next 0xFF that starts a handled marker, refilling as the byte-by-byte
// walk would; false when the source runs dry first. A 0xFF whose next byte is not yet in the
// window is left for the caller, which refills before reading that byte.
bool skip_to_marker_prefix(DALTJ_ByteWindow *window) {
    for (;;) {
        const uint8_t *first = window->data + window->pos;
        const uint8_t *end = first + window->avail;
        const uint8_t *at = first;
        while (at < end) {
            // Between segments the next marker usually starts right there: memchr only when not.
            if (*at != kMarkerPrefix) {
                at = static_cast<const uint8_t *>(std::memchr(at, kMarkerPrefix, static_cast<size_t>(end - at)));
                if (at == nullptr) break;
            }
            if (at + 1 == end || kHandled.handled[at[1]]) {
                consume(*window, static_cast<int32_t>(at - first));
                return true;
            }
            at += 2;
        }
        consume(*window, window->avail);
        if (!fill(window, 1)) return false;
    }
}

// Skips `count` bytes: inside the window, or by seeking the source past the window's end.
bool skip_bytes(DALTJ_ByteWindow *window, int32_t count) {
    if (count <= window->avail) {
        consume(*window, count);
        return true;
    }
    const int32_t excess = count - window->avail;
    window->consumed_total = kovra::io::wrapping_add(window->consumed_total, excess);
    const int32_t reached = KOVRADALT_Seek_IO(window->io, excess, SEEK_CUR);
    window->pos = 0;
    window->avail = 0;
    return reached >= window->consumed_total;
}

// Reads `length` bytes of TIFF data at `position` and fills the record from them.
int32_t read_tiff_block(DALTJ_ByteWindow *window, int32_t position, int32_t length, DALTJ_ExifInfo *info) {
    KOVRADALT_IO *io = window->io;
    // A memory source hands out a pointer into its memory: no buffer to fill.
    uint8_t *buffer = nullptr;
    if (!kovra::io::is_memory_kind(io->kind)) {
        buffer = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(length)));
        if (buffer == nullptr) return 0;
    }
    uint8_t *bytes = buffer;
    const int32_t got = KOVRADALT_Seek_IO(io, position, SEEK_SET) < 0 ? 0 : KOVRADALT_Read_IO2(io, &bytes, length);
    if (got <= 0) {
        KOVRADALT_OsFree(buffer);
        return 0;
    }
    uint32_t readable = static_cast<uint32_t>(got < length ? got : length);
    if (bytes == buffer) {
        // A short read from a file or stream: the rest of the buffer reads as zeros.
        std::memset(buffer + readable, 0, static_cast<size_t>(length) - readable);
        readable = static_cast<uint32_t>(length);
    }
    const kovra::exif::TiffBytes data{bytes, static_cast<uint32_t>(length), readable, false};
    const int32_t result = kovra::exif::read_exif_info(data, static_cast<uint32_t>(position), info);
    KOVRADALT_OsFree(buffer);
    window->pos = 0;
    window->avail = 0;
    window->consumed_total = kovra::io::wrapping_add(position, length);
    return result;
}

// At an APP1 segment's length field. Reads the block when it is EXIF, else skips the segment.
// 0 ends the search; 1 goes on; 2 means the block was read and *result holds the outcome.
int32_t visit_app1(DALTJ_ByteWindow *window, DALTJ_ExifInfo *info, int32_t *result) {
    if (!fill(window, kApp1Header)) return 0;
    const int32_t length_field_position = window->consumed_total - window->avail;
    const uint32_t length = take_be16(window);
    if (length < static_cast<uint32_t>(kApp1Header)) return 0;
    const int64_t left = static_cast<int64_t>(window->size) + window->avail - window->consumed_total;
    const auto payload = static_cast<int32_t>(length - kMinSegmentLength);
    if (payload >= left) return 0;
    bool is_exif = true;
    for (int i = 0; i < 6; ++i) is_exif = is_exif && unread_byte(*window, i) == kExifId[i];
    if (is_exif) {
        *result = read_tiff_block(window, length_field_position + kApp1Header,
                                  static_cast<int32_t>(length) - kApp1Header, info);
        return 2;
    }
    return skip_bytes(window, payload) && fill(window, 1) ? 1 : 0;
}

bool skip_segment(DALTJ_ByteWindow *window) {
    if (!fill(window, 2)) return false;
    const uint32_t length = take_be16(window);
    if (length < kMinSegmentLength) return false;
    return skip_bytes(window, static_cast<int32_t>(length - kMinSegmentLength)) && fill(window, 1);
}

int32_t find_exif(DALTJ_ByteWindow *window, DALTJ_ExifInfo *info) {
    if (!fill(window, 2)) return 0;
    if (unread_byte(*window, 0) != 0xFF || unread_byte(*window, 1) != 0xD8) return 0;
    consume(*window, 2);
    if (!fill(window, 1)) return 0;
    for (;;) {
        if (!skip_to_marker_prefix(window)) return 0;
        consume(*window, 1);
        if (!fill(window, 1)) return 0;
        const uint8_t m = take(window);
        if (m == kApp1) {
            int32_t result = 0;
            const int32_t step = visit_app1(window, info, &result);
            if (step == 0) return 0;
            if (step == 2) return result;
        } else if (is_skipped_segment(m)) {
            if (!skip_segment(window)) return 0;
        } else if (m == kMarkerPrefix) {
            // A fill byte: read it again as the prefix of the next marker.
            window->pos -= 1;
            window->avail += 1;
            if (!fill(window, 1)) return 0;
        } else if (!fill(window, 1)) {
            return 0;
        }
    }
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALTJ_GetExifInfo(DALTJ_ByteWindow *window, DALTJ_ExifInfo *info) {
    if (window == nullptr || window->io == nullptr || info == nullptr) return 0;
    return find_exif(window, info);
}

KOVRA_API int32_t DALTJ_GetTiffInfo(DALTJ_ByteWindow *window, DALTJ_ExifInfo *info) {
    return DALTJ_GetExifInfo(window, info);
}

}  // extern "C"
