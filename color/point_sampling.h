// The pieces shared by every resampler: the packed accumulator word, the horizontal quarter-point
// sampling of one source row, and the emission of a finished accumulator row.
//
// An output pixel is the truncated mean of four point samples taken at 1/4 and 3/4 of its width
// and of its height. Horizontally, in a unit where source column j spans [j * targetWidth,
// (j + 1) * targetWidth) and output column c spans [c * sourceWidth, (c + 1) * sourceWidth), the
// samples of column c lie at c * sourceWidth + sourceWidth / 4 and + 3 * sourceWidth / 4 (both
// quarters truncated); each falls in exactly one source column below sourceWidth.
//
// The sums live in two accumulator rows (the context's accumRows, targetWidth words each): one
// word per output pixel with three 10-bit fields, component 0 (Y, R or grey) in bits 20-29,
// component 1 in bits 10-19 and component 2 in bits 0-9. One addition adds a whole sample; four
// 8-bit samples sum to at most 1020, so no field carries into the next, and the mean of a field
// is its sum shifted right by 2. accumUpper and accumLower (0 or 1) name the row that receives the
// upper and the lower sample row of an output row; an emitted row is cleared at once, so both
// rows must be zero when a decode starts.
#pragma once

#include <cstdint>

#include "kovra_jpeg.h"
#include "kovra_os.h"

namespace kovra::color {

inline constexpr uint32_t pack_samples(uint32_t c0, uint32_t c1, uint32_t c2) { return c0 << 20 | c1 << 10 | c2; }
inline constexpr uint32_t kGreyInAllFields = 0x100401;  // g * this = pack_samples(g, g, g)

// A quarter point walking along the output columns: the source column it falls in and how far
// into that column's span it lies.
class QuarterPoint {
public:
    QuarterPoint(int64_t position, int32_t target_width)
        : column_(static_cast<int32_t>(position / target_width)),
          into_(static_cast<int32_t>(position % target_width)) {}
    int32_t column() const { return column_; }
    // Moves on by one output column: `whole` columns and `part` of one.
    void advance(int32_t whole, int32_t part, int32_t target_width) {
        column_ += whole;
        into_ += part;
        if (into_ >= target_width) {
            into_ -= target_width;
            ++column_;
        }
    }

private:
    int32_t column_, into_;
};

// use(c, sample(j1) + sample(j3)) for every output column c below target_width, with j1 and j3
// the source columns of its two quarter points. Nothing when either width is below 1.
template <class Sample, class Use>
inline void for_each_output_column(int32_t source_width, int32_t target_width, Sample sample, Use use) {
    if (source_width < 1 || target_width < 1) return;
    const int32_t whole = source_width / target_width, part = source_width % target_width;
    QuarterPoint first(source_width >> 2, target_width);
    QuarterPoint third((3 * int64_t{source_width}) >> 2, target_width);
    for (int32_t c = 0; c < target_width; ++c) {
        use(c, sample(first.column()) + sample(third.column()));
        first.advance(whole, part, target_width);
        third.advance(whole, part, target_width);
    }
}

// Adds a sampled source row `weight` times into `rows` (one or both accumulators; the same one
// twice adds it twice).
template <class Sample>
inline void add_row(int32_t source_width, int32_t target_width, Sample sample, uint32_t *row, uint32_t weight) {
    for_each_output_column(source_width, target_width, sample, [&](int32_t c, uint32_t v) { row[c] += weight * v; });
}

template <class Sample>
inline void add_row_to_both(int32_t source_width, int32_t target_width, Sample sample, uint32_t *upper,
                            uint32_t *lower) {
    for_each_output_column(source_width, target_width, sample, [&](int32_t c, uint32_t v) {
        upper[c] += v;
        lower[c] += v;
    });
}

inline uint32_t *upper_row(const DALTJ_DecoderInfo *ctx) { return ctx->accumRows[ctx->accumUpper & 1]; }
inline uint32_t *lower_row(const DALTJ_DecoderInfo *ctx) { return ctx->accumRows[ctx->accumLower & 1]; }
inline void toggle_upper(DALTJ_DecoderInfo *ctx) { ctx->accumUpper ^= 1; }
inline void toggle_lower(DALTJ_DecoderInfo *ctx) { ctx->accumLower ^= 1; }

// Writes (or only counts) the lower accumulator row through `emit(ctx, row, width)`, then clears
// it for the output row after next.
template <class Emit>
inline void emit_lower(DALTJ_DecoderInfo *ctx, int32_t width, Emit emit) {
    uint32_t *row = lower_row(ctx);
    emit(ctx, row, width);
    if (width > 0) KOVRADALT_OsMemset(row, 0, 4 * static_cast<uint32_t>(width));
}

}  // namespace kovra::color
