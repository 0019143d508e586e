// The vector operations of the inverse DCTs (idct_simd.cpp) in SSE2, the x86-64 baseline: eight
// signed 16-bit lanes per register. Included only through idct_simd_lanes.h.
#pragma once

#if defined(__SSE2__)

#include <emmintrin.h>
#include <xmmintrin.h>

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
inline V add_saturated(V a, V b) { return _mm_adds_epi16(a, b); }

// The sum of the lanes, each taken as at most 255 (a negative lane as 0).
inline uint32_t sum_of_bytes(V a) {
    const __m128i zero = _mm_setzero_si128();
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_sad_epu8(_mm_packus_epi16(a, zero), zero)));
}

// Four products c_i * q_i wrapped to 32 bits, for the signed c_0..c_3 of c and q_0..q_3 at q, in
// their own lanes. The unsigned 32 x 32 -> 64-bit multiply takes lanes 0 and 2; q + 1 gives q_1
// and q_3 there, unless q[4] is not to be read.
inline __m128i products4(__m128i c, const int32_t *q, bool q4_readable) {
    const __m128i q0123 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(q));
    const __m128i q1x3x = q4_readable ? _mm_loadu_si128(reinterpret_cast<const __m128i *>(q + 1)) : _mm_srli_epi64(q0123, 32);
    const __m128i even = _mm_mul_epu32(c, q0123);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(c, 32), q1x3x);
    const __m128i products0213 = _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(even), _mm_castsi128_ps(odd), 0x88));
    return _mm_shuffle_epi32(products0213, 0xD8);
}

// Lanes 0..3 of a, then lanes 0..3 of b; lanes 0..3 of a, or lanes 4..7 of a, then zeros.
inline V low_halves(V a, V b) { return _mm_unpacklo_epi64(a, b); }
inline V low_half(V a) { return _mm_move_epi64(a); }
inline V high_half(V a) { return _mm_unpackhi_epi64(a, _mm_setzero_si128()); }

// Lane i: (c_i * q_i, wrapped to 32 bits) >> 10, saturated to 16 bits, for q_0..q_3 at low and
// q_4..q_7 at high; high[4] may be read if past_high_readable.
inline V dequantised(V c, const int32_t *low, const int32_t *high, bool past_high_readable) {
    const __m128i c0123 = _mm_srai_epi32(_mm_unpacklo_epi16(c, c), 16);
    const __m128i c4567 = _mm_srai_epi32(_mm_unpackhi_epi16(c, c), 16);
    return _mm_packs_epi32(_mm_srai_epi32(products4(c0123, low, true), 10),
                           _mm_srai_epi32(products4(c4567, high, past_high_readable), 10));
}

// The same for multipliers m * 1024 with m in 0..32767, the tables decoders build: q << 6 holds m
// in its high half and zero in its low half, so the multiply-add of the pairs (c_i, c_i) and
// (0, m_i) is the exact product c_i * m_i. table_bits collects the multipliers' bits.
inline V dequantised_short(V c, const int32_t *low, const int32_t *high, __m128i &table_bits) {
    const __m128i q0123 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(low));
    const __m128i q4567 = _mm_loadu_si128(reinterpret_cast<const __m128i *>(high));
    table_bits = _mm_or_si128(table_bits, _mm_or_si128(q0123, q4567));
    return _mm_packs_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(c, c), _mm_slli_epi32(q0123, 6)),
                           _mm_madd_epi16(_mm_unpackhi_epi16(c, c), _mm_slli_epi32(q4567, 6)));
}

// Whether dequantised<..., true>() is worth a try: it serves most blocks.
inline constexpr bool kShortDequantisation = true;

