// Formats by their first bytes (one row per first byte); a second byte 'M' names a bitmap when no
// row matched.
//
//   00 <80        WBMP      42 ..      BMP        FF D8   JPEG
//   89 PNG sig    PNG       "GIF"      GIF        ?? 4D   BMP (when nothing else matched)

#include "parse/image_signature.h"

#include "io/window_bytes.h"
#include "kovra_decinfo.h"

namespace kovra::parse {
namespace {
using kovra::io::window_byte;

struct Signature {
    uint8_t first;
    int32_t type;
    bool (*rest)(const DALTJ_ByteWindow &window);  // the bytes after the first
};

bool wbmp_rest(const DALTJ_ByteWindow &w) { return window_byte(w, 1) < 0x80; }
bool any_rest(const DALTJ_ByteWindow &) { return true; }
bool jpeg_rest(const DALTJ_ByteWindow &w) { return window_byte(w, 1) == 0xD8; }
bool gif_rest(const DALTJ_ByteWindow &w) { return window_byte(w, 1) == 'I' && window_byte(w, 2) == 'F'; }
bool png_rest(const DALTJ_ByteWindow &w) {
    constexpr uint8_t kPngSignature[8] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};
    for (int i = 1; i < 8; ++i) {
        if (window_byte(w, i) != kPngSignature[i]) return false;
    }
    return true;
}

constexpr Signature kSignatures[] = {
    {0x00, KOVRADALT_TYPE_WBMP, wbmp_rest}, {0x42, KOVRADALT_TYPE_BMP, any_rest},
    {0xFF, KOVRADALT_TYPE_JPEG, jpeg_rest}, {0x89, KOVRADALT_TYPE_PNG, png_rest},
    {0x47, KOVRADALT_TYPE_GIF, gif_rest},
};

}  // namespace

int32_t classify_image(const DALTJ_ByteWindow &window) {
    const uint8_t first = window_byte(window, 0);
    for (const Signature &s : kSignatures) {
        if (s.first == first && s.rest(window)) return s.type;
    }
    return window_byte(window, 1) == 0x4D ? KOVRADALT_TYPE_BMP : KOVRADALT_TYPE_UNKNOWN;
}

}  // namespace kovra::parse
