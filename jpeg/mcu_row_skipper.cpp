// The MCU row skipper: consumes one MCU row's entropy-coded data without reconstructing it, for
// the rows a decode passes over (the second thread of a two-thread decode starts below the
// first). Each MCU's blocks are cleared and handed to the host's DALTJ_SkipMcuDual; after the
// row, the host's DALTJ_SetupiMcu resets the per-row entropy state. Reports 100 (row consumed),
// 101 (the row lies below the region, the last MCU row is consumed, or the input ran dry with
// under 16 output rows to go) or 102 (input ran dry; mcuColumn and mcuRowOffset say where).
// The saved MCU row offset stays in force for later rows until something resets it.
//
// Refused with 101 before anything changes: a null context, decoder record or coefficient
// controller, an outputHeight of 0 or below, mcusPerRow 0, or more than 10 blocks in an MCU.

#include "jpeg/mcu_row_region.h"
#include "kovra_jpeg.h"

using namespace kovra::jpeg;

extern "C" {

KOVRA_API int32_t DALTJ_SkipSingleiMcu(DALTJ_DecoderInfo *ctx) {
    if (!mcu_row_context_usable(ctx) || beyond_region(ctx)) return DALTJ_STATUS_END;
    DALTJ_CoefController *coef = ctx->coefController;
    coef->mcuColumn = 0;
    for (uint32_t rowOffset = coef->mcuRowOffset; rowOffset < coef->mcuRowsPerRow; ++rowOffset) {
        for (uint32_t column = 0; column < ctx->mcusPerRow; ++column) {
            clear_mcu_blocks(ctx);
            if (DALTJ_SkipMcuDual(ctx, coef->blocks) != 0) continue;
            if (ctx->outputHeight - ctx->outputRow < kRowsLeftForEnd) return DALTJ_STATUS_END;
            coef->mcuColumn = column;
            coef->mcuRowOffset = rowOffset;
            return DALTJ_STATUS_INPUT_DRY;
        }
    }
    ++ctx->mcuRowsSkipped;
    ++ctx->mcuRowsDone;
    if (ctx->mcuRowsDone >= ctx->totalMcuRows) return DALTJ_STATUS_END;
    DALTJ_SetupiMcu(ctx);
    return DALTJ_STATUS_ROW_DONE;
}

}  // extern "C"
