// Width and height of a JPEG in memory (used for EXIF thumbnails): a marker walk from byte 2 that
// takes every baseline (0xC0) or progressive (0xC2) frame header it meets, the last one winning,
// until a start-of-scan (0xDA) answers 200. A frame header that is cut short, too short or not of
// 8-bit precision answers 201, as does a cut-short table or application segment and running off
// the end. Other markers are stepped over two bytes at a time and fill bytes (0xFF) one at a time;
// bytes that are not 0xFF are skipped. No other frame type (lossless, arithmetic, 12-bit) is read.
//
// Positions are counted from the start of the bytes given, not from the SOI, so that walks from
// different starts in the same data can share FrameSearch's marks.

#include "exif/jpeg_resolution.h"

#include <cstring>

#include "kovra_exif.h"
#include "kovra_os.h"

namespace kovra::exif {
namespace {

struct JpegBytes {
    const uint8_t *bytes;
    uint64_t readable;
    uint8_t at(uint64_t i) const { return i < readable ? bytes[i] : 0; }
    uint32_t be16(uint64_t i) const { return static_cast<uint32_t>(at(i)) << 8 | at(i + 1); }
};

constexpr uint64_t kFrameHeaderBytes = 19;  // marker, length, precision, height, width, 3 components

bool is_skippable_segment(uint8_t m) {
    return m == 0xC4 || m == 0xDB || m == 0xDD || (m >= 0xE0 && m <= 0xEF) || m == 0xFE || m == 0xDC;
}

// A position already marked ends the walk; every other one is marked. Null: no marks.
bool reached_mark(uint8_t *marks, uint64_t i) {
    if (marks == nullptr) return false;
    const auto bit = static_cast<uint8_t>(1u << (i % 8));
    if ((marks[i / 8] & bit) != 0) return true;
    marks[i / 8] |= bit;
    return false;
}

int32_t walk_markers(const JpegBytes &jpeg, uint64_t length, uint64_t start, uint8_t *marks, FrameSize *size) {
    if (start > length || length - start < 4 || jpeg.at(start) != 0xFF || jpeg.at(start + 1) != 0xD8) {
        return DALTJ_RESOLUTION_FAILED;
    }
    uint64_t i = start + 2;
    while (i + 2 <= length) {
        if (reached_mark(marks, i)) return DALTJ_RESOLUTION_FAILED;
        if (jpeg.at(i) != 0xFF) {
            ++i;
            continue;
        }
        const uint8_t m = jpeg.at(i + 1);
        if (m == 0xC0 || m == 0xC2) {
            const uint32_t segment = jpeg.be16(i + 2);
            if (i + kFrameHeaderBytes > length || segment < 2 || jpeg.at(i + 4) != 8) return DALTJ_RESOLUTION_FAILED;
            *size = FrameSize{true, jpeg.be16(i + 7), jpeg.be16(i + 5)};
            i += 2 + segment;
        } else if (m == 0xDA) {
            return DALTJ_RESOLUTION_FOUND;
        } else if (is_skippable_segment(m)) {
            const uint32_t segment = jpeg.be16(i + 2);
            if (i + 4 > length || segment < 2) return DALTJ_RESOLUTION_FAILED;
            i += 2 + segment;
        } else {
            i += m == 0xFF ? 1 : 2;
        }
    }
    return DALTJ_RESOLUTION_FAILED;
}

}  // namespace

int32_t jpeg_frame_size(const uint8_t *bytes, uint64_t length, uint64_t readable, uint64_t start, FrameSize *size) {
    return walk_markers(JpegBytes{bytes, bytes != nullptr ? readable : 0}, length, start, nullptr, size);
}

FrameSearch::~FrameSearch() { KOVRADALT_OsFree(marks_); }

bool FrameSearch::find(uint32_t start, FrameSize *size) {
    if (!first_ && marks_ == nullptr) {
        const uint64_t mark_bytes = (static_cast<uint64_t>(data_.length) + 7) / 8;
        marks_ = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(mark_bytes)));
        if (marks_ != nullptr) std::memset(marks_, 0, static_cast<size_t>(mark_bytes));
    }
    first_ = false;
    *size = FrameSize{};
    const JpegBytes jpeg{data_.base, data_.readable};
    walk_markers(jpeg, data_.length, start, marks_, size);
    return size->found;
}

}  // namespace kovra::exif

extern "C" KOVRA_API int32_t DALTJ_GetJPEGResolution(const uint8_t *bytes, uint32_t length, uint32_t *width,
                                                    uint32_t *height) {
    if (width == nullptr || height == nullptr) return DALTJ_RESOLUTION_FAILED;
    kovra::exif::FrameSize size{};
    const int32_t result = kovra::exif::jpeg_frame_size(bytes, length, length, 0, &size);
    if (size.found) {
        *width = size.width;
        *height = size.height;
    }
    return result;
}
