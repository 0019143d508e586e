// Most files are small (a few dozen pixels a side) while the edges the decoder checks (0, 1, 5000,
// 5001, 10000, 10001, 65535, a rectangle past the screen or the line buffer) come up often.
#include "fuzz/generators/gif_generator.h"

#include <algorithm>

namespace kovra::fuzz {

namespace {

constexpr uint8_t kExtension = 0x21, kImage = 0x2C, kTrailer = 0x3B;

void put16(Bytes &out, uint32_t value) { out.insert(out.end(), {uint8_t(value), uint8_t(value >> 8)}); }
void append(Bytes &out, const Bytes &more) { out.insert(out.end(), more.begin(), more.end()); }

// The decoder's table as a code writer needs it: the first code after a clear makes no entry,
// later ones make one while there is room, and the width grows when the next free code reaches
// 1 << width. take() returns how many indexes the decoder writes for a code.
struct Table {
    explicit Table(int min_code_size) : min(min_code_size), clear(1u << min_code_size) { take(clear); }
    uint32_t max_code() const { return (1u << width) - 1; }
    void put(uint32_t code) { codes.push_back({code & max_code(), width}); }
    uint64_t take(uint32_t code) {
        if (code == clear) {
            width = min + 1, next_free = clear + 2, fresh = true;
            return 0;
        }
        uint64_t produced = code < next_free ? length[code] : uint64_t{length[prev]} + 1;
        if (fresh) {
            produced = 1, fresh = false;
        } else if (next_free < 4096) {
            length[next_free] = std::min(length[prev] + 1, 4096u);
            if (++next_free == (1u << width) && width < 12) ++width;
        }
        prev = code & 4095;
        return produced;
    }
    int min, width = 0;
    uint32_t clear, next_free = 0, prev = 0;
    bool fresh = true;
    std::vector<uint32_t> length = std::vector<uint32_t>(4096, 1);
    std::vector<Code> codes;
};

// 0 roots, 1 recent entries, 2 the next free code, 3 any entry, 4 hostile codes.
uint32_t choose_code(Rng &rng, int mode, const Table &t) {
    if (mode == 4) {
        const uint32_t codes[] = {t.clear, t.clear + 1, t.next_free + 1 + rng.below(64), 4095, rng.below(t.max_code() + 1)};
        return rng.pick(codes) & t.max_code();
    }
    const uint32_t top = std::min(t.next_free, t.max_code());
    const uint32_t code = t.fresh || mode == 0 ? rng.below(t.clear)
                          : mode == 1          ? top - std::min(top, rng.below(8))
                          : mode == 2          ? top
                                               : rng.below(top + 1);
    return code == t.clear || code == t.clear + 1 ? rng.below(t.clear) : code;
}

Bytes random_blocks(Rng &rng, const Bytes &data, bool tame) {
    return sub_blocks(data, tame || !rng.one_in(3) ? 255 : rng.range(1, 255), tame || !rng.one_in(12));
}

// Codes for about `pixels` indexes (or fewer, or more), at most `budget` bytes of them.
Bytes lzw_data(Rng &rng, int min_code_size, uint64_t pixels, size_t budget, bool tame) {
    Bytes packed;
    if (min_code_size > 11) {
        rng.fill(&packed, rng.spread(static_cast<uint32_t>(std::min<size_t>(budget, 4096))));
        return random_blocks(rng, packed, tame);
    }
    Table t(min_code_size);
    const bool hostile = !tame && rng.one_in(3), clear_when_full = rng.one_in(2);
    const uint64_t target = tame || rng.one_in(2) ? pixels
                            : rng.one_in(2)       ? rng.spread(static_cast<uint32_t>(std::min<uint64_t>(pixels, UINT32_MAX)))
                                                  : pixels + 1 + rng.spread(5000);
    if (tame || !rng.one_in(10)) t.put(t.clear);
    static const int kModes[20] = {3, 3, 3, 3, 3, 3, 3, 0, 0, 0, 0, 0, 0, 1, 1, 1, 2, 2, 4, 4};
    static const uint32_t kRuns[5] = {4096, 64, 16, 4096, 2};  // long strings only in short runs
    bool ended = false;
    uint64_t produced = 0;
    auto more = [&] { return !ended && produced < target && t.codes.size() * 3 / 2 < budget; };
    while (more()) {
        const int mode = kModes[rng.below(hostile ? 20 : 18)];
        for (uint32_t n = 1 + rng.spread(kRuns[mode]); n > 0 && more(); --n) {
            const uint32_t code = choose_code(rng, mode, t);
            t.put(code);
            if ((ended = code == t.clear + 1)) break;
            produced += t.take(code);
            if (clear_when_full && t.next_free >= 4096) t.put(t.clear), t.take(t.clear);
        }
    }
    if (!ended && (tame || !rng.one_in(6))) t.put(t.clear + 1);
    packed = pack_codes(t.codes);
    if (!tame && rng.one_in(12)) rng.fill(&packed, rng.spread(64));
    return random_blocks(rng, packed, tame);
}

uint32_t side(Rng &rng) {
    static const uint32_t kEdges[] = {0, 1, 2, 3, 5, 8, 9, 255, 256, 4999, 5000, 5001, 9999, 10000, 10001, 65535};
    const uint32_t roll = rng.below(12);
    return roll == 0 ? rng.pick(kEdges) : roll < 3 ? rng.range(65, 700) : rng.range(1, 64);
}

// Colour table bits and size of a packed field.
uint32_t table_bytes(uint8_t packed) { return (packed & 0x80) != 0 ? 3u << ((packed & 7) + 1) : 0u; }

Bytes header(Rng &rng, bool tame) {
    const char *versions[] = {"GIF89a", "GIF87a", "GIF8zz", "GIF00A"};
    const char *version = versions[rng.below(!tame && rng.one_in(8) ? 4 : 2)];
    Bytes out(version, version + 6);
    put16(out, side(rng));
    put16(out, side(rng));
    out.push_back(static_cast<uint8_t>((rng.one_in(5) ? 0 : 0x80) | (rng.byte() & 0x7F)));
    out.push_back(rng.one_in(2) ? 0 : rng.byte());
    out.push_back(rng.one_in(4) ? rng.byte() : 0);
    rng.fill(&out, table_bytes(out[10]));
    return out;
}

Bytes graphic_control(Rng &rng, bool tame) {
    const uint8_t size = !tame && rng.one_in(16) ? rng.byte() % 8 : 4;
    Bytes out{kExtension, 0xF9, size, static_cast<uint8_t>(rng.below(32))};
    const uint32_t delays[] = {0, 1, 2, 3, 10, 100, 655, 65535, rng.below(65536)};
    put16(out, rng.pick(delays));
    out.push_back(rng.one_in(3) ? rng.byte() : static_cast<uint8_t>(rng.below(8)));
    out.resize(3 + size, 0);
    if (tame || !rng.one_in(16)) out.push_back(0);
    return out;
}

Bytes other_extension(Rng &rng, bool tame) {
    const uint8_t labels[] = {0xFE, 0xFF, 0x01, rng.byte()};
    Bytes out{kExtension, labels[rng.below(tame ? 3 : 4)]}, body;
    if (!tame && rng.one_in(6)) {  // an empty first sub-block, then whatever follows
        out.push_back(0);
        rng.fill(&out, rng.below(3));
        return out;
    }
    rng.fill(&body, (tame ? 1 : 0) + rng.spread(600));  // an empty comment swallows the next byte
    append(out, random_blocks(rng, body, tame));
    return out;
}

Bytes stray_bytes(Rng &rng) {
    const uint8_t bytes[] = {0x00, kExtension, kImage, kTrailer, 0xF9, rng.byte()};
    Bytes out;
    for (uint32_t n = rng.range(1, 4); n > 0; --n) out.push_back(rng.pick(bytes));
    return out;
}

// `deep` asks for frames large enough to fill the LZW table.
Bytes image(Rng &rng, const Bytes &gif, bool deep, bool tame, size_t budget) {
    const uint32_t w = std::max(gif[6] | (gif[7] << 8), 1), h = std::max(gif[8] | (gif[9] << 8), 1);
    const uint32_t edges[] = {0, 1, w - 1, w, w + 1, 5000, 5001, 10000, 10001, 65535};
    uint32_t r[4];  // left, top, width, height
    switch (tame ? (rng.one_in(3) ? 0 : 5) : deep && !rng.one_in(4) ? 9 : rng.below(9)) {
        case 9: r[0] = rng.below(w / 2), r[1] = rng.below(h / 2), r[2] = rng.range(48, 256), r[3] = rng.range(48, 256); break;
        case 0: r[0] = 0, r[1] = 0, r[2] = w, r[3] = h; break;
        case 1: r[0] = rng.below(w + 8), r[1] = rng.below(h + 8), r[2] = rng.range(1, 48), r[3] = rng.range(1, 48); break;
        case 2: for (uint32_t &v : r) v = rng.pick(edges); break;
        case 3: r[0] = 0, r[1] = rng.below(h), r[2] = w + 4097 - rng.below(64), r[3] = rng.range(1, 4); break;  // line buffer end
        default: r[0] = rng.below(w), r[1] = rng.below(h), r[2] = rng.range(1, w - r[0]), r[3] = rng.range(1, h - r[1]);
    }
    Bytes out{kImage};
    for (uint32_t v : r) put16(out, v);
    out.push_back(static_cast<uint8_t>((rng.one_in(4) ? 0x80 : 0) | (rng.one_in(4) ? 0x40 : 0) | (rng.one_in(8) ? 0x38 : 0) | rng.below(8)));
    rng.fill(&out, table_bytes(out.back()));
    const uint32_t colors = table_bytes(out[9]) != 0 ? table_bytes(out[9]) / 3 : table_bytes(gif[10]) / 3;
    int code_size = 2;
    while ((1u << code_size) < colors && code_size < 8) ++code_size;
    if (!tame && rng.one_in(4)) code_size = static_cast<int>(rng.one_in(10) ? rng.range(12, 255) : rng.below(12));
    out.push_back(static_cast<uint8_t>(code_size));
    append(out, lzw_data(rng, code_size, uint64_t{r[2]} * r[3], std::max<size_t>(budget, 16), tame));
    return out;
}

// Where each top-level block starts (images take their data along), and the file's size last.
std::vector<size_t> block_starts(const Bytes &gif) {
    auto skip_sub_blocks = [&](size_t at) {
        while (at < gif.size() && gif[at] != 0) at += gif[at] + 1u;
        return std::min(at + 1, gif.size());
    };
    std::vector<size_t> starts = {0};
    for (size_t at = gif.size() >= 13 ? std::min<size_t>(gif.size(), 13 + table_bytes(gif[10])) : gif.size(); at < gif.size();) {
        starts.push_back(at);
        if (gif[at] == kExtension) at = skip_sub_blocks(at + 2);
        else if (gif[at] == kImage && at + 10 < gif.size()) at = skip_sub_blocks(at + 11 + table_bytes(gif[at + 9]));
        else at = gif[at] == kTrailer ? gif.size() : at + 1;
    }
    starts.push_back(gif.size());
    return starts;
}

}  // namespace

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
    Table t(min_code_size);
    t.put(t.clear);
    for (uint8_t index : indexes) {
        t.put(index);
        t.take(index);
        if (clear_when_full && t.next_free >= 4096) t.put(t.clear), t.take(t.clear);
    }
    t.put(t.clear + 1);
    return pack_codes(t.codes);
}

