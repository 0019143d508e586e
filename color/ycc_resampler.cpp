// YCbCr resampled to format 15 (tracking_resampler.h): the three components travel in one packed
// word, and an emitted accumulator row is split back into three planes, each field's sum of four
// samples shifted right by 2.

#include "color/output_rows.h"
#include "color/tracking_resampler.h"

using namespace kovra::color;

extern "C" {

KOVRA_API void DALTJ_YcbcrWriteOutput(DALTJ_DecoderInfo *ctx, const uint32_t *accumRow, int32_t width) {
    if (ctx->outputFormat == kPlanar) {
        for (int32_t c = 0; c < width; ++c) {
            const uint32_t v = accumRow[c];
            ctx->outY[c] = static_cast<uint8_t>(v >> 22);
            ctx->outCb[c] = static_cast<uint8_t>(v >> 12);
            ctx->outCr[c] = static_cast<uint8_t>(v >> 2);
        }
        ctx->outY += ctx->outputStride;
        ctx->outCb += ctx->outputStride;
        ctx->outCr += ctx->outputStride;
    }
    count_row(ctx);
}

KOVRA_API void DALTJ_DoYcbcrToUpscaleRgb(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    uint8_t **const *rows = ctx->sampleRows->componentRows;
    resample_rows(
        ctx, rowCount,
        [rows](int32_t k) {
            const uint8_t *y = rows[0][k], *cb = rows[1][k], *cr = rows[2][k];
            return [y, cb, cr](int32_t j) { return pack_samples(y[j], cb[j], cr[j]); };
        },
        DALTJ_YcbcrWriteOutput);
}

}  // extern "C"
