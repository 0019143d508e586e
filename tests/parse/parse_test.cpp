// Type detection and the header parse drivers: the signature table through both of its users,
// the format branches and their quirks, error words, and every sample through every source kind.

#include <gtest/gtest.h>

#include <cstring>

#include "io/window_bytes.h"
#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Dispatcher = int32_t (*)(KOVRADALT_DecInfo *, DALTJ_ByteWindow *, KOVRADALT_ImageInfo *);

struct Parsed {
    int32_t type, error;
    uint32_t width, height;
};

// Runs a dispatcher (or the WBMP parser) as the drivers do: a fresh window at the source's start.
Parsed dispatch(Dispatcher fn, const Bytes &bytes, SourceKind kind = SourceKind::kMemory) {
    SourceRecord source(kind, bytes);
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(source->io);
    DALTJ_ByteWindow window = io::make_window(source->io, buffer);
    KOVRADALT_Seek_IO(source->io, 0, SEEK_SET);
    gKOVRADALT_Error = 0;
    const int32_t type = fn(source.record(), &window, nullptr);
    DALTJ_ReleaseStreamBuffer(source->io, buffer);
    return {type, gKOVRADALT_Error, source->width, source->height};
}

int32_t wbmp(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window, KOVRADALT_ImageInfo *) {
    DALTJ_CheckBuffer(window, 8);
    return __DALT_ParserWBMP(dec, window);
}

// First bytes, padded to 64; a bitmap's header size (byte 14) is 40.
Bytes head(std::initializer_list<uint8_t> first) {
    Bytes bytes(first);
    bytes.resize(64, 0);
    if (bytes[0] == 'B' || bytes[1] == 'M') bytes[14] = 40;
    return bytes;
}

// Each row through type detection and through the parse dispatcher, which must agree.
TEST(Signatures, TypeDetectionAndDispatchShareOneTable) {
    const struct { Bytes bytes; int32_t type; } rows[] = {
        {head({0xFF, 0xD8, 0xFF, 0xE0}), KOVRADALT_TYPE_JPEG},
        {head({'B', 0}), KOVRADALT_TYPE_BMP},
        {head({0x01, 'M'}), KOVRADALT_TYPE_BMP},
        {head({0xFF, 'M'}), KOVRADALT_TYPE_BMP},
        {head({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0, 0, 1, 0, 0, 0, 1}), KOVRADALT_TYPE_PNG},
        {head({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0B}), KOVRADALT_TYPE_UNKNOWN},
        {head({'G', 'I', 'F', '9', '9', 'z', 1, 0, 1, 0, 0, 0, 0, ',', 0, 0, 0, 0, 1, 0, 1, 0, 0, 2, 2, 0x44, 1, 0, ';'}),
         KOVRADALT_TYPE_GIF},
        {head({'G', 'I', 'X', '8', '9', 'a'}), KOVRADALT_TYPE_UNKNOWN},
        {head({'G', 'F', 'I'}), KOVRADALT_TYPE_UNKNOWN},
        {head({0x00, 0x00, 0x10, 0x10}), KOVRADALT_TYPE_WBMP},
        {head({0x00, 0x7F, 0x10, 0x10}), KOVRADALT_TYPE_WBMP},
        {head({0x00, 0x80}), KOVRADALT_TYPE_UNKNOWN},
    };
    for (const auto &row : rows) {
        SourceRecord src(SourceKind::kStream, row.bytes);
        EXPECT_EQ(KOVRADALT_GetImageType(src.record()), row.type) << int{row.bytes[0]} << " " << int{row.bytes[1]};
        EXPECT_EQ(src->image_type, row.type);
        EXPECT_EQ(dispatch(DALT_Parse, row.bytes).type, row.type) << int{row.bytes[0]} << " " << int{row.bytes[1]};
    }
    EXPECT_EQ(gKOVRADALT_Error, 0);  // an unknown format is not an error
    SourceRecord two(SourceKind::kMemory, {0x89, 0x50});  // must not read past the caller's 2 bytes
    EXPECT_EQ(KOVRADALT_GetImageType(two.record()), KOVRADALT_TYPE_UNKNOWN);
    SourceRecord empty(SourceKind::kStream, {});
    EXPECT_EQ(KOVRADALT_GetImageType(empty.record()), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_READ_OR_PARSE);
    AllocationFailure fail(0);
    EXPECT_EQ(KOVRADALT_GetImageType(two.record()), 0);
    EXPECT_EQ(gKOVRADALT_Error, KOVRADALT_ERR_NO_MEMORY);
}

