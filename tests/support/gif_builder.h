// GIF files for tests, block by block, as broken as a test needs (nothing is validated). Image
// data are one code per index (fuzz::lzw_literal) unless the test gives packed codes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/generators/gif_generator.h"

namespace kovra::test {

using Bytes = std::vector<uint8_t>;
using fuzz::Code, fuzz::lzw_literal, fuzz::pack_codes, fuzz::sub_blocks;

struct Rgb {
    uint8_t r, g, b;
};
std::vector<Rgb> test_palette(int n);  // n distinct colours

struct ImageSpec {
    int left = 0, top = 0, width = 0, height = 0;
    Bytes indexes{};           // natural row order
    std::vector<Rgb> local{};  // local colour table when not empty
    bool interlaced = false;
    int min_code_size = 8;
    Bytes data{};              // packed codes written instead of encoding `indexes`
    int block = 255;           // largest data sub-block
};
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
    GifBuilder &image(int left, int top, int width, int height, const Bytes &indexes, bool interlaced = false) {
        return image({.left = left, .top = top, .width = width, .height = height, .indexes = indexes, .interlaced = interlaced});
    }
    GifBuilder &raw(const Bytes &bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    GifBuilder &trailer() { return raw({0x3B}); }
    const Bytes &bytes() const { return bytes_; }
    size_t size() const { return bytes_.size(); }
    Bytes cut(size_t n) const { return Bytes(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(n)); }

private:
    GifBuilder &put16(int value) { return raw({static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)}); }
    void put_table(const std::vector<Rgb> &table, uint8_t flags, const Bytes &between);
    Bytes bytes_;
};

}  // namespace kovra::test
