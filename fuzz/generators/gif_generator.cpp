// See gif_generator.h. Most files are small and quick to decode (a few dozen pixels a side) while
// the edges the decoder checks (0, 1, 5000, 5001, 10000, 10001, 65535, a rectangle past the
// screen or the line buffer) come up often enough to matter.

#include "fuzz/generators/gif_generator.h"

#include <algorithm>

namespace kovra::fuzz {

namespace {

constexpr uint8_t kExtension = 0x21, kImage = 0x2C, kTrailer = 0x3B;

void put16(Bytes *out, uint32_t value) {
    out->push_back(static_cast<uint8_t>(value));
    out->push_back(static_cast<uint8_t>(value >> 8));
}

void append(Bytes *out, const Bytes &more) { out->insert(out->end(), more.begin(), more.end()); }

// What later blocks are made to fit; `deep` asks for frames large enough to fill the LZW table.
struct Shape {
    uint32_t width = 1, height = 1, colors = 0;
    bool deep = false;
    bool tame = false;  // well-formed blocks and code streams only
};

Shape shape_of(const Bytes &gif) {
    Shape shape;
    if (gif.size() < 11) return shape;
    shape.width = gif[6] | (gif[7] << 8);
    shape.height = gif[8] | (gif[9] << 8);
    shape.colors = (gif[10] & 0x80) != 0 ? 2u << (gif[10] & 7) : 0;
    return shape;
}

// Mostly full sub-blocks, sometimes random sizes or empty ones inside; now and then unterminated.
Bytes sub_blocks(Rng &rng, const Bytes &data, bool tame) {
    const uint32_t mode = tame ? 0 : rng.below(10);
    Bytes out;
    for (size_t at = 0, n = 0; at < data.size(); at += n) {
        n = std::min<size_t>(mode == 9 && rng.one_in(8) ? 0 : mode < 7 ? 255 : rng.range(1, 255), data.size() - at);
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), data.begin() + static_cast<long>(at), data.begin() + static_cast<long>(at + n));
    }
    if (tame || !rng.one_in(12)) out.push_back(0);
    return out;
}

// The decoder's table as far as a stream writer needs it: the first code after a clear makes no
// entry, later ones make one while there is room, and the width grows when the next free code
// reaches 1 << width (never, for minimum code sizes 0 and 1).
struct Table {
    explicit Table(uint32_t min_code_size) : min(min_code_size), clear(1u << min_code_size) {
        std::fill(std::begin(length), std::end(length), 1u);
        take(clear);
    }
    uint32_t max_code() const { return (1u << width) - 1; }
    // Returns the indexes the decoder writes for `code` (not the end code).
    uint64_t take(uint32_t code) {
        if (code == clear) {
            width = min + 1;
            next_free = clear + 2;
            fresh = true;
            return 0;
        }
        uint64_t produced = code < next_free ? length[code] : uint64_t{length[prev]} + 1;
        if (fresh) {
            produced = 1;
            fresh = false;
        } else if (next_free < 4096) {
            length[next_free] = std::min(length[prev] + 1, 4096u);
            if (++next_free == (1u << width) && width < 12) ++width;
        }
        prev = code & 4095;
        return produced;
    }
    uint32_t min, clear, width = 0, next_free = 0, prev = 0;
    bool fresh = true;
    uint32_t length[4096];
};

// 0 roots, 1 recent entries, 2 the next free code, 3 any entry, 4 hostile codes.
uint32_t choose_code(Rng &rng, int mode, const Table &t) {
    if (mode == 4) {
        const uint32_t codes[] = {t.clear, t.clear + 1, t.next_free + 1 + rng.below(64), t.max_code(), 4095,
                                  rng.below(t.max_code() + 1)};
        return rng.pick(codes) & t.max_code();
    }
    const uint32_t top = std::min(t.next_free, t.max_code());
    const uint32_t code = t.fresh || mode == 0 ? rng.below(t.clear)
                          : mode == 1          ? top - std::min(top, rng.below(8))
                          : mode == 2          ? top
                                               : rng.below(top + 1);
    return code == t.clear || code == t.clear + 1 ? rng.below(t.clear) : code;
}

