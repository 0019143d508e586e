// The drivers of the sources whose pixels this library does not write (RGB, CMYK, YCCK): their
// rows are sampled into the accumulators by the per-call resampler (per_call_resampler.h), and
// every output row they complete is counted and cleared, not written. The grid: a source row spans
// imageHeightRows and an output row outputHeight; sourceColumns columns are sampled into
// targetWidth. Rows met while writeEnabled is set are only counted.
#pragma once

#include "color/output_rows.h"
#include "color/per_call_resampler.h"

namespace kovra::color {

inline void count_only(DALTJ_DecoderInfo *ctx, const uint32_t *, int32_t) { count_row(ctx); }

// row_sample(rows, k) gives the sampler (j -> packed word) of source row k of the component row
// tables `rows`; a row added twice adds twice_weight times its word.
template <class RowSample>
int32_t resample_counted_rows(DALTJ_DecoderInfo *ctx, int32_t row_count, RowSample row_sample, uint32_t twice_weight) {
    const int32_t phase = row_phase(ctx->inputRow, static_cast<int32_t>(ctx->imageHeightRows), ctx->outputHeight);
    if (row_count >= 1) {
        const RowPlacement placed = place_row(phase, ctx->outputHeight, ctx->imageHeightRows);
        uint8_t **const *rows = ctx->sampleRows->componentRows;
        int32_t k = ctx->sampleRows->sampleRowIndex;
        for (int32_t n = 0; n < row_count; ++n, ++k) {
            if (ctx->writeEnabled != 0) {
                count_row(ctx);
            } else {
                resample_placed_row(ctx, placed, ctx->sourceColumns, ctx->targetWidth, row_sample(rows, k),
                                    twice_weight, count_only);
            }
            ctx->inputRow = wrapped_sum(ctx->inputRow, 1);
        }
    }
    ctx->rowGroupPending = 0;
    return 0;
}

// Row k of component c, from the context's first sampled column on.
inline const uint8_t *source_row(const DALTJ_DecoderInfo *ctx, uint8_t **const *rows, int c, int32_t k) {
    return rows[c][k] + ctx->sourceColumnOffset;
}

}  // namespace kovra::color
