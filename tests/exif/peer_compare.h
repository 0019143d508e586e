// Field-by-field comparison of this library's EXIF record with what libexif reads from the same
// TIFF data. libexif keeps every entry as it found it; the expected value of each field is taken
// from the peer's entry with the type and count rules of this reader applied (a field whose
// entry has another type or count is expected to be empty). What remains different is a
// difference of structure (which entries are read at all), and the tests list each one with
// its rule.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "exif_support.h"

namespace kovra::test {

// A field where the record differs from the peer's entry. `rule` is set when the peer holds an
// entry that this reader does not take by its own type and count rules (the record is then empty
// where the peer is not); it is empty for any other difference.
struct FieldDifference {
    std::string field;
    std::string ours;
    std::string peer;
    std::string rule;
};

// `exif` is the TIFF data as both readers saw it; `file` and `base_offset` locate it in the file
// (the thumbnail's bytes are compared through the file).
std::vector<FieldDifference> compare_with_libexif(const DALTJ_ExifInfo &ours, const Bytes &file,
                                                  const uint8_t *tiff, uint32_t tiff_length);

// Number of fields of `info` that hold something, to make sure the comparison saw real data.
int filled_fields(const DALTJ_ExifInfo &info);

}  // namespace kovra::test
