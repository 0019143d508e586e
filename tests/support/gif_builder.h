// Building GIF files in tests: a plain LZW encoder (clear code first, a clear whenever the table
// fills, end code last), a packer for hand-picked code sequences, and a builder that assembles
// headers, colour tables, graphic control blocks, extensions, image descriptors and data sub-blocks.
// Nothing here validates what it writes: a test can build a stream as broken as it needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kovra::test {

using Bytes = std::vector<uint8_t>;

struct Rgb {
    uint8_t r, g, b;
};

// GIF LZW of `indexes` with the given minimum code size (every index must fit in it). With
// clear_when_full false a full table is kept (no entries added, 12-bit codes) instead of cleared.
Bytes lzw_encode(const Bytes &indexes, int min_code_size, bool clear_when_full = true);

// One code of a hand-made stream, with the width the decoder will read it at.
struct Code {
    uint32_t value;
    int width;
};
// Packs codes least significant bit first.
Bytes pack_codes(const std::vector<Code> &codes);

// Splits data into sub-blocks of at most `block` bytes and appends the zero terminator.
Bytes sub_blocks(const Bytes &data, int block = 255);

// Rows of an image in the order an interlaced GIF stores them.
Bytes interlace_rows(const Bytes &indexes, int width, int height);

struct ImageSpec {
    int left = 0, top = 0, width = 0, height = 0;
    Bytes indexes;               // width * height, natural row order
    std::vector<Rgb> local;      // local colour table when not empty
    int local_size_bits = -1;    // table size field; -1: smallest that fits `local`
    bool interlaced = false;
    int min_code_size = -1;      // -1: smallest valid for the palette
    Bytes data;                  // already-packed data written instead of encoding `indexes`
    int block = 255;             // largest data sub-block
};

// A frame without a local table.
inline ImageSpec frame_spec(int left, int top, int width, int height, Bytes indexes, bool interlaced = false) {
    ImageSpec spec;
    spec.left = left;
    spec.top = top;
    spec.width = width;
    spec.height = height;
    spec.indexes = std::move(indexes);
    spec.interlaced = interlaced;
    return spec;
}

class GifBuilder {
public:
    // No header: a stream of bare blocks.
    GifBuilder() = default;
    // Header and logical screen; a global table when `global` is not empty.
    GifBuilder(int width, int height, const std::vector<Rgb> &global = {}, int background = 0,
               int size_bits = -1);
    GifBuilder &graphic_control(int disposal, bool transparency, int delay_cs, int transparent_index,
                                int block_size = 4);
    // A graphic control holding only a delay.
    GifBuilder &delay(int delay_cs) { return graphic_control(0, false, delay_cs, 0); }
    GifBuilder &comment(const Bytes &text);
    // An extension with sub-blocks of the given sizes, filled with trailer bytes a scan must skip.
    GifBuilder &extension(uint8_t label, const std::vector<int> &block_sizes);
    GifBuilder &image(const ImageSpec &spec);
    // An image descriptor followed by the given code size and already-packed data bytes.
    GifBuilder &image_with_data(int left, int top, int width, int height, int min_code_size, const Bytes &data,
                                bool interlaced = false, int block = 255);
    GifBuilder &raw(const Bytes &bytes);
    GifBuilder &trailer();
    const Bytes &bytes() const { return bytes_; }
    size_t size() const { return bytes_.size(); }
    // The stream cut to its first n bytes.
    Bytes cut(size_t n) const { return Bytes(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(n)); }

private:
    void put16(int value);
    void put_table(const std::vector<Rgb> &table, int size_bits);
    Bytes bytes_;
};

// Smallest table size field whose 2 << bits entries hold `entries`.
int size_bits_for(size_t entries);

// A palette of n distinct colours.
std::vector<Rgb> test_palette(int n);

}  // namespace kovra::test
