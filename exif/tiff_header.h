// The 8-byte TIFF header: "II" (little-endian) or "MM" (big-endian), 42 in that order, and the
// offset of IFD0, which must lie below the length.
#pragma once

#include <cstdint>

#include "exif/tiff_bytes.h"

namespace kovra::exif {

constexpr uint32_t kTiffHeaderBytes = 8;

struct TiffHeader {
    bool valid;
    bool little_endian;
    uint32_t ifd0_offset;
};

// Reads the header at the start of `data` (its byte order is ignored and set from the header).
TiffHeader check_tiff_header(const TiffBytes &data);

}  // namespace kovra::exif
