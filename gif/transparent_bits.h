// Which of sixteen palette indexes are the transparent one, as a 16-bit mask (bit i for byte i),
// with SSE2 or NEON where the target has them: the frame composer skips whole groups of
// transparent pixels and blends only groups that mix both kinds.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace kovra::gif {

// Bytes index[0..15] against `transparent` (0..255).
inline uint32_t transparent_bits16(const uint8_t *index, uint8_t transparent) {
#if defined(__SSE2__)
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(index));
    const __m128i equal = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(static_cast<char>(transparent)));
    return static_cast<uint32_t>(_mm_movemask_epi8(equal));
#elif defined(__ARM_NEON)
    static const uint8_t kWeights[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const uint8x16_t equal = vceqq_u8(vld1q_u8(index), vdupq_n_u8(transparent));
    const uint8x16_t weighted = vandq_u8(equal, vld1q_u8(kWeights));
    uint8x8_t sums = vpadd_u8(vget_low_u8(weighted), vget_high_u8(weighted));
    sums = vpadd_u8(sums, sums);
    sums = vpadd_u8(sums, sums);
    return static_cast<uint32_t>(vget_lane_u8(sums, 0)) | static_cast<uint32_t>(vget_lane_u8(sums, 1)) << 8;
#else
    uint32_t bits = 0;
    for (int i = 0; i < 16; ++i) bits |= static_cast<uint32_t>(index[i] == transparent) << i;
    return bits;
#endif
}

}  // namespace kovra::gif
