// The one-to-one YCbCr road: each decoded row becomes one output row at its own size.
//
// Format 15 copies the three rows as they are. Format 14 copies luma every row and chroma on even
// rows only, cropped to the region: chroma starts at the masked region column, luma one sample
// later when the region's left column is odd, and an odd width takes one more chroma sample so
// that chroma pairs stay whole. Format 5 converts to 32-bit pixels, all three components from the
// masked column plus the odd one. Format 5 masks with the context's scaleCode and format 14 with
// the record's region_scale; the two can differ and are kept apart.

#include "color/output_rows.h"
#include "color/region_columns.h"
#include "color/row_phase.h"
#include "color/ycc_rgb.h"

namespace kovra::color {
namespace {

void write_planes(DALTJ_DecoderInfo *ctx, const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t width) {
    copy_samples(ctx->outY, y, width);
    copy_samples(ctx->outCb, cb, width);
    copy_samples(ctx->outCr, cr, width);
    ctx->outCb += ctx->outputStride;
    ctx->outCr += ctx->outputStride;
    ctx->outY += ctx->outputStride;
}

void write_half_chroma_planes(DALTJ_DecoderInfo *ctx, const uint8_t *y, const uint8_t *cb, const uint8_t *cr,
                              int32_t width) {
    const KOVRADALT_DecInfo *region = ctx->checkContext;
    const int32_t offset = masked_region_left(region->region_scale, region->region_left);
    copy_samples(ctx->outY, y + offset + odd_column(region->region_left), width);
    if (ctx->outputRowsWritten % 2 == 0) {
        const int32_t chroma = width + (width & 1);
        copy_samples(ctx->outCb, cb + offset, chroma);
        copy_samples(ctx->outCr, cr + offset, chroma);
        ctx->outCb += ctx->outputStride;
        ctx->outCr += ctx->outputStride;
    }
    ctx->outY += ctx->outputStride;
}

void write_pixels(DALTJ_DecoderInfo *ctx, const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t width) {
    const int32_t left = ctx->checkContext->region_left;
    const int32_t first = masked_region_left(ctx->scaleCode, left) + odd_column(left);
    ycc_row_to_pixels(y + first, cb + first, cr + first, width, ctx->rangeLimit, ctx->outY);
    ctx->outY += ctx->outputPitch;
}

}  // namespace
}  // namespace kovra::color

using namespace kovra::color;

extern "C" {

KOVRA_API void DALTJ_YcbcrWriteOutput1to1(DALTJ_DecoderInfo *ctx, const uint8_t *yRow, const uint8_t *cbRow,
                                          const uint8_t *crRow, int32_t width) {
    switch (ctx->outputFormat) {
    case kPlanar: write_planes(ctx, yRow, cbRow, crRow, width); break;
    case kPlanarHalfChroma: write_half_chroma_planes(ctx, yRow, cbRow, crRow, width); break;
    case kPixels32: write_pixels(ctx, yRow, cbRow, crRow, width); break;
    default: break;
    }
    count_row(ctx);
}

// With writing disabled, a call's rows are counted when the source row at entry lands in the
// output grid; the test is made once for the whole call.
KOVRA_API int32_t DALTJ_DoFastYcbcrToRgb(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    if (rowCount < 1) {
        ctx->rowGroupPending = 0;
        return 0;
    }
    const int32_t height = source_height(ctx);
    int32_t phase = (height >> 1) - row_phase(ctx->inputRow, ctx->scaledHeight, height);
    if (phase < 0) phase += height;
    const bool selected = phase >= 0 && phase < ctx->scaledHeight;
    uint8_t **const *rows = ctx->sampleRows->componentRows;
    int32_t k = ctx->sampleRows->sampleRowIndex;
    for (int32_t n = 0; n < rowCount; ++n) {
        if (ctx->writeEnabled != 0) {
            DALTJ_YcbcrWriteOutput1to1(ctx, rows[0][k], rows[1][k], rows[2][k], source_width(ctx));
            ++k;
        } else if (selected) {
            count_row(ctx);
        }
        ctx->inputRow = wrapped_sum(ctx->inputRow, 1);
    }
    ctx->rowGroupPending = 0;
    return 0;
}

}  // extern "C"
