// DALTJ_DoIdctDither: DALTJ_DoIdct with an ordered 16 x 16 dither added to each sum before the
// range limit (at most 135, about 4.2 sample levels once the 5 fraction bits go).
//
// Phase: block row r reads table row (gDitherRowPhase + r) mod 16 and sample k table column
// gDitherColPhase + k. After a block the row phase has moved on 8 rows and the column phase by 8,
// back to 0 at 16: starting from zero, consecutive blocks alternate between the table's top-left
// and bottom-right quarters. The counters are shared by every decode in the process without a
// lock; two decodes dithering at once only shift each other's pattern. They are read and written
// as relaxed atomics, so that sharing is a defined race. Column indexes wrap at 16, which keeps a
// column phase other than 0 or 8 (a host may write the counters) inside the table.

#include "jpeg/idct_dither.h"

#include <atomic>

#include "jpeg/idct_aan.h"
#include "kovra_jpeg.h"

// The table as the decoder has always used it, irregular entries included: row 1 begins and ends
// with 0, and row 4 ends with 135 where its mirror pattern would give -127.
extern "C" const int32_t DALTJ_IdctDitherTable[16][16] = {
    {135, -68, 84, -119, 123, -81, 71, -132, 132, -71, 81, -123, 119, -84, 68, -135},
    {0, 67, -51, 16, -13, 54, -64, 3, -3, 64, -54, 13, -16, 51, -67, 0},
    {101, -102, 118, -85, 89, -115, 106, -98, 98, -106, 115, -89, 85, -118, 102, -101},
    {-34, 33, -17, 50, -47, 20, -30, 37, -37, 30, -20, 47, -50, 17, -33, 34},
    {127, -77, 76, -128, 131, -73, 80, -124, 124, -80, 73, -131, 128, -76, 77, 135},
    {-9, 59, -60, 7, -4, 63, -55, 12, -12, 55, -63, 4, -7, 60, -59, 9},
    {93, -111, 110, -94, 97, -107, 114, -90, 90, -114, 107, -97, 94, -110, 111, -93},
    {-43, 25, -26, 42, -38, 29, -21, 46, -46, 21, -29, 38, -42, 26, -25, 43},
    {133, -70, 82, -122, 121, -83, 69, -134, 134, -69, 83, -121, 122, -82, 70, -133},
    {-2, 65, -53, 14, -15, 52, -66, 1, -1, 66, -52, 15, -14, 53, -65, 2},
    {99, -105, 116, -87, 86, -117, 103, -100, 100, -103, 117, -86, 87, -116, 105, -99},
    {-36, 31, -19, 48, -49, 18, -32, 35, -35, 32, -18, 49, -48, 19, -31, 36},
    {125, -79, 74, -130, 129, -75, 78, -126, 126, -78, 75, -129, 130, -74, 79, -125},
    {-11, 57, -62, 5, -6, 61, -58, 10, -10, 58, -61, 6, -5, 62, -57, 11},
    {91, -113, 108, -96, 95, -109, 112, -92, 92, -112, 109, -95, 96, -108, 113, -91},
    {-45, 22, -28, 39, -41, 27, -23, 44, -44, 23, -27, 41, -39, 28, -22, 45},
};

extern "C" {
uint32_t gDitherRowPhase = 0;
uint32_t gDitherColPhase = 0;
}

namespace {

uint32_t load_phase(uint32_t &phase) { return std::atomic_ref<uint32_t>(phase).load(std::memory_order_relaxed); }
void store_phase(uint32_t &phase, uint32_t value) {
    std::atomic_ref<uint32_t>(phase).store(value, std::memory_order_relaxed);
}

}  // namespace

extern "C" [[gnu::flatten]] KOVRA_API void DALTJ_DoIdctDither(const uint8_t *rangeLimit, const int32_t *multipliers,
                                             const int16_t *coefficients, uint8_t **outputRows,
                                             uint32_t outputColumn) {
    using namespace kovra::jpeg;
    const uint32_t row_phase = load_phase(gDitherRowPhase);
    const uint32_t col_phase = load_phase(gDitherColPhase);
    aan_block<Aan, 8, 8>(multipliers, coefficients, [&](int r, const Int *w) {
        const int32_t *dither = DALTJ_IdctDitherTable[(row_phase + r) % 16];
        Int sums[8];
        Aan::line<8>(w, sums, 1);
        uint8_t *out = outputRows[r] + outputColumn;
        for (int k = 0; k < 8; ++k) out[k] = rangeLimit[aan_index(sums[k] + dither[(col_phase + k) % 16])];
    });
    store_phase(gDitherRowPhase, (row_phase + 8) % 16);
    store_phase(gDitherColPhase, (col_phase + 8) % 16);
}