// A frame's data sub-blocks: codes written against the decoder's table, about `pixels` indexes
// of them (or fewer, or more), at most `budget` bytes. Code sizes above 11 get random bytes.
Bytes lzw_data(Rng &rng, uint32_t min_code_size, uint64_t pixels, size_t budget, bool tame) {
    Bytes packed;
    if (min_code_size > 11) {
        rng.fill(&packed, rng.spread(static_cast<uint32_t>(std::min<size_t>(budget, 4096))));
        return sub_blocks(rng, packed, tame);
    }
    Table t(min_code_size);
    uint64_t acc = 0, produced = 0;
    uint32_t bits = 0;
    auto put = [&](uint32_t code) {
        for (acc |= uint64_t{code & t.max_code()} << bits, bits += t.width; bits >= 8; bits -= 8, acc >>= 8) packed.push_back(uint8_t(acc));
    };
    const bool hostile = !tame && rng.one_in(3), clear_when_full = rng.one_in(2);
    const uint64_t target = tame            ? pixels
                            : rng.one_in(8) ? rng.spread(static_cast<uint32_t>(std::min<uint64_t>(pixels, UINT32_MAX)))
                            : rng.one_in(7) ? pixels + 1 + rng.spread(5000)
                                            : pixels;
    if (tame || !rng.one_in(10)) put(t.clear);
    static const int kModes[20] = {3, 3, 3, 3, 3, 3, 3, 0, 0, 0, 0, 0, 0, 1, 1, 1, 2, 2, 4, 4};
    static const uint32_t kRuns[5] = {4096, 64, 16, 4096, 2};  // long strings only in short runs
    bool ended = false;
    while (!ended && produced < target && packed.size() < budget) {
        const int mode = kModes[rng.below(hostile ? 20 : 18)];
        for (uint32_t n = 1 + rng.spread(kRuns[mode]); n > 0 && produced < target && packed.size() < budget; --n) {
            const uint32_t code = choose_code(rng, mode, t);
            put(code);
            if ((ended = code == t.clear + 1)) break;
            produced += t.take(code);
            if (clear_when_full && t.next_free >= 4096) put(t.clear), t.take(t.clear);
        }
    }
    if (!ended && (tame || !rng.one_in(6))) put(t.clear + 1);
    if (bits > 0) packed.push_back(uint8_t(acc));
    if (!tame && rng.one_in(12)) rng.fill(&packed, rng.spread(64));
    return sub_blocks(rng, packed, tame);
}

uint32_t side(Rng &rng) {
    static const uint32_t kEdges[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 255, 256, 4999, 5000, 5001, 9999, 10000, 10001, 65535};
    const uint32_t roll = rng.below(12);
    return roll == 0 ? rng.pick(kEdges) : roll < 3 ? rng.range(65, 700) : rng.range(1, 64);
}

Bytes header(Rng &rng, Shape *shape) {
    const char *versions[] = {"GIF89a", "GIF87a", "GIF89a", "GIF8zz", "GIF00A"};
    const char *version = !shape->tame && rng.one_in(8) ? rng.pick(versions) : versions[rng.below(2)];
    Bytes out(version, version + 6);
    shape->width = side(rng);
    shape->height = side(rng);
    put16(&out, shape->width);
    put16(&out, shape->height);
    const bool global = !rng.one_in(5);
    const uint32_t bits = rng.below(8);
    shape->colors = global ? 2u << bits : 0;
    const uint32_t resolution = rng.below(8) << 4;  // one draw a statement: the same file on every compiler
    out.push_back(static_cast<uint8_t>((global ? 0x80 : 0) | resolution | (rng.one_in(8) ? 8 : 0) | bits));
    out.push_back(rng.one_in(2) ? 0 : rng.byte());
    out.push_back(rng.one_in(4) ? rng.byte() : 0);
    if (global) rng.fill(&out, 3u << (bits + 1));
    return out;
}

Bytes graphic_control(Rng &rng, bool tame) {
    const uint8_t size = !tame && rng.one_in(16) ? rng.byte() % 8 : 4;
    const uint32_t disposal = rng.below(8) << 2;
    Bytes out{kExtension, 0xF9, size, static_cast<uint8_t>(disposal | rng.below(4))};
    const uint32_t delays[] = {0, 1, 2, 3, 10, 100, 655, 65535, rng.below(65536)};
    put16(&out, rng.pick(delays));
    out.push_back(rng.one_in(3) ? rng.byte() : static_cast<uint8_t>(rng.below(8)));
    out.resize(3 + size, 0);
    if (tame || !rng.one_in(16)) out.push_back(0);
    return out;
}

