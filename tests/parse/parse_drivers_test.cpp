// The parse drivers and dispatchers: each format's branch, the BMP header-size rules of the two
// dispatchers, the JPEG fixed results, error words, allocation failures and every source kind.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "io/window_bytes.h"
#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

std::vector<uint8_t> sample(const std::string &name) { return read_file(samples_dir() / name); }

// A 54-byte bitmap file header and DIB header start; the 16-bit core fields are written for
// header size 12, the 32-bit ones otherwise.
std::vector<uint8_t> bmp_header(uint8_t header_size, int32_t width, int32_t height, uint8_t b0 = 'B',
                                uint8_t b1 = 'M') {
    std::vector<uint8_t> bytes(54, 0);
    bytes[0] = b0;
    bytes[1] = b1;
    bytes[14] = header_size;
    auto put32 = [&](size_t at, int32_t v) { std::memcpy(&bytes[at], &v, 4); };
    if (header_size == 12) {
        bytes[18] = static_cast<uint8_t>(width);
        bytes[19] = static_cast<uint8_t>(width >> 8);
        bytes[20] = static_cast<uint8_t>(height);
        bytes[21] = static_cast<uint8_t>(height >> 8);
    } else {
        put32(18, width);
        put32(22, height);
    }
    return bytes;
}

// Signature and IHDR of a PNG, without CRC checking anywhere.
std::vector<uint8_t> png_header(uint32_t width, uint32_t height, uint8_t interlace) {
    std::vector<uint8_t> bytes = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13, 'I', 'H', 'D', 'R'};
    for (uint32_t v : {width, height}) {
        for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(v >> shift));
    }
    for (uint8_t b : {8, 2, 0, 0}) bytes.push_back(b);
    bytes.push_back(interlace);
    bytes.insert(bytes.end(), {0xDE, 0xAD, 0xBE, 0xEF});
    return bytes;
}

struct Dispatched {
    int32_t type;
    uint32_t width, height;
};

using Dispatcher = int32_t (*)(KOVRADALT_DecInfo *, DALTJ_ByteWindow *, KOVRADALT_ImageInfo *);

// Calls a dispatcher the way the drivers do: a fresh window at the start of the source.
Dispatched dispatch(Dispatcher fn, const std::vector<uint8_t> &bytes, KOVRADALT_ImageInfo *info = nullptr) {
    SourceRecord source(SourceKind::kMemory, bytes);
    KOVRADALT_IO *io = source->io;
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(io);
    DALTJ_ByteWindow window = io::make_window(io, buffer);
    KOVRADALT_Seek_IO(io, 0, SEEK_SET);
    Dispatched result{fn(source.record(), &window, info), source->width, source->height};
    DALTJ_ReleaseStreamBuffer(io, buffer);
    return result;
}

TEST(ParseDriversBmp, NegativeHeightIsMadePositive) {
    KOVRADALT_ImageInfo info{};
    SourceRecord source(SourceKind::kMemory, bmp_header(40, 640, -480));
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 2);
    EXPECT_EQ(info.width, 640u);
    EXPECT_EQ(info.height, 480u);
    EXPECT_EQ(info.image_count, 1u);
    EXPECT_EQ(source->image_type, 2);
}

TEST(ParseDriversBmp, HeaderSizeRulesOfTheTwoDispatchers) {
    struct Case { uint8_t size; bool parse, offset; };
    for (Case c : {Case{12, true, true}, Case{40, true, true}, Case{56, true, true}, Case{64, true, true},
                   Case{108, true, false}, Case{124, true, false}, Case{52, true, false}, Case{65, true, false},
                   Case{20, false, false}, Case{16, false, false}, Case{39, false, false}}) {
        std::vector<uint8_t> bytes = bmp_header(c.size, 300, 200);
        EXPECT_EQ(dispatch(DALT_Parse, bytes).type, c.parse ? 2 : 0) << int{c.size};
        EXPECT_EQ(dispatch(DALT_ParseJPEGOffset, bytes).type, c.offset ? 2 : 0) << int{c.size};
    }
}

