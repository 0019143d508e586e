// See exif_generator.h. Each IFD kind has the tags its reader acts on, with the type and count
// that reader expects; most entries are made that way (so the readers get past their checks and
// copy values), and about one in six gets a wrong type, an edge count or a wild value offset.

#include "fuzz/generators/exif_generator.h"

#include <algorithm>

namespace kovra::fuzz {

namespace {

enum Type : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kUndefined = 7, kSRational = 10 };

struct TagSpec {
    uint16_t tag, type;
    uint32_t count;  // 0: any
};

enum class IfdKind { kZeroth, kExif, kGps, kInterop, kThumbnail };

const TagSpec kZerothTags[] = {{256, kShort, 1}, {257, kLong, 1},  {258, kShort, 3},    {259, kShort, 1},
                               {262, kShort, 1}, {271, kAscii, 0}, {272, kAscii, 0},    {273, kLong, 0},
                               {274, kShort, 1}, {279, kLong, 0},  {282, kRational, 1}, {283, kRational, 1},
                               {284, kShort, 1}, {296, kShort, 1}, {305, kAscii, 0},    {306, kAscii, 20},
                               {513, kLong, 1},  {514, kLong, 1},  {531, kShort, 1},    {33432, kAscii, 0}};
const TagSpec kExifTags[] = {{33434, kRational, 1},  {33437, kRational, 1}, {34855, kShort, 0},
                             {36864, kUndefined, 4}, {36867, kAscii, 20},   {36868, kAscii, 20},
                             {37377, kSRational, 1}, {37378, kRational, 1}, {37379, kSRational, 1},
                             {37380, kSRational, 1}, {37381, kRational, 1}, {37383, kShort, 1},
                             {37385, kShort, 1},     {37386, kRational, 1}, {37500, kUndefined, 0},
                             {40961, kShort, 1},     {40962, kLong, 1},     {40963, kShort, 1},
                             {41986, kShort, 1},     {41987, kShort, 1},    {41988, kRational, 1}};
const TagSpec kGpsTags[] = {{0, kByte, 4},     {1, kAscii, 2},      {2, kRational, 3}, {3, kAscii, 2},
                            {4, kRational, 3}, {5, kByte, 1},       {6, kRational, 1}, {7, kRational, 3},
                            {18, kAscii, 0},   {27, kUndefined, 0}, {29, kAscii, 11},  {30, kShort, 1}};
const TagSpec kInteropTags[] = {{1, kAscii, 4}, {2, kUndefined, 4}};
const TagSpec kThumbnailTags[] = {{256, kLong, 1}, {257, kShort, 1}, {259, kShort, 1}, {262, kShort, 1},
                                  {273, kLong, 0}, {279, kLong, 0},  {284, kShort, 1}, {4173, kShort, 1}};

template <size_t N>
TagSpec pick_spec(Rng &rng, const TagSpec (&specs)[N]) {
    return specs[rng.below(N)];
}

TagSpec spec_for(Rng &rng, IfdKind kind) {
    switch (kind) {
        case IfdKind::kExif: return pick_spec(rng, kExifTags);
        case IfdKind::kGps: return pick_spec(rng, kGpsTags);
        case IfdKind::kInterop: return pick_spec(rng, kInteropTags);
        case IfdKind::kThumbnail: return pick_spec(rng, kThumbnailTags);
        default: return pick_spec(rng, kZerothTags);
    }
}

uint32_t unit_of(uint16_t type) {
    static const uint32_t kUnits[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < 13 ? kUnits[type] : 0;
}

// `count` values of `type` in the file's byte order: text for ASCII (ending in 0 mostly).
Bytes typed_values(Rng &rng, uint16_t type, uint32_t count, bool little) {
    Bytes out;
    for (uint32_t i = 0; i < count; ++i) {
        switch (unit_of(type)) {
            case 2: put_u16(&out, rng.one_in(2) ? rng.below(8) : rng.byte() | (rng.byte() << 8), little); break;
            case 4: put_u32(&out, rng.one_in(2) ? rng.below(4096) : static_cast<uint32_t>(rng.next()), little); break;
            case 8:
                put_u32(&out, static_cast<uint32_t>(rng.next()), little);
                put_u32(&out, rng.one_in(4) ? 0 : rng.range(1, 1000), little);
                break;
            default: out.push_back(type == kAscii ? static_cast<uint8_t>(rng.range(0x20, 0x7E)) : rng.byte()); break;
        }
    }
    if (type == kAscii && !out.empty() && !rng.one_in(6)) out.back() = 0;
    return out;
}

// The value offset of an entry whose value does not fit: a few bytes before the end, past it, or
// anywhere.
void wild_value(Rng &rng, TiffEntry *entry) {
    const uint32_t size = entry->count * unit_of(entry->type);
    if (rng.one_in(2)) {
        const uint32_t back[] = {0, 1, 2, 3, 4, 7, 8, size, size - 1, size + 1};
        entry->ref = TiffRef::kFromEnd;
        entry->number = rng.pick(back);
    } else {
        const uint32_t offsets[] = {0, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF8, 0xFFFFFFFF, rng.spread(0xFFFFFFFF)};
        entry->ref = TiffRef::kRaw;
        entry->number = rng.pick(offsets);
    }
    entry->data.clear();
}

// The entry's value bytes go inline when they fit in four bytes, else into a block after the IFD.
void attach_values(Rng &rng, TiffEntry *entry, bool little) {
    const uint64_t size = uint64_t{entry->count} * std::max<uint32_t>(unit_of(entry->type), 1);  // unknown types: bytes
    if (size > 600) {
        wild_value(rng, entry);
        return;
    }
    entry->data = typed_values(rng, entry->type, entry->count, little);
    entry->ref = size <= 4 ? TiffRef::kInline : TiffRef::kBlob;
}

TiffEntry make_entry(Rng &rng, TagSpec spec, bool little) {
    TiffEntry entry;
    entry.tag = spec.tag;
    entry.type = spec.type;
    if ((spec.type == kShort || spec.type == kLong) && rng.one_in(3)) entry.type = spec.type == kShort ? kLong : kShort;
    entry.count = spec.count != 0 ? spec.count : 1 + rng.spread(spec.type == kAscii ? 48 : 6);
    const bool odd = rng.one_in(6);
    if (odd && rng.one_in(3)) entry.type = static_cast<uint16_t>(rng.below(14));
    if (odd && rng.one_in(2)) entry.count = edge_count(rng);
    attach_values(rng, &entry, little);
    if (odd && rng.one_in(3)) wild_value(rng, &entry);
    return entry;
}

TiffEntry pointer_entry(uint16_t tag, uint32_t ifd) {
    TiffEntry entry;
    entry.tag = tag;
    entry.type = kLong;
    entry.count = 1;
    entry.ref = TiffRef::kIfd;
    entry.number = ifd;
    return entry;
}

// A small JPEG: SOI, a frame header with the thumbnail's size (precision 8 mostly), a scan.
Bytes thumbnail_jpeg(Rng &rng) {
    Bytes out{0xFF, 0xD8, 0xFF, 0xDB, 0x00, 0x04, 0x00, 0x01};
    const uint8_t sof = rng.one_in(4) ? 0xC2 : 0xC0;
    out.insert(out.end(), {0xFF, sof, 0x00, 0x11, static_cast<uint8_t>(rng.one_in(8) ? 12 : 8)});
    put_u16(&out, rng.spread(2000), false);
    put_u16(&out, rng.spread(2000), false);
    out.insert(out.end(), {3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1});
    if (rng.one_in(6)) out.resize(out.size() - rng.range(1, 12));
    out.insert(out.end(), {0xFF, 0xDA, 0x00, 0x08, 1, 1, 0, 0, 0x3F, 0});
    rng.fill(&out, rng.spread(64));
    out.insert(out.end(), {0xFF, 0xD9});
    return out;
}

// JPEGInterchangeFormat pointing at a thumbnail and its length.
void add_thumbnail(Rng &rng, std::vector<TiffEntry> *entries, bool little) {
    TiffEntry offset;
    offset.tag = 513;
    offset.type = kLong;
    offset.count = 1;
    offset.ref = TiffRef::kBlob;
    offset.data = thumbnail_jpeg(rng);
    if (rng.one_in(6)) wild_value(rng, &offset);
    TiffEntry length;
    length.tag = 514;
    length.type = kLong;
    length.count = 1;
    put_u32(&length.data, rng.one_in(6) ? rng.spread(0xFFFFFFFF) : static_cast<uint32_t>(offset.data.size()), little);
    entries->push_back(offset);
    entries->push_back(length);
}

class ModelBuilder {
public:
    ModelBuilder(Rng &rng, bool far) : rng_(rng), far_(far) {
        model_.little = rng.one_in(2);
        model_.order[0] = model_.order[1] = model_.little ? 'I' : 'M';
        if (rng.one_in(24)) model_.order[1] = rng.one_in(2) ? 'M' : rng.byte();
        if (rng.one_in(24)) model_.magic = rng.one_in(2) ? 43 : rng.byte();
    }

    TiffModel build() {
        uint32_t last = add_ifd(IfdKind::kZeroth, 0);
        if (!rng_.one_in(3)) {
            const uint32_t thumbnail = add_ifd(IfdKind::kThumbnail, 1);
            chain(last, thumbnail);
            last = thumbnail;
        }
        if (rng_.one_in(5)) chain(last, add_ifd(IfdKind::kZeroth, 2));
        if (rng_.one_in(6)) make_loop();
        if (rng_.one_in(16)) {
            model_.first = rng_.one_in(2) ? TiffRef::kFromEnd : TiffRef::kRaw;
            model_.first_number = rng_.below(16);
        }
        if (rng_.one_in(4)) model_.tail_padding = rng_.spread(64);
        return model_;
    }

private:
    // A new IFD of `kind` with its sub-IFDs; returns its number.
    uint32_t add_ifd(IfdKind kind, uint32_t depth) {
        const uint32_t number = static_cast<uint32_t>(model_.ifds.size());
        model_.ifds.emplace_back();
        TiffIfd ifd;
        for (uint32_t n = rng_.spread(16); n > 0; --n)
            ifd.entries.push_back(make_entry(rng_, spec_for(rng_, kind), model_.little));
        if ((kind == IfdKind::kThumbnail || kind == IfdKind::kZeroth) && rng_.one_in(2))
            add_thumbnail(rng_, &ifd.entries, model_.little);
        if (depth < 4) add_sub_ifds(kind, depth, &ifd.entries);
        if (rng_.one_in(5))
            rng_.shuffle(&ifd.entries);
        else
            sort_by_tag(&ifd.entries);
        repeat_entries(&ifd.entries);
        if (rng_.one_in(20)) ifd.claimed_count = rng_.one_in(2) ? 0xFFFF : static_cast<int32_t>(ifd.entries.size() + 1);
        if (rng_.one_in(8)) ifd.padding = rng_.spread(64);
        if (far_ && rng_.one_in(2)) {
            ifd.padding = 16384 + rng_.spread(4096);
            far_ = false;
        }
        if (rng_.one_in(10)) {  // a next offset where none is expected, or a wild one
            ifd.next = rng_.one_in(2) ? TiffRef::kFromEnd : TiffRef::kRaw;
            ifd.next_number = rng_.one_in(2) ? rng_.below(16) : static_cast<uint32_t>(rng_.next());
        }
        model_.ifds[number] = ifd;
        return number;
    }

    // Repeated tags: now and then any entry once more, or the IFD pointers several times over,
    // to their own IFD or to any other (a reader may be sent through an IFD again and again).
    void repeat_entries(std::vector<TiffEntry> *entries) {
        if (entries->empty()) return;
        if (rng_.one_in(10)) entries->push_back((*entries)[rng_.below(static_cast<uint32_t>(entries->size()))]);
        if (!rng_.one_in(6)) return;
        for (size_t i = 0, n = entries->size(); i < n; ++i) {
            if ((*entries)[i].ref != TiffRef::kIfd) continue;
            for (uint32_t k = rng_.range(1, 4); k > 0; --k) {
                TiffEntry copy = (*entries)[i];
                if (rng_.one_in(2)) copy.number = rng_.below(static_cast<uint32_t>(model_.ifds.size()));
                entries->push_back(copy);
            }
        }
    }

    void add_sub_ifds(IfdKind kind, uint32_t depth, std::vector<TiffEntry> *entries) {
        if (kind == IfdKind::kZeroth) {
            if (rng_.one_in(3) || depth == 0)
                entries->push_back(pointer_entry(34665, add_ifd(IfdKind::kExif, depth + 1)));
            if (rng_.one_in(3)) entries->push_back(pointer_entry(34853, add_ifd(IfdKind::kGps, depth + 1)));
            if (rng_.one_in(4)) add_sub_ifd_list(depth, entries);
        } else if (kind == IfdKind::kExif && rng_.one_in(3)) {
            entries->push_back(pointer_entry(40965, add_ifd(IfdKind::kInterop, depth + 1)));
        }
    }

    // SubIFDs: one inline offset, or a block of several.
    void add_sub_ifd_list(uint32_t depth, std::vector<TiffEntry> *entries) {
        const uint32_t count = rng_.range(1, 3);
        TiffEntry entry = pointer_entry(330, 0);
        entry.count = count;
        std::vector<uint32_t> children;
        for (uint32_t i = 0; i < count; ++i) children.push_back(add_ifd(IfdKind::kZeroth, depth + 1));
        if (count == 1) {
            entry.number = children[0];
        } else {
            entry.ref = TiffRef::kBlob;
            entry.ifd_list = children;
        }
        entries->push_back(entry);
    }

    void chain(uint32_t from, uint32_t to) {
        model_.ifds[from].next = TiffRef::kIfd;
        model_.ifds[from].next_number = to;
    }

    // A next pointer or an IFD pointer entry sent back to an IFD at or before its own.
    void make_loop() {
        const uint32_t from = rng_.below(static_cast<uint32_t>(model_.ifds.size()));
        const uint32_t to = rng_.below(from + 1);
        TiffIfd &ifd = model_.ifds[from];
        for (TiffEntry &entry : ifd.entries) {
            if (entry.ref == TiffRef::kIfd && rng_.one_in(2)) {
                entry.number = to;
                return;
            }
        }
        chain(from, to);
    }

    static void sort_by_tag(std::vector<TiffEntry> *entries) {
        std::stable_sort(entries->begin(), entries->end(),
                         [](const TiffEntry &a, const TiffEntry &b) { return a.tag < b.tag; });
    }

    Rng &rng_;
    bool far_;
    TiffModel model_;
};

Bytes segment(uint8_t marker, const Bytes &payload) {
    Bytes out{0xFF, marker};
    put_u16(&out, static_cast<uint32_t>(payload.size() + 2), false);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

// A segment that is not the EXIF block: JFIF, an XMP APP1, a comment, a table, a large APP2
// (which puts what follows past 16 KiB when `far`), a restart marker, fill bytes.
Bytes other_segment(Rng &rng, bool far) {
    Bytes payload;
    switch (rng.below(7)) {
        case 0: {
            const char jfif[] = "JFIF\0\1\1\0\0\1\0\1\0\0";
            return segment(0xE0, Bytes(jfif, jfif + 14));
        }
        case 1: {
            const char xmp[] = "http://ns.adobe.com/xap/1.0/";
            payload.assign(xmp, xmp + sizeof xmp);
            rng.fill(&payload, rng.spread(200));
            return segment(0xE1, payload);
        }
        case 2: rng.fill(&payload, far ? 16384 + rng.spread(4096) : rng.spread(300)); return segment(0xE2, payload);
        case 3: rng.fill(&payload, rng.spread(64)); return segment(0xFE, payload);
        case 4: rng.fill(&payload, 65); return segment(0xDB, payload);
        case 5: return Bytes{0xFF, static_cast<uint8_t>(0xD0 + rng.below(8))};
        default: return Bytes{0xFF, 0xFF};
    }
}

// APP1 "Exif" around `tiff`, with now and then a length that lies or a damaged identifier.
Bytes exif_segment(Rng &rng, Bytes tiff) {
    if (tiff.size() > 65527) tiff.resize(65527);
    uint32_t length = static_cast<uint32_t>(tiff.size() + 8);
    if (rng.one_in(12)) {
        const uint32_t lengths[] = {0, 2, 7, 8, 9, 65535, length + 1, length + 100};
        length = rng.pick(lengths);
    }
    Bytes out{0xFF, 0xE1};
    put_u16(&out, length, false);
    const char *ids[] = {"Exif\0\0", "Exif\0X", "exif\0\0"};
    const char *id = rng.one_in(16) ? ids[rng.range(1, 2)] : ids[0];
    out.insert(out.end(), id, id + 6);
    out.insert(out.end(), tiff.begin(), tiff.end());
    return out;
}

// The image after the metadata: a frame header, a scan with some data, the end marker.
Bytes image_tail(Rng &rng) {
    Bytes out{0xFF, 0xC0, 0x00, 0x0B, 0x08, 0x00, 0x10, 0x00, 0x10, 0x01, 0x01, 0x11, 0x00};
    out.insert(out.end(), {0xFF, 0xDA, 0x00, 0x08, 0x01, 0x01, 0x00, 0x00, 0x3F, 0x00});
    rng.fill(&out, rng.spread(128));
    if (!rng.one_in(6)) out.insert(out.end(), {0xFF, 0xD9});
    return out;
}

Bytes jpeg_with_exif(Rng &rng, const Bytes &tiff, bool far) {
    Bytes out{0xFF, 0xD8};
    for (uint32_t n = rng.spread(3); n > 0; --n) {
        const Bytes other = other_segment(rng, far);
        out.insert(out.end(), other.begin(), other.end());
    }
    const Bytes exif = exif_segment(rng, tiff);
    out.insert(out.end(), exif.begin(), exif.end());
    if (rng.one_in(8)) out.insert(out.end(), exif.begin(), exif.end());
    const Bytes tail = image_tail(rng);
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

}  // namespace

uint32_t edge_count(Rng &rng) {
    const uint32_t counts[] = {0,  1,  2,          3,          4,          5,          19,
                               20, 21, 0x1FFFFFFF, 0x20000000, 0x40000001, 0x7FFFFFFF, 0xFFFFFFFF};
    return rng.pick(counts);
}

TiffModel generate_tiff_model(Rng &rng, bool far) { return ModelBuilder(rng, far).build(); }

uint16_t known_tag(Rng &rng) {
    switch (rng.below(5)) {
        case 0: return pick_spec(rng, kExifTags).tag;
        case 1: return pick_spec(rng, kGpsTags).tag;
        case 2: return pick_spec(rng, kThumbnailTags).tag;
        case 3: {
            const uint16_t pointers[] = {330, 513, 514, 34665, 34853, 40965};
            return rng.pick(pointers);
        }
        default: return pick_spec(rng, kZerothTags).tag;
    }
}

Bytes generate_exif_input(Rng &rng, size_t max_size) {
    const bool far = max_size > 24576 && rng.one_in(8);
    const Bytes tiff = write_tiff(generate_tiff_model(rng, far));
    Bytes out;
    switch (rng.below(10)) {
        case 0:
        case 1:
        case 2: out = tiff; break;
        case 3: out = exif_segment(rng, tiff); break;
        default: out = jpeg_with_exif(rng, tiff, far); break;
    }
    out.push_back(rng.byte());
    if (out.size() > max_size) out.resize(max_size);
    return out;
}

}  // namespace kovra::fuzz
