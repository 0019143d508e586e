// Structure-aware inputs for the exif fuzz target: TIFF data of both byte orders laid out from a
// model (IFD0 and IFD1 chains, EXIF, GPS, interoperability and nested SubIFDs, thumbnail JPEGs,
// entries of every type with fitting or wild counts, values ending at, past or far beyond the
// data, pointers looping back, IFDs past the first 16 KiB), wrapped in a JPEG, as a bare APP1
// segment, or as a TIFF file; and point changes made where a walk of the IFDs finds them.
#pragma once

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// A whole input of at most `max_size` bytes; one option byte ends it (the target reads it).
Bytes generate_exif_input(Rng &rng, size_t max_size);

// One change to a tag, type, count, value offset, entry count, next offset, the IFD0 offset or
// the byte order of the TIFF data in `input`; empty when there is no TIFF header to work from.
Bytes mutate_exif(const Bytes &input, Rng &rng);

}  // namespace kovra::fuzz
