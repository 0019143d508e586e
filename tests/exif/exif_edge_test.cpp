// What the corpus cannot reach, one table line per case: hostile TIFF data for the EXIF record
// reader (both byte orders), JPEG layouts for the APP1 search and sub-IFD chains for the TIFF-file
// reader (every source kind), the frame-header look-up, the entry points' refusals. Allocation
// failures are the fuzz target's (LeakSanitizer watches the partial records).

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <tuple>

#include "exif_support.h"

namespace kovra::test {
namespace {

// TIFF data in one byte order: the header (IFD0 at 8 until set), then what is added, each at the
// offset its adder returns. IFD entries are {tag, type, count, value}: a SHORT of count 1 is
// written as a short, a one-byte type of count <= 4 as its bytes, first byte highest ('N' << 24
// is "N"); any other value is the 32-bit word.
struct Tiff {
    bool little;
    Bytes b;
    explicit Tiff(bool le) : little(le), b{uint8_t(le ? 'I' : 'M'), uint8_t(le ? 'I' : 'M')} { put(2, 42, 2), put(4, 8, 4); }
    uint32_t size() const { return static_cast<uint32_t>(b.size()); }
    void put(uint32_t at, uint32_t v, int n) {
        if (b.size() < at + n) b.resize(at + n);
        for (int k = 0; k < n; ++k) b[at + k] = static_cast<uint8_t>(v >> 8 * (little ? k : n - 1 - k));
    }
    uint32_t add(const Bytes &data) { return b.insert(b.end(), data.begin(), data.end()), size() - static_cast<uint32_t>(data.size()); }
    uint32_t ifd(const std::vector<std::array<uint32_t, 4>> &entries, uint32_t next = 0) {
        const uint32_t at = size();
        put(at, static_cast<uint32_t>(entries.size()), 2);
        for (const auto &[tag, type, count, value] : entries) {
            const uint32_t e = size();
            put(e, tag, 2), put(e + 2, type, 2), put(e + 4, count, 4);
            if ((type == kByte || type == kAscii || type == kUndef) && count <= 4) put(e + 8, value, 4), little ? std::reverse(b.begin() + e + 8, b.end()) : void();
            else put(e + 8, value, type == kShort && count == 1 ? 2 : 4), b.resize(e + 12);
        }
        return put(size(), next, 4), at;
    }
    Tiff &ifd0(uint32_t at) { return put(4, at, 4), *this; }
    uint32_t list(uint32_t first, uint32_t second = 0) { return add(Bytes(8, 0)), put(size() - 8, first, 4), put(size() - 4, second, 4), size() - 8; }
};

Bytes segment(uint8_t marker, const Bytes &payload) {
    Bytes out{0xFF, marker, static_cast<uint8_t>((payload.size() + 2) >> 8), static_cast<uint8_t>(payload.size() + 2)};
    return out.insert(out.end(), payload.begin(), payload.end()), out;
}
Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}
Bytes exif_segment(const Bytes &tiff) { return segment(0xE1, concat({{'E', 'x', 'i', 'f', 0, 0}, tiff})); }
Bytes frame_header(uint16_t w, uint16_t h) { return segment(0xC0, {8, uint8_t(h >> 8), uint8_t(h), uint8_t(w >> 8), uint8_t(w), 3, 1, 0x22, 0, 2, 0x11, 1, 3, 0x11, 1}); }
// SOI, the pieces, a frame header, a scan with a little entropy data, EOI.
Bytes jpeg(std::initializer_list<Bytes> pieces, uint16_t w = 16, uint16_t h = 8) {
    return concat({{0xFF, 0xD8}, concat(pieces), frame_header(w, h), segment(0xDA, {1, 1, 0, 0, 63, 0}), {0x12, 0xFF, 0x00, 0xFF, 0xD0, 0x34, 0xFF, 0xD9}});
}

enum : uint32_t { kMake = 271, kOrientation = 274, kXres = 282, kExif = 34665, kGps = 34853, kIso = 34855 };
constexpr uint32_t kOk = 'O' << 24 | 'k' << 16 | '!' << 8;  // "Ok!" inline
using Build = std::function<void(Tiff &)>;

TEST(ExifRecordCases, BothByteOrders) {
    const struct { const char *what; Build build; int32_t result; const char *expect; } rows[] = {
        {"GPS date stamp without its terminator", [](Tiff &t) { uint32_t d = t.add({'2', '0', '2', '1', ':', '0', '6', ':', '3', '0', 'Z'}); t.ifd0(t.ifd({{kGps, kLong, 1, t.ifd({{29, kAscii, 11, d}})}})); }, 1, "gps gps.date_stamp=2021:06:30"},
        {"IFD0 names itself as successor", [](Tiff &t) { t.ifd0(8).ifd({{kMake, kAscii, 4, kOk}}, 8); }, 1, "make=Ok!"},
        {"EXIF and GPS pointers back at IFD0", [](Tiff &t) { t.ifd0(8).ifd({{kMake, kAscii, 4, kOk}, {kExif, kLong, 1, 8}, {kGps, kLong, 1, 8}}); }, 1, "make=Ok! gps"},
        {"counts whose size overflows", [](Tiff &t) { t.ifd0(t.ifd({{kMake, kAscii, 0xFFFFFFF0, 0x20}, {kXres, kRational, 0x20000001, 0}, {kOrientation, kLong, 0x40000001, 0}})); }, 1, ""},
        {"offsets past the end", [](Tiff &t) { t.ifd0(t.ifd({{kMake, kAscii, 40, 0x7FFFFFF0}, {kXres, kRational, 1, 0xFFFFFFFC}, {kExif, kLong, 1, 0xFFFFFFFF}, {kGps, kLong, 1, 100000}})); }, 1, "gps"},
        {"IFD0 entries run past the data", [](Tiff &t) { t.ifd0(t.ifd({{kMake, kAscii, 4, kOk}})); t.put(8, 2, 2); }, 1, ""},
        {"IFD0 next offset past the data", [](Tiff &t) { t.ifd0(t.ifd({{kMake, kAscii, 4, kOk}, {kOrientation, kShort, 1, 3}})); t.b.resize(34); }, 1, "make=Ok! orientation=3"},
        {"EXIF IFD entries run past the data", [](Tiff &t) { t.ifd0(t.ifd({{kExif, kLong, 1, t.size() + 18}})), t.ifd({{kIso, kShort, 1, 100}}), t.put(26, 2, 2); }, 1, ""},
        {"IFD1 past the data", [](Tiff &t) { t.ifd0(8).ifd({{kMake, kAscii, 4, kOk}}, 27); t.b.resize(28); }, 1, "make=Ok!"},
        {"IFD0 at the very end", [](Tiff &t) { t.ifd0(8); }, 0, ""},
        {"IFD0 one byte before the end", [](Tiff &t) { t.ifd0(8), t.b.resize(9); }, 1, ""},
        {"mixed byte order marks", [](Tiff &t) { t.ifd0(t.ifd({{kMake, kAscii, 4, kOk}})); t.b[1] ^= 'I' ^ 'M'; }, 0, ""},
        {"seven bytes", [](Tiff &t) { t.b.resize(7); }, 0, ""},
        {"ISO with three values holds their offset", [](Tiff &t) { uint32_t v = t.add({0, 100, 0, 200, 1, 144}); t.ifd0(t.ifd({{kExif, kLong, 1, t.ifd({{kIso, kShort, 3, v}})}})); }, 1, "iso=8"},
        {"an EXIF IFD with a successor ends IFD0 and IFD1", [](Tiff &t) { uint32_t sub = t.ifd({{37385, kShort, 1, 1}}, 8), ifd1 = t.ifd({{514, kLong, 1, 100}}); t.ifd0(t.ifd({{259, kShort, 1, 6}, {kExif, kLong, 1, sub}, {kOrientation, kShort, 1, 8}}, ifd1)); }, 1, "compression=6 flash=1"},
        {"EXIF IFDs A, B, A: per field the last walk wins", [](Tiff &t) { uint32_t a = t.ifd({{kIso, kShort, 1, 100}}), b = t.ifd({{kIso, kShort, 1, 200}, {37385, kShort, 1, 5}}); t.ifd0(t.ifd({{kExif, kLong, 1, a}, {kExif, kLong, 1, b}, {kExif, kLong, 1, a}})); }, 1, "flash=5 iso=100"},
        {"strip thumbnail", [](Tiff &t) { t.ifd0(t.ifd({}, t.ifd({{259, kShort, 1, 1}, {273, kLong, 1, 500}, {279, kLong, 1, 4800}}))); }, 1, "thumb=1,0,0,0,0,4800,0,0,500"},
        {"JPEG thumbnail past the data keeps the IFD's size", [](Tiff &t) { t.ifd0(t.ifd({}, t.ifd({{256, kShort, 1, 80}, {257, kShort, 1, 60}, {513, kLong, 1, 0xFFFFFFF0}, {514, kLong, 1, 5000}}))); }, 1, "thumb=1,80,60,6,0,5000,0,0,4294967280"},
        {"JPEG thumbnail's frame header gives its size", [](Tiff &t) { uint32_t j = t.add(jpeg({}, 160, 120)); t.ifd0(t.ifd({}, t.ifd({{256, kShort, 1, 80}, {513, kLong, 1, j}, {514, kLong, 1, 50}}))); }, 1, "thumb=1,160,120,6,0,50,0,0,8"},
    };
    for (const auto &row : rows) {
        for (bool little : {true, false}) {
            Tiff t(little);
            row.build(t);
            ExifRecord record;
            EXPECT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record), row.result) << row.what << little;
            EXPECT_EQ(describe(record), row.expect) << row.what << little;
        }
    }
}

