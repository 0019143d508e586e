// Width and height of a JPEG in memory (used for EXIF thumbnails): a marker walk from byte 2 that
// takes every baseline (0xC0) or progressive (0xC2) frame header it meets, the last one winning,
// until a start-of-scan (0xDA) answers 200. A frame header that is cut short, too short or not of
// 8-bit precision answers 201, as does a cut-short table or application segment and running off
// the end. Other markers are stepped over two bytes at a time and fill bytes (0xFF) one at a time;
// bytes that are not 0xFF are skipped. No other frame type (lossless, arithmetic, 12-bit) is read.

#include "exif/jpeg_resolution.h"

#include "kovra_exif.h"

namespace kovra::exif {
namespace {

struct JpegBytes {
    const uint8_t *bytes;
    uint32_t readable;
    uint8_t at(uint64_t i) const { return i < readable ? bytes[i] : 0; }
    uint32_t be16(uint64_t i) const { return static_cast<uint32_t>(at(i)) << 8 | at(i + 1); }
};

constexpr uint64_t kFrameHeaderBytes = 19;  // marker, length, precision, height, width, 3 components

bool is_skippable_segment(uint8_t m) {
    return m == 0xC4 || m == 0xDB || m == 0xDD || (m >= 0xE0 && m <= 0xEF) || m == 0xFE || m == 0xDC;
}

}  // namespace

int32_t jpeg_resolution(const uint8_t *bytes, uint32_t length, uint32_t readable, uint32_t *width,
                        uint32_t *height) {
    const JpegBytes jpeg{bytes, bytes != nullptr ? readable : 0};
    if (length < 4 || jpeg.at(0) != 0xFF || jpeg.at(1) != 0xD8) return DALTJ_RESOLUTION_FAILED;
    uint64_t i = 2;
    while (i + 2 <= length) {
        if (jpeg.at(i) != 0xFF) {
            ++i;
            continue;
        }
        const uint8_t m = jpeg.at(i + 1);
        if (m == 0xC0 || m == 0xC2) {
            const uint32_t segment = jpeg.be16(i + 2);
            if (i + kFrameHeaderBytes > length || segment < 2 || jpeg.at(i + 4) != 8) return DALTJ_RESOLUTION_FAILED;
            *height = jpeg.be16(i + 5);
            *width = jpeg.be16(i + 7);
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

}  // namespace kovra::exif

extern "C" KOVRA_API int32_t DALTJ_GetJPEGResolution(const uint8_t *bytes, uint32_t length, uint32_t *width,
                                                    uint32_t *height) {
    if (width == nullptr || height == nullptr) return DALTJ_RESOLUTION_FAILED;
    return kovra::exif::jpeg_resolution(bytes, length, length, width, height);
}
