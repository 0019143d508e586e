#include "gif_builder.h"

namespace kovra::test {

namespace {

int size_bits_for(size_t entries) {
    int bits = 0;
    while ((2u << bits) < entries && bits < 7) ++bits;
    return bits;
}

}  // namespace

std::vector<Rgb> test_palette(int n) {
    std::vector<Rgb> palette;
    for (int i = 0; i < n; ++i) palette.push_back({uint8_t(i * 7 + 1), uint8_t(255 - i), uint8_t(i * 13)});
    return palette;
}

Bytes pack_codes(const std::vector<Code> &codes) {
    Bytes out;
    uint64_t acc = 0;
    int bits = 0;
    for (const Code &code : codes) {
        acc |= uint64_t{code.value & ((1u << code.width) - 1)} << bits;
        for (bits += code.width; bits >= 8; bits -= 8, acc >>= 8) out.push_back(static_cast<uint8_t>(acc));
    }
    if (bits > 0) out.push_back(static_cast<uint8_t>(acc));
    return out;
}

Bytes lzw_literal(const Bytes &indexes, int min_code_size, bool clear_when_full) {
    // The decoder makes an entry for every code but the first after a clear and widens when its
    // next free code reaches 1 << width.
    const uint32_t clear = 1u << min_code_size;
    std::vector<Code> codes = {{clear, min_code_size + 1}};
    int width = min_code_size + 1;
    uint32_t next = clear + 2;
    bool first = true;
    for (uint8_t index : indexes) {
        codes.push_back({index, width});
        if (!first && next < 4096 && ++next == (1u << width) && width < 12) ++width;
        first = false;
        if (next == 4096 && clear_when_full) {
            codes.push_back({clear, width});
            width = min_code_size + 1;
            next = clear + 2;
            first = true;
        }
    }
    codes.push_back({clear + 1, width});
    return pack_codes(codes);
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

ImageSpec coded_image(int width, int height, int min_code_size, const Bytes &data, int block) {
    return {.width = width, .height = height, .min_code_size = min_code_size, .data = data, .block = block};
}

GifBuilder::GifBuilder(int width, int height, const std::vector<Rgb> &global, int background) {
    raw({'G', 'I', 'F', '8', '9', 'a'});
    put16(width);
    put16(height);
    raw({static_cast<uint8_t>(global.empty() ? 0x70 : 0xF0 | size_bits_for(global.size())),
         static_cast<uint8_t>(background), 0});
    put_table(global);
}

GifBuilder &GifBuilder::control(int disposal, bool transparency, int delay_cs, int transparent_index, int block_size) {
    raw({0x21, 0xF9, static_cast<uint8_t>(block_size), static_cast<uint8_t>((disposal << 2) | (transparency ? 1 : 0))});
    put16(delay_cs);
    bytes_.push_back(static_cast<uint8_t>(transparent_index));
    bytes_.resize(bytes_.size() + static_cast<size_t>(block_size - 4 + 1), 0);
    return *this;
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
    bytes_.push_back(0x2C);
    for (int field : {spec.left, spec.top, spec.width, spec.height}) put16(field);
    bytes_.push_back(static_cast<uint8_t>((spec.local.empty() ? 0 : 0x80 | size_bits_for(spec.local.size())) |
                                          (spec.interlaced ? 0x40 : 0)));
    put_table(spec.local);
    bytes_.push_back(static_cast<uint8_t>(spec.min_code_size));
    if (!spec.data.empty()) return raw(sub_blocks(spec.data, spec.block));
    static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    Bytes rows;  // interlaced: in the order of the four passes
    for (int pass = 0; pass < (spec.interlaced ? 4 : 1); ++pass) {
        for (int y = spec.interlaced ? kStart[pass] : 0; y < spec.height; y += spec.interlaced ? kStep[pass] : 1) {
            rows.insert(rows.end(), spec.indexes.begin() + y * spec.width, spec.indexes.begin() + (y + 1) * spec.width);
        }
    }
    return raw(sub_blocks(lzw_literal(rows, spec.min_code_size), spec.block));
}

GifBuilder &GifBuilder::image(int left, int top, int width, int height, const Bytes &indexes, bool interlaced) {
    return image({.left = left, .top = top, .width = width, .height = height, .indexes = indexes, .interlaced = interlaced});
}

GifBuilder &GifBuilder::raw(const Bytes &bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
}

void GifBuilder::put16(int value) { raw({static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8)}); }

void GifBuilder::put_table(const std::vector<Rgb> &table) {
    if (table.empty()) return;
    for (size_t i = 0; i < (2u << size_bits_for(table.size())); ++i) {
        const Rgb c = i < table.size() ? table[i] : Rgb{0, 0, 0};
        raw({c.r, c.g, c.b});
    }
}

}  // namespace kovra::test
