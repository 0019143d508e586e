// Structure-aware GIF generation for the fuzz targets and their seed corpus: valid headers and
// screen descriptors (with now and then an odd version, a zero or oversized screen), global and
// local colour tables of every size, graphic control blocks with every disposal, transparency
// and delay, comment, application, plain-text and unknown extensions, image descriptors inside,
// across and outside the screen, interlaced or not, and image data from lzw_stream.h at every
// minimum code size. A file may have hundreds of frames, stray bytes between blocks, no trailer
// or a cut-off end. Two option bytes follow the trailer (the decode target reads its options
// from the last two bytes).
#pragma once

#include <cstdint>

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// What later blocks are made to fit: the logical screen, the global table's size, and whether
// images are made large enough (thousands of pixels) for their data to fill the LZW table.
struct GifShape {
    uint32_t width = 1, height = 1;
    uint32_t global_colors = 0;
    bool deep = false;
};

// A whole file of at most `max_size` bytes.
Bytes generate_gif(Rng &rng, size_t max_size);

// The 13-byte header and logical screen descriptor with its global table; `shape` gets its sizes.
Bytes generate_header(Rng &rng, GifShape *shape);

// One top-level block: an image (usually after a graphic control block), an extension, or stray
// bytes. `budget` bounds the bytes of image data.
Bytes generate_block(Rng &rng, const GifShape &shape, size_t budget);

// An image descriptor, its local table, code size byte and data.
Bytes generate_image(Rng &rng, const GifShape &shape, size_t budget);

// The minimum code size an image with this many palette entries is usually given, or now and
// then any other (0..11, rarely beyond).
uint32_t pick_min_code_size(Rng &rng, uint32_t colors);

// The screen and global table size a file's header declares (defaults when it is too short).
GifShape shape_of(const Bytes &gif);

}  // namespace kovra::fuzz
