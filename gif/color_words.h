// Colour words and their conversion to output pixels.
//
// A colour word holds red (lowest bit cleared) in bits 0-7, green in 8-15, blue in 16-23 and 0xFF
// in 24-31; GIF_COLOR_UNSET (all bits set) is a pixel with no colour. The regular writers turn a
// word into R,G,B,255 (format 7) or B,G,R,255 (format 8), and the unset word into four zero bytes.
// The frame composer's format-8 packing is different on purpose: byte 0 = bits 0-7, byte 1 =
// bits 10-17, byte 2 = bits 20-27, byte 3 = 255, with no unset case. The canvas word 0x00FFFFFF
// (white with a zero top byte) is drawn as opaque white by every writer.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "kovra_decinfo.h"
#include "kovra_gif.h"

namespace kovra::gif {

inline constexpr uint32_t kCanvasWhite = 0x00FFFFFFu;

inline uint32_t make_color_word(uint8_t red, uint8_t green, uint8_t blue) {
    return 0xFF000000u | (static_cast<uint32_t>(blue) << 16) | (static_cast<uint32_t>(green) << 8) |
           static_cast<uint32_t>(red & 0xFEu);
}

// Stores v so that its bits 0-7 land in dst[0], 8-15 in dst[1] and so on.
inline void store_le32(uint8_t *dst, uint32_t v) {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(dst, &v, 4);
    } else {
        dst[0] = static_cast<uint8_t>(v);
        dst[1] = static_cast<uint8_t>(v >> 8);
        dst[2] = static_cast<uint8_t>(v >> 16);
        dst[3] = static_cast<uint8_t>(v >> 24);
    }
}

// The value store_le32 stored at src.
inline uint32_t load_le32(const uint8_t *src) {
    return static_cast<uint32_t>(src[0]) | (static_cast<uint32_t>(src[1]) << 8) |
           (static_cast<uint32_t>(src[2]) << 16) | (static_cast<uint32_t>(src[3]) << 24);
}

// R, G, B, A.
inline uint32_t rgba_pixel(uint32_t word) { return word == GIF_COLOR_UNSET ? 0u : (word | 0xFF000000u); }

// B, G, R, A.
inline uint32_t bgra_pixel(uint32_t word) {
    if (word == GIF_COLOR_UNSET) return 0u;
    return ((word & 0xFFu) << 16) | (word & 0xFF00u) | ((word >> 16) & 0xFFu) | 0xFF000000u;
}

// The frame composer's format-8 packing.
inline uint32_t frame_bgra_pixel(uint32_t word) {
    return (word & 0xFFu) | (((word >> 10) & 0xFFu) << 8) | (((word >> 20) & 0xFFu) << 16) | 0xFF000000u;
}

// Four colour words (or output pixels), loaded and stored 16 bytes at a time: SSE2 or NEON
// operations where the target has them.
typedef uint32_t Words4 __attribute__((vector_size(16)));

inline Words4 load_words4(const uint32_t *src) {
    Words4 words;
    std::memcpy(&words, src, sizeof words);
    return words;
}

inline void store_words4(uint32_t *dst, Words4 words) { std::memcpy(dst, &words, sizeof words); }

// Four output pixels, each stored as store_le32 would.
inline void store_pixels4(uint8_t *dst, Words4 pixels) {
    if constexpr (std::endian::native == std::endian::big) {
        for (int i = 0; i < 4; ++i) pixels[i] = __builtin_bswap32(pixels[i]);
    }
    std::memcpy(dst, &pixels, sizeof pixels);
}

// rgba_pixel() of four words.
inline Words4 rgba_pixels4(Words4 words) {
    const auto unset = reinterpret_cast<Words4>(words == GIF_COLOR_UNSET);
    return (words | 0xFF000000u) & ~unset;
}

// bgra_pixel() of four words.
inline Words4 bgra_pixels4(Words4 words) {
    const auto unset = reinterpret_cast<Words4>(words == GIF_COLOR_UNSET);
    return (((words & 0xFFu) << 16) | (words & 0xFF00u) | ((words >> 16) & 0xFFu) | 0xFF000000u) & ~unset;
}

// `count` words through a packing, four at a time.
template <Words4 (*kPack4)(Words4), uint32_t (*kPack)(uint32_t)>
inline void convert_words(const uint32_t *words, int32_t count, uint8_t *dst) {
    int32_t k = 0;
#pragma GCC unroll 4
    for (; k + 3 < count; k += 4) store_pixels4(dst + 4 * static_cast<int64_t>(k), kPack4(load_words4(words + k)));
    for (; k < count; ++k) store_le32(dst + 4 * static_cast<int64_t>(k), kPack(words[k]));
}

// Converts `count` colour words into `dst` with the regular packing of `format` (7 or 8);
// other formats write nothing. Returns false for those.
inline bool convert_row(const uint32_t *words, int32_t count, int32_t format, uint8_t *dst) {
    if (format == KOVRADALT_FORMAT_RGBA32) {
        convert_words<rgba_pixels4, rgba_pixel>(words, count, dst);
        return true;
    }
    if (format == KOVRADALT_FORMAT_BGRA32) {
        convert_words<bgra_pixels4, bgra_pixel>(words, count, dst);
        return true;
    }
    return false;
}

}  // namespace kovra::gif
