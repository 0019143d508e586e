// The vector operations of the inverse DCTs (idct_simd.cpp) in NEON, as the ARMv7 target has it
// (-mfpu=neon): eight signed 16-bit lanes per register. Included only through idct_simd_lanes.h.
#pragma once

#if defined(__ARM_NEON) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__

#include <arm_neon.h>

#define KOVRA_IDCT_SIMD 1

#include <cstdint>
#include <cstring>

namespace kovra::jpeg::lanes {

using V = int16x8_t;
using Bytes = uint8x16_t;

inline V load(const int16_t *p) { return vld1q_s16(p); }
inline V splat(int16_t value) { return vdupq_n_s16(value); }
inline V add(V a, V b) { return vaddq_s16(a, b); }
inline V sub(V a, V b) { return vsubq_s16(a, b); }
inline V either(V a, V b) { return vorrq_s16(a, b); }
template <int N>
inline V shift_right(V a) { return vshrq_n_s16(a, N); }

// a * k wrapped to 16 bits, and (a * k) >> 16, exact for an even k: the doubling high half of
// a * (k / 2), which cannot saturate.
inline V mul_low(V a, int16_t k) { return vmulq_n_s16(a, k); }
inline V mul_high(V a, int16_t k) { return vqdmulhq_n_s16(a, static_cast<int16_t>(k / 2)); }

// (a + b) >> 1 without overflow.
inline V half_sum(V a, V b) { return vhaddq_s16(a, b); }

inline V both(V a, V b) { return vandq_s16(a, b); }

inline bool is_zero(V a) {
    const int64x2_t halves = vreinterpretq_s64_s16(a);
    return (vgetq_lane_s64(halves, 0) | vgetq_lane_s64(halves, 1)) == 0;
}
// Whether lanes 4..7 are zero.
inline bool high_half_zero(V a) { return vgetq_lane_s64(vreinterpretq_s64_s16(a), 1) == 0; }

// (|a| * w) >> 16 lane by lane, unsigned, |-32768| counting as 32767.
inline V weighted_magnitude(V a, V w) {
    const uint16x8_t magnitude = vreinterpretq_u16_s16(vqabsq_s16(a));
    const uint16x8_t weight = vreinterpretq_u16_s16(w);
    const uint32x4_t low = vmull_u16(vget_low_u16(magnitude), vget_low_u16(weight));
    const uint32x4_t high = vmull_u16(vget_high_u16(magnitude), vget_high_u16(weight));
    return vreinterpretq_s16_u16(vcombine_u16(vshrn_n_u32(low, 16), vshrn_n_u32(high, 16)));
}
inline V add_saturated(V a, V b) { return vqaddq_s16(a, b); }

// The sum of the lanes, each taken as at most 255 (a negative lane as 0).
inline uint32_t sum_of_bytes(V a) {
    const uint64x1_t sum = vpaddl_u32(vpaddl_u16(vpaddl_u8(vqmovun_s16(a))));
    return static_cast<uint32_t>(vget_lane_u64(sum, 0));
}

// Lanes 0..3 of a, then lanes 0..3 of b; lanes 0..3 of a, or lanes 4..7 of a, then zeros.
inline V low_halves(V a, V b) { return vcombine_s16(vget_low_s16(a), vget_low_s16(b)); }
inline V low_half(V a) { return vcombine_s16(vget_low_s16(a), vdup_n_s16(0)); }
inline V high_half(V a) { return vcombine_s16(vget_high_s16(a), vdup_n_s16(0)); }

// The 32-bit multiply takes every table alike.
inline constexpr bool kShortDequantisation = false;

// Registers 0..kCount-1 of coefficients dequantised, register k taking its lanes 0..3 from the
// 64 multipliers at q + low[k] and its lanes 4..7 from q + high[k]: lane i (c_i * q_i, wrapped to
// 32 bits) >> 10, saturated to 16 bits.
template <int kCount, bool kShort, class Row>
[[gnu::always_inline]] inline void dequantised(const V *c, const int32_t *q, const int (&low)[8], const int (&high)[8],
                                               Row (&p)[8]) {
    for (int k = 0; k < kCount; ++k) {
        const int32x4_t low_products = vmulq_s32(vmovl_s16(vget_low_s16(c[k])), vld1q_s32(q + low[k]));
        const int32x4_t high_products = vmulq_s32(vmovl_s16(vget_high_s16(c[k])), vld1q_s32(q + high[k]));
        p[k] = vcombine_s16(vqshrn_n_s32(low_products, 10), vqshrn_n_s32(high_products, 10));
    }
}

// Registers r[0..7] as the rows of an 8 x 8 matrix, transposed in place.
inline void transpose(V (&r)[8]) {
    // Pairs of rows, then pairs of pairs, interleaved: t32[2 * i + j].val[v] holds, of rows
    // 4i..4i+3, column 2v + j in its low half and column 2v + j + 4 in its high half.
    int16x8x2_t t16[4];
    for (int i = 0; i < 4; ++i) t16[i] = vtrnq_s16(r[2 * i], r[2 * i + 1]);
    int32x4x2_t t32[4];
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) {
            t32[2 * i + j] = vtrnq_s32(vreinterpretq_s32_s16(t16[2 * i].val[j]),
                                       vreinterpretq_s32_s16(t16[2 * i + 1].val[j]));
        }
    }
    for (int v = 0; v < 2; ++v) {
        for (int j = 0; j < 2; ++j) {
            const int16x8_t top = vreinterpretq_s16_s32(t32[j].val[v]);
            const int16x8_t bottom = vreinterpretq_s16_s32(t32[2 + j].val[v]);
            r[2 * v + j] = vcombine_s16(vget_low_s16(top), vget_low_s16(bottom));
            r[4 + 2 * v + j] = vcombine_s16(vget_high_s16(top), vget_high_s16(bottom));
        }
    }
}

