// Dequantisation multipliers in the form the library's inverse DCTs read them.
#pragma once

#include <array>
#include <cstdint>

namespace kovra::jpeg_host {

// Full size (DALTJ_DoIdct): each step times its AAN scale factor, rounded to 2 fraction bits as
// libjpeg-turbo's ifast table is, then 10 more bits, so that (coefficient * m) >> 10 carries the
// 2 fraction bits the transform expects.
std::array<int32_t, 64> aan_multipliers(const std::array<uint16_t, 64> &steps);

// Reduced sizes (the accurate members, DALTJ_DoIdct_4x4 and smaller): the plain steps.
std::array<int32_t, 64> plain_multipliers(const std::array<uint16_t, 64> &steps);

}  // namespace kovra::jpeg_host
