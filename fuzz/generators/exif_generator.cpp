// See exif_generator.h. Each IFD kind has the tags its reader acts on with the type and count it
// expects; most entries are made that way (so the readers get past their checks and copy values),
// about one in six gets a wrong type, an edge count or a wild value offset.

#include "fuzz/generators/exif_generator.h"

#include <algorithm>
#include <deque>
#include <set>

namespace kovra::fuzz {
namespace {

enum Type : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kUndefined = 7, kSRational = 10 };
enum Kind { kZeroth, kExif, kGps, kInterop, kThumbnail };

struct Spec {
    uint16_t tag, type;
    uint32_t count;  // 0: any
};
const std::vector<Spec> kSpecs[] = {
    {{256, kShort, 1}, {257, kLong, 1}, {258, kShort, 3}, {259, kShort, 1}, {262, kShort, 1}, {271, kAscii, 0},
     {272, kAscii, 0}, {273, kLong, 0}, {274, kShort, 1}, {279, kLong, 0}, {282, kRational, 1}, {283, kRational, 1},
     {284, kShort, 1}, {296, kShort, 1}, {305, kAscii, 0}, {306, kAscii, 20}, {513, kLong, 1}, {514, kLong, 1},
     {531, kShort, 1}, {33432, kAscii, 0}},
    {{33434, kRational, 1}, {33437, kRational, 1}, {34855, kShort, 0}, {36864, kUndefined, 4}, {36867, kAscii, 20},
     {36868, kAscii, 20}, {37377, kSRational, 1}, {37378, kRational, 1}, {37380, kSRational, 1}, {37383, kShort, 1},
     {37385, kShort, 1}, {37386, kRational, 1}, {37500, kUndefined, 0}, {40961, kShort, 1}, {40962, kLong, 1},
     {40963, kShort, 1}, {41986, kShort, 1}, {41987, kShort, 1}, {41988, kRational, 1}},
    {{0, kByte, 4}, {1, kAscii, 2}, {2, kRational, 3}, {3, kAscii, 2}, {4, kRational, 3}, {5, kByte, 1},
     {6, kRational, 1}, {7, kRational, 3}, {18, kAscii, 0}, {27, kUndefined, 0}, {29, kAscii, 11}, {30, kShort, 1}},
    {{1, kAscii, 4}, {2, kUndefined, 4}},
    {{256, kLong, 1}, {257, kShort, 1}, {259, kShort, 1}, {262, kShort, 1}, {273, kLong, 0}, {279, kLong, 0},
     {284, kShort, 1}, {4173, kShort, 1}},
};
constexpr uint16_t kPointers[] = {330, 513, 514, 34665, 34853, 40965};

uint32_t unit_of(uint16_t type) {
    static const uint32_t kUnits[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < 13 ? kUnits[type] : 0;
}

uint32_t edge_count(Rng &rng) {
    const uint32_t counts[] = {0, 1, 2, 3, 4, 5, 19, 20, 21, 0x1FFFFFFF, 0x20000000, 0x40000001, 0x7FFFFFFF, 0xFFFFFFFF};
    return rng.pick(counts);
}

void put(Bytes *out, size_t at, uint32_t value, int width, bool little) {
    if (out->size() < at + width) out->resize(at + width);
    for (int i = 0; i < width; ++i) (*out)[at + i] = static_cast<uint8_t>(value >> 8 * (little ? i : width - 1 - i));
}

// Where an entry's value word (or a next offset) points, fixed when the model is laid out.
enum class Ref : uint8_t { kValue, kIfd, kBlob, kFromEnd };
struct Entry {
    uint16_t tag, type;
    uint32_t count;
    Ref ref = Ref::kValue;
    uint32_t number = 0;           // kValue: the word; kIfd: the IFD; kFromEnd: bytes before the end
    Bytes blob{};                  // kBlob: the bytes (in the file's order) placed after the IFDs
    std::vector<uint32_t> list{};  // kBlob: when not empty, the block is these IFDs' offsets
};
struct Ifd {
    std::vector<Entry> entries;
    Ref next = Ref::kValue;
    uint32_t next_number = 0, padding = 0;
    int32_t claimed_count = -1;    // the entry count when it is made to lie
};

class Model {
public:
    Model(Rng &rng, bool far) : rng_(rng), far_(far), little_(rng.one_in(2)) {}

    Bytes build() {
        uint32_t last = add_ifd(kZeroth, 0);
        if (!rng_.one_in(3)) {
            const uint32_t thumbnail = add_ifd(kThumbnail, 1);
            chain(last, thumbnail);
            last = thumbnail;
        }
        if (rng_.one_in(5)) chain(last, add_ifd(kZeroth, 2));
        if (rng_.one_in(6)) {  // a pointer or next offset sent back to an IFD at or before its own
            const uint32_t from = rng_.below(static_cast<uint32_t>(ifds_.size())), to = rng_.below(from + 1);
            auto pointer = std::find_if(ifds_[from].entries.begin(), ifds_[from].entries.end(), [](const Entry &e) { return e.ref == Ref::kIfd; });
            pointer != ifds_[from].entries.end() && rng_.one_in(2) ? void(pointer->number = to) : chain(from, to);
        }
        return lay_out();
    }

private:
    Entry entry(const Spec &spec) {
        Entry e{spec.tag, spec.type, spec.count != 0 ? spec.count : 1 + rng_.spread(spec.type == kAscii ? 48 : 6)};
        if ((e.type == kShort || e.type == kLong) && rng_.one_in(3)) e.type = e.type == kShort ? kLong : kShort;
        const bool odd = rng_.one_in(6);
        if (odd && rng_.one_in(3)) e.type = static_cast<uint16_t>(rng_.below(14));
        if (odd && rng_.one_in(2)) e.count = edge_count(rng_);
        const uint64_t size = uint64_t{e.count} * std::max<uint32_t>(unit_of(e.type), 1);
        if (size > 600 || (odd && rng_.one_in(3))) return wild(e, size);
        for (uint32_t i = 0; i < e.count; ++i) {
            const uint32_t unit = std::max<uint32_t>(unit_of(e.type), 1);
            const uint64_t value = unit == 1 && e.type == kAscii ? rng_.range(0x20, 0x7E) : rng_.one_in(2) ? rng_.below(4096) : rng_.next();
            put(&e.blob, e.blob.size(), static_cast<uint32_t>(value), std::min<int>(unit, 4), little_);
            if (unit == 8) put(&e.blob, e.blob.size(), rng_.one_in(4) ? 0 : rng_.range(1, 1000), 4, little_);
        }
        if (e.type == kAscii && !e.blob.empty() && !rng_.one_in(6)) e.blob.back() = 0;
        if (size > 4) return e.ref = Ref::kBlob, e;
        e.blob.resize(4);
        e.number = uint32_t{e.blob[0]} << 24 | e.blob[1] << 16 | e.blob[2] << 8 | e.blob[3];
        return e;
    }

    // A value offset a few bytes before the end, past it, or anywhere.
    Entry wild(Entry e, uint32_t size) {
        const uint32_t back[] = {0, 1, 2, 3, 4, 7, 8, size, size - 1, size + 1};
        const uint32_t offsets[] = {0, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF8, 0xFFFFFFFF, rng_.spread(0xFFFFFFFF)};
        e.ref = rng_.one_in(2) ? Ref::kFromEnd : Ref::kValue;
        e.number = e.ref == Ref::kFromEnd ? rng_.pick(back) : rng_.pick(offsets);
        e.blob.clear();
        return e;
    }

    // A small JPEG behind tag 513: a frame header with the thumbnail's size, a scan.
    void thumbnail(std::vector<Entry> *entries) {
        Bytes jpeg{0xFF, 0xD8, 0xFF, 0xDB, 0, 4, 0, 1, 0xFF, uint8_t(rng_.one_in(4) ? 0xC2 : 0xC0), 0, 0x11, uint8_t(rng_.one_in(8) ? 12 : 8)};
        put(&jpeg, jpeg.size(), rng_.spread(2000), 2, false), put(&jpeg, jpeg.size(), rng_.spread(2000), 2, false);
        jpeg.insert(jpeg.end(), {3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1});
        if (rng_.one_in(6)) jpeg.resize(jpeg.size() - rng_.range(1, 12));
        jpeg.insert(jpeg.end(), {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0x3F, 0});
        rng_.fill(&jpeg, rng_.spread(64));
        jpeg.insert(jpeg.end(), {0xFF, 0xD9});
        Entry offset{513, kLong, 1, Ref::kBlob, 0, jpeg};
        entries->push_back(rng_.one_in(6) ? wild(offset, 4) : offset);
        entries->push_back({514, kLong, 1, Ref::kValue, rng_.one_in(6) ? rng_.spread(0xFFFFFFFF) : static_cast<uint32_t>(jpeg.size())});
    }

    uint32_t add_ifd(Kind kind, uint32_t depth) {
        const auto number = static_cast<uint32_t>(ifds_.size());
        ifds_.emplace_back();
        Ifd ifd;
        for (uint32_t n = rng_.spread(16); n > 0; --n) ifd.entries.push_back(entry(kSpecs[kind][rng_.below(static_cast<uint32_t>(kSpecs[kind].size()))]));
        if ((kind == kThumbnail || kind == kZeroth) && rng_.one_in(2)) thumbnail(&ifd.entries);
        if (kind == kZeroth && depth < 4 && (depth == 0 || rng_.one_in(3))) ifd.entries.push_back({34665, kLong, 1, Ref::kIfd, add_ifd(kExif, depth + 1)});
        if (kind == kZeroth && depth < 4 && rng_.one_in(3)) ifd.entries.push_back({34853, kLong, 1, Ref::kIfd, add_ifd(kGps, depth + 1)});
        if (kind == kExif && depth < 4 && rng_.one_in(3)) ifd.entries.push_back({40965, kLong, 1, Ref::kIfd, add_ifd(kInterop, depth + 1)});
        if (kind == kZeroth && depth < 4 && rng_.one_in(4)) {  // SubIFDs: one inline offset or a block of several
            Entry sub{330, kLong, rng_.range(1, 3), Ref::kBlob};
            for (uint32_t i = 0; i < sub.count; ++i) sub.list.push_back(add_ifd(kZeroth, depth + 1));
            if (sub.count == 1) sub.ref = Ref::kIfd, sub.number = sub.list[0];
            ifd.entries.push_back(sub);
        }
        if (rng_.one_in(5)) {
            rng_.shuffle(&ifd.entries);
        } else {
            std::stable_sort(ifd.entries.begin(), ifd.entries.end(), [](const Entry &a, const Entry &b) { return a.tag < b.tag; });
        }
        if (!ifd.entries.empty() && rng_.one_in(10)) ifd.entries.push_back(ifd.entries[rng_.below(static_cast<uint32_t>(ifd.entries.size()))]);
        for (size_t i = 0, n = ifd.entries.size(); i < n && rng_.one_in(6); ++i) {  // pointers repeated, to any IFD
            if (ifd.entries[i].ref != Ref::kIfd) continue;
            for (uint32_t k = rng_.range(1, 4); k > 0; --k) {
                ifd.entries.push_back(ifd.entries[i]);
                if (rng_.one_in(2)) ifd.entries.back().number = rng_.below(static_cast<uint32_t>(ifds_.size()));
            }
        }
        if (rng_.one_in(20)) ifd.claimed_count = rng_.one_in(2) ? 0xFFFF : static_cast<int32_t>(ifd.entries.size() + 1);
        if (rng_.one_in(8)) ifd.padding = rng_.spread(64);
        if (far_ && rng_.one_in(2)) ifd.padding = 16384 + rng_.spread(4096), far_ = false;
        if (rng_.one_in(10)) {
            ifd.next = rng_.one_in(2) ? Ref::kFromEnd : Ref::kValue;
            ifd.next_number = rng_.one_in(2) ? rng_.below(16) : static_cast<uint32_t>(rng_.next());
        }
        ifds_[number] = ifd;
        return number;
    }

    void chain(uint32_t from, uint32_t to) { ifds_[from].next = Ref::kIfd, ifds_[from].next_number = to; }

    // The header, each IFD after its filler, then the blocks, each at an even offset.
    Bytes lay_out() {
        std::vector<uint32_t> at;
        uint32_t end = 8;
        for (const Ifd &ifd : ifds_) at.push_back(end += ifd.padding), end += 6 + 12 * static_cast<uint32_t>(ifd.entries.size());
        Bytes out(end, 0);
        const auto resolve = [&](Ref ref, uint32_t number, uint32_t length) {
            return ref == Ref::kIfd ? (number < at.size() ? at[number] : number) : ref == Ref::kFromEnd ? length - number : number;
        };
        for (size_t i = 0; i < ifds_.size(); ++i) {
            for (Entry &e : ifds_[i].entries) {
                if (e.ref != Ref::kBlob) continue;
                for (uint32_t target : e.list) put(&e.blob, e.blob.size(), resolve(Ref::kIfd, target, 0), 4, little_);
                e.number = static_cast<uint32_t>(out.size() + (out.size() & 1));
                out.resize(e.number), out.insert(out.end(), e.blob.begin(), e.blob.end());
            }
        }
        const uint32_t length = static_cast<uint32_t>(out.size() + (rng_.one_in(4) ? rng_.spread(64) : 0));
        out.resize(length);
        out[0] = out[1] = little_ ? 'I' : 'M';
        if (rng_.one_in(24)) out[1] = rng_.one_in(2) ? 'M' : rng_.byte();
        put(&out, 2, rng_.one_in(24) ? (rng_.one_in(2) ? 43 : rng_.byte()) : 42, 2, little_);
        put(&out, 4, rng_.one_in(16) ? resolve(rng_.one_in(2) ? Ref::kFromEnd : Ref::kValue, rng_.below(16), length) : at[0], 4, little_);
        for (size_t i = 0; i < ifds_.size(); ++i) {
            const Ifd &ifd = ifds_[i];
            uint32_t p = at[i];
            put(&out, p, ifd.claimed_count >= 0 ? ifd.claimed_count : static_cast<uint32_t>(ifd.entries.size()), 2, little_);
            for (const Entry &e : ifd.entries) {
                put(&out, p + 2, e.tag, 2, little_), put(&out, p + 4, e.type, 2, little_), put(&out, p + 6, e.count, 4, little_);
                const bool raw_bytes = e.ref == Ref::kValue && !e.blob.empty();
                put(&out, p + 10, e.ref == Ref::kBlob ? e.number : resolve(e.ref, e.number, length), 4, little_ && !raw_bytes);
                p += 12;
            }
            put(&out, p + 2, resolve(ifd.next, ifd.next_number, length), 4, little_);
        }
        return out;
    }

    Rng &rng_;
    bool far_, little_;
    std::vector<Ifd> ifds_;
};

Bytes segment(uint8_t marker, const Bytes &payload, uint32_t length) {
    Bytes out{0xFF, marker};
    put(&out, 2, length, 2, false);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}
Bytes segment(uint8_t marker, const Bytes &payload) { return segment(marker, payload, static_cast<uint32_t>(payload.size() + 2)); }

// APP1 "Exif" around the TIFF data, now and then with a length that lies or a damaged identifier.
Bytes exif_segment(Rng &rng, const Bytes &tiff) {
    const char *ids[] = {"Exif\0\0", "Exif\0X", "exif\0\0"};
    const char *id = rng.one_in(16) ? ids[rng.range(1, 2)] : ids[0];
    Bytes payload(id, id + 6);
    payload.insert(payload.end(), tiff.begin(), tiff.begin() + static_cast<long>(std::min<size_t>(tiff.size(), 65527)));
    const uint32_t length = static_cast<uint32_t>(payload.size() + 2);
    const uint32_t lies[] = {0, 2, 7, 8, 9, 65535, length + 1, length + 100};
    return segment(0xE1, payload, rng.one_in(12) ? rng.pick(lies) : length);
}

// JFIF, an XMP APP1, a large APP2 (putting what follows past 16 KiB when `far`), a comment, a
// table, a restart marker or fill bytes; then the EXIF block (now and then twice) and an image.
Bytes jpeg_with_exif(Rng &rng, const Bytes &tiff, bool far) {
    Bytes out{0xFF, 0xD8}, payload;
    for (uint32_t n = rng.spread(3); n > 0; --n, payload.clear()) {
        const uint32_t kind = rng.below(7);
        const char *text = kind == 0 ? "JFIF\0\1\1\0\0\1\0\1\0\0" : "http://ns.adobe.com/xap/1.0/";
        if (kind < 2) payload.assign(text, text + (kind == 0 ? 14 : 29));
        rng.fill(&payload, kind == 1 ? rng.spread(200) : kind == 2 ? (far ? 16384 + rng.spread(4096) : rng.spread(300)) : kind == 3 ? rng.spread(64) : kind == 4 ? 65 : 0);
        const uint8_t markers[] = {0xE0, 0xE1, 0xE2, 0xFE, 0xDB};
        const Bytes piece = kind < 5 ? segment(markers[kind], payload) : Bytes{0xFF, static_cast<uint8_t>(kind == 5 ? 0xD0 + rng.below(8) : 0xFF)};
        out.insert(out.end(), piece.begin(), piece.end());
    }
    const Bytes exif = exif_segment(rng, tiff);
    for (int copies = rng.one_in(8) ? 2 : 1; copies > 0; --copies) out.insert(out.end(), exif.begin(), exif.end());
    out.insert(out.end(), {0xFF, 0xC0, 0, 0x0B, 8, 0, 0x10, 0, 0x10, 1, 1, 0x11, 0, 0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0x3F, 0});
    rng.fill(&out, rng.spread(128));
    if (!rng.one_in(6)) out.insert(out.end(), {0xFF, 0xD9});
    return out;
}

}  // namespace

Bytes generate_exif_input(Rng &rng, size_t max_size) {
    const bool far = max_size > 24576 && rng.one_in(8);
    const Bytes tiff = Model(rng, far).build();
    const uint32_t wrap = rng.below(10);
    Bytes out = wrap < 3 ? tiff : wrap == 3 ? exif_segment(rng, tiff) : jpeg_with_exif(rng, tiff, far);
    out.push_back(rng.byte());
    if (out.size() > max_size) out.resize(max_size);
    return out;
}

Bytes mutate_exif(const Bytes &input, Rng &rng) {
    static const uint8_t kExifId[] = {'E', 'x', 'i', 'f', 0, 0};
    const auto found = std::search(input.begin(), input.end(), std::begin(kExifId), std::end(kExifId));
    const size_t base = found == input.end() ? 0 : static_cast<size_t>(found - input.begin()) + 6;
    if (base + 8 > input.size() || (input[base] != 'I' && input[base] != 'M')) return {};
    Bytes out = input;
    const bool little = out[base] == 'I';
    const size_t length = out.size() - base;
    const auto get = [&](size_t at, int width) {
        uint32_t v = 0;
        for (int i = 0; i < width; ++i) v = v << 8 | (base + at + i < out.size() ? out[base + at + (little ? width - 1 - i : i)] : 0);
        return v;
    };
    const auto set = [&](size_t at, int width, uint32_t v) { if (base + at + width <= out.size()) put(&out, base + at, v, width, little); };
    // Walk the IFDs as the readers do: IFD0, the next chain, and the pointer tags.
    std::vector<size_t> ifds, entries, nexts;
    std::set<size_t> seen;
    std::deque<size_t> queue{get(4, 4)};
    while (!queue.empty() && ifds.size() < 64) {
        const size_t ifd = queue.front();
        queue.pop_front();
        if (ifd + 2 > length || !seen.insert(ifd).second) continue;
        ifds.push_back(ifd);
        const size_t count = get(ifd, 2);
        size_t at = ifd + 2;
        for (size_t k = 0; k < count && at + 12 <= length; ++k, at += 12) {
            entries.push_back(at);
            if (std::find(std::begin(kPointers), std::end(kPointers), get(at, 2)) != std::end(kPointers)) queue.push_back(get(at + 8, 4));
        }
        if (at + 4 <= length && at == ifd + 2 + 12 * count) nexts.push_back(at), queue.push_back(get(at, 4));
    }
    const auto any = [&](const std::vector<size_t> &items) { return items[rng.below(static_cast<uint32_t>(items.size()))]; };
    const uint32_t offsets[] = {0, 1, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF8, 0xFFFFFFFF, rng.spread(0xFFFFFFFF),
                                static_cast<uint32_t>(length - rng.below(9)), static_cast<uint32_t>(length + rng.below(4)),
                                ifds.empty() ? 0u : static_cast<uint32_t>(any(ifds))};
    const uint32_t roll = rng.below(10);
    if (roll < 5 && !entries.empty()) {
        const size_t e = any(entries);
        const Kind kind = static_cast<Kind>(rng.below(5));
        const uint32_t field = rng.below(4);
        const uint32_t tag = rng.one_in(5) ? rng.pick(kPointers) : kSpecs[kind][rng.below(static_cast<uint32_t>(kSpecs[kind].size()))].tag;
        field == 0 ? set(e, 2, tag) : field == 1 ? set(e + 2, 2, rng.below(14)) : field == 2 ? set(e + 4, 4, edge_count(rng)) : set(e + 8, 4, rng.pick(offsets));
    } else if (roll < 7 && !nexts.empty()) {
        set(any(nexts), 4, rng.pick(offsets));
    } else if (roll < 8 && !ifds.empty()) {
        const uint32_t counts[] = {0, 1, 0xFFFF, static_cast<uint32_t>(entries.size() + 1)};
        set(any(ifds), 2, rng.pick(counts));
    } else if (roll < 9) {
        set(4, 4, rng.pick(offsets));
    } else {
        out[base] = out[base + 1] = little ? 'M' : 'I';
    }
    return out;
}

}  // namespace kovra::fuzz
