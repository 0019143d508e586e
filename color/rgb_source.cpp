// RGB sources: R, G and B travel in the packed word as components 0, 1 and 2, resampled and
// counted like YCbCr rows; this library writes no RGB pixels.

#include "color/counted_resampler.h"
#include "color/tracking_resampler.h"

using namespace kovra::color;

namespace {

auto rgb_samples(const uint8_t *r, const uint8_t *g, const uint8_t *b) {
    return [r, g, b](int32_t j) { return pack_samples(r[j], g[j], b[j]); };
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALTJ_DoRgbConvert(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    return resample_counted_rows(
        ctx, rowCount,
        [ctx](uint8_t **const *rows, int32_t k) {
            return rgb_samples(source_row(ctx, rows, 0, k), source_row(ctx, rows, 1, k), source_row(ctx, rows, 2, k));
        },
        2);
}

KOVRA_API int32_t DALTJ_DoRgbUpscaleConvert(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    uint8_t **const *rows = ctx->sampleRows->componentRows;
    resample_rows(
        ctx, rowCount, [rows](int32_t k) { return rgb_samples(rows[0][k], rows[1][k], rows[2][k]); }, count_only);
    return 0;
}

}  // extern "C"
