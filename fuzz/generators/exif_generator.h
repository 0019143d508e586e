// Structure-aware inputs for the exif fuzz target: TIFF data of both byte orders (IFD0 and IFD1
// chains, EXIF, GPS, interoperability and nested SubIFDs, thumbnail JPEGs, entries of every type
// with fitting or wild counts, values ending at, past or far beyond the data, pointers looping
// back, IFDs past the first 16 KiB), as it is, as an APP1 segment, or in a JPEG.
#pragma once

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// A whole input of at most `max_size` bytes; one option byte ends it (the target reads it).
Bytes generate_exif_input(Rng &rng, size_t max_size);

}  // namespace kovra::fuzz
