// The IFD walking rule shared by the EXIF readers. An IFD is a 16-bit entry count n, n entries of
// 12 bytes, then the 32-bit offset of the next IFD.
//   1. offset + 2 beyond the length: refused.
//   2. offset + 2 + 12n beyond the length: refused before any entry is read.
//   3. every entry that decodes (DALTJ_ReadExifField's rules) goes to the reader's visitor, in
//      order; the visitor may stop the walk (a sub-IFD claims a successor, memory ran out).
//   4. the next-IFD offset after the entries, or 0 when those 4 bytes lie beyond the length.
// Steps 1, 2 and 4 depend only on the IFD's count and next-offset words, so whether an IFD would
// claim a successor is known without walking it (ifd_successor).
#pragma once

#include <cstdint>

#include "exif/ifd_entry.h"
#include "exif/tiff_bytes.h"

namespace kovra::exif {

constexpr uint32_t kEntryBytes = 12;

// Where an IFD's entries lie. `fits` is false when the IFD is refused (steps 1 and 2).
struct IfdSpan {
    bool fits;
    uint64_t first_entry;  // offset of entry 0
    uint32_t count;
    uint64_t entry(uint32_t k) const { return first_entry + static_cast<uint64_t>(kEntryBytes) * k; }
};

inline IfdSpan ifd_span(const TiffBytes &data, uint32_t offset) {
    const uint64_t first_entry = static_cast<uint64_t>(offset) + 2;
    if (first_entry > data.length) return {false, first_entry, 0};
    const IfdSpan span{true, first_entry, data.u16(offset)};
    return span.entry(span.count) <= data.length ? span : IfdSpan{false, first_entry, 0};
}

// Step 4: the next-IFD offset of an IFD that fits, or 0.
inline uint32_t ifd_successor(const TiffBytes &data, const IfdSpan &span) {
    const uint64_t after_entries = span.entry(span.count);
    return span.fits && after_entries + 4 <= data.length ? data.u32(after_entries) : 0;
}

struct IfdWalk {
    bool walked;    // false: refused (steps 1 and 2) or stopped by the visitor
    uint32_t next;  // next-IFD offset when walked, else 0
};

// Visitor: bool(const DALTJ_ExifField &field, uint32_t entry_offset) returning false to stop.
// Wants: bool(uint32_t tag); an entry whose tag it does not want is passed over undecoded (for a
// reader whose visitor would do nothing with it).
template <class Wants, class Visitor>
IfdWalk walk_ifd(const TiffBytes &data, uint32_t offset, Wants &&wants, Visitor &&visit) {
    const IfdSpan span = ifd_span(data, offset);
    if (!span.fits) return {false, 0};
    for (uint32_t k = 0; k < span.count; ++k) {
        const auto entry_offset = static_cast<uint32_t>(span.entry(k));
        if (!wants(data.u16(entry_offset))) continue;
        DALTJ_ExifField field;
        if (!decode_entry(data, entry_offset, &field)) continue;
        if (!visit(static_cast<const DALTJ_ExifField &>(field), entry_offset)) return {false, 0};
    }
    return {true, ifd_successor(data, span)};
}

template <class Visitor>
IfdWalk walk_ifd(const TiffBytes &data, uint32_t offset, Visitor &&visit) {
    return walk_ifd(data, offset, [](uint32_t) { return true; }, visit);
}

}  // namespace kovra::exif
