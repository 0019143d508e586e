// The parse dispatchers: recognise the format from the first bytes (the same rules as type
// detection) and either read the dimensions here (PNG, BMP) or hand over to the format's own
// parser (WBMP, the GIF stream scanner, the JPEG header entry point). DALT_ParseJPEGOffset differs
// only in accepting fewer BMP header sizes.

#include "api/error_word.h"
#include "io/window_bytes.h"
#include "kovra_jpeg.h"
#include "parse/header_readers.h"

namespace {
using kovra::io::window_byte;
using kovra::parse::BmpHeaderRule;

constexpr uint8_t kPngSignature[8] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};

bool has_png_signature(const DALTJ_ByteWindow &window) {
    for (int i = 0; i < 8; ++i) {
        if (window_byte(window, i) != kPngSignature[i]) return false;
    }
    return true;
}

// JPEG: the header entry point fills the caller's info; without one nothing is read.
int32_t parse_jpeg(KOVRADALT_DecInfo &dec, KOVRADALT_ImageInfo *info) {
    if (info == nullptr) return KOVRADALT_TYPE_JPEG;
    if (DALTJ_GetHInfo(dec.io, info) == 0) {
        kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    dec.width = info->width;
    dec.height = info->height;
    info->image_count = 1;
    return KOVRADALT_TYPE_JPEG;
}

int32_t dispatch(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window, KOVRADALT_ImageInfo *info,
                 BmpHeaderRule bmp_rule) {
    if (dec == nullptr || window == nullptr || window->io == nullptr) {
        kovra::set_error(KOVRADALT_ERR_NULL_ARGUMENT);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    if (DALTJ_CheckBuffer(window, 8) == DALTJ_WINDOW_FAILED) {
        kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    const uint8_t b0 = window_byte(*window, 0);
    const uint8_t b1 = window_byte(*window, 1);
    if (b0 == 0x00 && b1 < 0x80) {
        if (info != nullptr) info->image_count = 1;
        return __DALT_ParserWBMP(dec, window);
    }
    if (b0 == 'B') return kovra::parse::read_bmp_header(*dec, *window, info, bmp_rule);
    if (b0 == 'G' && b1 == 'I' && window_byte(*window, 2) == 'F') {
        return static_cast<int32_t>(__DALT_ParserGIF(dec, window, info, 0));
    }
    if (b0 == 0x89 && has_png_signature(*window)) return kovra::parse::read_png_header(*dec, *window, info);
    if (b0 == 0xFF && b1 == 0xD8) return parse_jpeg(*dec, info);
    if (b1 == 'M') return kovra::parse::read_bmp_header(*dec, *window, info, bmp_rule);
    return KOVRADALT_TYPE_UNKNOWN;
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALT_Parse(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window, KOVRADALT_ImageInfo *info) {
    return dispatch(dec, window, info, BmpHeaderRule::kAnyFrom40);
}

KOVRA_API int32_t DALT_ParseJPEGOffset(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window,
                                       KOVRADALT_ImageInfo *info) {
    return dispatch(dec, window, info, BmpHeaderRule::kCoreInfoOrV3);
}

}  // extern "C"
