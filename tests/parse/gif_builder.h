// Builds small GIF byte streams block by block for the scanner tests: each call appends one
// block, so a test reads as the stream it describes. Nothing here validates what it writes.
#pragma once

#include <cstdint>
#include <vector>

namespace kovra::test {

class GifBuilder {
public:
    // "GIF89a" and a logical screen descriptor; a global colour table of 2^(bits+1) entries when
    // bits >= 0.
    GifBuilder &header(uint16_t width, uint16_t height, int gct_bits = -1) {
        append({'G', 'I', 'F', '8', '9', 'a'});
        u16(width);
        u16(height);
        bytes_.push_back(gct_bits >= 0 ? static_cast<uint8_t>(0x80 | gct_bits) : 0);
        append({0, 0});
        if (gct_bits >= 0) bytes_.insert(bytes_.end(), static_cast<size_t>(3 << (gct_bits + 1)), 0x11);
        return *this;
    }
    // Graphic control extension with a delay in hundredths of a second.
    GifBuilder &graphic_control(uint16_t delay, uint8_t block_size = 4) {
        append({0x21, 0xF9, block_size, 0x04});
        u16(delay);
        append({0x00, 0x00});
        return *this;
    }
    // An image descriptor and its data: `data_blocks` sub-blocks of `block_size` bytes, then the
    // terminator (unless `terminate` is false).
    GifBuilder &image(uint16_t left, uint16_t top, uint16_t width, uint16_t height, int lct_bits = -1,
                      int data_blocks = 1, uint8_t block_size = 4, bool terminate = true) {
        bytes_.push_back(0x2C);
        u16(left);
        u16(top);
        u16(width);
        u16(height);
        bytes_.push_back(lct_bits >= 0 ? static_cast<uint8_t>(0x80 | lct_bits) : 0);
        if (lct_bits >= 0) bytes_.insert(bytes_.end(), static_cast<size_t>(3 << (lct_bits + 1)), 0x22);
        bytes_.push_back(2);  // LZW minimum code size
        for (int i = 0; i < data_blocks; ++i) {
            bytes_.push_back(block_size);
            bytes_.insert(bytes_.end(), block_size, 0x2C);  // separators inside data must be skipped
        }
        if (terminate) bytes_.push_back(0);
        return *this;
    }
    GifBuilder &frame(uint16_t width = 4, uint16_t height = 4) { return image(0, 0, width, height); }
    // An extension with the given label and sub-blocks of the given sizes, then a terminator.
    GifBuilder &extension(uint8_t label, const std::vector<uint8_t> &block_sizes) {
        append({0x21, label});
        for (uint8_t size : block_sizes) {
            bytes_.push_back(size);
            bytes_.insert(bytes_.end(), size, 0x3B);  // trailers inside data must be skipped
        }
        bytes_.push_back(0);
        return *this;
    }
    GifBuilder &comment(const std::vector<uint8_t> &block_sizes) { return extension(0xFE, block_sizes); }
    GifBuilder &raw(std::initializer_list<uint8_t> bytes) {
        append(bytes);
        return *this;
    }
    GifBuilder &trailer() {
        bytes_.push_back(0x3B);
        return *this;
    }

    const std::vector<uint8_t> &bytes() const { return bytes_; }
    // The stream cut to its first n bytes.
    std::vector<uint8_t> cut(size_t n) const {
        return std::vector<uint8_t>(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(n));
    }
    size_t size() const { return bytes_.size(); }

private:
    void u16(uint16_t v) {
        bytes_.push_back(static_cast<uint8_t>(v & 0xFF));
        bytes_.push_back(static_cast<uint8_t>(v >> 8));
    }
    void append(std::initializer_list<uint8_t> bytes) { bytes_.insert(bytes_.end(), bytes); }

    std::vector<uint8_t> bytes_;
};

}  // namespace kovra::test