Bytes small_exif() {
    Tiff t(true);
    return t.ifd({{kMake, kAscii, 4, kOk}}), t.b;
}
Bytes with_length(Bytes file, size_t at, uint16_t length) { return file[at] = uint8_t(length >> 8), file[at + 1] = uint8_t(length), file; }
Bytes entropy_across_the_window(size_t padding) {
    Bytes scan = segment(0xDA, {1, 1, 0, 0, 63, 0});
    for (size_t i = 0; i < padding; ++i) scan.push_back(static_cast<uint8_t>(i * 7 + 1));
    return jpeg({segment(0xE0, Bytes(14, 0)), scan, {0xFF, 0x00, 0x12, 0xFF, 0xD3, 0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xD9, 0x00}, exif_segment(small_exif())});
}

// The APP1 search over every source kind: the result and the Make the record gets ("" for none).
TEST(App1Search, Layouts) {
    const Bytes exif = exif_segment(small_exif()), xmp = segment(0xE1, Bytes(40, 'x'));
    const struct { const char *what; Bytes file; int32_t result; const char *make; } rows[] = {
        {"XMP, tables, comments and fill bytes first", jpeg({segment(0xE0, Bytes(14, 0)), xmp, segment(0xDB, Bytes(65, 1)), segment(0xFE, {}), {0xFF, 0xFF}, exif}), 1, "Ok!"},
        {"segments longer than the window", jpeg({segment(0xE2, Bytes(60000, 0x20)), segment(0xE1, Bytes(40000, 0xFF)), exif}), 1, "Ok!"},
        {"after entropy data at the window's edge", entropy_across_the_window(16379), 1, "Ok!"},
        {"after entropy data past the window's edge", entropy_across_the_window(16386), 1, "Ok!"},
        {"APP1 length 7", jpeg({{0xFF, 0xE1, 0, 7, 'E', 'x', 'i', 'f', 0}, exif}), 0, ""},
        {"segment ending with the source", concat({{0xFF, 0xD8}, exif}), 0, ""},
        {"segment ending one byte before", concat({{0xFF, 0xD8}, exif, {0}}), 1, "Ok!"},
        {"EXIF length past the file", with_length(jpeg({exif}), 4, 0x7F00), 0, ""},
        {"other APP1 length past the file", with_length(jpeg({xmp, exif}), 4, 0x7F00), 0, ""},
        {"no SOI", concat({{0xFF, 0xD9}, exif, {0}}), 0, ""},
        {"no EXIF", jpeg({segment(0xE0, Bytes(14, 0))}), 0, ""},
    };
    for (const auto &row : rows) {
        for (SourceKind kind : kAllSourceKinds) {
            ExifRecord record;
            EXPECT_EQ(get_exif(kind, row.file, &record), row.result) << row.what << " " << source_kind_name(kind);
            EXPECT_STREQ(record.make != nullptr ? record.make : "", row.make) << row.what << " " << source_kind_name(kind);
        }
    }
    const Bytes &file = rows[0].file;  // a stream cut anywhere: no record until the EXIF block is whole
    const auto exif_end = static_cast<size_t>(std::search(file.begin(), file.end(), exif.begin(), exif.end()) - file.begin()) + exif.size();
    for (size_t cut = 1; cut < file.size(); ++cut) {
        ExifRecord record;
        EXPECT_EQ(get_exif(SourceKind::kStream, Bytes(file.begin(), file.begin() + static_cast<long>(cut)), &record), cut > exif_end ? 1 : 0) << cut;
    }
}

