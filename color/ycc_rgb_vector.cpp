// Rows of YCbCr samples to 32-bit pixels on the vector unit, 16 pixels a pass, byte for byte the
// pixels of the scalar row (ycc_rgb.h); the scalar row finishes what is left.
//
// The deltas are worked out exactly in 16-bit lanes. Each 16.16 constant above 1 in magnitude is
// split into a whole part and a fraction below 1/2, so that the whole part's product is a multiple
// of 65536 and the shift leaves it whole:
//   (crd * 91881) >> 16              = crd + (crd * 26345) >> 16
//   (cbd * 116130) >> 16             = 2 * cbd + (cbd * -14942) >> 16
//   (crd * -46802 + cbd * -22554) >> 16 = -crd + (crd * 18734 + cbd * -22554) >> 16
// The first two are the high halves of 16 x 16-bit products; the third is a sum of two such
// products in 32 bits, shifted and narrowed. y plus a delta lies in -227..480, where the range-limit
// table is a plain clamp to 0..255: a saturating narrowing to bytes gives the same value.

#include "color/ycc_rgb.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace kovra::color {
namespace {

inline constexpr int16_t kRedFraction = 26345;     // 91881 - 65536
inline constexpr int16_t kBlueFraction = -14942;   // 116130 - 2 * 65536
inline constexpr int16_t kGreenCrFraction = 18734; // -46802 + 65536
inline constexpr int16_t kGreenCb = -22554;

#if defined(__SSE2__)

struct Pixels8 {  // eight pixels' channels in 16-bit lanes
    __m128i r, g, b;
};

Pixels8 convert8(__m128i y, __m128i cbd, __m128i crd) {
    const __m128i red = _mm_add_epi16(crd, _mm_mulhi_epi16(crd, _mm_set1_epi16(kRedFraction)));
    const __m128i blue = _mm_add_epi16(_mm_add_epi16(cbd, cbd), _mm_mulhi_epi16(cbd, _mm_set1_epi16(kBlueFraction)));
    const uint32_t weight_pair = uint16_t(kGreenCrFraction) | uint32_t(uint16_t(kGreenCb)) << 16;
    const __m128i green_weights = _mm_set1_epi32(int32_t(weight_pair));
    const __m128i lo = _mm_srai_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(crd, cbd), green_weights), 16);
    const __m128i hi = _mm_srai_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(crd, cbd), green_weights), 16);
    const __m128i green = _mm_sub_epi16(_mm_packs_epi32(lo, hi), crd);
    return {_mm_add_epi16(y, red), _mm_add_epi16(y, green), _mm_add_epi16(y, blue)};
}

void convert16(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, uint8_t *out) {
    const __m128i zero = _mm_setzero_si128(), bias = _mm_set1_epi16(128);
    const __m128i ys = _mm_loadu_si128(reinterpret_cast<const __m128i *>(y));
    const __m128i cbs = _mm_loadu_si128(reinterpret_cast<const __m128i *>(cb));
    const __m128i crs = _mm_loadu_si128(reinterpret_cast<const __m128i *>(cr));
    const Pixels8 first = convert8(_mm_unpacklo_epi8(ys, zero), _mm_sub_epi16(_mm_unpacklo_epi8(cbs, zero), bias),
                                   _mm_sub_epi16(_mm_unpacklo_epi8(crs, zero), bias));
    const Pixels8 second = convert8(_mm_unpackhi_epi8(ys, zero), _mm_sub_epi16(_mm_unpackhi_epi8(cbs, zero), bias),
                                    _mm_sub_epi16(_mm_unpackhi_epi8(crs, zero), bias));
    const __m128i r = _mm_packus_epi16(first.r, second.r), g = _mm_packus_epi16(first.g, second.g);
    const __m128i b = _mm_packus_epi16(first.b, second.b), a = _mm_set1_epi8(-1);
    const __m128i ar_lo = _mm_unpacklo_epi8(a, r), ar_hi = _mm_unpackhi_epi8(a, r);
    const __m128i gb_lo = _mm_unpacklo_epi8(g, b), gb_hi = _mm_unpackhi_epi8(g, b);
    __m128i *dst = reinterpret_cast<__m128i *>(out);
    _mm_storeu_si128(dst, _mm_unpacklo_epi16(ar_lo, gb_lo));
    _mm_storeu_si128(dst + 1, _mm_unpackhi_epi16(ar_lo, gb_lo));
    _mm_storeu_si128(dst + 2, _mm_unpacklo_epi16(ar_hi, gb_hi));
    _mm_storeu_si128(dst + 3, _mm_unpackhi_epi16(ar_hi, gb_hi));
}

#elif defined(__ARM_NEON)

uint8x8_t channel(int16x8_t y, int16x8_t delta) { return vqmovun_s16(vaddq_s16(y, delta)); }

int16x8_t high_product(int16x8_t v, int16_t fraction) {
    return vcombine_s16(vshrn_n_s32(vmull_n_s16(vget_low_s16(v), fraction), 16),
                        vshrn_n_s32(vmull_n_s16(vget_high_s16(v), fraction), 16));
}

int16x4_t green_half(int16x4_t crd, int16x4_t cbd) {
    return vshrn_n_s32(vmlal_n_s16(vmull_n_s16(crd, kGreenCrFraction), cbd, kGreenCb), 16);
}

void convert8(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, uint8_t *out) {
    const int16x8_t ys = vreinterpretq_s16_u16(vmovl_u8(vld1_u8(y)));
    const int16x8_t cbd = vsubq_s16(vreinterpretq_s16_u16(vmovl_u8(vld1_u8(cb))), vdupq_n_s16(128));
    const int16x8_t crd = vsubq_s16(vreinterpretq_s16_u16(vmovl_u8(vld1_u8(cr))), vdupq_n_s16(128));
    const int16x8_t red = vaddq_s16(crd, high_product(crd, kRedFraction));
    const int16x8_t blue = vaddq_s16(vaddq_s16(cbd, cbd), high_product(cbd, kBlueFraction));
    const int16x8_t green = vsubq_s16(vcombine_s16(green_half(vget_low_s16(crd), vget_low_s16(cbd)),
                                                   green_half(vget_high_s16(crd), vget_high_s16(cbd))),
                                      crd);
    uint8x8x4_t pixels;
    pixels.val[0] = vdup_n_u8(255);
    pixels.val[1] = channel(ys, red);
    pixels.val[2] = channel(ys, green);
    pixels.val[3] = channel(ys, blue);
    vst4_u8(out, pixels);
}

void convert16(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, uint8_t *out) {
    convert8(y, cb, cr, out);
    convert8(y + 8, cb + 8, cr + 8, out + 32);
}

#endif

}  // namespace

#if defined(__SSE2__) || defined(__ARM_NEON)
void ycc_row_to_pixels(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                       const uint8_t *range_limit, uint8_t *out) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) convert16(y + i, cb + i, cr + i, out + 4 * i);
    ycc_row_to_pixels_scalar(y + i, cb + i, cr + i, count - i, range_limit, out + 4 * i);
}
#else
void ycc_row_to_pixels(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                       const uint8_t *range_limit, uint8_t *out) {
    ycc_row_to_pixels_scalar(y, cb, cr, count, range_limit, out);
}
#endif

}  // namespace kovra::color
