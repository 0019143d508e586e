// What the corpus cannot reach, one table line per case: hostile TIFF data for the EXIF record
// reader (both byte orders), JPEG layouts for the APP1 search (every source kind), sub-IFD chains
// for the TIFF-file reader, and the frame-header look-up behind a thumbnail's size.

#include <gtest/gtest.h>

#include <functional>

#include "exif_support.h"

namespace kovra::test {
namespace {

enum : uint32_t { BYTE = 1, ASCII = 2, SHORT = 3, LONG = 4, RATIONAL = 5, UNDEF = 7 };
enum : uint32_t { kMake = 271, kOrientation = 274, kXres = 282, kExif = 34665, kGps = 34853, kIso = 34855 };
constexpr uint32_t kOk = 'O' << 24 | 'k' << 16 | '!' << 8;  // "Ok!" inline

Bytes raw(const std::string &s) { return Bytes(s.begin(), s.end()); }

// Builds TIFF data on `t` and leaves it with IFD0 set.
using Build = std::function<void(Tiff &t)>;

struct RecordCase {
    const char *what;
    Build build;
    int32_t result;
    const char *expect;  // describe() of the record
};

const RecordCase kRecordCases[] = {
    {"GPS date stamp without its terminator", [](Tiff &t) { uint32_t d = t.add(raw("2021:06:30Z")); t.ifd0(t.ifd({{kGps, LONG, 1, t.ifd({{29, ASCII, 11, d}})}})); },
     1, "gps date=\"2021:06:30\""},
    {"IFD0 names itself as successor", [](Tiff &t) { t.ifd0(8).ifd({{kMake, ASCII, 4, kOk}}, 8); }, 1, "make=\"Ok!\""},
    {"EXIF pointer back at IFD0", [](Tiff &t) { t.ifd0(8).ifd({{kMake, ASCII, 4, kOk}, {kExif, LONG, 1, 8}, {kGps, LONG, 1, 8}}); },
     1, "make=\"Ok!\" gps"},
    {"counts whose size overflows", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 0xFFFFFFF0, 0x20}, {kXres, RATIONAL, 0x20000001, 0}, {kOrientation, LONG, 0x40000001, 0}})); },
     1, ""},
    {"offsets past the end", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 40, 0x7FFFFFF0}, {kXres, RATIONAL, 1, 0xFFFFFFFC}, {kExif, LONG, 1, 0xFFFFFFFF}, {kGps, LONG, 1, 100000}})); },
     1, "gps"},
    {"IFD0 entries run past the data", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 4, kOk}})); t.put(8, 2, 2); }, 1, ""},
    {"IFD0 next offset past the data", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 4, kOk}, {kOrientation, SHORT, 1, 3}})); t.b.resize(8 + 2 + 24); },
     1, "make=\"Ok!\" orientation=3"},
    {"IFD1 past the data", [](Tiff &t) { t.ifd0(8).ifd({{kMake, ASCII, 4, kOk}}, 27); t.b.resize(28); }, 1, "make=\"Ok!\""},
    {"IFD0 at the very end", [](Tiff &t) { t.ifd0(8); }, 0, ""},
    {"IFD0 one byte before the end", [](Tiff &t) { t.ifd0(8), t.b.resize(9); }, 1, ""},
    {"mixed byte order marks", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 4, kOk}})); t.b[1] ^= 'I' ^ 'M'; }, 0, ""},
    {"magic 43", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 4, kOk}})); t.put(2, 43, 2); }, 0, ""},
    {"seven bytes", [](Tiff &t) { t.b.resize(7); }, 0, ""},
    {"ISO with three values holds their offset", [](Tiff &t) { uint32_t v = t.add({0, 100, 0, 200, 1, 144}); t.ifd0(t.ifd({{kExif, LONG, 1, t.ifd({{kIso, SHORT, 3, v}})}})); },
     1, "iso=8"},
    {"EXIF IFD with a successor ends IFD0 and skips IFD1", [](Tiff &t) {
         uint32_t sub = t.ifd({{37385, SHORT, 1, 1}}, 8), ifd1 = t.ifd({{514, LONG, 1, 100}});
         t.ifd0(t.ifd({{259, SHORT, 1, 6}, {kExif, LONG, 1, sub}, {kOrientation, SHORT, 1, 8}}, ifd1)); },
     1, "compression=6 flash=1"},
    {"GPS IFD with a successor ends IFD0 and skips IFD1", [](Tiff &t) {
         uint32_t sub = t.ifd({{5, SHORT, 1, 1}}, 8), ifd1 = t.ifd({{514, LONG, 1, 100}});
         t.ifd0(t.ifd({{259, SHORT, 1, 6}, {kGps, LONG, 1, sub}, {kOrientation, SHORT, 1, 8}}, ifd1)); },
     1, "compression=6 gps"},
    {"strip thumbnail", [](Tiff &t) { t.ifd0(t.ifd({}, t.ifd({{259, SHORT, 1, 1}, {273, LONG, 1, 500}, {279, LONG, 1, 4800}}))); },
     1, "thumb=1,0x0,c0,500+4800"},
    {"compression after the strip counts", [](Tiff &t) { t.ifd0(t.ifd({}, t.ifd({{279, LONG, 1, 4800}, {259, SHORT, 1, 1}}))); },
     1, "thumb=1,0x0,c1,0+4800"},
    {"JPEG thumbnail of no bytes", [](Tiff &t) { t.ifd0(t.ifd({}, t.ifd({{259, SHORT, 1, 1}, {514, LONG, 1, 0}}))); }, 1, "thumb=0,0x0,c6,0+0"},
    {"JPEG thumbnail past the data keeps the IFD's size", [](Tiff &t) {
         t.ifd0(t.ifd({}, t.ifd({{256, SHORT, 1, 80}, {257, SHORT, 1, 60}, {513, LONG, 1, 0xFFFFFFF0}, {514, LONG, 1, 5000}}))); },
     1, "thumb=1,80x60,c6,4294967280+5000"},
    {"JPEG thumbnail's frame header gives its size", [](Tiff &t) {
         uint32_t j = t.add(jpeg({}, 160, 120));
         t.ifd0(t.ifd({}, t.ifd({{256, SHORT, 1, 80}, {513, LONG, 1, j}, {514, LONG, 1, 50}}))); },
     1, "thumb=1,160x120,c6,8+50"},
    {"repeated tags: the last wins, a fresh GPS record each pointer", [](Tiff &t) {
         uint32_t first = t.text("first make"), a = t.ifd({{18, ASCII, 6, t.text("WGS84")}}), b = t.ifd({{1, ASCII, 2, 'S' << 24}});
         t.ifd0(t.ifd({{kMake, ASCII, 11, first}, {kGps, LONG, 1, a}, {kMake, ASCII, 3, 'L' << 24 | 'a' << 16}, {kGps, LONG, 1, b}})); },
     1, "make=\"La\" gps lat_ref=\"S\""},
    {"EXIF IFDs A, B, A again: per field the last walk wins", [](Tiff &t) {
         uint32_t a = t.ifd({{kIso, SHORT, 1, 100}}), b = t.ifd({{kIso, SHORT, 1, 200}, {37385, SHORT, 1, 5}});
         t.ifd0(t.ifd({{kExif, LONG, 1, a}, {kExif, LONG, 1, b}, {kExif, LONG, 1, a}})); },
     1, "flash=5 iso=100"},
    {"empty strings and blocks are allocated", [](Tiff &t) { t.ifd0(t.ifd({{kMake, ASCII, 0, 0}, {kGps, LONG, 1, t.ifd({{18, ASCII, 0, 0}, {27, UNDEF, 0, 0}})}})); },
     1, "make=\"\" gps datum=\"\" method"},
    {"types and counts other than the record's", [](Tiff &t) { t.ifd0(t.ifd({{kOrientation, LONG, 1, 3}, {258, SHORT, 1, 8}, {kExif, LONG, 1, t.ifd({{kIso, SHORT, 2, 0x00640064}, {37385, LONG, 1, 1}, {36864, UNDEF, 3, 0x303232}})}})); },
     1, ""},
};