// A chain of `depth` sub-IFDs, each level's SubIFDs entry first, then 513 = 100 + level; IFD0 is the first.
uint32_t nested(Tiff &t, int depth) {
    uint32_t inner = t.ifd({{513, kLong, 1, 100u + depth}});
    for (int level = depth - 1; level >= 1; --level) inner = t.ifd({{330, kLong, 2, t.list(inner)}, {513, kLong, 1, 100u + level}}, level == 1 ? 0x1234 : 0);
    return t.ifd0(inner), inner;
}

// The TIFF-file reader over every source kind, in both byte orders: result and jpeg_offset (memory
// sources, then the others, whose window holds only its 16384 bytes).
TEST(TiffReaderCases, EverySourceKind) {
    const struct { const char *what; Build build; int32_t result; uint32_t memory, other; } rows[] = {
        {"40 nested sub-IFDs", [](Tiff &t) { nested(t, 40); }, 1, 101, 101},
        {"a sub-IFD listing itself", [](Tiff &t) { uint32_t list = t.list(0), a = t.ifd({{330, kLong, 2, list}, {513, kLong, 1, 1}}); t.put(list, a, 4), t.ifd0(t.ifd({{330, kLong, 2, list}})); }, 1, 0, 0},
        {"two sub-IFDs listing each other", [](Tiff &t) { uint32_t la = t.list(0), lb = t.list(0), a = t.ifd({{330, kLong, 2, la}}), b = t.ifd({{330, kLong, 2, lb}, {513, kLong, 1, 2}}); t.put(la, b, 4), t.put(lb, a, 4), t.ifd0(t.ifd({{330, kLong, 2, la}})); }, 1, 0, 0},
        {"a sub-IFD whose entries run past the source", [](Tiff &t) { t.b.resize(200); uint32_t list = t.list(0); t.ifd0(t.ifd({{330, kLong, 2, list}})); uint32_t sub = t.ifd({{513, kLong, 1, 77}}); t.put(list, sub, 4), t.put(sub, 9, 2); }, 1, 77, 77},
        {"a sub-IFD whose entries pass the length by 2 bytes", [](Tiff &t) { uint32_t list = t.list(0), top = t.ifd({{330, kLong, 2, list}}), sub = t.ifd({{513, kLong, 1, 77}}); t.ifd0(top), t.put(list, sub, 4), t.b.resize(t.size() + (12 - (t.size() + 2) % 12) % 12), t.put(sub, (t.size() + 2) / 12, 2); }, 1, 0, 0},
        {"IFD0 beyond the window's buffer", [](Tiff &t) { t.b.resize(20000); t.ifd0(t.ifd({{513, kLong, 1, 42}})); }, 1, 42, 0},
        {"a parent reads on in the window its descent reloaded", [](Tiff &t) {  // B's bytes 26..37 hold an entry, as A's third entry lies in A
             uint32_t b = t.ifd({{513, kLong, 1, 2222}}); t.add(Bytes(6, 0)), t.ifd({{513, kLong, 1, 3333}});
             uint32_t a = t.ifd({{330, kLong, 2, t.list(b)}, {254, kLong, 1, 1}, {513, kLong, 1, 1111}}); t.ifd0(t.ifd({{330, kLong, 2, t.list(a)}})); }, 1, 3333, 3333},
    };
    for (const auto &row : rows) {
        for (bool little : {true, false}) {
            Tiff t(little);
            row.build(t);
            for (SourceKind kind : kAllSourceKinds) {
                uint32_t offset = 0;
                EXPECT_EQ(read_tiff(kind, t.b, &offset), row.result) << row.what << " " << source_kind_name(kind);
                EXPECT_EQ(offset, kind == SourceKind::kMemory || kind == SourceKind::kOwnedMemory ? row.memory : row.other) << row.what << " " << source_kind_name(kind) << little;
            }
        }
    }
}