Bytes sub_blocks(const Bytes &data, size_t block, bool terminated) {
    Bytes out;
    for (size_t at = 0, n = 0; at < data.size(); at += n) {
        n = std::min(block, data.size() - at);
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), data.begin() + static_cast<long>(at), data.begin() + static_cast<long>(at + n));
    }
    if (terminated) out.push_back(0);
    return out;
}

Bytes generate_gif(Rng &rng, size_t max_size, bool tame) {
    Bytes out = header(rng, tame);
    const bool deep = rng.one_in(3);
    const uint32_t frame_rolls[] = {1, 1, 1, rng.range(65, 300), rng.range(9, 64), rng.range(9, 64)};
    const uint32_t frames = deep ? rng.range(1, 4) : rng.one_in(3) ? rng.range(2, 8) : rng.pick(frame_rolls);
    for (uint32_t frame = 0; frame < frames && out.size() < max_size; ++frame) {
        if (rng.one_in(8)) append(out, rng.one_in(2) || tame ? other_extension(rng, tame) : stray_bytes(rng));
        const size_t left = max_size > out.size() ? max_size - out.size() : 0;
        if (!rng.one_in(4)) append(out, graphic_control(rng, tame));
        append(out, image(rng, out, deep, tame, left / (frames - frame) * 3 / 4));
    }
    if (tame || !rng.one_in(8)) out.push_back(kTrailer);
    if (!tame && rng.one_in(12)) out.resize(13 + rng.below(static_cast<uint32_t>(out.size() - 13)));
    out.push_back(rng.byte());
    out.push_back(rng.byte());
    out.resize(std::min(out.size(), max_size));
    return out;
}

