// Fuzzes every inverse DCT with arbitrary coefficient blocks and multiplier tables: no block may
// make a routine read outside the range-limit table or write outside its output block.
//
// Input: 64 little-endian 16-bit coefficients, then 64 little-endian 32-bit multipliers (missing
// bytes read as 0). Each routine runs three times: with the multipliers as given, with each one
// pushed to the extreme of its sign (so the sums wrap on every input), and with each cut to 16
// bits. The range-limit table is a heap copy of exactly the library's table, and each output row
// a heap block of exactly eight samples, so the sanitizer sees a read or write just outside
// either; every output byte is summed.

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

template <class T>
T little_endian(const uint8_t *data, size_t size, size_t at) {
    T value = 0;
    for (size_t i = 0; i < sizeof(T) && at + i < size; ++i) value |= static_cast<T>(T{data[at + i]} << (8 * i));
    return value;
}

void run_all(const uint8_t *range_limit, const int32_t *multipliers, const int16_t *coefficients) {
    for (DALTJ_IdctFn routine : kRoutines) {
        std::vector<std::vector<uint8_t>> rows(8, std::vector<uint8_t>(8));
        uint8_t *pointers[8];
        for (int r = 0; r < 8; ++r) pointers[r] = rows[r].data();
        routine(range_limit, multipliers, coefficients, pointers, 0);
        uint32_t sum = 0;
        for (const auto &row : rows)
            for (uint8_t s : row) sum += s;
        g_sink = g_sink + sum;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace kovra::jpeg;
    std::vector<uint8_t> table(sample_range_limit() - kRangeLimitBelow,
                               sample_range_limit() - kRangeLimitBelow + kRangeLimitSize);
    const uint8_t *range_limit = table.data() + kRangeLimitBelow + kIdctLevelShift;

    int16_t coefficients[64];
    int32_t given[64], extreme[64], short_ones[64];
    for (size_t i = 0; i < 64; ++i) {
        coefficients[i] = static_cast<int16_t>(little_endian<uint16_t>(data, size, 2 * i));
        given[i] = static_cast<int32_t>(little_endian<uint32_t>(data, size, 128 + 4 * i));
        extreme[i] = given[i] < 0 ? INT32_MIN : INT32_MAX;
        short_ones[i] = static_cast<int16_t>(given[i]);
    }
    run_all(range_limit, given, coefficients);
    run_all(range_limit, extreme, coefficients);
    run_all(range_limit, short_ones, coefficients);
    return 0;
}
