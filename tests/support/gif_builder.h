// GIF files for tests, block by block. Nothing here validates what it writes: a test can build a
// stream as broken as it needs. Image data is written one code per index (no strings), with the
// code width following the decoder's table, so every minimum code size fills the table and goes
// on at 12 bits; hand-picked code sequences go through pack_codes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kovra::test {

using Bytes = std::vector<uint8_t>;

struct Rgb {
    uint8_t r, g, b;
};

// A palette of n distinct colours.
std::vector<Rgb> test_palette(int n);

struct Code {
    uint32_t value;
    int width;  // the width the decoder reads it at
};
Bytes pack_codes(const std::vector<Code> &codes);  // least significant bit first

// Clear code, one code per index, end code; with clear_when_full a clear whenever the table fills.
Bytes lzw_literal(const Bytes &indexes, int min_code_size, bool clear_when_full = true);

// Sub-blocks of at most `block` bytes and the terminator.
Bytes sub_blocks(const Bytes &data, int block = 255);

struct ImageSpec {
    int left = 0, top = 0, width = 0, height = 0;
    Bytes indexes{};          // natural row order
    std::vector<Rgb> local{}; // local colour table when not empty
    bool interlaced = false;
    int min_code_size = 8;
    Bytes data{};             // packed codes written instead of encoding `indexes`
    int block = 255;          // largest data sub-block
};

// An image whose data are the given packed codes.
ImageSpec coded_image(int width, int height, int min_code_size, const Bytes &data, int block = 255);

class GifBuilder {
public:
    GifBuilder() = default;  // bare blocks, no header
    GifBuilder(int width, int height, const std::vector<Rgb> &global = {}, int background = 0);
    GifBuilder &control(int disposal, bool transparency, int delay_cs, int transparent_index, int block_size = 4);
    GifBuilder &delay(int delay_cs) { return control(0, false, delay_cs, 0); }
    // An extension whose sub-blocks of the given sizes hold trailer bytes a scan must skip.
    GifBuilder &extension(uint8_t label, const std::vector<int> &block_sizes);
    GifBuilder &image(const ImageSpec &spec);
    GifBuilder &image(int left, int top, int width, int height, const Bytes &indexes, bool interlaced = false);
    GifBuilder &raw(const Bytes &bytes);
    GifBuilder &trailer() { return raw({0x3B}); }
    const Bytes &bytes() const { return bytes_; }
    size_t size() const { return bytes_.size(); }
    Bytes cut(size_t n) const { return Bytes(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(n)); }

private:
    void put16(int value);
    void put_table(const std::vector<Rgb> &table);
    Bytes bytes_;
};

}  // namespace kovra::test
