// The IFD walking rule shared by the EXIF readers. An IFD is a 16-bit entry count n, n entries of
// 12 bytes, then the 32-bit offset of the next IFD.
//   1. offset + 2 beyond the length: refused.
//   2. offset + 2 + 12n beyond the length: refused before any entry is read.
//   3. every entry that decodes (DALTJ_ReadExifField's rules) goes to the reader's visitor, in
//      order; the visitor may stop the walk (an allocation failed, a sub-IFD claims a successor).
//   4. the next-IFD offset after the entries, or 0 when those 4 bytes lie beyond the length.
#pragma once

#include <cstdint>

#include "exif/ifd_entry.h"
#include "exif/tiff_bytes.h"

namespace kovra::exif {

constexpr uint32_t kEntryBytes = 12;

struct IfdWalk {
    bool walked;    // false: refused (steps 1 and 2) or stopped by the visitor
    uint32_t next;  // next-IFD offset when walked, else 0
};

// Visitor: bool(const DALTJ_ExifField &field, uint32_t entry_offset) returning false to stop.
template <class Visitor>
IfdWalk walk_ifd(const TiffBytes &data, uint32_t offset, Visitor &&visit) {
    const uint64_t first_entry = static_cast<uint64_t>(offset) + 2;
    if (first_entry > data.length) return {false, 0};
    const uint32_t count = data.u16(offset);
    const uint64_t after_entries = first_entry + static_cast<uint64_t>(kEntryBytes) * count;
    if (after_entries > data.length) return {false, 0};
    for (uint32_t k = 0; k < count; ++k) {
        const auto entry_offset = static_cast<uint32_t>(first_entry + static_cast<uint64_t>(kEntryBytes) * k);
        DALTJ_ExifField field;
        if (!decode_entry(data, entry_offset, &field)) continue;
        if (!visit(static_cast<const DALTJ_ExifField &>(field), entry_offset)) return {false, 0};
    }
    if (after_entries + 4 > data.length) return {true, 0};
    return {true, data.u32(after_entries)};
}

}  // namespace kovra::exif