// Header sizes each dispatcher accepts (the offset-locating one is narrower); 16-bit core fields.
TEST(Bitmap, HeaderSizeRulesAndFields) {
    for (auto [size, parse, offset] : {std::tuple{12, 2, 2}, {40, 2, 2}, {56, 2, 2}, {64, 2, 2}, {108, 2, 0},
                                       {52, 2, 0}, {65, 2, 0}, {20, 0, 0}, {39, 0, 0}}) {
        Bytes bytes = head({'B', 'M'});
        bytes[14] = static_cast<uint8_t>(size);
        EXPECT_EQ(dispatch(DALT_Parse, bytes).type, parse) << size;
        EXPECT_EQ(dispatch(DALT_ParseJPEGOffset, bytes).type, offset) << size;
    }
    Bytes core = head({'B', 'M'});
    core[14] = 12;
    std::memcpy(&core[18], "\x34\x12\x67\x05", 4);
    const Parsed p = dispatch(DALT_Parse, core);
    EXPECT_EQ(p.width, 0x1234u);
    EXPECT_EQ(p.height, 0x0567u);
    Bytes negative = head({'B', 'M'});
    std::memcpy(&negative[18], "\x80\x02\0\0\x20\xFE\xFF\xFF", 8);  // 640 x -480
    SourceRecord source(SourceKind::kMemory, negative);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 2);
    EXPECT_EQ(info.height, 480u);
    EXPECT_EQ(info.image_count, 1u);
    Bytes cut(negative.begin(), negative.begin() + 20);
    EXPECT_EQ(dispatch(DALT_Parse, cut).error, KOVRADALT_ERR_READ_OR_PARSE);
}

// WBMP: multi-byte sizes, the 5000 bound, at most 17 length bytes, and the deliberate
// accumulation into a record that already holds a size.
TEST(Wbmp, Header) {
    const Bytes seventeen = {0, 0, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 5, 7};
    Bytes eighteen = seventeen;
    eighteen.insert(eighteen.begin() + 2, 0x80);
    const struct { Bytes bytes; int32_t type; uint32_t width, height; } rows[] = {
        {{0, 0, 0x64, 0x32}, 5, 100, 50},       {{0, 0, 0x81, 0x00, 0x01, 0}, 5, 128, 1},
        {{0, 0, 0xA7, 0x08, 0x01, 0}, 5, 5000, 1}, {{0, 0, 0xA7, 0x09, 0x01, 0}, 0, 5001, 1},
        {{0, 0, 0x01, 0xA7, 0x09, 0}, 0, 1, 5001}, {seventeen, 5, 5, 7},
        {eighteen, 0, 5, 0},                    {{0, 0, 0x64}, 0, 0, 0},
        {{0, 0, 0x81, 0x82}, 0, 16640, 0},      // cut short: zeros follow, never stray memory
    };
    for (const auto &row : rows) {
        const Parsed p = dispatch(wbmp, row.bytes, SourceKind::kStream);
        EXPECT_EQ(p.type, row.type) << p.width;
        EXPECT_EQ(p.width, row.width);
        EXPECT_EQ(p.height, row.height) << p.width;
    }
    SourceRecord src(SourceKind::kMemory, {0x00, 0x00, 0x64, 0x32});
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(src.record(), &info), 5);
    EXPECT_EQ(KOVRADALT_Parser(src.record(), &info), 0);
    EXPECT_EQ(src->width, 12900u);  // (100 << 7) + 100
}

TEST(Drivers, EverySampleThroughEverySourceKind) {
    for (auto [file, type, width, height, count] :
         {std::tuple{"ad.gif", 4, 16u, 11u, 1u}, {"animated-red-blue.gif", 6, 64u, 48u, 4u}, {"basn2c08.png", 3, 32u, 32u, 1u},
          {"hat.wbmp", 5, 90u, 112u, 1u}, {"pal8.bmp", 2, 127u, 64u, 1u}, {"exif-200dpcm.jpg", 1, 0u, 0u, 1u}}) {
        const Bytes bytes = read_file(samples_dir() / file);
        for (SourceKind kind : kAllSourceKinds) {
            SourceRecord source(kind, bytes);
            KOVRADALT_ImageInfo info{};
            const std::string where = std::string(file) + " " + source_kind_name(kind);
            EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), type) << where;
            EXPECT_EQ(info.width, width) << where;
            EXPECT_EQ(info.height, height) << where;
            EXPECT_EQ(info.image_count, count) << where;
            EXPECT_EQ(info.file_size, bytes.size()) << where;
            EXPECT_EQ(gKOVRADALT_Error, 0) << where;
            KOVRADALT_OsFree(info.frame_delays);
        }
    }
}