TEST(TiffReaderCases, BoundsAllocationFailuresAndRefusals) {
    Tiff cut(true), deep(true), seek(true);  // cut: a list cut by the end of the file, the missing bytes read as zeros
    const uint32_t sub = cut.ifd({{513, kLong, 1, 55}}), top = nested(deep, 12), ifd = seek.ifd({{330, kLong, 1, 0x80000000u}, {513, kLong, 1, 5}}, 0x1234);
    cut.ifd0(cut.ifd({{330, kLong, 1, cut.size() + 18}})), cut.b.insert(cut.b.end(), {static_cast<uint8_t>(sub), 0});
    uint32_t offset = 0;
    EXPECT_EQ(read_tiff(SourceKind::kStream, cut.b, &offset) * 1000 + offset, 1055u);
    // Called directly, the IFD walk answers the next IFD's offset; 0 once a seek failed, when the heap
    // holding the levels past 8 could not grow, or (at == 0 here) for a null record.
    const auto walk = [](const Tiff &t, uint32_t at, long allowed) {
        return through_window(SourceKind::kMemory, t.b, [at, allowed](DALTJ_ByteWindow &w, uint32_t size) {
            DALTJ_TiffInfo info{};
            AllocationFailure failure((DALTJ_CheckBuffer(&w, 2), allowed));
            return at == 0 ? DALTJ_ReadTiffInfo(nullptr, &w, 0, size, 0) : static_cast<int32_t>(DALTJ_ReadTiffIFDInfo(&info, &w, at, size, 1, 0) + info.jpeg_offset);
        });
    };
    EXPECT_EQ(walk(deep, top, 1), 0);
    EXPECT_EQ(walk(deep, top, 2), 0x1234 + 101);
    EXPECT_EQ(walk(seek, ifd, 100) + walk(deep, 0, 100), 0);
    MemoryStream empty;  // claims 64 bytes, delivers none
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfoWithStream(&empty, 64, MemoryStream::read, MemoryStream::skip, MemoryStream::rewind, 0, 0);
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    DALTJ_ByteWindow window = io::make_window(dec->io, buffer);
    DALTJ_TiffInfo info{};
    EXPECT_EQ(DALTJ_ReadTiffInfo(&info, &window, 0, 64, 0), 201);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer), KOVRADALT_DestroyDecInfo(dec);
}

