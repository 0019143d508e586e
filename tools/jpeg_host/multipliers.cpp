#include "multipliers.h"

namespace kovra::jpeg_host {
namespace {

// cos(k pi / 16) * sqrt(2) (1 for k = 0) of row times column, in 14 fraction bits, natural order.
constexpr std::array<int32_t, 64> kAanScales = {
    16384, 22725, 21407, 19266, 16384, 12873, 8867,  4520,  //
    22725, 31521, 29692, 26722, 22725, 17855, 12299, 6270,  //
    21407, 29692, 27969, 25172, 21407, 16819, 11585, 5906,  //
    19266, 26722, 25172, 22654, 19266, 15137, 10426, 5315,  //
    16384, 22725, 21407, 19266, 16384, 12873, 8867,  4520,  //
    12873, 17855, 16819, 15137, 12873, 10114, 6967,  3552,  //
    8867,  12299, 11585, 10426, 8867,  6967,  4799,  2446,  //
    4520,  6270,  5906,  5315,  4520,  3552,  2446,  1247};

constexpr int kScaleBits = 14 - 2;  // from 14 fraction bits down to the 2 the transform keeps
constexpr int kExtraBits = 10;

}  // namespace

std::array<int32_t, 64> aan_multipliers(const std::array<uint16_t, 64> &steps) {
    std::array<int32_t, 64> m{};
    for (int i = 0; i < 64; ++i) {
        const int64_t scaled = (int64_t{steps[i]} * kAanScales[i] + (1 << (kScaleBits - 1))) >> kScaleBits;
        m[i] = static_cast<int32_t>(scaled << kExtraBits);
    }
    return m;
}

std::array<int32_t, 64> plain_multipliers(const std::array<uint16_t, 64> &steps) {
    std::array<int32_t, 64> m{};
    for (int i = 0; i < 64; ++i) m[i] = steps[i];
    return m;
}

}  // namespace kovra::jpeg_host
