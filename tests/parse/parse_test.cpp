// Type detection and the header parse drivers: the signature table through both of its users,
// hostile headers, the drivers' quirks and refusals, every sample through every source kind.

#include <gtest/gtest.h>

#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Dispatcher = int32_t (*)(KOVRADALT_DecInfo *, DALTJ_ByteWindow *, KOVRADALT_ImageInfo *);

// Type, error word, width and height after a dispatcher ran on a fresh window over a stream.
std::array<int64_t, 4> dispatch(Dispatcher fn, const Bytes &bytes) {
    SourceRecord source(SourceKind::kStream, bytes);
    int32_t type = -1;
    gKOVRADALT_Error = 0;
    fuzz::with_window(source.record(), [&](DALTJ_ByteWindow &w) { type = fn(source.record(), &w, nullptr); });
    return {type, gKOVRADALT_Error, source->width, source->height};
}

// First bytes, padded to 64; a bitmap's header size (byte 14) is 40 unless given.
Bytes head(std::initializer_list<uint8_t> first, uint8_t bitmap_header = 40) {
    Bytes bytes(first);
    bytes.resize(64, 0);
    if (bytes[0] == 'B' || bytes[1] == 'M') bytes[14] = bitmap_header;
    return bytes;
}

// One row per input: the type detection gives (the same table decides the dispatch), then what
// the dispatcher makes of it: type, error word, width, height.
TEST(Headers, DetectionAndParse) {
    const Bytes wbmp17 = {0, 0, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 5, 7};
    Bytes wbmp18 = wbmp17;
    wbmp18.insert(wbmp18.begin() + 2, 0x80);
    const struct { Bytes bytes; int32_t detected; std::array<int64_t, 4> parsed; } rows[] = {
        {head({0xFF, 0xD8, 0xFF, 0xE0}), 1, {1, 0, 0, 0}}, {head({'B', 0}), 2, {2, 0, 0, 0}},
        {head({0x01, 'M'}), 2, {2, 0, 0, 0}}, {head({0xFF, 'M'}), 2, {2, 0, 0, 0}},
        {head({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0, 0, 1, 0, 0, 0, 1}), 3, {3, 0, 1, 1}},
        {head({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0B}), 0, {0, 0, 0, 0}},
        {head({'G', 'I', 'F', '9', '9', 'z', 1, 0, 1, 0, 0, 0, 0, ',', 0, 0, 0, 0, 1, 0, 1, 0, 0, 2, 2, 0x44, 1, 0, ';'}), 4, {4, 0, 1, 1}},
        {head({'G', 'I', 'X', '8', '9', 'a'}), 0, {0, 0, 0, 0}}, {head({'G', 'F', 'I'}), 0, {0, 0, 0, 0}},
        {head({0x00, 0x00, 0x10, 0x10}), 5, {5, 0, 16, 16}}, {head({0x00, 0x7F, 0x10, 0x10}), 5, {5, 0, 16, 16}},
        {head({0x00, 0x80}), 0, {0, 0, 0, 0}},
        {{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 0, 0, 0, 0x34, 0x12, 0x67, 0x05, 1, 0, 24, 0}, 2, {2, 0, 0x1234, 0x567}},  // 26 bytes
        {head({'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40, 0, 0, 0, 0x80, 2, 0, 0, 0x20, 0xFE, 0xFF, 0xFF}), 2, {2, 0, 640, 480}},
        {{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 40, 0, 0, 0, 0x80, 2}, 2, {0, KOVRADALT_ERR_READ_OR_PARSE, 0, 0}},
        {{0, 0, 0x64, 0x32}, 5, {5, 0, 100, 50}},           {{0, 0, 0x81, 0x00, 0x01, 0}, 5, {5, 0, 128, 1}},
        {{0, 0, 0xA7, 0x08, 0x01, 0}, 5, {5, 0, 5000, 1}},  {{0, 0, 0xA7, 0x09, 0x01, 0}, 5, {0, 0, 5001, 1}},
        {{0, 0, 0x01, 0xA7, 0x09, 0}, 5, {0, 0, 1, 5001}},  {wbmp17, 5, {5, 0, 5, 7}}, {wbmp18, 5, {0, 0, 5, 0}},
        {{0, 0, 0x64}, 5, {0, 0, 0, 0}},                    {{0, 0, 0x81, 0x82}, 5, {0, 0, 16640, 0}},  // cut: zeros follow
    };
    for (const auto &row : rows) {
        SourceRecord src(SourceKind::kStream, row.bytes);
        EXPECT_EQ(KOVRADALT_GetImageType(src.record()), row.detected) << testing::PrintToString(row.bytes);
        EXPECT_EQ(src->image_type, row.detected);
        EXPECT_EQ(dispatch(DALT_Parse, row.bytes), row.parsed) << testing::PrintToString(row.bytes);
    }
    SourceRecord two(SourceKind::kMemory, {0x89, 0x50});  // ASan: no read past the caller's 2 bytes
    EXPECT_EQ(KOVRADALT_GetImageType(two.record()), 0);
    // Bitmap header sizes: the offset-locating dispatcher accepts fewer.
    for (auto [size, parse, offset] : {std::tuple{12, 2, 2}, {40, 2, 2}, {56, 2, 2}, {64, 2, 2}, {108, 2, 0}, {52, 2, 0}, {65, 2, 0}, {20, 0, 0}, {39, 0, 0}}) {
        EXPECT_EQ(dispatch(DALT_Parse, head({'B', 'M'}, size))[0], parse) << size;
        EXPECT_EQ(dispatch(DALT_ParseJPEGOffset, head({'B', 'M'}, size))[0], offset) << size;
    }
}

// Every sample through every source kind; a record parsed twice adds both GIF totals; the
// GIF-only driver ignores the signature; the JPEG driver leaves the type alone; the offset driver
// finds nothing; PNG's interlace flag; a cut PNG header.
TEST(Drivers, SamplesAndQuirks) {
    for (auto [file, type, width, height, count] : {std::tuple{"ad.gif", 4, 16u, 11u, 1u}, {"animated-red-blue.gif", 6, 64u, 48u, 4u},
                                                    {"basn2c08.png", 3, 32u, 32u, 1u}, {"hat.wbmp", 5, 90u, 112u, 1u},
                                                    {"pal8.bmp", 2, 127u, 64u, 1u}, {"exif-200dpcm.jpg", 1, 0u, 0u, 1u}}) {
        const Bytes bytes = read_file(samples_dir() / file);
        for (SourceKind kind : kAllSourceKinds) {
            SourceRecord source(kind, bytes);
            KOVRADALT_ImageInfo info{};
            EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), type) << file << " " << source_kind_name(kind);
            EXPECT_EQ(std::tuple(info.width, info.height, info.image_count, info.file_size, gKOVRADALT_Error),
                      std::tuple(width, height, count, bytes.size(), 0)) << file << " " << source_kind_name(kind);
            KOVRADALT_OsFree(info.frame_delays);
            // Parsed again: GIF totals add up; WBMP sizes accumulate ((w << 7) + w) past the bound.
            EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), type == 5 ? 0 : type);
            EXPECT_EQ(source->gif_total_delay, type == 6 ? 2000u : 0u);
            EXPECT_EQ(source->width, type == 5 ? width * 129 : width);
            KOVRADALT_OsFree(info.frame_delays);
        }
    }
    Bytes gif = read_file(samples_dir() / "animated-red-blue.gif"), png = read_file(samples_dir() / "basn2c08.png");
    KOVRADALT_ImageInfo info{};
    gif[0] = 'X';
    SourceRecord renamed(SourceKind::kMemory, gif), jpeg(SourceKind::kPath, read_file(samples_dir() / "exif-200dpcm.jpg"));
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(renamed.record(), &info, 0), 6);
    KOVRADALT_OsFree(info.frame_delays);
    EXPECT_EQ(KOVRADALT_Parser(renamed.record(), &info), 0);
    jpeg->image_type = 42;
    EXPECT_EQ(KOVRADALT_JpgParser(jpeg.record(), &info), 1);
    EXPECT_EQ(jpeg->image_type, 42);
    EXPECT_EQ(KOVRADALT_JpgParser(jpeg.record(), nullptr), 0);
    uint32_t start = 77, end = 88;
    EXPECT_EQ(KOVRADALT_GetJpegOffset(jpeg.record(), &start, &end), 0);
    EXPECT_EQ(start + end, 0u);
    png[28] = 1;
    SourceRecord adam7(SourceKind::kStream, png);
    EXPECT_EQ(KOVRADALT_Parser(adam7.record(), &info), 3);
    EXPECT_EQ(info.interlaced + adam7->interlaced, 2u);
    png.resize(22);
    EXPECT_EQ(dispatch(DALT_Parse, png)[1], KOVRADALT_ERR_READ_OR_PARSE);
}

