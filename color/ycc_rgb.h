// YCbCr to RGB for one pixel and for a row of 32-bit output pixels.
//
// The transform is the JFIF one in 16.16 fixed point (1.402, 0.71414, 0.34414, 1.772):
//   R = y + (crd * 91881) >> 16
//   G = y + (crd * -46802 + cbd * -22554) >> 16
//   B = y + (cbd * 116130) >> 16
// with cbd = cb - 128 and crd = cr - 128. The shifts are arithmetic and no rounding constant is
// added, so every delta is rounded toward minus infinity (at most 1 below the exact value); the
// sums are clamped only by the range-limit table, over indexes -227..480.
//
// An output pixel is the little-endian word 255 | R << 8 | G << 16 | B << 24: in memory the bytes
// run 255, R, G, B.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace kovra::color {

inline constexpr int32_t kCrToR = 91881;
inline constexpr int32_t kCrToG = -46802;
inline constexpr int32_t kCbToG = -22554;
inline constexpr int32_t kCbToB = 116130;

inline constexpr int32_t red_delta(int32_t cr) { return ((cr - 128) * kCrToR) >> 16; }
inline constexpr int32_t green_delta(int32_t cb, int32_t cr) { return ((cr - 128) * kCrToG + (cb - 128) * kCbToG) >> 16; }
inline constexpr int32_t blue_delta(int32_t cb) { return ((cb - 128) * kCbToB) >> 16; }

inline constexpr uint32_t pixel_word(uint32_t r, uint32_t g, uint32_t b) { return 0xFFu | r << 8 | g << 16 | b << 24; }

inline void store_pixel(uint8_t *out, uint32_t word) {
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    std::memcpy(out, &word, 4);
}

// `range_limit` points at sample 0 of the library's clamping table.
inline uint32_t ycc_pixel(uint32_t y, uint32_t cb, uint32_t cr, const uint8_t *range_limit) {
    const int32_t luma = static_cast<int32_t>(y);
    const int32_t blue = static_cast<int32_t>(cb), red = static_cast<int32_t>(cr);
    return pixel_word(range_limit[luma + red_delta(red)], range_limit[luma + green_delta(blue, red)],
                      range_limit[luma + blue_delta(blue)]);
}

// `count` pixels from samples y[i], cb[i], cr[i] to out + 4 * i. The library's fastest
// implementation for this machine; every one gives the bytes of ycc_pixel.
void ycc_row_to_pixels(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                       const uint8_t *range_limit, uint8_t *out);

// The plain implementation, the reference for the others.
void ycc_row_to_pixels_scalar(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                              const uint8_t *range_limit, uint8_t *out);

}  // namespace kovra::color
