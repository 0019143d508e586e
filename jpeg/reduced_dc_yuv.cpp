// The 1/8 planar YUV decoders: one MCU row straight into Y, Cb and Cr rows at an eighth of the
// size, each 8x8 block becoming its DC sample (reduced_dc_sample.h), without an inverse DCT.
// MCU layouts, from the host's DALTJ_DecodeMcu_8to1:
//   4:2:2 (H2V1)  blocks Y0 Y1 Cb Cr       -> Y[2c], Y[2c+1]; Cb[c], Cr[c]
//   4:2:0         blocks Y0 Y1 Y2 Y3 Cb Cr -> Y row 0 [2c], [2c+1]; Y row 1 [2c], [2c+1]; Cb[c], Cr[c]
//   4:4:4         blocks Y Cb Cr           -> Y[c]; Cb[c], Cr[c]
// planes[0], [1], [2] are the Y, Cb and Cr row lists (4:2:0 writes two Y rows). Luma reads
// rangeLimit and the first scan component's multipliers; chroma reads chromaRangeLimit, Cb the
// second scan component's multipliers and Cr the third's, except in 4:2:0 where Cb and Cr both
// use the second's (kept as the decoder has always done it). In the last column of 4:2:2 and
// 4:2:0 the right-hand Y samples are written only when the first component's last column is two
// blocks wide.
//
// Rows above the region top (rounded down to regionRowAlign) are decoded and not written; in
// 4:2:2 and 4:2:0 such a row is not counted in resizeMcuRow either. Reports 100 (row done), 101
// (past the region, or the input ended with under 16 output rows to go) or 102 (input ran dry;
// mcuColumn holds the column of the MCU that could not be decoded).
//
// Refused with 101 before anything changes: a null context, decoder record, coefficient
// controller or first three scan components; outputHeight 0 or below; mcusPerRow 0; blocksInMcu
// above 10 or below the layout's block count. Output rows are the host's, sized for the image.

#include "jpeg/mcu_row_region.h"
#include "jpeg/reduced_dc_sample.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg {

namespace {

struct Column {
    uint32_t index;
    bool last;
};

bool yuv_context_usable(const DALTJ_DecoderInfo *ctx, uint32_t blocksNeeded) {
    if (!mcu_row_context_usable(ctx) || ctx->blocksInMcu < blocksNeeded) return false;
    for (int i = 0; i < 3; ++i)
        if (ctx->scanComponents[i] == nullptr) return false;
    return true;
}

uint8_t luma(const DALTJ_DecoderInfo *ctx, uint32_t block) {
    return dc_sample(ctx->rangeLimit, ctx->coefController->blocks[block], ctx->scanComponents[0]->multipliers);
}

uint8_t chroma(const DALTJ_DecoderInfo *ctx, uint32_t block, uint32_t scanComponent) {
    return dc_sample(ctx->chromaRangeLimit, ctx->coefController->blocks[block],
                     ctx->scanComponents[scanComponent]->multipliers);
}

bool right_luma_written(const DALTJ_DecoderInfo *ctx, Column column) {
    return !column.last || ctx->scanComponents[0]->lastColWidth == 2;
}

// The MCU loop the three layouts share; write_column(ctx, planes, column) stores one MCU.
template <class WriteColumn>
uint32_t decode_dc_row(DALTJ_DecoderInfo *ctx, uint8_t ***planes, uint32_t blocksNeeded, bool clearBlocks,
                       bool countRowsAboveRegion, WriteColumn write_column) {
    if (!yuv_context_usable(ctx, blocksNeeded) || beyond_region(ctx)) return DALTJ_STATUS_END;
    const bool written = ctx->outputRow >= first_written_row(ctx);
    ctx->coefController->mcuColumn = 0;
    for (uint32_t c = 0; c < ctx->mcusPerRow; ++c) {
        if (clearBlocks) clear_mcu_blocks(ctx);
        if (DALTJ_DecodeMcu_8to1(ctx, ctx->coefController->blocks) == 0) return reduced_row_ran_dry(ctx, c);
        if (written) write_column(ctx, planes, Column{c, c + 1 == ctx->mcusPerRow});
    }
    if (written || countRowsAboveRegion) ++ctx->resizeMcuRow;
    return DALTJ_STATUS_ROW_DONE;
}

void write_h2v1(const DALTJ_DecoderInfo *ctx, uint8_t ***planes, Column column) {
    uint8_t *y = planes[0][0] + 2 * column.index;
    y[0] = luma(ctx, 0);
    if (right_luma_written(ctx, column)) y[1] = luma(ctx, 1);
    planes[1][0][column.index] = chroma(ctx, 2, 1);
    planes[2][0][column.index] = chroma(ctx, 3, 2);
}

void write_h2v2(const DALTJ_DecoderInfo *ctx, uint8_t ***planes, Column column) {
    uint8_t *y0 = planes[0][0] + 2 * column.index;
    uint8_t *y1 = planes[0][1] + 2 * column.index;
    y0[0] = luma(ctx, 0);
    y1[0] = luma(ctx, 2);
    if (right_luma_written(ctx, column)) {
        y0[1] = luma(ctx, 1);
        y1[1] = luma(ctx, 3);
    }
    planes[1][0][column.index] = chroma(ctx, 4, 1);
    planes[2][0][column.index] = chroma(ctx, 5, 1);
}

void write_h1v1(const DALTJ_DecoderInfo *ctx, uint8_t ***planes, Column column) {
    planes[0][0][column.index] = luma(ctx, 0);
    planes[1][0][column.index] = chroma(ctx, 1, 1);
    planes[2][0][column.index] = chroma(ctx, 2, 2);
}

}  // namespace

}  // namespace kovra::jpeg

using namespace kovra::jpeg;

extern "C" {

KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1(DALTJ_DecoderInfo *ctx, uint8_t ***planes) {
    return decode_dc_row(ctx, planes, 4, false, false, write_h2v1);
}

KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1_YUV420(DALTJ_DecoderInfo *ctx, uint8_t ***planes) {
    return decode_dc_row(ctx, planes, 6, false, false, write_h2v2);
}

KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResize8to1_YUV444(DALTJ_DecoderInfo *ctx, uint8_t ***planes) {
    return decode_dc_row(ctx, planes, 3, true, true, write_h1v1);
}

}  // extern "C"
