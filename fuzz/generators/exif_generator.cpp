// See exif_generator.h. TIFF data is written as it is made: each IFD holds tags its reader acts
// on, mostly with the type and count the reader expects (so values get copied), about one in six
// with a wrong type, an edge count or a wild value offset; pointers and next offsets lead to IFDs
// written after it, now and then back to an earlier one.

#include "fuzz/generators/exif_generator.h"

#include <algorithm>

namespace kovra::fuzz {
namespace {

enum : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kUndef = 7, kSRational = 10 };
enum Kind { kZeroth, kExif, kGps, kThumbnail };
struct Spec {
    uint16_t tag, type;
    uint32_t count;  // 0: any
};
const std::vector<Spec> kSpecs[] = {  // the tags each kind of IFD's reader acts on; the pointers are added apart
    {{256, kShort, 1}, {257, kLong, 1}, {258, kShort, 3}, {259, kShort, 1}, {262, kShort, 1}, {271, kAscii, 0}, {272, kAscii, 0}, {273, kLong, 0},
     {274, kShort, 1}, {279, kLong, 0}, {282, kRational, 1}, {283, kRational, 1}, {284, kShort, 1}, {296, kShort, 1}, {305, kAscii, 0},
     {531, kShort, 1}, {33432, kAscii, 0}},
    {{33434, kRational, 1}, {33437, kRational, 1}, {34855, kShort, 0}, {36864, kUndef, 4}, {36867, kAscii, 20}, {36868, kAscii, 20},
     {37377, kSRational, 1}, {37380, kSRational, 1}, {37385, kShort, 1}, {37386, kRational, 1}, {40961, kShort, 1},
     {40962, kLong, 1}, {40963, kShort, 1}, {41986, kShort, 1}, {41987, kShort, 1}, {41988, kRational, 1}},
    {{0, kByte, 4}, {1, kAscii, 2}, {2, kRational, 3}, {3, kAscii, 2}, {4, kRational, 3}, {5, kByte, 1}, {6, kRational, 1}, {7, kRational, 3},
     {18, kAscii, 0}, {27, kUndef, 0}, {29, kAscii, 11}},
    {{256, kLong, 1}, {257, kShort, 1}, {259, kShort, 1}, {262, kShort, 1}, {273, kLong, 0}, {279, kLong, 0}, {284, kShort, 1}, {4173, kShort, 1}},
};
const uint32_t kEdgeCounts[] = {0, 1, 2, 3, 4, 5, 19, 20, 21, 0x1FFFFFFF, 0x20000000, 0x40000001, 0x7FFFFFFF, 0xFFFFFFFF};
const uint32_t kUnits[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};

struct TiffWriter {
    Rng &rng;
    bool far, little;
    Bytes out;
    std::vector<uint32_t> ifds;                          // the IFDs written so far
    std::vector<std::pair<uint32_t, uint32_t>> from_end;  // words set to the length less a few bytes

