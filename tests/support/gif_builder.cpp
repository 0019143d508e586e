#include "gif_builder.h"

namespace kovra::test {

std::vector<Rgb> test_palette(int n) {
    std::vector<Rgb> palette;
    for (int i = 0; i < n; ++i) palette.push_back({uint8_t(i * 7 + 1), uint8_t(255 - i), uint8_t(i * 13)});
    return palette;
}

ImageSpec coded_image(int width, int height, int min_code_size, const Bytes &data, int block) {
    return {.width = width, .height = height, .min_code_size = min_code_size, .data = data, .block = block};
}

GifBuilder::GifBuilder(int width, int height, const std::vector<Rgb> &global, int background) {
    raw({'G', 'I', 'F', '8', '9', 'a'}).put16(width).put16(height);
    put_table(global, 0x70, {static_cast<uint8_t>(background), 0});
}

GifBuilder &GifBuilder::control(int disposal, bool transparency, int delay_cs, int transparent_index, int block_size) {
    raw({0x21, 0xF9, static_cast<uint8_t>(block_size), static_cast<uint8_t>((disposal << 2) | (transparency ? 1 : 0))});
    put16(delay_cs).raw({static_cast<uint8_t>(transparent_index)});
    return raw(Bytes(static_cast<size_t>(block_size - 4 + 1), 0));
}

GifBuilder &GifBuilder::extension(uint8_t label, const std::vector<int> &block_sizes) {
    raw({0x21, label});
    for (int size : block_sizes) raw({static_cast<uint8_t>(size)}).raw(Bytes(static_cast<size_t>(size), 0x3B));
    return raw({0});
}

GifBuilder &GifBuilder::image(const ImageSpec &spec) {
    raw({0x2C}).put16(spec.left).put16(spec.top).put16(spec.width).put16(spec.height);
    put_table(spec.local, spec.interlaced ? 0x40 : 0, {});
    raw({static_cast<uint8_t>(spec.min_code_size)});
    if (!spec.data.empty()) return raw(sub_blocks(spec.data, static_cast<size_t>(spec.block)));
    Bytes rows;  // interlaced: in the order of the four passes
    static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < (spec.interlaced ? 4 : 1); ++pass) {
        for (int y = spec.interlaced ? kStart[pass] : 0; y < spec.height; y += spec.interlaced ? kStep[pass] : 1) {
            rows.insert(rows.end(), spec.indexes.begin() + y * spec.width, spec.indexes.begin() + (y + 1) * spec.width);
        }
    }
    return raw(sub_blocks(lzw_literal(rows, spec.min_code_size), static_cast<size_t>(spec.block)));
}

// The packed byte (flags, and the table's size bits when there is one), `between`, the table.
void GifBuilder::put_table(const std::vector<Rgb> &table, uint8_t flags, const Bytes &between) {
    int bits = 0;
    while ((2u << bits) < table.size() && bits < 7) ++bits;
    raw({static_cast<uint8_t>(table.empty() ? flags : flags | 0x80 | bits)}).raw(between);
    for (size_t i = 0; !table.empty() && i < (2u << bits); ++i) {
        const Rgb c = i < table.size() ? table[i] : Rgb{0, 0, 0};
        raw({c.r, c.g, c.b});
    }
}

}  // namespace kovra::test
