// Every inverse DCT on arbitrary coefficients and multipliers: none may read outside the
// range-limit table (a heap copy of exactly the library's) or write outside its output block
// (eight heap rows of exactly eight samples).
//
// Input: 64 little-endian 16-bit coefficients, then 64 little-endian 32-bit multipliers (missing
// bytes read as 0). Each routine runs with the multipliers as given, pushed to the extreme of
// their sign (the sums wrap on every input), and cut to 16 bits.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "jpeg/range_limit.h"
#include "kovra_jpeg.h"

namespace {

constexpr DALTJ_IdctFn kRoutines[] = {
    DALTJ_DoIdct,          DALTJ_DoIdctDither,       DALTJ_DoIdct8By8,         DALTJ_DoIdct1By1,
    DALTJ_DoIdct1By2,      DALTJ_DoIdct2By1,         DALTJ_DoIdct2By2,         DALTJ_DoIdct2By2All,
    DALTJ_DoIdct3By3,      DALTJ_DoIdct4By4,         DALTJ_DoIdct5By5,         DALTJ_DoIdct6By6,
    DALTJ_DoIdct7By7,      DALTJ_DoIdct1x1,          DALTJ_DoIdct_8to1,        DALTJ_DoIdct_2to1,
    DALTJ_DoIdct1x1For4x4, DALTJ_DoIdct1x2For4x4,    DALTJ_DoIdct2x1For4x4,    DALTJ_DoIdct2x2For4x4,
    DALTJ_DoIdct2x2AllFor4x4, DALTJ_DoIdct3x3For4x4, DALTJ_DoIdct4x4For4x4,    DALTJ_DoIdct_8to3,
    DALTJ_DoIdct_4to1,     DALTJ_DoIdct_4to1_CBCR,   DALTJ_DoProgIdct_4to1,    DALTJ_DoIdct_8x4,
    DALTJ_DoIdct_4x8,      DALTJ_DoIdct_4x4,         DALTJ_DoIdct_4x2,         DALTJ_DoIdct_2x4,
    DALTJ_DoIdct_2x2,      DALTJ_DoIdct_2x1,         DALTJ_DoIdct_1x2,         DALTJ_DoIdct_1x1,
};

volatile uint32_t g_sink;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace kovra::jpeg;
    const uint8_t *library = sample_range_limit() - kRangeLimitBelow;
    const std::vector<uint8_t> table(library, library + kRangeLimitSize);
    uint8_t input[384] = {};
    std::memcpy(input, data, size < sizeof input ? size : sizeof input);
    int16_t coefficients[64];
    int32_t multipliers[3][64];
    std::memcpy(coefficients, input, sizeof coefficients);  // little-endian targets only
    std::memcpy(multipliers[0], input + 128, sizeof multipliers[0]);
    for (size_t i = 0; i < 64; ++i) {
        multipliers[1][i] = multipliers[0][i] < 0 ? INT32_MIN : INT32_MAX;
        multipliers[2][i] = static_cast<int16_t>(multipliers[0][i]);
    }
    for (const int32_t *given : multipliers)
        for (DALTJ_IdctFn routine : kRoutines) {
            std::vector<std::vector<uint8_t>> rows(8, std::vector<uint8_t>(8));
            uint8_t *pointers[8];
            for (int r = 0; r < 8; ++r) pointers[r] = rows[r].data();
            routine(table.data() + kRangeLimitBelow + kIdctLevelShift, given, coefficients, pointers, 0);
            for (const auto &row : rows)
                for (uint8_t s : row) g_sink = g_sink + s;
        }
    return 0;
}