Bytes mutate_gif(const Bytes &gif, Rng &rng, size_t max_size) {
    const std::vector<size_t> starts = block_starts(gif);
    const size_t some = starts.size() > 2 ? rng.range(1, static_cast<uint32_t>(starts.size() - 2)) : 0;
    if (some == 0 || gif.size() < 13) return gif;
    const size_t budget = max_size > gif.size() ? std::max<size_t>((max_size - gif.size()) / 2, 64) : 64;
    const Bytes chosen(gif.begin() + static_cast<long>(starts[some]), gif.begin() + static_cast<long>(starts[some + 1]));
    Bytes out(gif.begin(), gif.begin() + static_cast<long>(starts[some])), middle;
    const uint32_t roll = rng.below(6);
    if (roll < 2) {  // replaced or inserted: an image (usually after a control block), an extension or stray bytes
        const uint32_t kind = rng.below(16);
        if (kind < 3 || kind >= 6) middle = kind < 14 ? graphic_control(rng, false) : Bytes{};
        if (kind >= 3 && kind < 5) middle = other_extension(rng, false);
        if (kind == 5) middle = stray_bytes(rng);
        if (kind >= 6) append(middle, image(rng, gif, false, false, budget));
        if (roll == 1) append(middle, chosen);
    } else if (roll == 3) {
        for (uint32_t n = rng.range(2, 16); n > 0; --n) append(middle, chosen);
    } else if (roll == 4) {
        out = header(rng, false);
        out.insert(out.end(), gif.begin() + static_cast<long>(starts[1]), gif.end());
        out.resize(std::min(out.size(), max_size));
        return out;
    } else if (roll == 5) {
        return out;  // cut after the block before
    }
    append(out, middle);
    out.insert(out.end(), gif.begin() + static_cast<long>(starts[some + 1]), gif.end());
    out.resize(std::min(out.size(), max_size));
    return out;
}

}  // namespace kovra::fuzz