TEST(ParseDriversBmp, CoreHeaderUsesSixteenBitFieldsAndSecondByteMSelectsBmp) {
    Dispatched core = dispatch(DALT_Parse, bmp_header(12, 0x1234, 0x0567));
    EXPECT_EQ(core.type, 2);
    EXPECT_EQ(core.width, 0x1234u);
    EXPECT_EQ(core.height, 0x0567u);
    Dispatched by_m = dispatch(DALT_Parse, bmp_header(40, 7, 9, 'X', 'M'));
    EXPECT_EQ(by_m.type, 2);
    EXPECT_EQ(by_m.width, 7u);
    // Too short for the header: the fill fails.
    std::vector<uint8_t> short_bmp = bmp_header(40, 7, 9);
    short_bmp.resize(20);
    SourceRecord source(SourceKind::kMemory, short_bmp);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 5);
}

TEST(ParseDriversPng, InterlaceByteReachesInfoAndRecord) {
    KOVRADALT_ImageInfo info{};
    SourceRecord source(SourceKind::kStream, png_header(1000, 2000, 1));
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 3);
    EXPECT_EQ(info.width, 1000u);
    EXPECT_EQ(info.height, 2000u);
    EXPECT_EQ(info.interlaced, 1u);
    EXPECT_EQ(source->interlaced, 1u);
    EXPECT_EQ(info.image_count, 1u);
    EXPECT_EQ(info.file_size, png_header(1, 1, 0).size());
    // Without an info record the dimensions still reach the record.
    EXPECT_EQ(dispatch(DALT_Parse, png_header(5, 6, 0)).width, 5u);
}

TEST(ParseDriversPng, ShortHeaderFailsAndOneWrongSignatureByteFallsThrough) {
    std::vector<uint8_t> bytes = png_header(5, 6, 0);
    bytes.resize(22);
    SourceRecord cut(SourceKind::kMemory, bytes);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(cut.record(), &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 5);
    bytes = png_header(5, 6, 0);
    bytes[7] = 0;
    EXPECT_EQ(dispatch(DALT_Parse, bytes).type, 0);
}

TEST(ParseDriversJpeg, FixedHeaderResultsGiveTypeOneAndNoSize) {
    const std::vector<uint8_t> jpeg = sample("exif-200dpcm.jpg");
    ASSERT_FALSE(jpeg.empty());
    SourceRecord source(SourceKind::kPath, jpeg);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 1);
    EXPECT_EQ(source->image_type, 1);
    EXPECT_EQ(info.width, 0u);
    EXPECT_EQ(info.height, 0u);
    EXPECT_EQ(info.image_count, 1u);
    EXPECT_EQ(info.file_size, jpeg.size());
    EXPECT_EQ(dispatch(DALT_Parse, jpeg).type, 1);  // no info: the header parser is not called

    source->image_type = 42;
    KOVRADALT_ImageInfo jpg_info{};
    EXPECT_EQ(KOVRADALT_JpgParser(source.record(), &jpg_info), 1);
    EXPECT_EQ(source->image_type, 42);  // not touched by this driver
    EXPECT_EQ(jpg_info.image_count, 1u);
    EXPECT_EQ(jpg_info.file_size, jpeg.size());
    EXPECT_EQ(KOVRADALT_JpgParser(source.record(), nullptr), 0);

    uint32_t start = 77, end = 88;
    EXPECT_EQ(KOVRADALT_GetJpegOffset(source.record(), &start, &end), 0);
    EXPECT_EQ(start, 0u);
    EXPECT_EQ(end, 0u);
    EXPECT_EQ(gKOVRADALT_Error, 0);
}

TEST(ParseDriversGif, AnimatedSampleCountsItsFramesAndTotalsAccumulate) {
    SourceRecord source(SourceKind::kFile, sample("animated-red-blue.gif"));
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 6);
    EXPECT_EQ(info.image_count, 4u);
    EXPECT_EQ(info.frame_count, 4u);
    ASSERT_NE(info.frame_delays, nullptr);
    EXPECT_EQ(source->gif_total_delay, 1000u);
    KOVRADALT_OsFree(info.frame_delays);
    // The total is never reset by a parse: a second one adds to it.
    KOVRADALT_ImageInfo again{};
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &again), 6);
    EXPECT_EQ(source->gif_total_delay, 2000u);
    KOVRADALT_OsFree(again.frame_delays);
}

