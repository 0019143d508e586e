// See gif_mutation.h.

#include "fuzz/generators/gif_mutation.h"

#include <algorithm>

#include "fuzz/generators/gif_generator.h"
#include "fuzz/generators/lzw_stream.h"

namespace kovra::fuzz {

namespace {

constexpr size_t kHeaderBytes = 13;

size_t skip_sub_blocks(const Bytes &gif, size_t at) {
    while (at < gif.size()) {
        const size_t n = gif[at++];
        if (n == 0) break;
        at += n;
    }
    return std::min(at, gif.size());
}

size_t table_bytes(uint8_t packed) { return (packed & 0x80) != 0 ? 3u << ((packed & 7) + 1) : 0; }

uint32_t read16(const Bytes &gif, size_t at) { return at + 1 < gif.size() ? gif[at] | (gif[at + 1] << 8) : 0; }

void write16(Bytes *gif, size_t at, uint32_t value) {
    if (at + 1 >= gif->size()) return;
    (*gif)[at] = static_cast<uint8_t>(value);
    (*gif)[at + 1] = static_cast<uint8_t>(value >> 8);
}

GifBlock next_block(const Bytes &gif, size_t at) {
    const uint8_t introducer = gif[at];
    if (introducer == 0x21)
        return {at, skip_sub_blocks(gif, std::min(at + 2, gif.size())), GifBlockKind::kExtension, 0};
    if (introducer == 0x3B) return {at, at + 1, GifBlockKind::kTrailer, 0};
    if (introducer != 0x2C) return {at, at + 1, GifBlockKind::kStray, 0};
    size_t code_size_at = at + 10;
    if (code_size_at <= gif.size()) code_size_at += table_bytes(gif[at + 9]);
    code_size_at = std::min(code_size_at, gif.size());
    const size_t end = code_size_at < gif.size() ? skip_sub_blocks(gif, code_size_at + 1) : gif.size();
    return {at, end, GifBlockKind::kImage, code_size_at};
}

Bytes join(const Bytes &gif, const std::vector<GifBlock> &blocks) {
    Bytes out;
    for (const GifBlock &block : blocks) {
        out.insert(out.end(), gif.begin() + static_cast<long>(block.begin), gif.begin() + static_cast<long>(block.end));
    }
    return out;
}

// Blocks may be given new bytes: they are appended to `pool` and the block points there.
GifBlock pooled(Bytes *pool, const Bytes &bytes, GifBlockKind kind) {
    const size_t begin = pool->size();
    pool->insert(pool->end(), bytes.begin(), bytes.end());
    return {begin, pool->size(), kind, 0};
}

// New data, at a new code size now and then, for the image block `block`.
Bytes new_image_data(const Bytes &gif, const GifBlock &block, Rng &rng, size_t budget) {
    Bytes out(gif.begin() + static_cast<long>(block.begin), gif.begin() + static_cast<long>(block.code_size_at));
    const uint64_t pixels = uint64_t{read16(gif, block.begin + 5)} * read16(gif, block.begin + 7);
    const uint8_t packed = block.begin + 9 < gif.size() ? gif[block.begin + 9] : 0;
    const uint32_t colors = (packed & 0x80) != 0 ? 2u << (packed & 7) : shape_of(gif).global_colors;
    const uint32_t min_code_size =
        rng.one_in(2) && block.code_size_at < gif.size() ? gif[block.code_size_at] : pick_min_code_size(rng, colors);
    out.push_back(static_cast<uint8_t>(min_code_size));
    const Bytes data = generate_lzw_data(rng, min_code_size, pixels, budget);
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

// An edge value in one field of an image descriptor or a graphic control block.
void poke_field(Bytes *gif, const GifBlock &block, Rng &rng) {
    const uint32_t values[] = {0,    1,    2,    4,    5,     8,     255,   256,
                               4999, 5000, 5001, 9999, 10000, 10001, 65535, rng.below(65536)};
    if (block.kind == GifBlockKind::kImage) {
        switch (rng.below(4)) {
            case 0: write16(gif, block.begin + 1 + 2 * rng.below(4), rng.pick(values)); return;
            case 1:
                if (block.begin + 9 < gif->size()) (*gif)[block.begin + 9] ^= static_cast<uint8_t>(1u << rng.below(8));
                return;
            default:
                if (block.code_size_at < gif->size()) (*gif)[block.code_size_at] = static_cast<uint8_t>(rng.below(13));
                return;
        }
    }
    const size_t at = block.begin + 2 + rng.below(6);  // size byte, packed, delay, index, terminator
    if (at < block.end) (*gif)[at] = rng.one_in(2) ? rng.byte() : static_cast<uint8_t>(rng.pick(values));
}

size_t pick_of_kind(const std::vector<GifBlock> &blocks, Rng &rng, bool images_only) {
    std::vector<size_t> found;
    for (size_t i = 1; i < blocks.size(); ++i) {
        const GifBlockKind kind = blocks[i].kind;
        if (kind == GifBlockKind::kImage || (!images_only && kind == GifBlockKind::kExtension)) found.push_back(i);
    }
    return found.empty() ? 0 : found[rng.below(static_cast<uint32_t>(found.size()))];
}

}  // namespace

std::vector<GifBlock> split_gif(const Bytes &gif) {
    std::vector<GifBlock> blocks;
    size_t at = std::min(gif.size(), kHeaderBytes);
    if (at == kHeaderBytes) at = std::min(gif.size(), at + table_bytes(gif[10]));
    blocks.push_back({0, at, GifBlockKind::kHeader, 0});
    while (at < gif.size()) {
        const GifBlock block = next_block(gif, at);
        blocks.push_back(block);
        at = block.end;
        if (block.kind == GifBlockKind::kTrailer && at < gif.size()) {
            blocks.push_back({at, gif.size(), GifBlockKind::kTail, 0});
            break;
        }
    }
    return blocks;
}

Bytes mutate_gif(const Bytes &gif, Rng &rng, size_t max_size) {
    Bytes pool = gif;
    std::vector<GifBlock> blocks = split_gif(pool);
    const GifShape shape = shape_of(pool);
    const size_t budget = max_size > gif.size() ? std::max<size_t>((max_size - gif.size()) / 2, 64) : 64;
    const size_t n = blocks.size();
    const size_t some = n > 1 ? 1 + rng.below(static_cast<uint32_t>(n - 1)) : 0;  // any block after the header
    const size_t gap = 1 + rng.below(static_cast<uint32_t>(n));                   // a place between blocks
    switch (rng.below(9)) {
        case 0:
            if (some != 0) blocks[some] = pooled(&pool, generate_block(rng, shape, budget), GifBlockKind::kStray);
            break;
        case 1:
            blocks.insert(blocks.begin() + static_cast<long>(gap),
                          pooled(&pool, generate_block(rng, shape, budget), GifBlockKind::kStray));
            break;
        case 2:
            if (some != 0) blocks.erase(blocks.begin() + static_cast<long>(some));
            break;
        case 3:
            if (some != 0) blocks.insert(blocks.begin() + static_cast<long>(gap), rng.range(1, 16), blocks[some]);
            break;
        case 4:
        case 5: {
            const size_t image = pick_of_kind(blocks, rng, true);
            if (image != 0)
                blocks[image] = pooled(&pool, new_image_data(pool, blocks[image], rng, budget), GifBlockKind::kImage);
            break;
        }
        case 6: {
            GifShape new_shape;
            blocks[0] = pooled(&pool, generate_header(rng, &new_shape), GifBlockKind::kHeader);
            break;
        }
        case 7: {
            const size_t target = pick_of_kind(blocks, rng, false);
            if (target != 0) poke_field(&pool, blocks[target], rng);
            break;
        }
        default: blocks.resize(some != 0 ? some : n); break;
    }
    Bytes out = join(pool, blocks);
    if (out.size() > max_size) out.resize(max_size);
    return out;
}

}  // namespace kovra::fuzz