// Lanes of a, then lanes of b, each clamped to 0..255.
inline Bytes narrow_unsigned(V a, V b) { return vcombine_u8(vqmovun_s16(a), vqmovun_s16(b)); }

// (a + b) >> 1 byte by byte.
inline Bytes half_sum_bytes(Bytes a, Bytes b) { return vhaddq_u8(a, b); }

// Four columns of bytes (lane j: row j), columns 0 and 2 in the halves of columns02, 1 and 3 in
// those of columns13, as rows 0..3 of four bytes each.
inline Bytes rows_of_four(Bytes columns02, Bytes columns13) {
    const uint8x16x2_t pairs = vzipq_u8(columns02, columns13);
    return vreinterpretq_u8_u16(vzipq_u16(vreinterpretq_u16_u8(pairs.val[0]), vreinterpretq_u16_u8(pairs.val[1])).val[0]);
}

// Eight registers of an 8 x 8 block, one column each (lane r: row r), as rows of bytes clamped to
// 0..255: rows 2j and 2j + 1 in the low and high halves of row_pairs[j].
inline void narrow_transposed(const V (&columns)[8], Bytes (&row_pairs)[4]) {
    uint8x8_t c[8];
    for (int k = 0; k < 8; ++k) c[k] = vqmovun_s16(columns[k]);
    // Byte pairs, then pairs of pairs, then halves, swapped across the diagonal.
    const uint8x8x2_t b01 = vtrn_u8(c[0], c[1]), b23 = vtrn_u8(c[2], c[3]);
    const uint8x8x2_t b45 = vtrn_u8(c[4], c[5]), b67 = vtrn_u8(c[6], c[7]);
    const uint16x4x2_t h02 = vtrn_u16(vreinterpret_u16_u8(b01.val[0]), vreinterpret_u16_u8(b23.val[0]));
    const uint16x4x2_t h13 = vtrn_u16(vreinterpret_u16_u8(b01.val[1]), vreinterpret_u16_u8(b23.val[1]));
    const uint16x4x2_t h46 = vtrn_u16(vreinterpret_u16_u8(b45.val[0]), vreinterpret_u16_u8(b67.val[0]));
    const uint16x4x2_t h57 = vtrn_u16(vreinterpret_u16_u8(b45.val[1]), vreinterpret_u16_u8(b67.val[1]));
    const uint32x2x2_t w04 = vtrn_u32(vreinterpret_u32_u16(h02.val[0]), vreinterpret_u32_u16(h46.val[0]));
    const uint32x2x2_t w15 = vtrn_u32(vreinterpret_u32_u16(h13.val[0]), vreinterpret_u32_u16(h57.val[0]));
    const uint32x2x2_t w26 = vtrn_u32(vreinterpret_u32_u16(h02.val[1]), vreinterpret_u32_u16(h46.val[1]));
    const uint32x2x2_t w37 = vtrn_u32(vreinterpret_u32_u16(h13.val[1]), vreinterpret_u32_u16(h57.val[1]));
    row_pairs[0] = vcombine_u8(vreinterpret_u8_u32(w04.val[0]), vreinterpret_u8_u32(w15.val[0]));
    row_pairs[1] = vcombine_u8(vreinterpret_u8_u32(w26.val[0]), vreinterpret_u8_u32(w37.val[0]));
    row_pairs[2] = vcombine_u8(vreinterpret_u8_u32(w04.val[1]), vreinterpret_u8_u32(w15.val[1]));
    row_pairs[3] = vcombine_u8(vreinterpret_u8_u32(w26.val[1]), vreinterpret_u8_u32(w37.val[1]));
}

// Bytes 8 * half .. 8 * half + 7 of b to dst.
inline void store8(uint8_t *dst, Bytes b, int half) { vst1_u8(dst, half == 0 ? vget_low_u8(b) : vget_high_u8(b)); }

// Bytes 4 * quarter .. 4 * quarter + 3 of b to dst.
inline void store4(uint8_t *dst, Bytes b, int quarter) {
    uint8_t all[16];
    vst1q_u8(all, b);
    std::memcpy(dst, all + 4 * quarter, 4);
}

}  // namespace kovra::jpeg::lanes

#endif
