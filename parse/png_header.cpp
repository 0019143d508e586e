// PNG dimensions: after the 8-byte signature comes the IHDR chunk, whose big-endian width and
// height sit at bytes 16..19 and 20..23 of the file and whose interlace method is byte 28. Nothing
// is validated: no chunk type, CRC, sign or range check. Bytes past what the window holds read as 0.

#include "io/window_bytes.h"
#include "os/error_word.h"
#include "parse/header_readers.h"

namespace kovra::parse {
namespace {

constexpr int32_t kHeaderNeed = 23;
constexpr int kWidthAt = 16;
constexpr int kHeightAt = 20;
constexpr int kInterlaceAt = 28;

uint32_t u32be(const DALTJ_ByteWindow &window, int index) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = (value << 8) | io::window_byte(window, index + i);
    return value;
}

}  // namespace

int32_t read_png_header(KOVRADALT_DecInfo &dec, DALTJ_ByteWindow &window, KOVRADALT_ImageInfo *info) {
    if (DALTJ_CheckBuffer(&window, kHeaderNeed) == DALTJ_WINDOW_FAILED) {
        set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    dec.width = u32be(window, kWidthAt);
    dec.height = u32be(window, kHeightAt);
    if (info != nullptr) {
        info->interlaced = io::window_byte(window, kInterlaceAt);
        info->image_count = 1;
    }
    return KOVRADALT_TYPE_PNG;
}

}  // namespace kovra::parse
