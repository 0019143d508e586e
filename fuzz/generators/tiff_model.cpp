// See tiff_model.h. Layout: the 8-byte header, then for each IFD its filler, the IFD itself
// (count, entries, next offset) and the blocks of its entries, each at an even offset.

#include "fuzz/generators/tiff_model.h"

namespace kovra::fuzz {

namespace {

struct Layout {
    std::vector<uint32_t> ifd_at;
    std::vector<std::vector<uint32_t>> blob_at;  // per IFD, per entry
    uint32_t length = 0;
};

Layout lay_out(const TiffModel &model) {
    Layout layout;
    uint32_t at = 8;
    for (const TiffIfd &ifd : model.ifds) {
        at += ifd.padding;
        layout.ifd_at.push_back(at);
        at += 2 + 12 * static_cast<uint32_t>(ifd.entries.size()) + 4;
        std::vector<uint32_t> blobs;
        for (const TiffEntry &entry : ifd.entries) {
            blobs.push_back(at);
            if (entry.ref != TiffRef::kBlob) continue;
            const size_t size = entry.ifd_list.empty() ? entry.data.size() : 4 * entry.ifd_list.size();
            at += static_cast<uint32_t>((size + 1) & ~size_t{1});
        }
        layout.blob_at.push_back(blobs);
    }
    layout.length = at + model.tail_padding;
    return layout;
}

uint32_t resolve(const Layout &layout, TiffRef ref, uint32_t number, uint32_t blob_at) {
    switch (ref) {
        case TiffRef::kBlob: return blob_at;
        case TiffRef::kIfd: return number < layout.ifd_at.size() ? layout.ifd_at[number] : number;
        case TiffRef::kFromEnd: return layout.length - number;
        default: return number;
    }
}

void put_at(Bytes *out, uint32_t at, const Bytes &bytes) {
    for (size_t i = 0; i < bytes.size(); ++i) (*out)[at + i] = bytes[i];
}

}  // namespace

void put_u16(Bytes *out, uint32_t value, bool little) {
    const uint8_t lo = static_cast<uint8_t>(value), hi = static_cast<uint8_t>(value >> 8);
    out->push_back(little ? lo : hi);
    out->push_back(little ? hi : lo);
}

void put_u32(Bytes *out, uint32_t value, bool little) {
    put_u16(out, little ? value : value >> 16, little);
    put_u16(out, little ? value >> 16 : value, little);
}

Bytes write_tiff(const TiffModel &model) {
    const Layout layout = lay_out(model);
    const bool little = model.little;
    Bytes out(layout.length, 0);
    Bytes header{model.order[0], model.order[1]};
    put_u16(&header, model.magic, little);
    put_u32(&header, resolve(layout, model.first, model.first_number, 0), little);
    put_at(&out, 0, header);
    for (size_t i = 0; i < model.ifds.size(); ++i) {
        const TiffIfd &ifd = model.ifds[i];
        Bytes bytes;
        const uint32_t count = ifd.claimed_count >= 0 ? static_cast<uint32_t>(ifd.claimed_count)
                                                      : static_cast<uint32_t>(ifd.entries.size());
        put_u16(&bytes, count, little);
        for (size_t k = 0; k < ifd.entries.size(); ++k) {
            const TiffEntry &entry = ifd.entries[k];
            const uint32_t blob_at = layout.blob_at[i][k];
            put_u16(&bytes, entry.tag, little);
            put_u16(&bytes, entry.type, little);
            put_u32(&bytes, entry.count, little);
            if (entry.ref == TiffRef::kInline) {
                for (size_t b = 0; b < 4; ++b) bytes.push_back(b < entry.data.size() ? entry.data[b] : 0);
            } else {
                put_u32(&bytes, resolve(layout, entry.ref, entry.number, blob_at), little);
            }
            if (entry.ref != TiffRef::kBlob) continue;
            Bytes blob = entry.data;
            if (!entry.ifd_list.empty()) {
                blob.clear();
                for (uint32_t target : entry.ifd_list)
                    put_u32(&blob, resolve(layout, TiffRef::kIfd, target, 0), little);
            }
            put_at(&out, blob_at, blob);
        }
        put_u32(&bytes, resolve(layout, ifd.next, ifd.next_number, 0), little);
        put_at(&out, layout.ifd_at[i], bytes);
    }
    return out;
}

}  // namespace kovra::fuzz