TEST(ExifRecordCases, BothByteOrders) {
    for (const RecordCase &c : kRecordCases) {
        for (bool little : {true, false}) {
            Tiff t(little);
            c.build(t);
            ExifRecord record;
            EXPECT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record.info), c.result) << c.what << (little ? " II" : " MM");
            EXPECT_EQ(describe(record.info), c.expect) << c.what << (little ? " II" : " MM");
        }
    }
}

// TIFF data whose IFD0 holds Make "Ok!".
Bytes small_exif() {
    Tiff t(true);
    t.ifd({{kMake, ASCII, 4, kOk}});
    return t.b;
}

Bytes with_length(Bytes file, size_t at, uint16_t length) {
    file[at] = static_cast<uint8_t>(length >> 8), file[at + 1] = static_cast<uint8_t>(length);
    return file;
}

Bytes entropy_across_the_window(size_t padding) {
    Bytes scan = segment(0xDA, {1, 1, 0, 0, 63, 0});
    for (size_t i = 0; i < padding; ++i) scan.push_back(static_cast<uint8_t>(i * 7 + 1));
    for (uint8_t b : {0xFF, 0x00, 0x12, 0xFF, 0xD3, 0xFF, 0xFF, 0xFF, 0x00, 0xFF, 0xD9, 0x00}) scan.push_back(b);
    Bytes file = jpeg({segment(0xE0, Bytes(14, 0)), scan, exif_segment(small_exif())});
    return file;
}

