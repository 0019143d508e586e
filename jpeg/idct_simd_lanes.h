// The vector unit of the inverse DCTs, chosen at compile time: SSE2 on x86-64 (part of its
// baseline), NEON where the compiler targets it (the ARMv7 build's -mfpu=neon). Each defines
// KOVRA_IDCT_SIMD and the same small set of operations on eight 16-bit lanes (lanes::V); on any
// other target KOVRA_IDCT_SIMD is 0 and there is no vector version.
//
// Lanes makes a register a value of the AAN line transform (idct_aan.h), so that the transform's
// one transcription runs eight lines at once: sums wrap at 16 bits, and scaled() is exact for
// every 16-bit input.
#pragma once

#include <cstdint>

#include "jpeg/idct_simd_neon.h"
#include "jpeg/idct_simd_sse2.h"

#ifndef KOVRA_IDCT_SIMD
#define KOVRA_IDCT_SIMD 0
#endif

#if KOVRA_IDCT_SIMD

namespace kovra::jpeg::lanes {

struct Lanes {
    V v;

    Lanes() = default;
    Lanes(V value) : v(value) {}  // NOLINT: registers and their values convert freely
    explicit Lanes(int32_t value) : v(splat(static_cast<int16_t>(value))) {}

    friend Lanes operator+(Lanes a, Lanes b) { return add(a.v, b.v); }
    friend Lanes operator-(Lanes a, Lanes b) { return sub(a.v, b.v); }
};

// x * k, with the multiplies the transform's constants need spelt as additions.
[[gnu::always_inline]] inline V times(V x, int32_t k) {
    switch (k) {
    case 1: return x;
    case 2: return add(x, x);
    case -3: return sub(sub(splat(0), add(x, x)), x);
    default: return mul_low(x, static_cast<int16_t>(k));
    }
}

// (x * constant) >> 8 wrapped to 16 bits, exact for every 16-bit x: with constant = 256 k + j
// and j in -128..127, it is k x + ((x * 256 j) >> 16), and 256 j fits in 16 bits. (362 = 256 + 106, 473 = 512 - 39, 277 = 256 + 21, -669 = -768 + 99.)
[[gnu::always_inline]] inline Lanes scaled(Lanes x, int32_t constant) {
    const int32_t j = ((constant + 128) & 255) - 128;
    const int32_t k = (constant - j) / 256;
    return add(times(x.v, k), mul_high(x.v, static_cast<int16_t>(j * 256)));
}

}  // namespace kovra::jpeg::lanes

#endif
