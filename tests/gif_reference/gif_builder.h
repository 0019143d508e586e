// Small GIFs made in memory with giflib's encoder, for tests that pin one composition rule each.
#pragma once

#include <cstdint>
#include <vector>

#include "gif_reference.h"

namespace kovra::gifref::test {

struct FrameSpec {
    int left = 0, top = 0, width = 1, height = 1;
    bool interlaced = false;
    std::vector<Rgb> local_palette;  // empty: use the global table; size a power of two
    bool control = false;            // write a graphic control block before the frame
    int disposal = 0;
    int transparent_index = -1;      // -1: transparency flag clear
    std::vector<uint8_t> indexes;    // width * height, display order
};

// Encodes a GIF89a; the global table is left out when `global_palette` is empty.
std::vector<uint8_t> build_gif(int width, int height, const std::vector<Rgb> &global_palette,
                               const std::vector<FrameSpec> &frames, int background = 0);

}  // namespace kovra::gifref::test
