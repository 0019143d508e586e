// Names an image's format from its first eight bytes, without parsing further.
//
//   00 <80        WBMP      42 ..      BMP        FF D8   JPEG
//   89 PNG sig    PNG       "GIF"      GIF        ?? 4D   BMP (when nothing else matched)

#include <cstring>

#include "api/error_word.h"
#include "io/source_kind.h"
#include "io/window_bytes.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace {
using kovra::io::window_byte;

constexpr uint8_t kPngSignature[8] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};

bool has_png_signature(const DALTJ_ByteWindow &window) {
    for (int i = 1; i < 8; ++i) {
        if (window_byte(window, i) != kPngSignature[i]) return false;
    }
    return true;
}

int32_t classify(const DALTJ_ByteWindow &window) {
    const uint8_t b0 = window_byte(window, 0);
    const uint8_t b1 = window_byte(window, 1);
    switch (b0) {
        case 0x00:
            if (b1 < 0x80) return KOVRADALT_TYPE_WBMP;
            break;
        case 0x42:
            return KOVRADALT_TYPE_BMP;
        case 0xFF:
            if (b1 == 0xD8) return KOVRADALT_TYPE_JPEG;
            break;
        case 0x89:
            if (has_png_signature(window)) return KOVRADALT_TYPE_PNG;
            break;
        case 0x47:
            if (b1 == 'I' && window_byte(window, 2) == 'F') return KOVRADALT_TYPE_GIF;
            break;
        default:
            break;
    }
    return b1 == 0x4D ? KOVRADALT_TYPE_BMP : KOVRADALT_TYPE_UNKNOWN;
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALT_GetImageType(uint32_t /*ignored*/, DALTJ_ByteWindow *window) {
    if (DALTJ_CheckBuffer(window, 8) == DALTJ_WINDOW_FAILED) {
        kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    return classify(*window);
}

KOVRA_API int32_t KOVRADALT_GetImageType(KOVRADALT_DecInfo *dec) {
    kovra::clear_error();
    if (dec == nullptr || !kovra::io::source_usable(dec->io)) {
        kovra::set_error(KOVRADALT_ERR_NULL_ARGUMENT);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    auto *buffer = static_cast<uint8_t *>(KOVRADALT_OsMalloc(KOVRADALT_WINDOW_CAPACITY));
    if (buffer == nullptr) {
        kovra::set_error(KOVRADALT_ERR_NO_MEMORY);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    std::memset(buffer, 0, KOVRADALT_WINDOW_CAPACITY);
    DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
    if (KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) < 0) {
        KOVRADALT_OsFree(buffer);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    int32_t type = DALT_GetImageType(0, &window);
    dec->image_type = type;
    KOVRADALT_OsFree(buffer);
    return type;
}

}  // extern "C"
