// The frame-header look-up behind DALTJ_GetJPEGResolution, over bytes of which only `readable`
// exist in memory (the rest read as 0).
#pragma once

#include <cstdint>

namespace kovra::exif {

int32_t jpeg_resolution(const uint8_t *bytes, uint32_t length, uint32_t readable, uint32_t *width,
                        uint32_t *height);

}  // namespace kovra::exif
