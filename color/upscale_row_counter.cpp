// The row counter of an upscaled decode whose pixels are written elsewhere: for the rows of one
// call it counts the output rows whose sample point falls in a source row. Output row o samples
// position start + o * outputHeight of a source row that spans imageHeightRows; the start is
// worked out once per call from inputRow at entry.

#include "color/output_rows.h"
#include "color/row_phase.h"

using namespace kovra::color;

namespace {

// Counts once, then once more for each further step of `step` that stays below `span`; a zero
// step, which would never leave the row, counts once.
void count_output_rows(DALTJ_DecoderInfo *ctx, int32_t start, int32_t step, int64_t span) {
    int32_t t = wrapped_sum(start, step);
    int64_t reached;
    do {
        count_row(ctx);
        if (t < 0 || step == 0) return;
        reached = t;
        t = wrapped_sum(t, step);
    } while (reached < span);
}

}  // namespace

extern "C" KOVRA_API int32_t DALTJ_DoFastYcbcrToUpscaleRgb(DALTJ_DecoderInfo *ctx, void *, int32_t rowCount) {
    const int32_t step = ctx->outputHeight;
    const int64_t span = ctx->imageHeightRows;
    const int32_t p = (step >> 1) - row_phase(ctx->inputRow, static_cast<int32_t>(ctx->imageHeightRows), step);
    const int32_t start = p < 0 ? wrapped_sum(p, step) : p;
    for (int32_t n = 0; n < rowCount; ++n) {
        if (start >= 0 && start < span) count_output_rows(ctx, start, step, span);
    }
    ctx->inputRow = wrapped_sum(ctx->inputRow, rowCount);
    ctx->rowGroupPending = 0;
    return 0;
}
