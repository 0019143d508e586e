// A plain model of how this library composes animation frames, for synthetic animations whose
// frames the test knows: a canvas at screen size that starts transparent (first frame with
// transparency) or white, frames laid over it by disposal method and transparency, and the
// nearest-neighbour sampling of each composed frame to the output size.
#pragma once

#include <cstdint>
#include <vector>

#include "support/gif_builder.h"

namespace kovra::test {

struct ModelFrame {
    int left = 0, top = 0, width = 0, height = 0;
    Bytes indexes;                 // natural row order
    std::vector<Rgb> palette;      // the frame's colours (local or global)
    int disposal = 0;
    bool transparency = false;
    int transparent_index = 0;
};

// A palette colour as the decoder's colour word (red's lowest bit cleared, opaque).
uint32_t color_word(const Rgb &c);

// Colour words of each composed frame at screen size.
std::vector<std::vector<uint32_t>> compose_frames(int screen_w, int screen_h, const std::vector<ModelFrame> &frames);

// The frames as a GIF: a graphic control block and a local colour table each, no global table.
Bytes encode_animation(int screen_w, int screen_h, const std::vector<ModelFrame> &frames, bool interlaced = false);

// Screen column (or row) that output column k takes when `screen` is sampled to `out`.
int sampled_source(int k, int screen, int out);

// A frame of colour words sampled to out_w x out_h and packed as format 7 (R, G, B, A; the unset
// word as four zero bytes).
Bytes to_rgba(const std::vector<uint32_t> &words, int screen_w, int screen_h, int out_w, int out_h);

// Palette indexes sampled the same way.
Bytes sample_indexes(const Bytes &indexes, int screen_w, int screen_h, int out_w, int out_h);

}  // namespace kovra::test
