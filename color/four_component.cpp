// The CMYK and YCCK drivers (four_component.h for the arithmetic, counted_resampler.h for the
// row handling). Component 3 is K. Every converted pixel enters the accumulators in the doubled
// form R << 21 | G << 11 | B << 1, for single and double additions alike, so these sums can carry
// across fields; they are never written.

#include "color/counted_resampler.h"
#include "color/four_component.h"

using namespace kovra::color;

namespace {

uint32_t doubled(Rgb v) { return pack_samples(v.r, v.g, v.b) << 1; }

template <class Convert>
int32_t resample_four_components(DALTJ_DecoderInfo *ctx, int32_t row_count, Convert convert) {
    return resample_counted_rows(
        ctx, row_count,
        [ctx, convert](uint8_t **const *rows, int32_t k) {
            const uint8_t *c0 = source_row(ctx, rows, 0, k), *c1 = source_row(ctx, rows, 1, k);
            const uint8_t *c2 = source_row(ctx, rows, 2, k), *black = source_row(ctx, rows, 3, k);
            return [=](int32_t j) { return doubled(convert(c0[j], c1[j], c2[j], black[j])); };
        },
        1);
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALTJ_DoCMYKToRgb(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    return resample_four_components(ctx, rowCount, cmyk_to_rgb);
}

KOVRA_API int32_t DALTJ_DoYCCKToRgb(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    const uint8_t *range_limit = ctx->rangeLimit;
    return resample_four_components(ctx, rowCount, [range_limit](uint32_t y, uint32_t cb, uint32_t cr, uint32_t k) {
        return ycck_to_rgb(y, cb, cr, k, range_limit);
    });
}

}  // extern "C"
