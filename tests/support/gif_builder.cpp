#include "gif_builder.h"

#include <algorithm>
#include <map>
#include <string>

namespace kovra::test {

namespace {

class BitWriter {
public:
    void put(uint32_t value, int width) {
        acc_ |= static_cast<uint64_t>(value) << bits_;
        bits_ += width;
        while (bits_ >= 8) {
            out_.push_back(static_cast<uint8_t>(acc_));
            acc_ >>= 8;
            bits_ -= 8;
        }
    }
    Bytes finish() {
        if (bits_ > 0) out_.push_back(static_cast<uint8_t>(acc_));
        bits_ = 0;
        acc_ = 0;
        return out_;
    }

private:
    Bytes out_;
    uint64_t acc_ = 0;
    int bits_ = 0;
};

}  // namespace

Bytes lzw_encode(const Bytes &indexes, int min_code_size, bool clear_when_full) {
    // The decoder adds a table entry after every code but the first after a clear, so its table
    // runs one entry behind this one: it widens when this side's next code passes 1 << width.
    const uint32_t clear = 1u << min_code_size;
    const uint32_t end = clear + 1;
    BitWriter out;
    int width = min_code_size + 1;
    uint32_t next = clear + 2;
    bool fresh = true;  // nothing emitted since the last clear
    std::map<std::pair<uint32_t, uint8_t>, uint32_t> table;
    out.put(clear, width);
    if (indexes.empty()) {
        out.put(end, width);
        return out.finish();
    }
    uint32_t current = indexes[0];
    for (size_t i = 1; i < indexes.size(); ++i) {
        const uint8_t c = indexes[i];
        auto found = table.find({current, c});
        if (found != table.end()) {
            current = found->second;
            continue;
        }
        out.put(current, width);
        fresh = false;
        if (next < 4096) table[{current, c}] = next++;
        if (next > (1u << width) && width < 12) ++width;
        if (next == 4096 && clear_when_full) {
            out.put(clear, width);
            table.clear();
            width = min_code_size + 1;
            next = clear + 2;
            fresh = true;
        }
        current = c;
    }
    out.put(current, width);
    if (!fresh && next < 4096 && next == (1u << width) && width < 12) ++width;
    out.put(end, width);
    return out.finish();
}

Bytes pack_codes(const std::vector<Code> &codes) {
    BitWriter out;
    for (const Code &code : codes) out.put(code.value, code.width);
    return out.finish();
}

Bytes sub_blocks(const Bytes &data, int block) {
    Bytes out;
    for (size_t at = 0; at < data.size(); at += static_cast<size_t>(block)) {
        const size_t n = std::min<size_t>(static_cast<size_t>(block), data.size() - at);
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), data.begin() + static_cast<long>(at), data.begin() + static_cast<long>(at + n));
    }
    out.push_back(0);
    return out;
}

Bytes interlace_rows(const Bytes &indexes, int width, int height) {
    Bytes out;
    const int starts[4] = {0, 4, 2, 1};
    const int steps[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass) {
        for (int y = starts[pass]; y < height; y += steps[pass]) {
            out.insert(out.end(), indexes.begin() + y * width, indexes.begin() + (y + 1) * width);
        }
    }
    return out;
}

int size_bits_for(size_t entries) {
    int bits = 0;
    while ((2u << bits) < entries && bits < 7) ++bits;
    return bits;
}

std::vector<Rgb> test_palette(int n) {
    std::vector<Rgb> palette;
    for (int i = 0; i < n; ++i) {
        palette.push_back({static_cast<uint8_t>(i * 7 + 1), static_cast<uint8_t>(255 - i), static_cast<uint8_t>(i * 13)});
    }
    return palette;
}