// The APP1 search over every source kind: what Make the record gets ("" for none) and the result.
TEST(App1Search, Layouts) {
    const Bytes exif = exif_segment(small_exif());
    const Bytes xmp = segment(0xE1, raw(std::string("http://ns.adobe.com/xap/1.0/\0<x:xmpmeta/>", 41)));
    const struct { const char *what; Bytes file; int32_t result; const char *make; } rows[] = {
        {"XMP, tables, comments and fill bytes first", jpeg({segment(0xE0, Bytes(14, 0)), xmp, segment(0xDB, Bytes(65, 1)), segment(0xFE, raw("hi")), {0xFF, 0xFF}, exif}), 1, "Ok!"},
        {"segments longer than the window", jpeg({segment(0xE2, Bytes(60000, 0x20)), segment(0xE1, Bytes(40000, 0xFF)), exif}), 1, "Ok!"},
        {"EXIF block longer than the window", jpeg({segment(0xE0, Bytes(20000, 7)), exif_segment([] { Tiff t(false); uint32_t s = t.text(std::string(30000, 'x')); t.ifd0(t.ifd({{kMake, ASCII, 30001, s}})); return t.b; }())}), 1, nullptr},
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
            EXPECT_EQ(get_exif(kind, row.file, &record.info), row.result) << row.what << " " << source_kind_name(kind);
            if (row.make == nullptr) {
                EXPECT_EQ(std::string(record->make), std::string(30000, 'x')) << row.what;
            } else {
                EXPECT_STREQ(record->make != nullptr ? record->make : "", row.make) << row.what << " " << source_kind_name(kind);
            }
        }
    }
    // Every cut of a file ends the search without a record until the EXIF block is whole.
    const Bytes file = jpeg({segment(0xE0, Bytes(14, 0)), exif});
    for (size_t cut = 1; cut < file.size(); ++cut) {
        ExifRecord record;
        const int32_t result = get_exif(SourceKind::kStream, Bytes(file.begin(), file.begin() + static_cast<long>(cut)), &record.info);
        EXPECT_EQ(result, cut > 20 + exif.size() ? 1 : 0) << cut;
    }
}

// A SubIFDs list whose first offset is `ifd`.
uint32_t list_of(Tiff &t, uint32_t ifd) {
    const uint32_t list = t.add(Bytes(8, 0));
    t.put(list, ifd, 4);
    return list;
}

