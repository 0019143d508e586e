// The region bound of reduced-size and skipped MCU rows. An output row maps to the source row
// outputRow * imageHeightRows / outputHeight (the product taken in 32 bits, then divided as a
// signed value); work ends once that row lies below region_top + region_height of the caller's
// decoder record. The comparison mixes an output-scale row with a source-scale bound on purpose:
// it is how the header side sets the region up.

#include "jpeg/mcu_row_region.h"

#include <cstring>

namespace kovra::jpeg {

bool mcu_row_context_usable(const DALTJ_DecoderInfo *ctx) {
    return ctx != nullptr && ctx->checkContext != nullptr && ctx->coefController != nullptr &&
           ctx->outputHeight > 0 && ctx->mcusPerRow != 0 && ctx->blocksInMcu <= kMaxBlocksInMcu;
}

bool beyond_region(const DALTJ_DecoderInfo *ctx) {
    const int32_t product = static_cast<int32_t>(uint32_t{ctx->outputRow} * ctx->imageHeightRows);
    const int64_t sourceRow = product / ctx->outputHeight;
    const KOVRADALT_DecInfo *record = ctx->checkContext;
    return sourceRow > int64_t{record->region_top} + record->region_height;
}

int32_t first_written_row(const DALTJ_DecoderInfo *ctx) {
    const int32_t top = ctx->checkContext->region_top;
    const int32_t align = ctx->regionRowAlign;
    return align == 0 ? top : top - top % align;
}

uint32_t reduced_row_ran_dry(DALTJ_DecoderInfo *ctx, uint32_t column) {
    ++ctx->resizeMcuRow;
    if (ctx->outputHeight - ctx->outputRow < kRowsLeftForEnd) return DALTJ_STATUS_END;
    ctx->coefController->mcuColumn = column;
    ctx->coefController->mcuRowOffset = 0;
    return DALTJ_STATUS_INPUT_DRY;
}

void clear_mcu_blocks(const DALTJ_DecoderInfo *ctx) {
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b) std::memset(ctx->coefController->blocks[b], 0, 64 * sizeof(int16_t));
}

}  // namespace kovra::jpeg