TEST(ParseDriversGif, SimpleParserDoesNotCheckTheSignature) {
    std::vector<uint8_t> bytes = sample("animated-red-blue.gif");
    bytes[0] = 'X';
    SourceRecord source(SourceKind::kMemory, bytes);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), &info, 0), 6);
    EXPECT_EQ(info.width, 64u);
    EXPECT_EQ(info.file_size, bytes.size());
    KOVRADALT_OsFree(info.frame_delays);
    KOVRADALT_ImageInfo generic{};
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &generic), 0);  // not a GIF by its first bytes
}

TEST(ParseDriversSources, EverySampleGivesTheSameAnswerThroughEverySourceKind) {
    struct Expect { const char *file; int32_t type; uint32_t width, height, count; };
    for (Expect e : {Expect{"ad.gif", 4, 16, 11, 1}, Expect{"animated-red-blue.gif", 6, 64, 48, 4},
                     Expect{"hippopotamus.interlaced.gif", 4, 36, 28, 1}, Expect{"basn2c08.png", 3, 32, 32, 1},
                     Expect{"hat.wbmp", 5, 90, 112, 1}, Expect{"pal8.bmp", 2, 127, 64, 1},
                     Expect{"exif-200dpcm.jpg", 1, 0, 0, 1}}) {
        const std::vector<uint8_t> bytes = sample(e.file);
        for (SourceKind kind : kAllSourceKinds) {
            SourceRecord source(kind, bytes);
            KOVRADALT_ImageInfo info{};
            EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), e.type) << e.file << " " << source_kind_name(kind);
            EXPECT_EQ(info.width, e.width) << e.file << " " << source_kind_name(kind);
            EXPECT_EQ(info.height, e.height) << e.file << " " << source_kind_name(kind);
            EXPECT_EQ(info.image_count, e.count) << e.file << " " << source_kind_name(kind);
            EXPECT_EQ(info.file_size, bytes.size()) << e.file << " " << source_kind_name(kind);
            EXPECT_EQ(gKOVRADALT_Error, 0) << e.file << " " << source_kind_name(kind);
            KOVRADALT_OsFree(info.frame_delays);
        }
    }
}

TEST(ParseDriversErrors, ErrorWords) {
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(nullptr, &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(nullptr, &info, 0), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_JpgParser(nullptr, &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_GetJpegOffset(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);

    SourceRecord text(SourceKind::kMemory, {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'});
    EXPECT_EQ(KOVRADALT_Parser(text.record(), nullptr), 0);
    EXPECT_EQ(gKOVRADALT_Error, 0);
    EXPECT_EQ(KOVRADALT_Parser(text.record(), &info), 0);  // unknown format is not an error
    EXPECT_EQ(gKOVRADALT_Error, 0);

    // A stream that claims bytes but delivers none.
    SourceRecord empty(SourceKind::kStream, {});
    EXPECT_EQ(KOVRADALT_Parser(empty.record(), &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 5);
}

TEST(ParseDriversErrors, SourceWithoutItsBytesIsRefused) {
    std::vector<uint8_t> gif = sample("ad.gif");
    auto *copy = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(gif.size())));
    std::memcpy(copy, gif.data(), gif.size());
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, copy, static_cast<int32_t>(gif.size()), 0, 0);
    ASSERT_NE(dec, nullptr);
    ASSERT_EQ(KOVRADALT_DestroyInputBuffer(dec), 1);  // the memory is gone, the source stays
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_Parser(dec, &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(dec, &info, 0), 0);
    EXPECT_EQ(gKOVRADALT_Error, 1);
    KOVRADALT_DestroyDecInfo(dec);
}

TEST(ParseDriversErrors, WindowAllocationFailureSetsFour) {
    SourceRecord source(SourceKind::kPath, sample("animated-red-blue.gif"));
    KOVRADALT_ImageInfo info{};
    uint32_t start = 0, end = 0;
    AllocationFailure failure(0);
    EXPECT_EQ(KOVRADALT_Parser(source.record(), &info), 0);
    EXPECT_EQ(gKOVRADALT_Error, 4);
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), &info, 0), 0);
    EXPECT_EQ(gKOVRADALT_Error, 4);
    EXPECT_EQ(KOVRADALT_GetJpegOffset(source.record(), &start, &end), 0);
    EXPECT_EQ(gKOVRADALT_Error, 4);
}

}  // namespace
}  // namespace kovra::test