// A chain of `depth` sub-IFDs; each level's SubIFDs entry comes first, then 513 = 100 + level.
// Returns IFD0's offset.
uint32_t nested(Tiff &t, int depth) {
    uint32_t inner = t.ifd({{513, LONG, 1, 100u + depth}});
    for (int level = depth - 1; level >= 1; --level) {
        inner = t.ifd({{330, LONG, 2, list_of(t, inner)}, {513, LONG, 1, 100u + level}}, level == 1 ? 0x1234 : 0);
    }
    t.ifd0(inner);
    return inner;
}

// The TIFF-file reader over every source kind, in both byte orders: result and jpeg_offset
// (memory sources, then files and streams, whose window holds only its 16384 bytes).
TEST(TiffReaderCases, EverySourceKind) {
    const struct { const char *what; Build build; int32_t result; uint32_t memory, other; } rows[] = {
        {"IFD0's tag 513", [](Tiff &t) { t.ifd0(t.ifd({{513, LONG, 1, 1234}})); }, 1, 1234, 1234},
        {"mixed byte order marks", [](Tiff &t) { t.ifd0(t.ifd({{513, LONG, 1, 1234}})); t.b[1] ^= 'I' ^ 'M'; }, 0, 0, 0},
        {"magic 43", [](Tiff &t) { t.ifd0(t.ifd({{513, LONG, 1, 1234}})); t.put(2, 43, 2); }, 0, 0, 0},
        {"IFD0 past the end", [](Tiff &t) { t.ifd0(t.ifd({{513, LONG, 1, 1234}})).ifd0(t.size()); }, 0, 0, 0},
        {"seven bytes", [](Tiff &t) { t.b.resize(7); }, 0, 0, 0},
        {"the first sub-IFD after IFD0's own entries", [](Tiff &t) {
             uint32_t first = t.ifd({{254, LONG, 1, 1}, {513, LONG, 1, 4444}}), second = t.ifd({{513, LONG, 1, 5555}});
             uint32_t list = list_of(t, first);
             t.put(list + 4, second, 4);
             t.ifd0(t.ifd({{513, LONG, 1, 1111}, {330, LONG, 2, list}})); }, 1, 4444, 4444},
        {"entries after the SubIFDs entry", [](Tiff &t) { uint32_t sub = t.ifd({{513, LONG, 1, 4444}}); t.ifd0(t.ifd({{330, LONG, 2, list_of(t, sub)}, {513, LONG, 1, 7777}})); },
         1, 7777, 7777},
        {"40 nested sub-IFDs", [](Tiff &t) { nested(t, 40); }, 1, 101, 101},
        {"a sub-IFD listing itself", [](Tiff &t) {
             uint32_t list = t.add(Bytes(8, 0)), a = t.ifd({{330, LONG, 2, list}, {513, LONG, 1, 1}});
             t.put(list, a, 4), t.ifd0(t.ifd({{330, LONG, 2, list}})); }, 1, 0, 0},
        {"two sub-IFDs listing each other", [](Tiff &t) {
             uint32_t la = t.add(Bytes(8, 0)), lb = t.add(Bytes(8, 0));
             uint32_t a = t.ifd({{330, LONG, 2, la}, {513, LONG, 1, 1}}), b = t.ifd({{330, LONG, 2, lb}, {513, LONG, 1, 2}});
             t.put(la, b, 4), t.put(lb, a, 4), t.ifd0(t.ifd({{330, LONG, 2, la}})); }, 1, 0, 0},
        {"a sub-IFD whose entries run past the source", [](Tiff &t) {
             t.b.resize(200);
             uint32_t list = t.add(Bytes(8, 0));
             t.ifd0(t.ifd({{330, LONG, 2, list}}));
             uint32_t sub = t.ifd({{513, LONG, 1, 77}});
             t.put(list, sub, 4), t.put(sub, 9, 2); }, 1, 77, 77},
        {"a sub-IFD whose entries pass the length by 2 bytes", [](Tiff &t) {
             uint32_t list = t.add(Bytes(8, 0));
             t.ifd0(t.ifd({{330, LONG, 2, list}}));
             uint32_t sub = t.ifd({{513, LONG, 1, 77}});
             t.put(list, sub, 4), t.b.resize(t.size() + (12 - (t.size() + 2) % 12) % 12), t.put(sub, (t.size() + 2) / 12, 2); },
         1, 0, 0},
        {"IFD0 beyond the window's buffer", [](Tiff &t) { t.b.resize(20000); t.ifd0(t.ifd({{513, LONG, 1, 42}})); }, 1, 42, 0},
        {"a parent reads on in the window its descent reloaded", [](Tiff &t) {
             uint32_t b = t.ifd({{513, LONG, 1, 2222}});
             t.add(Bytes(8, 0));
             uint32_t stand_in = t.add(Bytes(12, 0));  // 26 bytes into B: where A's third entry lies in A
             t.put(stand_in, 513, 2), t.put(stand_in + 2, LONG, 2), t.put(stand_in + 4, 1, 4), t.put(stand_in + 8, 3333, 4);
             uint32_t a = t.ifd({{330, LONG, 2, list_of(t, b)}, {254, LONG, 1, 1}, {513, LONG, 1, 1111}});
             t.ifd0(t.ifd({{330, LONG, 2, list_of(t, a)}})); }, 1, 3333, 3333},
    };
    for (const auto &row : rows) {
        for (bool little : {true, false}) {
            Tiff t(little);
            row.build(t);
            for (SourceKind kind : kAllSourceKinds) {
                const bool memory = kind == SourceKind::kMemory || kind == SourceKind::kOwnedMemory;
                uint32_t offset = 0;
                EXPECT_EQ(read_tiff(kind, t.b, &offset), row.result) << row.what << " " << source_kind_name(kind);
                EXPECT_EQ(offset, memory ? row.memory : row.other) << row.what << " " << source_kind_name(kind) << little;
            }
        }
    }
}

