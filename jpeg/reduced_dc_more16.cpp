// The DC-only decoder beyond 1/8 (resizeScaleShift s = 4, 5, 6 for 1/16, 1/32, 1/64), for any
// sampling: each written block becomes one DC sample (reduced_dc_sample.h), whole MCUs are
// dropped across and whole MCU rows down.
//
// Across, with e = s - 3, a counter k runs over the MCUs of each MCU row from 0: an MCU with
// k == e is dropped (k back to 0), every other one written (k + 1). So e = 1 writes every second
// MCU, e = 2 two of every three, e = 3 three of every four; the written MCUs land at column
// (mcuSampleWidth * c) >> s of their component. This pattern is the decoder's as it has always
// been and is kept. Down, after the MCU row 1 (e = 1), 3 (e = 2) or 7 further MCU rows are
// decoded and dropped, each counted in resizeMcuRow.
//
// A written MCU: for each scan component in turn, block row r of its MCU goes to row
// mcuRowOffset + r of componentRows[componentIndex], one sample per block (mcuWidth blocks, or
// lastColWidth in the last column); the block index advances by mcuWidth per block row, and the
// components' blocks follow one another. The first frame component reads rangeLimit, the others
// chromaRangeLimit.
//
// Rows above the region top (rounded down to regionRowAlign) are decoded, not written, but
// counted. Reports 100, 101 (past the region, or the input ended with under 16 output rows to
// go) or 102 (input ran dry; mcuColumn saved, mcuRowOffset back to 0).
//
// Refused with 101 before anything changes: what mcu_row_region.h refuses; numComponents or
// compsInScan above 4; resizeScaleShift below 4; a null scan component, or one whose
// componentIndex is not below numComponents (componentRows holds one list per frame
// component), whose lastColWidth exceeds its mcuWidth, or whose MCU blocks (with those of the
// components before it) reach past blocksInMcu. Output rows are the host's, sized for the image.

#include "jpeg/mcu_row_region.h"
#include "jpeg/reduced_dc_sample.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg {

namespace {

constexpr uint32_t kMinScaleShift = 4;
constexpr uint32_t kEighthShift = 3;

bool more16_context_usable(const DALTJ_DecoderInfo *ctx) {
    if (!mcu_row_context_usable(ctx) || ctx->numComponents > 4 || ctx->compsInScan > 4 ||
        ctx->resizeScaleShift < kMinScaleShift)
        return false;
    uint64_t blocks = 0;
    for (uint32_t i = 0; i < ctx->compsInScan; ++i) {
        const DALTJ_ComponentInfo *comp = ctx->scanComponents[i];
        if (comp == nullptr || comp->componentIndex >= ctx->numComponents || comp->lastColWidth > comp->mcuWidth)
            return false;
        blocks += uint64_t{comp->mcuWidth} * comp->mcuHeight;
    }
    return blocks <= ctx->blocksInMcu;
}

uint32_t rows_dropped_after(uint32_t e) { return e == 1 ? 1 : (e == 2 ? 3 : 7); }

void write_mcu(const DALTJ_DecoderInfo *ctx, uint8_t ***componentRows, uint32_t rowOffset, uint32_t column) {
    const uint32_t s = ctx->resizeScaleShift;
    const bool last = column + 1 == ctx->mcusPerRow;
    uint32_t block = 0;
    for (uint32_t i = 0; i < ctx->compsInScan; ++i) {
        const DALTJ_ComponentInfo *comp = ctx->scanComponents[i];
        const uint8_t *table = comp->componentIndex == 0 ? ctx->rangeLimit : ctx->chromaRangeLimit;
        const uint32_t x = s >= 32 ? 0 : (comp->mcuSampleWidth * column) >> s;
        const uint32_t width = last ? comp->lastColWidth : comp->mcuWidth;
        uint8_t **rows = componentRows[comp->componentIndex] + rowOffset;
        for (uint32_t r = 0; r < comp->mcuHeight; ++r, block += comp->mcuWidth) {
            for (uint32_t b = 0; b < width; ++b)
                rows[r][x + b] = dc_sample(table, ctx->coefController->blocks[block + b], comp->multipliers);
        }
    }
}

// Decodes one MCU row; writes the MCUs the across pattern keeps when `write` is set. Reports
// 100, or the status of an input that ran dry.
uint32_t decode_mcu_row(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows, bool write) {
    const uint32_t e = ctx->resizeScaleShift - kEighthShift;
    DALTJ_CoefController *coef = ctx->coefController;
    for (uint32_t rowOffset = coef->mcuRowOffset; rowOffset < coef->mcuRowsPerRow; ++rowOffset) {
        uint32_t k = 0;
        for (uint32_t c = 0; c < ctx->mcusPerRow; ++c) {
            if (DALTJ_DecodeMcu_8to1(ctx, coef->blocks) == 0) return reduced_row_ran_dry(ctx, c);
            if (!write) continue;
            if (k == e) {
                k = 0;
                continue;
            }
            ++k;
            write_mcu(ctx, componentRows, rowOffset, c);
        }
    }
    return DALTJ_STATUS_ROW_DONE;
}

}  // namespace

}  // namespace kovra::jpeg

using namespace kovra::jpeg;

extern "C" {

KOVRA_API uint32_t DALTJ_DecodeSingleiMcuResizeMore16(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows) {
    if (!more16_context_usable(ctx) || beyond_region(ctx)) return DALTJ_STATUS_END;
    ctx->coefController->mcuColumn = 0;
    const bool written = ctx->outputRow >= first_written_row(ctx);
    uint32_t status = decode_mcu_row(ctx, componentRows, written);
    if (status != DALTJ_STATUS_ROW_DONE) return status;
    ++ctx->resizeMcuRow;
    const uint32_t dropped = rows_dropped_after(ctx->resizeScaleShift - kEighthShift);
    for (uint32_t row = 0; row < dropped; ++row) {
        status = decode_mcu_row(ctx, componentRows, false);
        if (status != DALTJ_STATUS_ROW_DONE) return status;
        ++ctx->resizeMcuRow;
    }
    return DALTJ_STATUS_ROW_DONE;
}

}  // extern "C"
