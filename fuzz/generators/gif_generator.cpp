// See gif_generator.h. Sizes are drawn so that most files are small and quick to decode (a few
// dozen pixels a side) while the edges the decoder checks (0, 1, 5000, 5001, 10000, 10001,
// 65535, a rectangle past the screen) come up often enough to matter.

#include "fuzz/generators/gif_generator.h"

#include <algorithm>

#include "fuzz/generators/lzw_stream.h"

namespace kovra::fuzz {

namespace {

constexpr uint8_t kExtension = 0x21, kImage = 0x2C, kTrailer = 0x3B;

void put16(Bytes *out, uint32_t value) {
    out->push_back(static_cast<uint8_t>(value));
    out->push_back(static_cast<uint8_t>(value >> 8));
}

uint32_t odd_side(Rng &rng) {
    static const uint32_t kSides[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 255, 256, 4999, 5000, 5001, 9999, 10000, 10001, 65535};
    return rng.pick(kSides);
}

uint32_t screen_side(Rng &rng) {
    switch (rng.below(12)) {
        case 0: return odd_side(rng);
        case 1:
        case 2: return rng.range(65, 700);
        default: return rng.range(1, 64);
    }
}

// A colour table of 2 << bits entries, random colours.
void put_color_table(Rng &rng, Bytes *out, uint32_t bits) { rng.fill(out, 3u << (bits + 1)); }

struct Rect {
    uint32_t left, top, width, height;
};

Rect pick_rect(Rng &rng, const GifShape &shape) {
    const uint32_t w = std::max<uint32_t>(shape.width, 1), h = std::max<uint32_t>(shape.height, 1);
    Rect r{};
    if (shape.deep && !rng.one_in(4))
        return {rng.below(w / 2), rng.below(h / 2), rng.range(48, 256), rng.range(48, 256)};
    switch (rng.below(11)) {
        case 0: r = {0, 0, w, h}; break;
        case 1: r = {rng.below(w + 8), rng.below(h + 8), rng.range(1, 48), rng.range(1, 48)}; break;
        case 2: {
            const uint32_t edges[] = {0, 1, w - 1, w, w + 1, 5000, 5001, 10000, 10001, 65535};
            r = {rng.pick(edges), rng.pick(edges), rng.pick(edges), rng.pick(edges)};
            break;
        }
        case 3: r = {rng.below(w), rng.below(h), rng.range(1, 4), rng.range(1, 9)}; break;
        case 4:
            r = {0, rng.below(h), w + 4097 - rng.below(64), rng.range(1, 4)};
            break;  // rows at the line buffer's end
        default:
            r.left = rng.below(w);
            r.top = rng.below(h);
            r.width = rng.range(1, w - r.left);
            r.height = rng.range(1, h - r.top);
            break;
    }
    return r;
}

Bytes graphic_control(Rng &rng) {
    Bytes out{kExtension, 0xF9};
    const uint8_t size = rng.one_in(16) ? rng.byte() % 8 : 4;
    out.push_back(size);
    const uint8_t packed =
        static_cast<uint8_t>((rng.below(8) << 2) | (rng.one_in(2) ? 1 : 0) | (rng.one_in(8) ? 2 : 0));
    const uint32_t delays[] = {0, 1, 2, 3, 10, 100, 655, 65535, rng.below(65536)};
    Bytes body{packed};
    put16(&body, rng.pick(delays));
    body.push_back(rng.one_in(3) ? rng.byte() : static_cast<uint8_t>(rng.below(8)));
    while (body.size() < size) body.push_back(rng.byte());
    body.resize(size);
    out.insert(out.end(), body.begin(), body.end());
    if (!rng.one_in(16)) out.push_back(0);
    return out;
}

Bytes other_extension(Rng &rng) {
    const uint8_t labels[] = {0xFE, 0xFF, 0x01, rng.byte()};
    const uint8_t label = rng.pick(labels);
    Bytes out{kExtension, label};
    if (label == 0xFF && rng.one_in(2)) {
        const char netscape[] = "NETSCAPE2.0";
        out.push_back(11);
        out.insert(out.end(), netscape, netscape + 11);
        out.insert(out.end(), {3, 1, rng.byte(), rng.byte(), 0});
        return out;
    }
    if (rng.one_in(6)) {  // an empty first sub-block, then whatever follows
        out.push_back(0);
        rng.fill(&out, rng.below(3));
        return out;
    }
    Bytes body;
    rng.fill(&body, rng.spread(600));
    Bytes blocks = pack_sub_blocks(rng, body);
    out.insert(out.end(), blocks.begin(), blocks.end());
    return out;
}

Bytes stray_bytes(Rng &rng) {
    const uint8_t bytes[] = {0x00, kExtension, kImage, kTrailer, 0xF9, rng.byte()};
    Bytes out;
    for (uint32_t n = rng.range(1, 4); n > 0; --n) out.push_back(rng.pick(bytes));
    return out;
}

uint32_t frame_count(Rng &rng) {
    switch (rng.below(10)) {
        case 0:
        case 1:
        case 2: return 1;
        case 3: return rng.range(65, 300);
        case 4:
        case 5: return rng.range(9, 64);
        default: return rng.range(2, 8);
    }
}

}  // namespace

uint32_t pick_min_code_size(Rng &rng, uint32_t colors) {
    if (rng.one_in(40)) return rng.range(12, 255);
    if (rng.one_in(4)) return rng.below(12);
    uint32_t bits = 2;
    while ((1u << bits) < colors && bits < 8) ++bits;
    return bits;
}

Bytes generate_header(Rng &rng, GifShape *shape) {
    const char *versions[] = {"GIF89a", "GIF87a", "GIF89a", "GIF8zz", "GIF00A"};
    const char *version = rng.one_in(8) ? rng.pick(versions) : versions[rng.below(2)];
    Bytes out(version, version + 6);
    shape->width = screen_side(rng);
    shape->height = screen_side(rng);
    put16(&out, shape->width);
    put16(&out, shape->height);
    const bool global = !rng.one_in(5);
    const uint32_t bits = rng.below(8);
    shape->global_colors = global ? 2u << bits : 0;
    out.push_back(static_cast<uint8_t>((global ? 0x80 : 0) | (rng.below(8) << 4) | (rng.one_in(8) ? 8 : 0) | bits));
    out.push_back(rng.one_in(2) ? 0 : rng.byte());
    out.push_back(rng.one_in(4) ? rng.byte() : 0);
    if (global) put_color_table(rng, &out, bits);
    return out;
}

Bytes generate_image(Rng &rng, const GifShape &shape, size_t budget) {
    const Rect rect = pick_rect(rng, shape);
    Bytes out{kImage};
    put16(&out, rect.left);
    put16(&out, rect.top);
    put16(&out, rect.width);
    put16(&out, rect.height);
    const bool local = rng.one_in(4);
    const uint32_t bits = rng.below(8);
    const bool interlaced = rng.one_in(4);
    out.push_back(
        static_cast<uint8_t>((local ? 0x80 : 0) | (interlaced ? 0x40 : 0) | (rng.one_in(8) ? 0x38 : 0) | bits));
    if (local) put_color_table(rng, &out, bits);
    const uint32_t min_code_size = pick_min_code_size(rng, local ? 2u << bits : shape.global_colors);
    out.push_back(static_cast<uint8_t>(min_code_size));
    const Bytes data =
        generate_lzw_data(rng, min_code_size, uint64_t{rect.width} * rect.height, std::max<size_t>(budget, 16));
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

Bytes generate_block(Rng &rng, const GifShape &shape, size_t budget) {
    const uint32_t roll = rng.below(16);
    if (roll < 3) return graphic_control(rng);
    if (roll < 5) return other_extension(rng);
    if (roll < 6) return stray_bytes(rng);
    Bytes out;
    if (roll < 14) out = graphic_control(rng);
    const Bytes image = generate_image(rng, shape, budget);
    out.insert(out.end(), image.begin(), image.end());
    return out;
}

Bytes generate_gif(Rng &rng, size_t max_size) {
    GifShape shape;
    Bytes out = generate_header(rng, &shape);
    shape.deep = rng.one_in(3);
    const uint32_t frames = shape.deep ? rng.range(1, 4) : frame_count(rng);
    for (uint32_t frame = 0; frame < frames && out.size() < max_size; ++frame) {
        if (rng.one_in(8)) {
            const Bytes extra = rng.one_in(2) ? other_extension(rng) : stray_bytes(rng);
            out.insert(out.end(), extra.begin(), extra.end());
        }
        const size_t left = max_size > out.size() ? max_size - out.size() : 0;
        const size_t budget = std::max<size_t>(left / (frames - frame) * 3 / 4, 16);
        Bytes block = rng.one_in(4) ? Bytes{} : graphic_control(rng);
        const Bytes image = generate_image(rng, shape, budget);
        block.insert(block.end(), image.begin(), image.end());
        out.insert(out.end(), block.begin(), block.end());
    }
    if (!rng.one_in(8)) out.push_back(kTrailer);
    if (rng.one_in(12) && out.size() > 13) out.resize(13 + rng.below(static_cast<uint32_t>(out.size() - 13)));
    out.push_back(rng.byte());
    out.push_back(rng.byte());
    if (out.size() > max_size) out.resize(max_size);
    return out;
}

GifShape shape_of(const Bytes &gif) {
    GifShape shape;
    if (gif.size() < 11) return shape;
    shape.width = gif[6] | (gif[7] << 8);
    shape.height = gif[8] | (gif[9] << 8);
    shape.global_colors = (gif[10] & 0x80) != 0 ? 2u << (gif[10] & 7) : 0;
    return shape;
}

}  // namespace kovra::fuzz
