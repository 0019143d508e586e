// The resampler that maps a source image of any size onto an output of any size, fed row by row
// in calls of any length (DALTJ_DoYcbcrToUpscaleRgb and its greyscale and RGB twins).
//
// Vertically, in a unit where each source row spans scaledHeight (H) and each output row spans the
// source height (Sh), output row o samples the source at o * Sh + Sh / 4 (its upper point) and
// o * Sh + 3 * Sh / 4 (its lower point). upperSamplePos and lowerSamplePos follow the next upper and
// lower point still to be taken, as o * Sh measured from the top of the current source row less
// sampleRowOrigin; they move on by Sh when their point is taken and back by H when the next source
// row begins, so they stay small whatever the image size. A call with rowCount below 1 sets both to
// 0: the next row fed is the first row of a new image.
//
// For each source row, the points it holds are taken in order, each pass one of:
//   both points in the row   add the row to both accumulators (to the one accumulator twice when
//                            the two points belong to the same output row), emit the lower one,
//                            toggle both;
//   only the upper point     add it to the upper accumulator, toggle that;
//   only the lower point     add it to the lower accumulator, emit it, toggle that.
// When the output is no taller than the source a row holds at most one pass; rowGroupPending is
// cleared after a row's first pass unless that pass took both points, and by a row that holds
// none. Each emitted row is counted in outputRowsWritten, written in the caller's format.
#pragma once

#include "color/point_sampling.h"
#include "color/row_phase.h"

namespace kovra::color {

// row_sample(k) gives the sampler of source row k: j -> packed sample of column j.
// emit(ctx, row, width) writes and counts one accumulator row.
template <class RowSample, class Emit>
void resample_rows(DALTJ_DecoderInfo *ctx, int32_t row_count, RowSample row_sample, Emit emit) {
    if (row_count < 1) {
        ctx->upperSamplePos = 0;
        ctx->lowerSamplePos = 0;
        return;
    }
    const int32_t row_span = ctx->scaledHeight, out_span = source_height(ctx);
    const int32_t width = ctx->scaledWidth, sw = source_width(ctx);
    const int32_t upper_quarter = out_span >> 2, lower_quarter = (3 * out_span) >> 2;
    int32_t upper = ctx->upperSamplePos, lower = ctx->lowerSamplePos;
    int32_t k = ctx->sampleRows->sampleRowIndex;
    for (int32_t n = 0; n < row_count; ++n, ++k) {
        const auto sample = row_sample(k);
        for (bool first_pass = true;; first_pass = false) {
            const int32_t a = wrapped_sum(wrapped_difference(upper, ctx->sampleRowOrigin), upper_quarter);
            const int32_t b = wrapped_sum(wrapped_difference(lower, ctx->sampleRowOrigin), lower_quarter);
            const bool upper_here = a >= 0 && a < row_span, lower_here = b >= 0 && b < row_span;
            if (upper_here && lower_here) {
                add_row_to_both(sw, width, sample, upper_row(ctx), lower_row(ctx));
                emit_lower(ctx, width, emit);
                toggle_upper(ctx);
                toggle_lower(ctx);
                upper = wrapped_sum(upper, out_span);
                lower = wrapped_sum(lower, out_span);
            } else if (upper_here) {
                add_row(sw, width, sample, upper_row(ctx), 1);
                toggle_upper(ctx);
                ctx->rowGroupPending = 0;
                upper = wrapped_sum(upper, out_span);
            } else if (lower_here) {
                add_row(sw, width, sample, lower_row(ctx), 1);
                emit_lower(ctx, width, emit);
                toggle_lower(ctx);
                ctx->rowGroupPending = 0;
                lower = wrapped_sum(lower, out_span);
            } else {
                if (first_pass) ctx->rowGroupPending = 0;
                break;
            }
            if (out_span <= 0) break;  // a point that does not move would be taken forever
        }
        upper = wrapped_difference(upper, row_span);
        lower = wrapped_difference(lower, row_span);
        ctx->inputRow = wrapped_sum(ctx->inputRow, 1);
    }
    ctx->upperSamplePos = upper;
    ctx->lowerSamplePos = lower;
}

}  // namespace kovra::color
