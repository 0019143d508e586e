// Structure-aware GIFs for the fuzz targets, their seeds and the tests: odd versions and screens,
// colour tables of every size, graphic control blocks with every disposal, transparency, delay and
// odd sizes, other extensions, rectangles inside, across and outside the screen, interlacing, up
// to 300 frames, stray bytes, cut ends; image data written against the decoder's table at every
// minimum code size, long enough to fill it and go on at 12 bits, with clear codes, early ends and
// codes beyond the table in hostile streams. Two option bytes follow (the decode target's).
#pragma once

#include <cstdint>

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// A whole file of at most `max_size` bytes; `tame` keeps every block and code stream well-formed
// and every frame inside the screen.
Bytes generate_gif(Rng &rng, size_t max_size, bool tame = false);

// One structural change: a top-level block replaced, inserted, removed or repeated, a new header,
// or the file cut after a block; at most `max_size` bytes.
Bytes mutate_gif(const Bytes &gif, Rng &rng, size_t max_size);

// The writers under both, for hand-made streams too.
struct Code {
    uint32_t value;
    int width;  // the width the decoder reads it at
};
Bytes pack_codes(const std::vector<Code> &codes);  // least significant bit first
// Clear, one code per index at the decoder's width, end; with clear_when_full a clear whenever
// the table fills (else it stays full at 12 bits).
Bytes lzw_literal(const Bytes &indexes, int min_code_size, bool clear_when_full = true);
Bytes sub_blocks(const Bytes &data, size_t block = 255, bool terminated = true);

}  // namespace kovra::fuzz
