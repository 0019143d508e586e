// The drivers place a source row against the output grid from products such as
// inputRow * scaledHeight taken modulo a height. Those are 32-bit register arithmetic: the product
// wraps, and the remainder is the signed, truncating one. Heights come from the caller unchecked;
// a zero (or -1) modulus, which no real image has, gives remainder 0 instead of a trap.
#pragma once

#include <cstdint>

#include "kovra_jpeg.h"

namespace kovra::color {

inline int32_t wrapped_product(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

inline int32_t wrapped_sum(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t wrapped_difference(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t signed_remainder(int32_t a, int32_t b) { return b == 0 || b == -1 ? 0 : a % b; }

// (row * factor) rem modulus.
inline int32_t row_phase(int32_t row, int32_t factor, int32_t modulus) {
    return signed_remainder(wrapped_product(row, factor), modulus);
}

inline int32_t source_width(const DALTJ_DecoderInfo *ctx) { return static_cast<int32_t>(ctx->sourceSize & 0xFFFF); }
inline int32_t source_height(const DALTJ_DecoderInfo *ctx) { return static_cast<int32_t>(ctx->sourceSize >> 16); }

}  // namespace kovra::color
