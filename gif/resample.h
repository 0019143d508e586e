// Nearest-neighbour resampling between the logical screen (W x H) and the output (w x h), at
// pixel centres and without a division per pixel.
//
// Output column k takes screen column x with x*w <= k*W + W/2 < (x+1)*w. A walk keeps x and the
// remainder t = (k*W + W/2) - x*w and steps k by adding W: x grows by W/w and t by W%w, with one
// carry when t reaches w. So a reduction skips screen columns and an enlargement repeats them.
//
// Output row j takes screen row y with y*h <= j*H + H/2 < (y+1)*h. For one screen row the first
// candidate is (y - first_out_row)*h/H with the phase H/2 - (y*h mod H); a negative phase moves
// on one row (phase + H), and rows are produced while the phase lies in [0, h), the phase
// growing by H per row. The candidate uses y - first_out_row while the phase uses y: the
// asymmetry is kept as it is (first_out_row is 0 on every road of this library).
#pragma once

#include <algorithm>
#include <cstdint>

namespace kovra::gif {

// The output rows [first, first + count) that one screen row produces.
struct OutputRows {
    int64_t first = 0;
    int32_t count = 0;
};

inline OutputRows output_rows_of(int32_t y, int32_t first_out_row, int32_t screen_h, int32_t out_h) {
    OutputRows rows;
    if (screen_h < 1 || out_h < 1) return rows;
    if (screen_h == out_h) return OutputRows{static_cast<int64_t>(y) - first_out_row, 1};  // what the rule gives
    const int64_t big_h = screen_h;
    const int64_t small_h = out_h;
    int64_t phase = big_h / 2 - (static_cast<int64_t>(y) * small_h) % big_h;
    rows.first = (static_cast<int64_t>(y) - first_out_row) * small_h / big_h;
    if (phase < 0) {
        ++rows.first;
        phase += big_h;
    }
    while (phase >= 0 && phase < small_h) {
        ++rows.count;
        phase += big_h;
    }
    return rows;
}

// The first output column whose screen column is at least x (w when there is none).
inline int32_t first_column_at(int64_t x, int32_t screen_w, int32_t out_w) {
    if (screen_w < 1 || out_w < 1) return 0;
    const int64_t need = x * out_w - screen_w / 2;
    if (need <= 0) return 0;
    const int64_t k = (need + screen_w - 1) / screen_w;
    return static_cast<int32_t>(std::min<int64_t>(k, out_w));
}

// Walks output columns from a given one, tracking the screen column each one takes.
class ColumnWalk {
public:
    ColumnWalk(int32_t k, int32_t screen_w, int32_t out_w)
        : out_w_(out_w), step_(screen_w / out_w), rem_(screen_w % out_w) {
        const int64_t acc = static_cast<int64_t>(k) * screen_w + screen_w / 2;
        x_ = acc / out_w;
        t_ = static_cast<int32_t>(acc % out_w);
    }
    int64_t x() const { return x_; }
    void next() {
        x_ += step_;
        t_ += rem_;
        if (t_ >= out_w_) {
            t_ -= out_w_;
            ++x_;
        }
    }

private:
    int32_t out_w_;
    int32_t step_;
    int32_t rem_;
    int64_t x_;
    int32_t t_;
};

}  // namespace kovra::gif