TEST(Drivers, GifTotalsAccumulateAndTheGifDriverTakesAnyFirstBytes) {
    Bytes bytes = read_file(samples_dir() / "animated-red-blue.gif");
    SourceRecord source(SourceKind::kFile, bytes);
    for (uint32_t total : {1000u, 2000u}) {
        KOVRADALT_ImageInfo info{};
        EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 6);
        EXPECT_EQ(source->gif_total_delay, total);
        KOVRADALT_OsFree(info.frame_delays);
    }
    bytes[0] = 'X';
    SourceRecord renamed(SourceKind::kMemory, bytes);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(renamed.record(), &info, 0), 6);
    KOVRADALT_OsFree(info.frame_delays);
    EXPECT_EQ(KOVRADALT_Parser(renamed.record(), &info), 0);
}

TEST(Drivers, JpegAndPngSpecifics) {
    SourceRecord jpeg(SourceKind::kPath, read_file(samples_dir() / "exif-200dpcm.jpg"));
    jpeg->image_type = 42;
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_JpgParser(jpeg.record(), &info), 1);
    EXPECT_EQ(jpeg->image_type, 42);  // not touched by this driver
    EXPECT_EQ(KOVRADALT_JpgParser(jpeg.record(), nullptr), 0);
    uint32_t start = 77, end = 88;
    EXPECT_EQ(KOVRADALT_GetJpegOffset(jpeg.record(), &start, &end), 0);
    EXPECT_EQ(start + end, 0u);
    EXPECT_EQ(dispatch(DALT_Parse, read_file(samples_dir() / "basn2c08.png")).width, 32u);
    std::vector<uint8_t> interlaced = read_file(samples_dir() / "basn2c08.png");
    interlaced[28] = 1;
    SourceRecord adam7(SourceKind::kStream, interlaced);
    EXPECT_EQ(KOVRADALT_Parser(adam7.record(), &info), 3);
    EXPECT_EQ(info.interlaced, 1u);
    EXPECT_EQ(adam7->interlaced, 1u);
    interlaced.resize(22);
    EXPECT_EQ(dispatch(DALT_Parse, interlaced).error, KOVRADALT_ERR_READ_OR_PARSE);
}

TEST(Drivers, ErrorWords) {
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(nullptr, &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(nullptr, &info, 0), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_JpgParser(nullptr, &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_GetJpegOffset(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    SourceRecord empty(SourceKind::kStream, {});
    EXPECT_EQ(KOVRADALT_Parser(empty.record(), &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 5);
    auto *copy = static_cast<uint8_t *>(KOVRADALT_OsMalloc(8));
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, copy, 8, 0, 0);
    KOVRADALT_DestroyInputBuffer(dec);  // the memory is gone, the source stays
    EXPECT_EQ(KOVRADALT_Parser(dec, &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(dec, &info, 0), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    KOVRADALT_DestroyDecInfo(dec);
    SourceRecord gif(SourceKind::kPath, read_file(samples_dir() / "ad.gif"));
    AllocationFailure failure(0);
    EXPECT_EQ(KOVRADALT_Parser(gif.record(), &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 4);
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(gif.record(), &info, 0), 0);
    EXPECT_EQ(gKOVRADALT_Error, 4);
    uint32_t start = 0, end = 0;
    EXPECT_EQ(KOVRADALT_GetJpegOffset(gif.record(), &start, &end), 0);
    EXPECT_EQ(gKOVRADALT_Error, 4);
}

// Every real file of the corpus named after its folder's format, through memory and a stream.
TEST(Signatures, RealFilesAreNamedAfterTheirFormat) {
    KOVRA_REQUIRE_CORPUS();
    int checked = 0;
    for (auto [folder, type, ext] : {std::tuple{"gif", 4, ".gif"}, {"png/pngsuite", 3, ".png"}, {"bmp", 2, ".bmp"},
                                     {"wbmp", 5, ".wbmp"}, {"jpeg-exif/exif-samples", 1, ".jpg"}}) {
        for (const auto &path : corpus_files(folder, {ext, ".jpeg"})) {
            if (path.filename().string()[0] == 'x' && type == 3) continue;  // PngSuite's corrupt files
            const Bytes bytes = read_file(path);
            if (bytes.size() < 2) continue;
            for (SourceKind kind : {SourceKind::kMemory, SourceKind::kStream}) {
                SourceRecord src(kind, bytes);
                EXPECT_EQ(KOVRADALT_GetImageType(src.record()), type) << path;
            }
            ++checked;
        }
    }
    EXPECT_GT(checked, 100);
}

}  // namespace
}  // namespace kovra::test
