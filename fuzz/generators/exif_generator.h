// Structure-aware EXIF and TIFF generation for the exif fuzz target and its seed corpus: TIFF
// data of both byte orders with IFD chains, EXIF, GPS, interoperability and thumbnail IFDs,
// SubIFDs nested a few deep, embedded thumbnail JPEGs, entries of every type with fitting or
// wild counts, values that end exactly at, one byte past or far beyond the data, pointers that
// loop back to an earlier IFD or to their own, and now and then IFDs placed past the first
// 16 KiB. The TIFF data goes out wrapped in a JPEG (APP1 "Exif" among other segments), as a bare
// APP1 segment, or as a TIFF file; one option byte follows (the target reads its last byte).
#pragma once

#include <cstdint>

#include "fuzz/generators/rng.h"
#include "fuzz/generators/tiff_model.h"

namespace kovra::fuzz {

// A whole input of at most `max_size` bytes.
Bytes generate_exif_input(Rng &rng, size_t max_size);

// TIFF data alone; `far` allows IFDs past 16 KiB.
TiffModel generate_tiff_model(Rng &rng, bool far);

// An entry count at an edge: 0..5, around a date's 20, or large enough to overflow a size.
uint32_t edge_count(Rng &rng);

// The tags the readers know, over every IFD kind (for mutations that change an entry's tag).
uint16_t known_tag(Rng &rng);

}  // namespace kovra::fuzz
