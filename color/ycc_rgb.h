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
// An output pixel is four bytes 255, R, G, B (the little-endian word 255 | R << 8 | G << 16 |
// B << 24).
#pragma once

#include <cstdint>

namespace kovra::color {

inline constexpr int32_t kCrToR = 91881;
inline constexpr int32_t kCrToG = -46802;
inline constexpr int32_t kCbToG = -22554;
inline constexpr int32_t kCbToB = 116130;

inline constexpr int32_t red_delta(int32_t cr) { return ((cr - 128) * kCrToR) >> 16; }
inline constexpr int32_t blue_delta(int32_t cb) { return ((cb - 128) * kCbToB) >> 16; }

// `count` pixels from samples y[i], cb[i], cr[i] to out + 4 * i; `range_limit` points at sample 0
// of the library's clamping table. The library's fastest implementation for this machine.
void ycc_row_to_pixels(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                       const uint8_t *range_limit, uint8_t *out);

// The plain implementation, the reference that every other gives byte for byte.
void ycc_row_to_pixels_scalar(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                              const uint8_t *range_limit, uint8_t *out);

}  // namespace kovra::color
