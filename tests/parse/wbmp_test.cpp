// WBMP header parsing: multi-byte integers, the 17-byte limit, the 5000 bound, the deliberate
// accumulation into a record that already holds a size, and the real files of the corpus.

#include <gtest/gtest.h>

#include <vector>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace {
using kovra::test::SourceKind;
using kovra::test::SourceRecord;

// Runs the parser the way the parse drivers do: window filled from the image's start.
int32_t parse_wbmp(KOVRADALT_DecInfo *dec) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
    KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET);
    DALTJ_CheckBuffer(&window, 8);
    int32_t result = __DALT_ParserWBMP(dec, &window);
    DALTJ_ReleaseStreamBuffer(dec->io, buffer);
    return result;
}

struct Parsed {
    int32_t result;
    uint32_t width, height;
};

Parsed parse(const std::vector<uint8_t> &bytes, SourceKind kind = SourceKind::kMemory) {
    SourceRecord src(kind, bytes);
    int32_t result = parse_wbmp(src.record());
    return {result, src->width, src->height};
}

TEST(WbmpHeader, SingleAndMultiByteSizes) {
    Parsed p = parse({0x00, 0x00, 0x64, 0x32});
    EXPECT_EQ(p.result, KOVRADALT_TYPE_WBMP);
    EXPECT_EQ(p.width, 100u);
    EXPECT_EQ(p.height, 50u);
    p = parse({0x00, 0x00, 0x81, 0x00, 0x01, 0, 0, 0});
    EXPECT_EQ(p.width, 128u);
    EXPECT_EQ(p.height, 1u);
    p = parse({0x00, 0x00, 0x00, 0x00, 0, 0});
    EXPECT_EQ(p.result, KOVRADALT_TYPE_WBMP);  // zero sizes are accepted here
}

TEST(WbmpHeader, FiveThousandIsTheLimit) {
    // 5000 = 0x1388 = groups 0x27 0x08; 5001 = 0x27 0x09.
    EXPECT_EQ(parse({0, 0, 0xA7, 0x08, 0x01, 0}).result, KOVRADALT_TYPE_WBMP);
    gKOVRADALT_Error = 0;
    Parsed p = parse({0, 0, 0xA7, 0x09, 0x01, 0});
    EXPECT_EQ(p.result, 0);
    EXPECT_EQ(p.width, 5001u);  // kept as computed
    EXPECT_EQ(gKOVRADALT_Error, 0);
    EXPECT_EQ(parse({0, 0, 0x01, 0xA7, 0x09, 0}).result, 0);
}

TEST(WbmpHeader, AtMostSeventeenLengthBytesInAll) {
    std::vector<uint8_t> bytes = {0, 0};
    for (int i = 0; i < 16; ++i) bytes.push_back(0x80);
    bytes.push_back(0x05);  // width: 17 bytes, value 5
    bytes.push_back(0x07);  // height: an 18th byte
    bytes.resize(40, 0);
    EXPECT_EQ(parse(bytes).result, 0);
    std::vector<uint8_t> long_width = {0, 0};
    for (int i = 0; i < 17; ++i) long_width.push_back(0x80);
    long_width.resize(40, 0);
    EXPECT_EQ(parse(long_width).result, 0);
    std::vector<uint8_t> fits = {0, 0};
    for (int i = 0; i < 15; ++i) fits.push_back(0x80);
    fits.push_back(0x05);
    fits.push_back(0x07);  // 16 + 1 = 17 bytes
    fits.resize(40, 0);
    Parsed p = parse(fits);
    EXPECT_EQ(p.result, KOVRADALT_TYPE_WBMP);
    EXPECT_EQ(p.width, 5u);  // leading zero groups shift out of 32 bits
    EXPECT_EQ(p.height, 7u);
}

TEST(WbmpHeader, ParsingTwiceCarriesTheFirstWidthUpwards) {
    SourceRecord src(SourceKind::kMemory, {0x00, 0x00, 0x64, 0x32});
    EXPECT_EQ(parse_wbmp(src.record()), KOVRADALT_TYPE_WBMP);
    EXPECT_EQ(parse_wbmp(src.record()), 0);
    EXPECT_EQ(src->width, 12900u);  // (100 << 7) + 100
}

TEST(WbmpHeader, ShortSources) {
    EXPECT_EQ(parse({0, 0, 0x64}).result, 0);  // under 4 bytes: refused at once
    // A value cut off by the end of the source continues with zero bytes, never stray memory:
    // groups 1, 2, 0 make 16640, which is then refused as too wide.
    gKOVRADALT_Error = 0;
    Parsed p = parse({0, 0, 0x81, 0x82}, SourceKind::kStream);
    EXPECT_EQ(p.result, 0);
    EXPECT_EQ(p.width, 16640u);
    EXPECT_EQ(gKOVRADALT_Error, 0);
}

TEST(WbmpHeader, RealFilesThroughEverySource) {
    KOVRA_REQUIRE_CORPUS();
    const std::vector<std::pair<std::string, std::pair<uint32_t, uint32_t>>> files = {
        {"wbmp/commandus-wbmp/Icon32.wbmp", {32, 32}},
        {"wbmp/reshane-wbmp/sample_640x426.wbmp", {640, 426}},
        {"wbmp/wuffs/bricks-nodither.wbmp", {160, 120}},
        {"wbmp/wuffs/hat.wbmp", {90, 112}},
        {"wbmp/wuffs/muybridge-frame-000.wbmp", {30, 20}},
    };
    for (const auto &[name, size] : files) {
        const auto bytes = kovra::test::read_file(kovra::test::corpus_dir() / name);
        for (SourceKind kind : kovra::test::kAllSourceKinds) {
            Parsed p = parse(bytes, kind);
            EXPECT_EQ(p.result, KOVRADALT_TYPE_WBMP) << name << " via " << kovra::test::source_kind_name(kind);
            EXPECT_EQ(p.width, size.first) << name;
            EXPECT_EQ(p.height, size.second) << name;
        }
    }
}

}  // namespace
