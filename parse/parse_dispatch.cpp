// The parse dispatchers: recognise the format from the first bytes (the signature table that type
// detection uses) and either read the dimensions here (PNG, BMP) or hand over to the format's own
// parser (WBMP, the GIF stream scanner, the JPEG header entry point). DALT_ParseJPEGOffset differs
// only in accepting fewer BMP header sizes.

#include "kovra_jpeg.h"
#include "os/error_word.h"
#include "parse/header_readers.h"
#include "parse/image_signature.h"

namespace {
using kovra::parse::BmpHeaderRule;

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
    switch (kovra::parse::classify_image(*window)) {
        case KOVRADALT_TYPE_WBMP:
            if (info != nullptr) info->image_count = 1;
            return __DALT_ParserWBMP(dec, window);
        case KOVRADALT_TYPE_BMP:
            return kovra::parse::read_bmp_header(*dec, *window, info, bmp_rule);
        case KOVRADALT_TYPE_GIF:
            return static_cast<int32_t>(__DALT_ParserGIF(dec, window, info, 0));
        case KOVRADALT_TYPE_PNG:
            return kovra::parse::read_png_header(*dec, *window, info);
        case KOVRADALT_TYPE_JPEG:
            return parse_jpeg(*dec, info);
        default:
            return KOVRADALT_TYPE_UNKNOWN;
    }
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