    void put(size_t at, uint32_t value, int width) {
        if (out.size() < at + width) out.resize(at + width);
        for (int i = 0; i < width; ++i) out[at + i] = static_cast<uint8_t>(value >> 8 * (little ? i : width - 1 - i));
    }
    uint32_t append(const Bytes &bytes) {
        const auto at = static_cast<uint32_t>(out.size() + (out.size() & 1));
        return out.resize(at), out.insert(out.end(), bytes.begin(), bytes.end()), at;
    }
    // `value` at `at`, or one time in `odds` an earlier IFD, an offset a few bytes before the end of the data or past it, or anywhere.
    void value_at(uint32_t at, uint32_t value, uint32_t odds, uint32_t size = 4) {
        const uint32_t back[] = {0, 1, 2, 3, 4, 7, 8, size, size - 1, size + 1}, anywhere[] = {0, 8, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        const uint32_t wild = rng.one_in(odds) ? rng.range(1, 3) : 0;
        if (wild == 1) return from_end.push_back({at, rng.pick(back)});
        put(at, wild == 2 ? rng.pick(anywhere) : wild == 3 && !ifds.empty() ? ifds[rng.below(uint32_t(ifds.size()))] : value, 4);
    }
    // A small JPEG for tag 513: a frame header (now and then cut or 12-bit), a scan.
    Bytes thumbnail() {
        Bytes jpeg{0xFF, 0xD8, 0xFF, uint8_t(rng.one_in(4) ? 0xC2 : 0xC0), 0, 0x11, uint8_t(rng.one_in(8) ? 12 : 8), rng.byte(), 1, 2, rng.byte(), 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1};
        jpeg.resize(jpeg.size() - (rng.one_in(6) ? rng.range(1, 12) : 0)), jpeg.insert(jpeg.end(), {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0x3F, 0, 0xFF, 0xD9});
        return jpeg;
    }

    // The entry at `slot`: its tag, type and count, then its value, the block it points to, or the IFDs it leads to.
    void entry(uint32_t slot, Spec s, uint32_t depth, uint32_t *jpeg_size) {
        const bool odd = rng.one_in(6);
        if ((s.type == kShort || s.type == kLong) && rng.one_in(3)) s.type ^= kShort ^ kLong;
        if (odd && rng.one_in(3)) s.type = static_cast<uint16_t>(rng.below(14));
        if (s.count == 0 || (odd && rng.one_in(2))) s.count = odd ? rng.pick(kEdgeCounts) : 1 + rng.spread(s.type == kAscii ? 48 : 6);
        put(slot, s.tag, 2), put(slot + 2, s.type, 2), put(slot + 4, s.count, 4);
        const int kind = s.tag == 330 ? kZeroth : s.tag == 34665 ? kExif : s.tag == 34853 ? kGps : -1;
        if (kind >= 0 && s.count == 1) return value_at(slot + 8, ifd(Kind(kind), depth + 1), 6);
        if (kind >= 0 && s.count <= 3) {  // SubIFDs: a block of offsets
            const uint32_t list = append(Bytes(4 * s.count, 0));
            for (uint32_t k = 0; k < s.count; ++k) put(list + 4 * k, ifd(Kind(kind), depth + 1), 4);
            return put(slot + 8, list, 4);
        }
        if (s.tag == 514 && *jpeg_size != 0 && !odd) return put(slot + 8, *jpeg_size, 4);
        const Bytes jpeg = s.tag == 513 ? thumbnail() : Bytes{};
        if (s.tag == 513) return *jpeg_size = static_cast<uint32_t>(jpeg.size()), value_at(slot + 8, append(jpeg), 6);
        const uint64_t size = uint64_t{s.count} * (s.type < 13 ? kUnits[s.type] : 1);
        if (size > 600 || (odd && rng.one_in(3))) return value_at(slot + 8, 0, 1, static_cast<uint32_t>(size));
        Bytes bytes;
        for (uint64_t i = 0; i < size; ++i) bytes.push_back(s.type == kAscii ? static_cast<uint8_t>(rng.range(0x20, 0x7E)) : rng.byte());
        if (s.type == kAscii && !bytes.empty() && !rng.one_in(6)) bytes.back() = 0;
        size <= 4 ? void(std::copy(bytes.begin(), bytes.end(), out.begin() + slot + 8)) : put(slot + 8, append(bytes), 4);
    }

    // An IFD of `kind` with what it leads to; IFD0 (depth 0) chains to IFD1, which now and then chains on.
    uint32_t ifd(Kind kind, uint32_t depth) {
        if (rng.one_in(8) || (far && rng.one_in(2))) out.resize(out.size() + (far ? 16384 + rng.spread(4096) : rng.spread(64))), far = false;
        std::vector<Spec> specs;
        for (uint32_t n = rng.spread(16); n > 0; --n) specs.push_back(kSpecs[kind][rng.below(static_cast<uint32_t>(kSpecs[kind].size()))]);
        if (kind == kZeroth && depth < 4 && (depth == 0 || rng.one_in(3))) specs.push_back({34665, kLong, 1});
        if (kind == kZeroth && depth < 4 && rng.one_in(3)) specs.push_back({34853, kLong, 1});
        if (kind == kZeroth && depth < 4 && rng.one_in(4)) specs.push_back({330, kLong, rng.range(1, 3)});
        if ((kind == kThumbnail || kind == kZeroth) && rng.one_in(2)) specs.push_back({513, kLong, 1}), specs.push_back({514, kLong, 1});
        for (uint32_t n = rng.one_in(8) ? rng.range(1, 4) : 0; n > 0 && !specs.empty(); --n) specs.push_back(specs[rng.below(uint32_t(specs.size()))]);
        rng.one_in(5) ? rng.shuffle(&specs) : std::stable_sort(specs.begin(), specs.end(), [](Spec a, Spec b) { return a.tag < b.tag; });
        const auto n = static_cast<uint32_t>(specs.size());
        const uint32_t at = append(Bytes(6 + 12 * n, 0)), next = at + 2 + 12 * n;
        ifds.push_back(at);
        put(at, rng.one_in(20) ? (rng.one_in(2) ? 0xFFFF : n + 1) : n, 2);
        uint32_t jpeg_size = 0;
        for (uint32_t i = 0; i < n; ++i) entry(at + 2 + 12 * i, specs[i], depth, &jpeg_size);
        const bool chained = (depth == 0 && !rng.one_in(3)) || (kind == kThumbnail && rng.one_in(5));
        value_at(next, chained ? ifd(depth == 0 ? kThumbnail : kZeroth, depth + 1) : 0, chained ? 8 : 10);
        return at;
    }
};

}  // namespace

Bytes generate_exif_input(Rng &rng, size_t max_size) {
    const bool far = max_size > 24576 && rng.one_in(8);
    const bool little = rng.one_in(2);
    TiffWriter tiff{rng, far, little, Bytes(8, little ? 'I' : 'M'), {}, {}};
    tiff.put(2, rng.one_in(24) ? 43 : 42, 2), tiff.value_at(4, tiff.ifd(kZeroth, 0), 16);
    tiff.out[1] ^= rng.one_in(24) ? 'I' ^ 'M' : 0;
    tiff.out.resize(tiff.out.size() + (rng.one_in(4) ? rng.spread(64) : 0));
    for (const auto &[at, back] : tiff.from_end) tiff.put(at, static_cast<uint32_t>(tiff.out.size()) - back, 4);
    // The TIFF data as it is, or in an APP1 "Exif" segment (now and then with a damaged identifier or a length that
    // lies), alone or in a JPEG: after another APP1, fill bytes and an APP2 (large when `far`: what follows lies past
    // 16 KiB), before a frame header and a scan.
    Bytes out, payload{'E', 'x', 'i', 'f', 0, 0};
    if (rng.one_in(3)) return tiff.out.push_back(rng.byte()), tiff.out.resize(std::min(tiff.out.size(), max_size)), tiff.out;
    const auto segment = [&out](uint8_t marker, const Bytes &bytes, size_t length) {
        out.insert(out.end(), {0xFF, marker, static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)}), out.insert(out.end(), bytes.begin(), bytes.end());
    };
    const bool jpeg = !rng.one_in(4);
    if (jpeg) out = {0xFF, 0xD8};
    const size_t app2 = far ? 16400 + rng.spread(4096) : rng.spread(300);
    if (jpeg && rng.one_in(2)) segment(0xE1, Bytes(40, 'x'), 42);  // an APP1 other than EXIF
    if (jpeg && rng.one_in(4)) out.insert(out.end(), {0xFF, 0xFF});  // fill bytes
    if (jpeg && (far || rng.one_in(3))) segment(0xE2, Bytes(app2, 0x20), app2 + 2);
    payload[rng.below(6)] ^= rng.one_in(16) ? 0x20 : 0;
    payload.insert(payload.end(), tiff.out.begin(), tiff.out.begin() + static_cast<long>(std::min<size_t>(tiff.out.size(), 65527)));
    const size_t lies[] = {0, 2, 7, 8, 9, 65535, payload.size() + 3, payload.size() + 102};
    for (int copies = rng.one_in(8) ? 2 : 1; copies > 0; --copies) segment(0xE1, payload, rng.one_in(12) ? rng.pick(lies) : payload.size() + 2);
    if (jpeg) out.insert(out.end(), {0xFF, 0xC0, 0, 0x0B, 8, 0, 0x10, 0, 0x10, 1, 1, 0x11, 0, 0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 0x3F, 0});
    if (jpeg) rng.fill(&out, rng.spread(128)), out.insert(out.end(), {0xFF, 0xD9});
    return out.push_back(rng.byte()), out.resize(std::min(out.size(), max_size)), out;
}

}  // namespace kovra::fuzz
