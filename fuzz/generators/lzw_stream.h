// Image data for one GIF frame as the decoder will read it: a code stream written against a model
// of the decoder's own translation table (next free code, code width, string lengths), so that
// every minimum code size from 0 to 11 gets long valid streams that fill the 4096-entry table,
// widen to 12 bits and stay full, with clear codes, early end codes and codes beyond the table
// mixed in when the stream is meant to be hostile.
#pragma once

#include <cstdint>

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// The frame's data sub-blocks with their terminator (not the code size byte before them).
// `pixels` is the frame's area: the stream usually produces about that many indexes; `budget`
// bounds the packed code bytes. Code sizes above 11 get random bytes.
Bytes generate_lzw_data(Rng &rng, uint32_t min_code_size, uint64_t pixels, size_t budget);

// Splits data into sub-blocks: mostly 255 bytes each, sometimes random sizes, now and then an
// empty sub-block inside the data or no terminator at the end.
Bytes pack_sub_blocks(Rng &rng, const Bytes &data);

}  // namespace kovra::fuzz
