// Names an image's format from its first eight bytes (the signature table), without parsing
// further.

#include <cstring>

#include "io/source_kind.h"
#include "io/window_bytes.h"
#include "kovra_os.h"
#include "kovra_parse.h"
#include "os/error_word.h"
#include "parse/image_signature.h"

extern "C" {

KOVRA_API int32_t DALT_GetImageType(uint32_t /*ignored*/, DALTJ_ByteWindow *window) {
    if (DALTJ_CheckBuffer(window, 8) == DALTJ_WINDOW_FAILED) {
        kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
        return KOVRADALT_TYPE_UNKNOWN;
    }
    return kovra::parse::classify_image(*window);
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