// Registers 0..kCount-1 of coefficients dequantised, register k taking its lanes 0..3 from the
// 64 multipliers at q + low[k] and its lanes 4..7 from q + high[k]. kShort: as far as the
// multipliers are m * 1024 with m in 0..32767; where any is not, register 0 holds -32768 in a
// lane, which no block that fits in 16 bits holds.
template <int kCount, bool kShort, class Row>
[[gnu::always_inline]] inline void dequantised(const V *c, const int32_t *q, const int (&low)[8], const int (&high)[8],
                                               Row (&p)[8]) {
    if (kShort) {
        __m128i table_bits = _mm_setzero_si128();
        #pragma GCC unroll 8
        for (int k = 0; k < kCount; ++k) p[k] = dequantised_short(c[k], q + low[k], q + high[k], table_bits);
        const __m128i stray = _mm_and_si128(table_bits, _mm_set1_epi32(static_cast<int32_t>(0xFE0003FFu)));
        const __m128i short_lanes = _mm_cmpeq_epi32(stray, _mm_setzero_si128());
        p[0] = _mm_min_epi16(p[0].v, _mm_xor_si128(short_lanes, _mm_set1_epi16(-32768)));
        return;
    }
    #pragma GCC unroll 8
    for (int k = 0; k < kCount; ++k) p[k] = dequantised(c[k], q + low[k], q + high[k], high[k] + 4 < 64);
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

// (a + b) >> 1 byte by byte.
inline Bytes half_sum_bytes(Bytes a, Bytes b) {
    return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1)));
}

// Four columns of bytes (lane j: row j), columns 0 and 2 in the halves of columns02, 1 and 3 in
// those of columns13, as rows 0..3 of four bytes each.
inline Bytes rows_of_four(Bytes columns02, Bytes columns13) {
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(columns02, columns13), _mm_unpackhi_epi8(columns02, columns13));
}

// Eight registers of an 8 x 8 block, one column each (lane r: row r), as rows of bytes clamped to
// 0..255: rows 2j and 2j + 1 in the low and high halves of row_pairs[j].
inline void narrow_transposed(const V (&columns)[8], Bytes (&row_pairs)[4]) {
    const __m128i c01 = _mm_packus_epi16(columns[0], columns[1]), c23 = _mm_packus_epi16(columns[2], columns[3]);
    const __m128i c45 = _mm_packus_epi16(columns[4], columns[5]), c67 = _mm_packus_epi16(columns[6], columns[7]);
    // Column pairs (0, 2), (1, 3), (4, 6), (5, 7) row by row, then rows 0..3 and 4..7 of columns
    // 0..3 and 4..7, then whole rows.
    const __m128i a02 = _mm_unpacklo_epi8(c01, c23), a13 = _mm_unpackhi_epi8(c01, c23);
    const __m128i a46 = _mm_unpacklo_epi8(c45, c67), a57 = _mm_unpackhi_epi8(c45, c67);
    const __m128i top_left = _mm_unpacklo_epi8(a02, a13), bottom_left = _mm_unpackhi_epi8(a02, a13);
    const __m128i top_right = _mm_unpacklo_epi8(a46, a57), bottom_right = _mm_unpackhi_epi8(a46, a57);
    row_pairs[0] = _mm_unpacklo_epi32(top_left, top_right);
    row_pairs[1] = _mm_unpackhi_epi32(top_left, top_right);
    row_pairs[2] = _mm_unpacklo_epi32(bottom_left, bottom_right);
    row_pairs[3] = _mm_unpackhi_epi32(bottom_left, bottom_right);
}

// Bytes 8 * half .. 8 * half + 7 of b to dst.
inline void store8(uint8_t *dst, Bytes b, int half) {
    if (half == 0) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(dst), b);
    } else {
        _mm_storeh_pi(reinterpret_cast<__m64 *>(dst), _mm_castsi128_ps(b));
    }
}

// Bytes 4 * quarter .. 4 * quarter + 3 of b to dst.
inline void store4(uint8_t *dst, Bytes b, int quarter) {
    uint8_t all[16];
    _mm_storeu_si128(reinterpret_cast<__m128i *>(all), b);
    std::memcpy(dst, all + 4 * quarter, 4);
}

}  // namespace kovra::jpeg::lanes

#endif
