// Test-side reference for the GIF decoder: giflib reads the file, and the frames are composed by
// this library's rules, so the decoder's output can be compared byte for byte.
//
// Composition rules (the library's, not a browser's):
//  - palette colours lose red's lowest bit; slots beyond a table's size are unset (drawn
//    transparent); with no table at all every slot is colour word 0 (opaque black);
//  - the canvas starts transparent when the first frame has transparency, else white;
//  - control values stay in force until the next control block; a transparent index above the
//    active table's size switches transparency off (an index equal to it keeps it);
//  - disposal acts while the frame is drawn: 2 clears the frame's pixels to transparent (frame
//    with transparency) or white, 3 leaves the canvas as it was, others keep the frame;
//  - sample size s: out = screen / s (at least 1); output column k samples screen column
//    (k*W + W/2) / w, rows likewise;
//  - an interlaced frame running past the screen's bottom stops at its first row below the
//    screen: rows of the frame it did not reach keep the caller's previous output;
//  - format 7 is R, G, B, A (unset 0, 0, 0, 0); format 8 is B, G, R, A on rows the canvas alone
//    gives, and on rows a frame draws the composer's packing: bits 0-7, 10-17, 20-27, then 255.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kovra::gifref {

constexpr uint32_t kColorUnset = 0xFFFFFFFFu;
constexpr uint32_t kColorWhite = 0x00FFFFFFu;

struct Rgb {
    uint8_t r, g, b;
};

struct GraphicControl {
    bool present = false;
    int block_size = 0;  // the library's seek fails unless 4
    int disposal = 0;
    int transparent_index = -1;  // -1: no transparency
};

struct Frame {
    int left = 0, top = 0, width = 0, height = 0;
    bool interlaced = false;
    bool has_local_palette = false;
    std::vector<Rgb> local_palette;
    GraphicControl control;        // this frame's own control block (present false when none)
    bool has_unknown_extension = false;
    std::vector<uint8_t> indexes;  // width * height, display row order
    int rows_decoded = 0;          // height unless giflib failed inside the frame
};

struct Gif {
    bool ok = false;  // giflib reached the trailer
    int screen_width = 0, screen_height = 0;
    int background_index = 0;
    bool has_global_palette = false;
    std::vector<Rgb> global_palette;
    std::vector<Frame> frames;  // those giflib read, the last one possibly cut
};

Gif load_gif_memory(const uint8_t *data, size_t size);

// Frames the library's output can be predicted for: those before the first one with a control
// block whose size is not 4, a descriptor field above 10000, an unknown extension, rows giflib
// did not deliver, or a width of screen + 4096 or more.
size_t predictable_frames(const Gif &gif);

// Output of each predictable frame in format 7 or 8 (none for a screen side above 10000) (out_width * out_height * 4 bytes), the
// caller's buffer reused from frame to frame (zeros before the first).
std::vector<std::vector<uint8_t>> compose_frames(const Gif &gif, int sample_size, int format = 7);

// A single-image decode of the first frame as palette indexes: where the frame does not cover
// the screen, the transparent index (transparency on) or the background index.
std::vector<uint8_t> frame_indexes(const Gif &gif, int sample_size = 1);

}  // namespace kovra::gifref
