// Planar YUV writers for region decoding: decoded samples are copied, unconverted, into the three
// planes of format 15, cropped to the record's region. region_width is the planes' stride (the
// 4:2:0 chroma planes' rows are (region_width + 1) / 2 bytes) and outputPitch an extra advance of
// outY after every call, in every format. Luma starts at the masked region column plus its odd
// column; 4:4:4 chroma likewise; 4:2:0 chroma at half the masked column, without the odd one.
//
// A 4:2:0 call handles a pair of luma rows (A above B) that share one chroma row, and counts two
// rows whatever it writes. The region's first row may be the lower row of a pair and its last the
// upper row of one: with region_top odd, the first call writes row B alone and moves outY by one
// row, and the call that reaches the region's last row writes row A alone and no chroma; with
// region_top even, a call made when an odd number of rows has been written writes row A with its
// chroma but leaves the chroma planes where they are. Row B goes at outY + width, except at the
// last row of a region of odd height, where it goes at outY and row A, written after it, covers it.
// The 4:2:2 writers only move outY and count.

#include "color/output_rows.h"
#include "color/region_columns.h"

using namespace kovra::color;

namespace {

struct RegionCrop {
    int32_t luma, chroma;  // first luma and chroma sample read
};

RegionCrop region_crop(const KOVRADALT_DecInfo *region, bool half_chroma) {
    const int32_t masked = masked_region_left(region->region_scale, region->region_left);
    const int32_t luma = masked + odd_column(region->region_left);
    return {luma, half_chroma ? masked / 2 : luma};
}

void write_chroma(DALTJ_DecoderInfo *ctx, const uint8_t *cb, const uint8_t *cr, int32_t count) {
    copy_samples(ctx->outCb, cb, count);
    copy_samples(ctx->outCr, cr, count);
}

void advance_chroma(DALTJ_DecoderInfo *ctx, int32_t stride) {
    ctx->outCb += stride;
    ctx->outCr += stride;
}

}  // namespace

extern "C" {

KOVRA_API void DALTJ_YcbcrWriteOutput1to1_YUV444(DALTJ_DecoderInfo *ctx, const uint8_t *yRow, const uint8_t *,
                                                 const uint8_t *cbRow, const uint8_t *crRow, int32_t width) {
    if (ctx->outputFormat == kPlanar) {
        const RegionCrop crop = region_crop(ctx->checkContext, false);
        copy_samples(ctx->outY, yRow + crop.luma, width);
        write_chroma(ctx, cbRow + crop.chroma, crRow + crop.chroma, width);
        ctx->outY += ctx->checkContext->region_width;
        advance_chroma(ctx, ctx->checkContext->region_width);
    }
    count_row(ctx);
    ctx->outY += ctx->outputPitch;
}

KOVRA_API int32_t DALTJ_YcbcrWriteOutput1to1_YUV420(DALTJ_DecoderInfo *ctx, const uint8_t *yRowA,
                                                    const uint8_t *yRowB, const uint8_t *cbRow,
                                                    const uint8_t *crRow, int32_t width) {
    if (ctx->outputFormat == kPlanar) {
        const KOVRADALT_DecInfo *region = ctx->checkContext;
        const RegionCrop crop = region_crop(region, true);
        const int32_t stride = region->region_width, chroma_stride = (stride + 1) >> 1;
        const uint8_t *a = yRowA + crop.luma, *b = yRowB + crop.luma;
        const uint8_t *cb = cbRow + crop.chroma, *cr = crRow + crop.chroma;
        const int32_t chroma_count = (width >> 1) + (width & 1);
        const bool last_row = ctx->outputRow + 1 == int64_t{region->region_top} + region->region_height;
        const int32_t b_at = (region->region_height & 1) != 0 && last_row ? 0 : width;
        auto write_pair = [&] {
            copy_samples(ctx->outY + b_at, b, width);
            copy_samples(ctx->outY, a, width);
            write_chroma(ctx, cb, cr, chroma_count);
            advance_chroma(ctx, chroma_stride);
        };
        if ((region->region_top & 1) != 0 && ctx->outputRowsWritten == 0) {
            copy_samples(ctx->outY, b, width);
            write_chroma(ctx, cb, cr, chroma_count);
            advance_chroma(ctx, chroma_stride);
            ctx->outY += stride;
        } else {
            if ((region->region_top & 1) != 0 && last_row) {
                copy_samples(ctx->outY, a, width);
            } else if ((region->region_top & 1) == 0 && ctx->outputRowsWritten % 2 != 0) {
                copy_samples(ctx->outY, a, width);
                write_chroma(ctx, cb, cr, chroma_count);
            } else {
                write_pair();
            }
            ctx->outY += 2 * stride;
        }
    }
    ctx->outY += 2 * ctx->outputPitch;
    ctx->outputRowsWritten += 2;
    return static_cast<int32_t>(ctx->outputRowsWritten);
}

KOVRA_API void DALTJ_YcbcrWriteOutput1to1_YUV422_H2V1(DALTJ_DecoderInfo *ctx) {
    count_row(ctx);
    ctx->outY += ctx->outputPitch;
}

KOVRA_API void DALTJ_YcbcrWriteOutput1to1_YUV422_H1V2(DALTJ_DecoderInfo *ctx) {
    ctx->outY += 2 * ctx->outputPitch;
    ctx->outputRowsWritten += 2;
}

}  // extern "C"
