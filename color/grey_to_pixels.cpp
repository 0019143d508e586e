// Greyscale rows to 4-byte pixels through a 256-entry table: each sample s becomes t, t, t, 255
// with t = table[s].

#include <cstdint>

#include "kovra_jpeg.h"

extern "C" KOVRA_API void ycc_rgb_convert_internal(uint32_t width, const uint8_t *table, uint8_t *const *const *rowSet,
                                                   uint32_t startRow, uint8_t *const *outRows, int32_t rowCount) {
    for (int32_t i = 0; i < rowCount; ++i) {
        const uint8_t *in = (*rowSet)[startRow + static_cast<uint32_t>(i)];
        uint8_t *out = outRows[i];
        for (uint32_t x = 0; x < width; ++x, out += 4) {
            const uint8_t t = table[in[x]];
            out[0] = out[1] = out[2] = t;
            out[3] = 255;
        }
    }
}