// The entry points on their own: the APP1 buffer reader's checks, null arguments, the frame-header look-up's
// refusals (a frame header cut, no SOI, 12-bit, a table length below 2: the size stays 7 x 7), the exported EXIF
// IFD reader, and a read into a filled record, which never frees what the record held.
TEST(ExifEntryPoints, RefusalsAndDirectUse) {
    const Bytes app1 = exif_segment(small_exif()), thumb = jpeg({}, 160, 120);
    const auto created = [](Bytes b, size_t length, size_t at, uint8_t value) {
        b[at] = at != 0 ? value : b[at];
        DALTJ_ExifInfo *info = DALTJ_CreatExifInfoUseExifBuffer(b.data(), static_cast<uint32_t>(length));
        const std::string made = info != nullptr ? describe(*info) : "null";
        return exif::release_exif_info(info), made;
    };
    for (const auto &[length, at, value, made] : std::vector<std::tuple<size_t, size_t, uint8_t, const char *>>{
             {app1.size(), 0, 0, "make=Ok!"}, {app1.size() - 1, 0, 0, "null"}, {3, 0, 0, "null"}, {app1.size(), 1, 0xE2, "null"},
             {app1.size(), 8, 1, "null"}, {app1.size(), 3, 7, "null"}, {app1.size(), 10, 'X', "null"}}) {
        EXPECT_EQ(created(app1, length, at, value), made) << length << " " << at;
    }
    DALTJ_ExifField field;
    EXPECT_EQ(DALTJ_ReadExifInfo(nullptr, 0, 8, nullptr) + DALTJ_ReadExifInfo(app1.data(), 0, 8, nullptr) + DALTJ_ReadExifField(nullptr, 0, 8, 1, &field), 0);
    for (const Bytes &bytes : {Bytes(thumb.begin(), thumb.begin() + 12), concat({{0xFF, 0xD9}, Bytes(thumb.begin() + 2, thumb.end())}),
                               concat({{0xFF, 0xD8}, segment(0xC0, {12, 0, 1, 0, 1, 1, 1, 0x11, 0}), segment(0xDA, {})}),
                               concat({{0xFF, 0xD8, 0xFF, 0xDB, 0, 1}, frame_header(5, 6), segment(0xDA, Bytes(20, 0))})}) {
        uint32_t width = 7, height = 7;
        EXPECT_EQ(DALTJ_GetJPEGResolution(bytes.data(), static_cast<uint32_t>(bytes.size()), &width, &height) * 10000 + width * 100 + height, 2010707u);
    }
    for (bool little : {true, false}) {
        Tiff t(little);
        const uint32_t exif = t.ifd({{kIso, kShort, 1, 100}});
        t.ifd0(t.ifd({{kMake, kAscii, 4, kOk}, {kExif, kLong, 1, exif}}));
        ExifRecord record, first;
        DALTJ_ReadExifIFDInfo(t.b.data(), exif, t.size(), little, &record);
        EXPECT_EQ(record.iso_speed, 100u) << little;
        ASSERT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record), 1);
        static_cast<DALTJ_ExifInfo &>(first) = record;  // `first` now owns what the first read allocated
        ASSERT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record), 1);
        EXPECT_EQ(describe(first), "make=Ok! iso=100");
        EXPECT_EQ(describe(record), describe(first));
    }
}

}  // namespace
}  // namespace kovra::test
