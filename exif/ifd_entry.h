// Decoding of one 12-byte IFD entry into a DALTJ_ExifField, shared by every IFD reader.
#pragma once

#include <cstdint>

#include "exif/tiff_bytes.h"
#include "kovra_exif.h"

namespace kovra::exif {

// Byte size of one unit of a TIFF type (1..12); 0 for an unknown type.
uint32_t type_unit(uint32_t type);

// Decodes the entry at `entry_offset`; true when DALTJ_ReadExifField would return 1.
bool decode_entry(const TiffBytes &data, uint32_t entry_offset, DALTJ_ExifField *field);

// Type tests the thumbnail reader and the tag tables use to accept a field.
inline bool is_short_one(const DALTJ_ExifField &f) { return f.type == DALTJ_TIFF_SHORT && f.count == 1; }
inline bool is_long_one(const DALTJ_ExifField &f) { return f.type == DALTJ_TIFF_LONG && f.count == 1; }
inline bool is_short_or_long(const DALTJ_ExifField &f) {
    return f.type == DALTJ_TIFF_SHORT || f.type == DALTJ_TIFF_LONG;
}

}  // namespace kovra::exif
