// What every row writer does with the context's output side: count the row it emits (also for a
// format it does not write) and copy plain sample rows into the caller's planes.
#pragma once

#include <cstdint>

#include "kovra_jpeg.h"
#include "kovra_os.h"

namespace kovra::color {

enum OutputFormat : int32_t { kGrey = 4, kPixels32 = 5, kPlanarHalfChroma = 14, kPlanar = 15 };

inline void count_row(DALTJ_DecoderInfo *ctx) { ++ctx->outputRowsWritten; }

// Copies `count` samples; a count below 1 copies nothing.
inline void copy_samples(uint8_t *destination, const uint8_t *source, int32_t count) {
    if (count > 0) KOVRADALT_OsMemcpy(destination, source, static_cast<uint32_t>(count));
}

}  // namespace kovra::color
