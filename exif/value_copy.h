// Copies of entry values into a metadata record: owned strings and byte blocks, rationals.
// Every copy reads through the bounded view, so a value can never be taken from outside the data.
#pragma once

#include <cstdint>

#include "exif/tiff_bytes.h"
#include "kovra_exif.h"

namespace kovra::exif {

// Sets *slot to a new allocation of size + 1 bytes: the value's bytes and a terminating 0. What
// the slot held is not freed: it is the caller's. False (the slot unchanged) when out of memory.
bool store_string(const TiffBytes &data, const DALTJ_ExifField &field, char **slot);

// Sets *slot to a new allocation holding the value's size bytes, no terminator (one zero byte for
// an empty value); as store_string otherwise.
bool store_block(const TiffBytes &data, const DALTJ_ExifField &field, uint8_t **slot);

inline DALTJ_Rational read_rational(const TiffBytes &data, uint64_t offset) {
    return DALTJ_Rational{data.u32(offset), data.u32(offset + 4)};
}

inline DALTJ_SRational read_srational(const TiffBytes &data, uint64_t offset) {
    return DALTJ_SRational{static_cast<int32_t>(data.u32(offset)), static_cast<int32_t>(data.u32(offset + 4))};
}

}  // namespace kovra::exif
