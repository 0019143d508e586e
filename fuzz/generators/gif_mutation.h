// Structure-aware mutation of a GIF file: the file is split into its top-level blocks (header with
// global table, extensions, images, trailer, stray bytes, what follows the trailer) and one block
// is replaced, inserted, removed, repeated or rewritten by the generator (gif_generator.h), or an
// image gets new data at a new code size, or a field of a descriptor or control block an edge
// value. Anything that is not a GIF is left to the byte-level mutators.
#pragma once

#include <cstdint>

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

enum class GifBlockKind { kHeader, kExtension, kImage, kTrailer, kStray, kTail };

struct GifBlock {
    size_t begin, end;
    GifBlockKind kind;
    size_t code_size_at;  // images: where the minimum code size byte is (may be `end`)
};

// The top-level blocks in file order; they cover the file without gaps. Cut-off blocks end at
// the file's end.
std::vector<GifBlock> split_gif(const Bytes &gif);

// One structural change to `gif`; the result is at most `max_size` bytes.
Bytes mutate_gif(const Bytes &gif, Rng &rng, size_t max_size);

}  // namespace kovra::fuzz
