// BMP dimensions from the DIB header that follows the 14-byte file header. Only the low byte of
// the DIB header size (byte 14) is looked at: 12 is the old core header with 16-bit width and
// height at bytes 18 and 20; larger headers carry signed 32-bit values at bytes 18 and 22. A
// negative value (a top-down bitmap's height) is made positive. Bytes past what the window holds
// read as 0.

#include "io/window_bytes.h"
#include "os/error_word.h"
#include "parse/header_readers.h"

namespace kovra::parse {
namespace {

constexpr int32_t kHeaderNeed = 26;
constexpr int kHeaderSizeAt = 14;
constexpr int kWidthAt = 18;
constexpr uint8_t kCoreHeader = 12;
constexpr uint8_t kInfoHeader = 40;

uint32_t u16le(const DALTJ_ByteWindow &window, int index) {
    return io::window_byte(window, index) | (static_cast<uint32_t>(io::window_byte(window, index + 1)) << 8);
}

uint32_t u32le(const DALTJ_ByteWindow &window, int index) {
    return u16le(window, index) | (u16le(window, index + 2) << 16);
}

// Two's-complement magnitude; 0x80000000 stays as it is.
uint32_t magnitude(uint32_t value) { return (value & 0x80000000u) ? 0u - value : value; }

bool header_accepted(uint8_t header_size, BmpHeaderRule rule) {
    if (rule == BmpHeaderRule::kAnyFrom40) return header_size == kCoreHeader || header_size >= kInfoHeader;
    return header_size == kCoreHeader || header_size == kInfoHeader || (header_size >= 56 && header_size <= 64);
}

}  // namespace

int32_t read_bmp_header(KOVRADALT_DecInfo &dec, DALTJ_ByteWindow &window, KOVRADALT_ImageInfo *info,
                        BmpHeaderRule rule) {
    if (DALTJ_CheckBuffer(&window, kHeaderNeed) == DALTJ_WINDOW_FAILED) {
        set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    const uint8_t header_size = io::window_byte(window, kHeaderSizeAt);
    if (!header_accepted(header_size, rule)) return KOVRADALT_TYPE_UNKNOWN;
    if (header_size == kCoreHeader) {
        dec.width = u16le(window, kWidthAt);
        dec.height = u16le(window, kWidthAt + 2);
    } else {
        dec.width = magnitude(u32le(window, kWidthAt));
        dec.height = magnitude(u32le(window, kWidthAt + 4));
    }
    if (info != nullptr) info->image_count = 1;
    return KOVRADALT_TYPE_BMP;
}

}  // namespace kovra::parse