Bytes other_extension(Rng &rng, bool tame) {
    const uint8_t labels[] = {0xFE, 0xFF, 0x01, rng.byte()};
    Bytes out{kExtension, labels[rng.below(tame ? 3 : 4)]};
    if (!tame && rng.one_in(6)) {  // an empty first sub-block, then whatever follows
        out.push_back(0);
        rng.fill(&out, rng.below(3));
        return out;
    }
    Bytes body;
    rng.fill(&body, (tame ? 1 : 0) + rng.spread(600));  // an empty comment swallows the next byte
    append(&out, sub_blocks(rng, body, tame));
    return out;
}

Bytes stray_bytes(Rng &rng) {
    const uint8_t bytes[] = {0x00, kExtension, kImage, kTrailer, 0xF9, rng.byte()};
    Bytes out;
    for (uint32_t n = rng.range(1, 4); n > 0; --n) out.push_back(rng.pick(bytes));
    return out;
}

Bytes image(Rng &rng, const Shape &shape, size_t budget) {
    const uint32_t w = std::max<uint32_t>(shape.width, 1), h = std::max<uint32_t>(shape.height, 1);
    const uint32_t edges[] = {0, 1, w - 1, w, w + 1, 5000, 5001, 10000, 10001, 65535};
    uint32_t r[4];  // left, top, width, height
    switch (shape.tame ? (rng.one_in(3) ? 0 : 5) : shape.deep && !rng.one_in(4) ? 99 : rng.below(11)) {  // tame: inside
        case 99: r[0] = rng.below(w / 2), r[1] = rng.below(h / 2), r[2] = rng.range(48, 256), r[3] = rng.range(48, 256); break;
        case 0: r[0] = 0, r[1] = 0, r[2] = w, r[3] = h; break;
        case 1: r[0] = rng.below(w + 8), r[1] = rng.below(h + 8), r[2] = rng.range(1, 48), r[3] = rng.range(1, 48); break;
        case 2: for (uint32_t &v : r) v = rng.pick(edges); break;
        case 3: r[0] = rng.below(w), r[1] = rng.below(h), r[2] = rng.range(1, 4), r[3] = rng.range(1, 9); break;
        case 4: r[0] = 0, r[1] = rng.below(h), r[2] = w + 4097 - rng.below(64), r[3] = rng.range(1, 4); break;  // line buffer end
        default: r[0] = rng.below(w), r[1] = rng.below(h), r[2] = rng.range(1, w - r[0]), r[3] = rng.range(1, h - r[1]);
    }
    Bytes out{kImage};
    for (uint32_t v : r) put16(&out, v);
    const bool local = rng.one_in(4);
    const uint32_t bits = rng.below(8);
    const uint32_t interlace = rng.one_in(4) ? 0x40 : 0;
    out.push_back(static_cast<uint8_t>((local ? 0x80 : 0) | interlace | (rng.one_in(8) ? 0x38 : 0) | bits));
    if (local) rng.fill(&out, 3u << (bits + 1));
    const uint32_t colors = local ? 2u << bits : shape.colors;
    uint32_t code_size = 2;
    while ((1u << code_size) < colors && code_size < 8) ++code_size;
    if (!shape.tame && rng.one_in(4)) code_size = rng.below(12);
    if (!shape.tame && rng.one_in(40)) code_size = rng.range(12, 255);
    out.push_back(static_cast<uint8_t>(code_size));
    append(&out, lzw_data(rng, code_size, uint64_t{r[2]} * r[3], std::max<size_t>(budget, 16), shape.tame));
    return out;
}

// An image (usually after a graphic control block), an extension or stray bytes.
Bytes block(Rng &rng, const Shape &shape, size_t budget) {
    const uint32_t roll = rng.below(16);
    if (roll < 3) return graphic_control(rng, shape.tame);
    if (roll < 5) return other_extension(rng, shape.tame);
    if (roll < 6) return stray_bytes(rng);
    Bytes out = roll < 14 ? graphic_control(rng, shape.tame) : Bytes{};
    append(&out, image(rng, shape, budget));
    return out;
}

