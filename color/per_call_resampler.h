// The resampler of the greyscale, RGB, CMYK and YCCK drivers, which places source rows on the
// output grid from inputRow alone, once per call: the placement found for the call's first row is
// used for every row of the call, so these drivers resample correctly when fed one row per call,
// and only when the output is no taller than the source.
//
// Vertically, in a unit where a source row spans `row_span` and an output row spans `out_span`,
// the phase (inputRow * row_span) rem out_span is where the source row starts inside its output
// row. Relative to the source row's top, that output row samples at u = out_span / 4 - phase and
// l = 3 * out_span / 4 - phase, the next one at u2 = u + out_span and l2 = l + out_span; a point
// is in the row when it lies in [0, row_span). The row's samples go, by the first rule that fits:
//   1. u and l in the row       twice into the upper accumulator; emit; toggle both
//   2. u only                   into the upper accumulator; toggle it
//   3. l, u2 not                into the lower accumulator; emit; toggle it
//   4. l and u2                 into both accumulators; emit; toggle both
//   5. neither, u2 and l2       twice into the upper accumulator; emit; toggle both
//   6. neither, u2 only         into the upper accumulator; toggle it
//   7. otherwise                nowhere.
// Emitting writes (or only counts) the lower accumulator and clears it.
#pragma once

#include "color/point_sampling.h"
#include "color/row_phase.h"

namespace kovra::color {

struct RowPlacement {
    bool into_upper = false, into_lower = false;
    bool twice = false;  // one source row holds both samples of an output row
    bool emit = false;
    bool toggle_upper = false, toggle_lower = false;
};

RowPlacement place_row(int32_t phase, int32_t out_span, int64_t row_span);

// One source row, sampled by `sample` (j -> packed word); a row added twice adds `twice_weight`
// times its word.
template <class Sample, class Emit>
void resample_placed_row(DALTJ_DecoderInfo *ctx, const RowPlacement &placed, int32_t source_width, int32_t target_width,
                         Sample sample, uint32_t twice_weight, Emit emit) {
    const uint32_t weight = placed.twice ? twice_weight : 1;
    if (placed.into_upper && placed.into_lower) {
        add_row_to_both(source_width, target_width, sample, upper_row(ctx), lower_row(ctx));
    } else if (placed.into_upper || placed.into_lower) {
        add_row(source_width, target_width, sample, placed.into_upper ? upper_row(ctx) : lower_row(ctx), weight);
    }
    if (placed.emit) emit_lower(ctx, target_width, emit);
    if (placed.toggle_upper) toggle_upper(ctx);
    if (placed.toggle_lower) toggle_lower(ctx);
}

}  // namespace kovra::color
