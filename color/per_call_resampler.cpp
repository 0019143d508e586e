// Where a source row's samples go in the per-call resampler (per_call_resampler.h).

#include "color/per_call_resampler.h"

namespace kovra::color {

RowPlacement place_row(int32_t phase, int32_t out_span, int64_t row_span) {
    const int64_t u = (int64_t{out_span} >> 2) - phase, l = ((3 * int64_t{out_span}) >> 2) - phase;
    auto here = [row_span](int64_t point) { return point >= 0 && point < row_span; };
    const bool u_here = here(u), l_here = here(l), u2_here = here(u + out_span), l2_here = here(l + out_span);
    RowPlacement placed;
    if (u_here) {
        placed.into_upper = placed.toggle_upper = true;
        placed.twice = placed.emit = placed.toggle_lower = l_here;
    } else if (l_here) {
        placed.into_lower = placed.emit = placed.toggle_lower = true;
        placed.into_upper = placed.toggle_upper = u2_here;
    } else if (u2_here) {
        placed.into_upper = placed.toggle_upper = true;
        placed.twice = placed.emit = placed.toggle_lower = l2_here;
    }
    return placed;
}

}  // namespace kovra::color
