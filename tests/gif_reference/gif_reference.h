// Test-side reference for the GIF decoder: reads a GIF with giflib and composes the frames the way
// this library's frame path does, so its output can be compared byte for byte.
//
// Reading (load_gif): giflib's DGifSlurp; each frame's indexes come back de-interlaced, in display
// order (row 0 of the frame first), whatever the file's interlace flag. When giflib fails, the
// frames decoded completely before the failure are kept, the frame being decoded is kept with the
// number of rows giflib delivered, and `error` says what went wrong.
//
// Composition (compose_frames) follows the library's rules, not a browser's:
//  - palette colours lose red's lowest bit; slots beyond a table's size are "unset" and draw as
//    transparent; with no global and no local table every slot reads as colour word 0 (opaque
//    black), the value a zero-filled table holds;
//  - the canvas (at output size) starts fully transparent when the first frame has transparency,
//    else opaque white;
//  - graphic-control values stay in force until the next control block replaces them; a
//    transparent index greater than the active table's size switches transparency off (and that
//    stays off until a later control block), an index equal to it keeps transparency;
//  - disposal is applied to the canvas while the frame is drawn: 2 sets the frame's pixels to
//    transparent (frame with transparency) or opaque white (frame without), 3 leaves the canvas as
//    it was, any other value leaves the frame in it; transparent pixels show the canvas;
//  - downscaling by sample size s: out_width = screen_width / s (1 when smaller), likewise the
//    height; output column k samples screen column (k*W + W/2) / w, output row j samples screen row
//    (j*H + H/2) / h (nearest neighbour at pixel centres, integer division);
//  - output rows the frame does not draw show the canvas, except the rows of an interlaced frame
//    that runs past the screen's bottom: there the decoder stops at the first row below the screen
//    (it neither writes nor advances), so only the first pass's rows above that point are drawn and
//    the other rows inside the frame keep what the caller's buffer held before (the previous
//    frame's output; zeros before the first frame).
// Output format 7: bytes R, G, B, A; transparent is 0, 0, 0, 0; opaque white is FF FF FF FF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace kovra::gifref {

constexpr uint32_t kColorUnset = 0xFFFFFFFFu;   // slot beyond the palette, drawn transparent
constexpr uint32_t kColorWhite = 0x00FFFFFFu;   // canvas white, drawn opaque white

struct Rgb {
    uint8_t r, g, b;
};

// Graphic control extension as stored in the file (label 0xF9), the last one before a frame.
struct GraphicControl {
    bool present = false;
    int block_size = 0;           // 4 in a well-formed file; the library's seek fails otherwise
    int disposal = 0;             // bits 2-4 of the packed byte, 0..7
    bool has_transparency = false;
    int transparent_index = -1;   // -1 when the flag is clear
    int delay_ms = 0;             // delay field times 10
};

struct Frame {
    int left = 0, top = 0, width = 0, height = 0;
    bool interlaced = false;
    bool has_local_palette = false;
    std::vector<Rgb> local_palette;   // as many entries as the table declares (2 << size bits)
    GraphicControl control;           // the control block in force: this frame's own, else the last
                                      // earlier one (present false when there was none yet)
    bool has_own_control = false;     // a control block came right before this frame
    bool has_unknown_extension = false;  // an extension label other than F9 FE FF 01 before it
    std::vector<uint8_t> indexes;     // width * height, display row order
    int rows_decoded = 0;             // == height unless giflib failed inside this frame
};

struct Gif {
    bool ok = false;                  // giflib read the whole file without error
    std::string error;                // giflib's message when !ok
    int screen_width = 0, screen_height = 0;
    int color_resolution = 0;
    int background_index = 0;
    bool has_global_palette = false;
    std::vector<Rgb> global_palette;
    std::vector<Frame> frames;
};

Gif load_gif_memory(const uint8_t *data, size_t size);

// Output geometry for a sample size (1..): {out_width, out_height}.
struct OutSize {
    int width, height;
};
OutSize output_size(const Gif &gif, int sample_size);

// Palette of the frame as colour words (256 entries, red's low bit cleared, unset beyond).
std::vector<uint32_t> color_words(const Gif &gif, size_t frame);

// Why the library's output for this file cannot be predicted from giflib's frames (empty when it
// can): a control block whose size is not 4, a descriptor field above 10000, an unknown
// extension, a frame giflib did not finish, a frame wider than the screen by 4096 or more.
// Composition stops before the first frame named here.
struct Limit {
    size_t frame;
    std::string reason;
};
std::vector<Limit> unmodelled(const Gif &gif);

// Expected format-7 output of each frame the library decodes (frames before the first limit),
// out_width * out_height * 4 bytes each, the caller's buffer being reused from frame to frame.
std::vector<std::vector<uint8_t>> compose_frames(const Gif &gif, int sample_size);

// Expected format-13 output of a single-image decode of frame `frame` (the control values in
// force at that frame): out_width * out_height indexes. When the frame does not cover the screen
// (left and top 0, width and height at least the screen's), the buffer is first filled with the
// transparent index when transparency is on, else with the background index.
std::vector<uint8_t> frame_indexes(const Gif &gif, size_t frame, int sample_size = 1);

// The benchmark's baseline: giflib decoding from memory (DGifOpen over the bytes, DGifSlurp), then
// palette expansion and the composition above at sample size 1. Calls on_frame with each frame's
// RGBA (screen_width * screen_height * 4 bytes, valid during the call). Returns the number of
// frames, or -1 when giflib fails.
int giflib_decode_rgba(const uint8_t *data, size_t size,
                       const std::function<void(const uint8_t *rgba, size_t frame)> &on_frame = {});

}  // namespace kovra::gifref
