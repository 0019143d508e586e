// Structure-aware GIFs for the fuzz targets, their seeds and the reference comparison: headers
// with odd versions and screens, colour tables of every size, graphic control blocks with every
// disposal, transparency, delay and odd sizes, other extensions, rectangles inside, across and
// outside the screen, interlaced or not, up to 300 frames, stray bytes, cut-off ends; image data
// written against the decoder's table at every minimum code size, long enough to fill it and go
// on at 12 bits, with clear codes, early ends and codes beyond the table in hostile streams. Two
// option bytes follow (the decode target reads its options from the last two bytes).
#pragma once

#include <cstdint>

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// A whole file of at most `max_size` bytes; `tame` keeps every block and code stream well-formed
// (the shapes and the composition stay as varied).
Bytes generate_gif(Rng &rng, size_t max_size, bool tame = false);

// One structural change: a top-level block replaced, inserted, removed or repeated, a new header,
// or the file cut after a block. The result is at most `max_size` bytes.
Bytes mutate_gif(const Bytes &gif, Rng &rng, size_t max_size);

}  // namespace kovra::fuzz
