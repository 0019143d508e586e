// The dithered IDCT's state: the 16 x 16 ordered-dither table and the two process-wide phase
// counters (both 0 at load, never reset). Internal to the library; declared here for tests.
#pragma once

#include <cstdint>

extern "C" {
extern const int32_t DALTJ_IdctDitherTable[16][16];
extern uint32_t gDitherRowPhase;  // table row of the next block's first row, 0..15
extern uint32_t gDitherColPhase;  // table column of the next block's first sample, 0 or 8
}
