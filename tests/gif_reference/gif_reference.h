// Test-side reference for the GIF decoder: giflib reads the file, this library's rules compose the
// frames, so the decoder's output can be compared byte for byte. The rules (not a browser's):
//  - colours lose red's lowest bit; slots beyond a table's size are unset (drawn transparent);
//    with no table at all every slot is colour word 0 (opaque black);
//  - the canvas starts transparent when the first frame has transparency, else white;
//  - control values hold until the next control block; a transparent index above the active
//    table's size switches transparency off (one equal to it keeps it);
//  - disposal acts while the frame is drawn: 2 clears the frame's pixels to transparent (frame
//    with transparency) or white, 3 leaves the canvas as it was, others keep the frame;
//  - sample size s: out = screen / s (at least 1); output column k samples screen column
//    (k*W + W/2) / w, rows likewise;
//  - an interlaced frame running past the screen's bottom stops at its first row below it: rows
//    it did not reach keep the caller's previous output;
//  - format 7 is R, G, B, A (unset 0, 0, 0, 0); format 8 is B, G, R, A on rows the canvas alone
//    gives, and on rows a frame draws the composer's packing: bits 0-7, 10-17, 20-27, then 255.
#pragma once

#include <gif_lib.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kovra::gifref {

constexpr uint32_t kColorUnset = 0xFFFFFFFFu;
constexpr uint32_t kColorWhite = 0x00FFFFFFu;

class Reference {
public:
    Reference(const uint8_t *data, size_t size);
    ~Reference();
    Reference(const Reference &) = delete;
    Reference &operator=(const Reference &) = delete;

    // Frames whose output can be predicted: those before the first one giflib did not finish or
    // with a control block whose size is not 4, a side above 10000, an unknown extension, or a
    // width of screen + 4096 or more (none for a screen side above 10000).
    size_t frames() const { return predictable_; }
    // Each predictable frame in format 7 or 8, the caller's buffer reused from frame to frame.
    std::vector<std::vector<uint8_t>> compose(int sample_size, int format) const;
    // The first frame as a single-image decode gives its indexes: where it does not cover the
    // screen, the transparent index (transparency on) or the background index.
    std::vector<uint8_t> first_indexes() const;

private:
    GifFileType *gif_ = nullptr;
    size_t predictable_ = 0;
};

}  // namespace kovra::gifref
