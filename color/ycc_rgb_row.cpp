// Rows of YCbCr samples to 32-bit pixels (ycc_rgb.h). The chroma terms come from tables of the
// same arithmetic, built at compile time: the red and blue deltas as they are, the two green
// products unshifted, since their sum is shifted once.

#include <array>

#include "color/ycc_rgb.h"

namespace kovra::color {
namespace {

struct ChromaTables {
    std::array<int32_t, 256> red, blue, green_cr, green_cb;
};

constexpr ChromaTables make_chroma_tables() {
    ChromaTables t{};
    for (int32_t v = 0; v < 256; ++v) {
        t.red[v] = red_delta(v);
        t.blue[v] = blue_delta(v);
        t.green_cr[v] = (v - 128) * kCrToG;
        t.green_cb[v] = (v - 128) * kCbToG;
    }
    return t;
}

constexpr ChromaTables kChroma = make_chroma_tables();

inline void table_pixel(uint32_t y, uint32_t cb, uint32_t cr, const uint8_t *range_limit, uint8_t *out) {
    const uint8_t *luma = range_limit + y;
    out[0] = 255;
    out[1] = luma[kChroma.red[cr]];
    out[2] = luma[(kChroma.green_cr[cr] + kChroma.green_cb[cb]) >> 16];
    out[3] = luma[kChroma.blue[cb]];
}

}  // namespace

void ycc_row_to_pixels_scalar(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                              const uint8_t *range_limit, uint8_t *out) {
    int32_t i = 0;
    for (; i + 2 <= count; i += 2) {
        table_pixel(y[i], cb[i], cr[i], range_limit, out + 4 * i);
        table_pixel(y[i + 1], cb[i + 1], cr[i + 1], range_limit, out + 4 * i + 4);
    }
    if (i < count) table_pixel(y[i], cb[i], cr[i], range_limit, out + 4 * i);
}

}  // namespace kovra::color