TEST(TiffReaderCases, BoundsAllocationFailuresAndRefusals) {
    uint32_t offset = 0;
    // A list cut by the end of the file: the missing bytes of the offset read as zeros.
    Tiff cut(true);
    const uint32_t sub = cut.ifd({{513, LONG, 1, 55}});
    cut.ifd0(cut.ifd({{330, LONG, 1, cut.size() + 18}}));
    cut.b.push_back(static_cast<uint8_t>(sub)), cut.b.push_back(0);
    EXPECT_EQ(read_tiff(SourceKind::kStream, cut.b, &offset), 1);
    EXPECT_EQ(offset, 55u);
    // A loop in a 4 MiB file: the descent is bounded by length / 12 entries and ends.
    Tiff loop(true);
    const uint32_t list = loop.add(Bytes(8, 0)), a = loop.ifd({{330, LONG, 2, list}});
    loop.put(list, a, 4), loop.ifd0(loop.ifd({{330, LONG, 2, list}})), loop.b.resize(4u << 20);
    EXPECT_EQ(read_tiff(SourceKind::kMemory, loop.b, &offset), 1);
    // Past 8 levels the walk keeps its levels on the heap; when that allocation fails it stops
    // and, called directly, answers 0 instead of the next IFD's offset.
    Tiff deep(true);
    const uint32_t top = nested(deep, 12);
    for (long allowed : {1L, 2L}) {
        EXPECT_EQ(through_window(SourceKind::kMemory, deep.b, [top, allowed](DALTJ_ByteWindow &w, uint32_t size) {
                      DALTJ_TiffInfo info{};
                      DALTJ_CheckBuffer(&w, 2);
                      AllocationFailure failure(allowed);
                      const uint32_t next = DALTJ_ReadTiffIFDInfo(&info, &w, top, size, 1, 0);
                      return static_cast<int32_t>(next + info.jpeg_offset);
                  }), allowed == 1 ? 0 : 0x1234 + 101) << allowed;
    }
    EXPECT_EQ(through_window(SourceKind::kMemory, deep.b, [](DALTJ_ByteWindow &w, uint32_t size) {
                  EXPECT_EQ(DALTJ_ReadTiffInfo(nullptr, &w, 0, size, 0), 0);
                  return DALTJ_ReadTiffInfo(nullptr, &w, 0, size, 0);
              }), 0);
    // Called directly, the IFD walk answers the next IFD's offset, or 0 once a seek failed.
    for (auto [sub_ifds, next] : {std::pair{0u, 0x1234}, {0x80000000u, 0}}) {
        Tiff direct(true);
        const uint32_t ifd = direct.ifd({{330, LONG, 1, sub_ifds}, {513, LONG, 1, 5}}, 0x1234);
        EXPECT_EQ(through_window(SourceKind::kMemory, direct.b, [ifd](DALTJ_ByteWindow &w, uint32_t size) {
                      DALTJ_TiffInfo info{};
                      DALTJ_CheckBuffer(&w, 2);
                      return static_cast<int32_t>(DALTJ_ReadTiffIFDInfo(&info, &w, ifd, size, 1, 0));
                  }), next) << sub_ifds;
    }
    MemoryStream empty;  // claims 64 bytes, delivers none
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfoWithStream(&empty, 64, MemoryStream::read, MemoryStream::skip, MemoryStream::rewind, 0, 0);
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    DALTJ_ByteWindow window = io::make_window(dec->io, buffer);
    DALTJ_TiffInfo info{};
    EXPECT_EQ(DALTJ_ReadTiffInfo(&info, &window, 0, 64, 0), 201);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    KOVRADALT_DestroyDecInfo(dec);
}

