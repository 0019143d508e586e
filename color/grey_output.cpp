// Greyscale sources to format 4, one byte per pixel: rows written one to one (cropped to the
// region), emitted accumulator rows, and the two drivers.
//
// One to one, the row starts at the masked region column when a region is decoded (masked with
// the record's region_scale in region mode, with the context's scaleCode otherwise), then one
// column later when region_left is odd; outY then moves by the record's region_width, which is
// the grey plane's stride on this road (resampled rows move by outputStride). A grey sample g
// enters the packed accumulator word in all three fields, so emission reads the top one.

#include "color/output_rows.h"
#include "color/per_call_resampler.h"
#include "color/region_columns.h"
#include "color/tracking_resampler.h"

using namespace kovra::color;

namespace {

auto grey_samples(const uint8_t *row) {
    return [row](int32_t j) { return row[j] * kGreyInAllFields; };
}

}  // namespace

extern "C" {

KOVRA_API void DALTJ_GrayWriteOutput1to1(DALTJ_DecoderInfo *ctx, const uint8_t *row, int32_t width) {
    const KOVRADALT_DecInfo *region = ctx->checkContext;
    if (ctx->regionMode != 0 || region->region_enabled != 0) {
        row += masked_region_left(ctx->regionMode != 0 ? region->region_scale : ctx->scaleCode, region->region_left);
    }
    if (ctx->outputFormat == kGrey) {
        copy_samples(ctx->outY, row + odd_column(region->region_left), width);
        ctx->outY += region->region_width;
    }
    count_row(ctx);
}

KOVRA_API void DALTJ_GrayWriteOutput(DALTJ_DecoderInfo *ctx, const uint32_t *accumRow, int32_t width) {
    if (ctx->outputFormat == kGrey) {
        for (int32_t c = 0; c < width; ++c) ctx->outY[c] = static_cast<uint8_t>(accumRow[c] >> 22);
        ctx->outY += ctx->outputStride;
    }
    count_row(ctx);
}

KOVRA_API void DALTJ_DoGrayUpscaleConvert(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    uint8_t **const rows = ctx->sampleRows->componentRows[0];
    resample_rows(ctx, rowCount, [rows](int32_t k) { return grey_samples(rows[k]); }, DALTJ_GrayWriteOutput);
}

// The row table of component 0 moves on to the current row at every call. While the context's
// regionGate is set and the record's region is not ready, rows wait for a later call.
KOVRA_API int32_t DALTJ_DoGrayConvert(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    const int32_t sw = source_width(ctx), sh = source_height(ctx);
    uint8_t **&rows = ctx->sampleRows->componentRows[0];
    rows += ctx->sampleRows->sampleRowIndex;
    const int32_t phase = row_phase(ctx->inputRow, static_cast<int32_t>(ctx->imageHeightRows), sh);
    if (ctx->regionGate != 0 && ctx->checkContext->region_ready == 0) {
        ctx->rowGroupPending = 0;
        return 0;
    }
    const RowPlacement placed = place_row(phase, sh, ctx->imageHeightRows);
    for (int32_t n = 0; n < rowCount; ++n) {
        const uint8_t *row = rows[n] + ctx->sourceColumnOffset;
        if (ctx->writeEnabled != 0) {
            DALTJ_GrayWriteOutput1to1(ctx, row, sw);
        } else {
            resample_placed_row(ctx, placed, sw, ctx->targetWidth, grey_samples(row), 2, DALTJ_GrayWriteOutput);
        }
        ctx->inputRow = wrapped_sum(ctx->inputRow, 1);
    }
    ctx->rowGroupPending = 0;
    return 0;
}

}  // extern "C"
