// TIFF-aware point mutations for the exif target: finds the TIFF data in an input (after the
// first "Exif" 0 0, else at the start), walks its IFDs the way the readers do (IFD0, the next
// chain, the EXIF, GPS, interoperability and SubIFD pointers), and changes one thing at a place
// it found: an entry's tag, type, count or value offset, an IFD's entry count or next offset,
// the IFD0 offset or the byte order. Offsets are set to other IFDs (loops), to the entry's own
// IFD, or to a few bytes before or past the end.
#pragma once

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// The changed input, or an empty one when there is no TIFF header to work from.
Bytes mutate_exif(const Bytes &input, Rng &rng);

}  // namespace kovra::fuzz