// The frame-header look-up: the last frame header before the scan; 200 found, 201 failed.
TEST(JpegResolution, Layouts) {
    const Bytes thumb = jpeg({}, 160, 120);
    const struct { const char *what; Bytes bytes; int32_t result; uint32_t width, height; } rows[] = {
        {"one frame header", thumb, 200, 160, 120},
        {"the last before the scan, segments and fill bytes skipped", concat({{0xFF, 0xD8, 0xFF, 0xFF}, frame_header(33, 44), segment(0xC4, Bytes(20, 0)), segment(0xFE, {}),
                                  {0x00, 0xFF, 0x01}, frame_header(55, 66), segment(0xEF, frame_header(99, 99)), segment(0xDA, {})}), 200, 55, 66},
        {"a scan and no frame header", {0xFF, 0xD8, 0xFF, 0xDA}, 200, 7, 7},
        {"one fill byte", concat({{0xFF, 0xD8, 0xFF}, frame_header(7, 9), segment(0xDA, {})}), 200, 7, 9},
        {"three bytes", Bytes(thumb.begin(), thumb.begin() + 3), 201, 7, 7},
        {"no SOI", concat({{0xFF, 0xD9}, Bytes(thumb.begin() + 2, thumb.end())}), 201, 7, 7},
        {"12-bit precision", concat({{0xFF, 0xD8}, segment(0xC0, {12, 0, 1, 0, 1, 1, 1, 0x11, 0}), segment(0xDA, {})}), 201, 7, 7},
        {"cut inside the frame header", Bytes(thumb.begin(), thumb.begin() + 12), 201, 7, 7},
        {"a table length below 2", concat({{0xFF, 0xD8, 0xFF, 0xDB, 0, 1}, frame_header(5, 6), segment(0xDA, Bytes(20, 0))}), 201, 7, 7},
        {"no scan", concat({{0xFF, 0xD8}, frame_header(5, 6)}), 201, 5, 6},
    };
    for (const auto &row : rows) {
        uint32_t width = 7, height = 7;
        EXPECT_EQ(DALTJ_GetJPEGResolution(row.bytes.data(), static_cast<uint32_t>(row.bytes.size()), &width, &height), row.result) << row.what;
        EXPECT_EQ(width, row.width) << row.what;
        EXPECT_EQ(height, row.height) << row.what;
    }
}