// Error words: 1 for a missing record or source, 5 for an empty stream, 4 when memory runs out.
TEST(Drivers, ErrorWords) {
    auto *copy = static_cast<uint8_t *>(KOVRADALT_OsMalloc(8));
    KOVRADALT_DecInfo *gone = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, copy, 8, 0, 0);
    KOVRADALT_DestroyInputBuffer(gone);
    SourceRecord empty(SourceKind::kStream, {}), gif(SourceKind::kPath, read_file(samples_dir() / "ad.gif"));
    KOVRADALT_ImageInfo info{};
    uint32_t start = 0, end = 0;
    const auto word = [](int32_t result) { return result * 100 + gKOVRADALT_Error; };  // after the call
    for (auto [dec, error] : {std::pair{(KOVRADALT_DecInfo *)nullptr, 1}, {gone, 1}, {empty.record(), 5}, {gif.record(), 4}}) {
        AllocationFailure failure(error == 4 ? 0 : 1000);
        EXPECT_EQ(word(KOVRADALT_Parser(dec, &info)), error) << error;
        EXPECT_EQ(word(KOVRADALT_SimpleParserGIF(dec, &info, 0)), error) << error;
        EXPECT_EQ(word(KOVRADALT_GetJpegOffset(dec, &start, &end)), error) << error;
        EXPECT_EQ(word(KOVRADALT_GetImageType(dec)), error) << error;
    }
    EXPECT_EQ(word(KOVRADALT_JpgParser(nullptr, &info)), 1);
    KOVRADALT_DestroyDecInfo(gone);
}

}  // namespace
}  // namespace kovra::test
