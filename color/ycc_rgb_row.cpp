// Rows of YCbCr samples to 32-bit pixels (ycc_rgb.h), two pixels per pass.

#include "color/ycc_rgb.h"

namespace kovra::color {

void ycc_row_to_pixels_scalar(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                              const uint8_t *range_limit, uint8_t *out) {
    int32_t i = 0;
    for (; i + 2 <= count; i += 2) {
        store_pixel(out + 4 * i, ycc_pixel(y[i], cb[i], cr[i], range_limit));
        store_pixel(out + 4 * i + 4, ycc_pixel(y[i + 1], cb[i + 1], cr[i + 1], range_limit));
    }
    if (i < count) store_pixel(out + 4 * i, ycc_pixel(y[i], cb[i], cr[i], range_limit));
}

void ycc_row_to_pixels(const uint8_t *y, const uint8_t *cb, const uint8_t *cr, int32_t count,
                       const uint8_t *range_limit, uint8_t *out) {
    ycc_row_to_pixels_scalar(y, cb, cr, count, range_limit, out);
}

}  // namespace kovra::color