TEST(ExifSegment, ChecksOfTheBufferReader) {
    const Bytes app1 = exif_segment(small_exif());
    const auto created = [](Bytes b, size_t length, size_t at = 0, uint8_t value = 0) {
        if (at != 0) b[at] = value;
        DALTJ_ExifInfo *info = DALTJ_CreatExifInfoUseExifBuffer(b.data(), static_cast<uint32_t>(length));
        const std::string made = info != nullptr ? describe(*info) : "null";
        exif::release_exif_info(info);
        return made;
    };
    EXPECT_EQ(created(app1, app1.size()), "make=\"Ok!\"");
    EXPECT_EQ(created(app1, app1.size() - 1), "null");  // length + 2 must fit in the buffer
    EXPECT_EQ(created(app1, 3), "null");
    EXPECT_EQ(created(app1, app1.size(), 1, 0xE2), "null");
    EXPECT_EQ(created(app1, app1.size(), 8, 1), "null");
    EXPECT_EQ(created(app1, app1.size(), 3, 7), "null");  // segment length 7
    EXPECT_EQ(created(app1, app1.size(), 10, 'X'), "null");
    EXPECT_EQ(DALTJ_ReadExifInfo(nullptr, 0, 8, nullptr), 0);
    EXPECT_EQ(DALTJ_ReadExifInfo(app1.data(), 0, 8, nullptr), 0);
}

// Every allocation failure leaves a partial record and no leak (LeakSanitizer watches), through a
// memory and a stream source; reading again into a filled record never frees what it held.
TEST(ExifOwnership, AllocationFailuresAndRefilledRecords) {
    Tiff t(false);
    const uint32_t gps = t.ifd({{18, ASCII, 6, t.text("WGS84")}, {27, UNDEF, 5, t.add(raw("ASCII"))}});
    t.ifd0(t.ifd({{kMake, ASCII, 4, kOk}, {305, ASCII, 6, t.text("Tool1")}, {kGps, LONG, 1, gps}}));
    const Bytes file = jpeg({exif_segment(t.b)});
    const std::string whole = "make=\"Ok!\" software=\"Tool1\" gps datum=\"WGS84\" method";
    for (SourceKind kind : {SourceKind::kMemory, SourceKind::kStream}) {
        for (long allowed = 0;; ++allowed) {
            ExifRecord record;
            int32_t result;
            {
                AllocationFailure failure(allowed);
                result = get_exif(kind, file, &record.info);
            }
            if (result == 1 && describe(record.info) == whole) break;
            ASSERT_LT(allowed, 20);
        }
    }
    char make[] = "caller's";
    DALTJ_GpsInfo caller_gps{};
    ExifRecord record;
    record->make = make;
    record->gps = &caller_gps;
    ASSERT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record.info), 1);
    EXPECT_STREQ(make, "caller's");
    EXPECT_EQ(describe(record.info), whole);
    DALTJ_ExifInfo first = record.info;
    ASSERT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record.info), 1);
    EXPECT_EQ(describe(first), whole);
    exif::release_exif_fields(&first);
}

// 40 Make entries and 40 GPS pointers cost one string and one GPS record: two allocations read
// IFD0 whole and go on to IFD1.
TEST(ExifOwnership, RepeatedEntriesCostOneCopyEach) {
    Tiff t(true);
    const uint32_t make = t.text("Kamera"), gps = t.ifd({{1, ASCII, 2, 'N' << 24}}), ifd1 = t.ifd({{514, LONG, 1, 100}});
    std::vector<std::array<uint32_t, 4>> entries;
    for (int i = 0; i < 40; ++i) entries.push_back({kMake, ASCII, 7, make}), entries.push_back({kGps, LONG, 1, gps});
    t.ifd0(t.ifd(entries, ifd1));
    ExifRecord record;
    AllocationFailure failure(2);
    ASSERT_EQ(DALTJ_ReadExifInfo(t.b.data(), 0, t.size(), &record.info), 1);
    EXPECT_EQ(describe(record.info), "make=\"Kamera\" gps lat_ref=\"N\" thumb=1,0x0,c6,0+100");
}

}  // namespace
}  // namespace kovra::test