// Where each top-level block starts, and the file's size last; images take their data along.
std::vector<size_t> block_starts(const Bytes &gif) {
    auto skip_sub_blocks = [&](size_t at) {
        while (at < gif.size() && gif[at] != 0) at += gif[at] + 1u;
        return std::min(at + 1, gif.size());
    };
    auto table = [](uint8_t packed) { return (packed & 0x80) != 0 ? 3u << ((packed & 7) + 1) : 0u; };
    std::vector<size_t> starts = {0};
    size_t at = std::min(gif.size(), gif.size() >= 13 ? 13 + table(gif[10]) : gif.size());
    while (at < gif.size()) {
        starts.push_back(at);
        if (gif[at] == kExtension) at = skip_sub_blocks(at + 2);
        else if (gif[at] == kImage && at + 10 < gif.size()) at = skip_sub_blocks(at + 11 + table(gif[at + 9]));
        else at = gif[at] == kTrailer ? gif.size() : at + 1;
    }
    starts.push_back(gif.size());
    return starts;
}

}  // namespace

Bytes generate_gif(Rng &rng, size_t max_size, bool tame) {
    Shape shape;
    shape.tame = tame;
    Bytes out = header(rng, &shape);
    shape.deep = rng.one_in(3);
    const uint32_t frame_rolls[] = {1, 1, 1, rng.range(65, 300), rng.range(9, 64), rng.range(9, 64)};
    const uint32_t frames = shape.deep ? rng.range(1, 4) : rng.one_in(3) ? rng.range(2, 8) : rng.pick(frame_rolls);
    for (uint32_t frame = 0; frame < frames && out.size() < max_size; ++frame) {
        if (rng.one_in(8)) append(&out, rng.one_in(2) || tame ? other_extension(rng, tame) : stray_bytes(rng));
        const size_t left = max_size > out.size() ? max_size - out.size() : 0;
        if (!rng.one_in(4)) append(&out, graphic_control(rng, tame));
        append(&out, image(rng, shape, std::max<size_t>(left / (frames - frame) * 3 / 4, 16)));
    }
    if (tame || !rng.one_in(8)) out.push_back(kTrailer);
    if (!tame && rng.one_in(12) && out.size() > 13) out.resize(13 + rng.below(static_cast<uint32_t>(out.size() - 13)));
    out.push_back(rng.byte());
    out.push_back(rng.byte());
    if (out.size() > max_size) out.resize(max_size);
    return out;
}

Bytes mutate_gif(const Bytes &gif, Rng &rng, size_t max_size) {
    const std::vector<size_t> starts = block_starts(gif);
    const size_t blocks = starts.size() - 1;
    const size_t some = blocks > 1 ? rng.range(1, static_cast<uint32_t>(blocks - 1)) : 0;  // after the header
    const size_t budget = max_size > gif.size() ? std::max<size_t>((max_size - gif.size()) / 2, 64) : 64;
    const Bytes chosen(gif.begin() + static_cast<long>(starts[some]), gif.begin() + static_cast<long>(starts[some + 1]));
    Shape shape = shape_of(gif);
    Bytes middle;  // what goes where `some` was
    switch (rng.below(6)) {
        case 0: middle = block(rng, shape, budget); break;                       // replaced
        case 1: middle = block(rng, shape, budget), append(&middle, chosen); break;  // inserted
        case 2: break;                                                          // removed
        case 3:
            for (uint32_t n = rng.range(2, 16); n > 0; --n) append(&middle, chosen);  // repeated
            break;
        case 4: {  // a new header
            Bytes out = header(rng, &shape);
            out.insert(out.end(), gif.begin() + static_cast<long>(starts[1]), gif.end());
            out.resize(std::min(out.size(), max_size));
            return out;
        }
        default: return Bytes(gif.begin(), gif.begin() + static_cast<long>(starts[some]));  // cut
    }
    if (some == 0) return gif;
    Bytes out(gif.begin(), gif.begin() + static_cast<long>(starts[some]));
    append(&out, middle);
    out.insert(out.end(), gif.begin() + static_cast<long>(starts[some + 1]), gif.end());
    out.resize(std::min(out.size(), max_size));
    return out;
}

}  // namespace kovra::fuzz
