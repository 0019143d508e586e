// The vector operations of the inverse DCTs (idct_simd.cpp) in SSE2, the x86-64 baseline: eight
// signed 16-bit lanes per register. Included only through idct_simd_lanes.h.
#pragma once

#if defined(__SSE2__)

#include <emmintrin.h>

#define KOVRA_IDCT_SIMD 1

#include <cstdint>
#include <cstring>

namespace kovra::jpeg::lanes {

using V = __m128i;      // eight int16 lanes
using Bytes = __m128i;  // sixteen uint8 lanes

inline V load(const int16_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
inline V splat(int16_t value) { return _mm_set1_epi16(value); }
inline V add(V a, V b) { return _mm_add_epi16(a, b); }
inline V sub(V a, V b) { return _mm_sub_epi16(a, b); }
inline V either(V a, V b) { return _mm_or_si128(a, b); }
template <int N>
inline V shift_right(V a) { return _mm_srai_epi16(a, N); }

// a * k wrapped to 16 bits, and (a * k) >> 16, exact; k even.
inline V mul_low(V a, int16_t k) { return _mm_mullo_epi16(a, _mm_set1_epi16(k)); }
inline V mul_high(V a, int16_t k) { return _mm_mulhi_epi16(a, _mm_set1_epi16(k)); }
inline V clamped(V a, int16_t low, int16_t high) {
    return _mm_min_epi16(_mm_max_epi16(a, _mm_set1_epi16(low)), _mm_set1_epi16(high));
}

// (a + b) >> 1 without overflow.
inline V half_sum(V a, V b) { return _mm_add_epi16(_mm_and_si128(a, b), _mm_srai_epi16(_mm_xor_si128(a, b), 1)); }

inline V both(V a, V b) { return _mm_and_si128(a, b); }

inline bool is_zero(V a) { return _mm_movemask_epi8(_mm_cmpeq_epi16(a, _mm_setzero_si128())) == 0xFFFF; }
// Whether lanes 4..7 are zero.
inline bool high_half_zero(V a) { return (_mm_movemask_epi8(_mm_cmpeq_epi16(a, _mm_setzero_si128())) & 0xFF00) == 0xFF00; }

// (|a| * w) >> 16 lane by lane, unsigned, |-32768| counting as 32768.
inline V weighted_magnitude(V a, V w) {
    const V magnitude = _mm_max_epi16(a, _mm_sub_epi16(_mm_setzero_si128(), a));
    return _mm_mulhi_epu16(magnitude, w);
}
inline V add_unsigned_saturated(V a, V b) { return _mm_adds_epu16(a, b); }

// The sum of the lanes, unsigned.
inline uint32_t sum_unsigned(V a) {
    const __m128i zero = _mm_setzero_si128();
    __m128i sum = _mm_add_epi32(_mm_unpacklo_epi16(a, zero), _mm_unpackhi_epi16(a, zero));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4E));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(sum));
}

// The low 32 bits of each lane's product.
inline __m128i mul_low32(__m128i a, __m128i b) {
    const __m128i even = _mm_mul_epu32(a, b);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, 0x08), _mm_shuffle_epi32(odd, 0x08));
}

// Lane i: (c_i * q[i], wrapped to 32 bits) >> 10, saturated to 16 bits.
inline V dequantised(V c, const int32_t *q) {
    const __m128i c_low = _mm_srai_epi32(_mm_unpacklo_epi16(c, c), 16);
    const __m128i c_high = _mm_srai_epi32(_mm_unpackhi_epi16(c, c), 16);
    const __m128i q_low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q));
    const __m128i q_high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q + 4));
    return _mm_packs_epi32(_mm_srai_epi32(mul_low32(c_low, q_low), 10), _mm_srai_epi32(mul_low32(c_high, q_high), 10));
}

// Registers r[0..7] as the rows of an 8 x 8 matrix, transposed in place.
inline void transpose(V (&r)[8]) {
    const __m128i a0 = _mm_unpacklo_epi16(r[0], r[1]), a1 = _mm_unpackhi_epi16(r[0], r[1]);
    const __m128i a2 = _mm_unpacklo_epi16(r[2], r[3]), a3 = _mm_unpackhi_epi16(r[2], r[3]);
    const __m128i a4 = _mm_unpacklo_epi16(r[4], r[5]), a5 = _mm_unpackhi_epi16(r[4], r[5]);
    const __m128i a6 = _mm_unpacklo_epi16(r[6], r[7]), a7 = _mm_unpackhi_epi16(r[6], r[7]);
    const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
    const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
    const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
    const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
    r[0] = _mm_unpacklo_epi64(b0, b4), r[1] = _mm_unpackhi_epi64(b0, b4);
    r[2] = _mm_unpacklo_epi64(b1, b5), r[3] = _mm_unpackhi_epi64(b1, b5);
    r[4] = _mm_unpacklo_epi64(b2, b6), r[5] = _mm_unpackhi_epi64(b2, b6);
    r[6] = _mm_unpacklo_epi64(b3, b7), r[7] = _mm_unpackhi_epi64(b3, b7);
}

// Lanes of a, then lanes of b, each clamped to 0..255.
inline Bytes narrow_unsigned(V a, V b) { return _mm_packus_epi16(a, b); }

// Bytes 8 * half .. 8 * half + 7 of b to dst.
inline void store8(uint8_t *dst, Bytes b, int half) {
    _mm_storel_epi64(reinterpret_cast<__m128i *>(dst), half == 0 ? b : _mm_unpackhi_epi64(b, b));
}

// Bytes 4 * quarter .. 4 * quarter + 3 of b to dst.
inline void store4(uint8_t *dst, Bytes b, int quarter) {
    uint8_t all[16];
    _mm_storeu_si128(reinterpret_cast<__m128i *>(all), b);
    std::memcpy(dst, all + 4 * quarter, 4);
}

}  // namespace kovra::jpeg::lanes

#endif