GifBuilder::GifBuilder(int width, int height, const std::vector<Rgb> &global, int background, int size_bits) {
    const std::string signature = "GIF89a";
    bytes_.assign(signature.begin(), signature.end());
    put16(width);
    put16(height);
    const int bits = global.empty() ? 0 : (size_bits >= 0 ? size_bits : size_bits_for(global.size()));
    bytes_.push_back(static_cast<uint8_t>((global.empty() ? 0 : 0x80) | (7 << 4) | bits));
    bytes_.push_back(static_cast<uint8_t>(background));
    bytes_.push_back(0);
    if (!global.empty()) put_table(global, bits);
}

GifBuilder &GifBuilder::graphic_control(int disposal, bool transparency, int delay_cs, int transparent_index,
                                        int block_size) {
    raw({0x21, 0xF9, static_cast<uint8_t>(block_size)});
    bytes_.push_back(static_cast<uint8_t>((disposal << 2) | (transparency ? 1 : 0)));
    put16(delay_cs);
    bytes_.push_back(static_cast<uint8_t>(transparent_index));
    for (int i = 4; i < block_size; ++i) bytes_.push_back(0);
    bytes_.push_back(0);
    return *this;
}

GifBuilder &GifBuilder::comment(const Bytes &text) {
    raw({0x21, 0xFE});
    return raw(sub_blocks(text));
}

GifBuilder &GifBuilder::extension(uint8_t label, const std::vector<int> &block_sizes) {
    raw({0x21, label});
    for (int size : block_sizes) {
        bytes_.push_back(static_cast<uint8_t>(size));
        bytes_.insert(bytes_.end(), static_cast<size_t>(size), 0x3B);
    }
    return raw({0});
}

GifBuilder &GifBuilder::image(const ImageSpec &spec) {
    int min_code = spec.min_code_size;
    if (min_code < 0) {
        int most = 0;
        for (uint8_t i : spec.indexes) most = std::max<int>(most, i);
        min_code = 2;
        while ((1 << min_code) <= most) ++min_code;
    }
    bytes_.push_back(0x2C);
    put16(spec.left);
    put16(spec.top);
    put16(spec.width);
    put16(spec.height);
    const int bits = spec.local_size_bits >= 0 ? spec.local_size_bits : size_bits_for(spec.local.size());
    bytes_.push_back(static_cast<uint8_t>((spec.local.empty() ? 0 : 0x80) | (spec.interlaced ? 0x40 : 0) |
                                          (spec.local.empty() ? 0 : bits)));
    if (!spec.local.empty()) put_table(spec.local, bits);
    bytes_.push_back(static_cast<uint8_t>(min_code));
    if (!spec.data.empty()) return raw(sub_blocks(spec.data, spec.block));
    const Bytes rows = spec.interlaced ? interlace_rows(spec.indexes, spec.width, spec.height) : spec.indexes;
    return raw(sub_blocks(lzw_encode(rows, min_code), spec.block));
}

GifBuilder &GifBuilder::image_with_data(int left, int top, int width, int height, int min_code_size,
                                        const Bytes &data, bool interlaced, int block) {
    ImageSpec spec = frame_spec(left, top, width, height, {}, interlaced);
    spec.min_code_size = min_code_size;
    spec.data = data;
    spec.block = block;
    return image(spec);
}

GifBuilder &GifBuilder::raw(const Bytes &bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
}

GifBuilder &GifBuilder::trailer() { return raw({0x3B}); }

void GifBuilder::put16(int value) {
    bytes_.push_back(static_cast<uint8_t>(value & 0xFF));
    bytes_.push_back(static_cast<uint8_t>((value >> 8) & 0xFF));
}

void GifBuilder::put_table(const std::vector<Rgb> &table, int size_bits) {
    const size_t entries = 2u << size_bits;
    for (size_t i = 0; i < entries; ++i) {
        const Rgb c = i < table.size() ? table[i] : Rgb{0, 0, 0};
        bytes_.push_back(c.r);
        bytes_.push_back(c.g);
        bytes_.push_back(c.b);
    }
}

}  // namespace kovra::test
