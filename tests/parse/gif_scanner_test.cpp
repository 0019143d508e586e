// The GIF stream scanner on streams built block by block, each case over every source kind:
// screen and descriptor limits, the delay table rules, resynchronisation and truncation.

#include <gtest/gtest.h>

#include <array>

#include "gif_scan_helpers.h"
#include "support/gif_builder.h"

namespace kovra::test {
namespace {

using Delays = std::vector<uint32_t>;

// An image whose data are `count` sub-blocks of `size` separator bytes (a scan must skip them),
// with a local table of 2 << lct_bits entries when lct_bits >= 0.
ImageSpec filler(int left, int top, int width, int height, int lct_bits = -1, int count = 1, int size = 4) {
    ImageSpec spec = coded_image(width, height, 2, Bytes(static_cast<size_t>(count * size), 0x2C), size);
    spec.left = left;
    spec.top = top;
    if (lct_bits >= 0) spec.local = test_palette(2 << lct_bits);
    return spec;
}
const ImageSpec F = filler(0, 0, 4, 4);

GifBuilder G() { return GifBuilder(8, 8); }

struct Case {
    const char *what;
    Bytes bytes;
    int32_t type;
    uint32_t frames;
    int64_t default_delay = 0;  // -1: through KOVRADALT_Parser
    Delays delays = {};
    int64_t total = -1;  // -1: not checked
};

std::vector<Case> cases() {
    const GifBuilder three = G().image(F).image(F).image(filler(0, 0, 8, 8, 3, 4, 50));
    const size_t two = G().image(F).image(F).size();
    const GifBuilder single = G().image(filler(0, 0, 8, 8, -1, 3, 50));
    const GifBuilder gce = G().image(F).image(F).delay(10);
    const GifBuilder comment = G().image(F).image(F).extension(0xFE, {200});
    const GifBuilder palette = GifBuilder(8, 8, test_palette(8)).image(F).trailer();
    const Bytes body = GifBuilder().image(filler(0, 0, 2, 2)).bytes();
    GifBuilder many(300, 200, test_palette(256));
    many.extension(0xFF, {11, 3}).delay(5).image(filler(0, 0, 300, 200, 7, 120, 255)).extension(0xFE, std::vector<int>(70, 255));
    many.delay(70).image(filler(10, 10, 20, 20, -1, 90, 200)).raw({0x00, 0x13}).image(F).trailer();
    std::vector<Case> c = {
        {"5000 x 5000 screen", GifBuilder(5000, 5000).image(F).trailer().bytes(), 4, 1},
        {"global table skipped", GifBuilder(10, 20, test_palette(256)).image(F).image(F).trailer().bytes(), 6, 2},
        {"descriptor limits", G().image(filler(5000, 5000, 5000, 5000)).trailer().bytes(), 4, 1},
        {"local tables and long data chains", G().image(filler(0, 0, 8, 8, 7, 300, 255)).image(filler(0, 0, 8, 8, 0, 2, 1)).trailer().bytes(), 6, 2},
        {"no trailer, ending at the stated size", G().image(F).image(F).bytes(), 6, 2},
        {"nothing after the trailer is read", G().image(F).trailer().image(F).image(F).bytes(), 4, 1},
        {"short delays take the default", G().delay(2).image(F).delay(3).image(F).trailer().bytes(), 6, 2, 70, {70, 30}, 100},
        {"the generic driver's default is 0", G().delay(2).image(F).delay(3).image(F).trailer().bytes(), 6, 2, -1, {0, 30}},
        {"frames without an extension take the default", G().image(F).image(F).image(F).trailer().bytes(), 6, 3, 100, {100, 100, 100}, 300},
        {"no clamp pass when every frame has an extension", G().delay(65535).image(F).delay(10).image(F).trailer().bytes(), 6, 2, 50, {655350, 100}, 655450},
        {"the clamp pass", G().delay(65535).image(F).delay(4).image(F).image(F).trailer().bytes(), 6, 3, 50, {50, 50, 50}, 655350 + 40 + 50},
        {"one frame still adds its delay", G().delay(25).image(F).trailer().bytes(), 4, 1, 0, {250}, 250},
        {"a second extension before one image replaces its slot and total", G().delay(10).delay(20).image(F).image(F).trailer().bytes(), 6, 2, 7, {200, 0}, 200},
        {"slots no extension wrote read 0", G().delay(10).delay(20).delay(30).image(F).image(F).image(F).delay(40).image(F).trailer().bytes(), 6, 4, 9, {300, 0, 0, 400}, 700},
        {"the last delay is forgotten at each descriptor", G().delay(10).image(F).delay(20).image(F).trailer().bytes(), 6, 2, 0, {100, 200}, 300},
        {"extension and image counts drift", G().delay(40).image(F).image(F).delay(60).image(F).trailer().bytes(), 6, 3, 35, {400, 35, 35}, 1035},
        {"an extension after the last image", G().delay(40).image(F).delay(50).image(F).delay(60).trailer().bytes(), 6, 2, 0, {400, 500}, 1500},
        {"a control block of the wrong size is not recorded", G().control(0, false, 40, 0, 5).image(F).delay(50).image(F).trailer().bytes(), 6, 2, 11, {11, 11}},
        {"stray bytes between blocks", G().raw({0x00, 0x99, 0x42}).image(F).raw({0xFF, 0x01}).image(F).raw({0x07}).trailer().bytes(), 6, 2},
        {"an unknown extension's body is scanned as blocks", G().raw({0x21, 0x99, uint8_t(body.size())}).raw(body).raw({0}).image(F).trailer().bytes(), 6, 2},
        {"a known extension's body is skipped", G().raw({0x21, 0xFE, uint8_t(body.size())}).raw(body).raw({0}).image(F).trailer().bytes(), 4, 1},
        {"every known label", G().extension(0xFF, {11, 3}).extension(0xFE, {255, 255, 1}).extension(0x01, {12, 4}).image(F).trailer().bytes(), 4, 1},
        {"an empty first sub-block forgets the window's last byte", G().extension(0xFE, {}).image(F).bytes(), 0, 0},
        {"a one-byte comment does not", G().extension(0xFE, {1}).image(F).bytes(), 4, 1},
        {"only the trailer is forgotten", G().extension(0xFE, {}).image(F).trailer().bytes(), 4, 1},
        {"a cut control block", gce.cut(gce.size() - 3), 0, 0},
        {"a cut comment", comment.cut(comment.size() - 50), 0, 0},
        {"a single image cut short", single.cut(single.size() - 30), 0, 0},
        {"several windows of blocks", many.bytes(), 6, 3, 40, {50, 700, 40}, 790},
    };
    for (size_t n : {size_t{3}, size_t{8}, size_t{12}, size_t{23}}) c.push_back({"header or global table cut", palette.cut(n), 0, 0});
    for (size_t n : {two + 5, two + 12, two + 58, two + 59, three.size() - 20, three.size() - 1}) {
        c.push_back({"a cut image ends the scan with the frames before", three.cut(n), 6, 2});
    }
    for (const auto &[left, top, width, height] : {std::array{5001, 0, 4, 4}, {0, 5001, 4, 4}, {0, 0, 0, 4}, {0, 0, 4, 0}, {0, 0, 5001, 4}, {0, 0, 4, 5001}}) {
        c.push_back({"out-of-limit descriptors are skipped", G().image(F).image(filler(left, top, width, height)).image(F).trailer().bytes(), 6, 2});
    }
    return c;
}

using GifScanner = SourceKindTest;

TEST_P(GifScanner, Cases) {
    for (const Case &c : cases()) {
        const GifScan scan = scan_gif(GetParam(), c.bytes, c.default_delay);
        EXPECT_EQ(std::pair(scan.type, scan.frame_count), std::pair(c.type, c.frames)) << c.what;
        EXPECT_TRUE(c.delays.empty() || scan.delays == c.delays) << c.what;
        EXPECT_TRUE(c.total < 0 || scan.total_delay == c.total) << c.what;
    }
}

TEST(GifScannerEdges, RefusedScreensStillReportTheirSize) {
    for (auto [w, h] : {std::pair{5001, 10}, {10, 5001}, {0, 10}, {10, 0}}) {
        const GifScan scan = scan_gif(SourceKind::kMemory, GifBuilder(w, h).image(F).trailer().bytes());
        EXPECT_EQ(std::vector<int64_t>({scan.type, scan.width, scan.height}), std::vector<int64_t>({0, w, h}));
    }
}

TEST(GifScannerEdges, StreamShorterThanItsStatedSizeGivesZero) {
    MemoryStream stream{G().image(F).image(F).bytes()};
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfoWithStream(&stream, static_cast<int32_t>(stream.bytes.size() + 100),
                                                               MemoryStream::read, MemoryStream::skip, MemoryStream::rewind, 0, 0);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(std::pair(KOVRADALT_SimpleParserGIF(dec, &info, 0), info.image_count), std::pair(0, 2u));
    KOVRADALT_OsFree(info.frame_delays);
    KOVRADALT_DestroyDecInfo(dec);
    SourceRecord source(SourceKind::kMemory, G().delay(10).image(F).delay(10).image(F).trailer().bytes());
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), nullptr, 0), 6);  // no info record
    EXPECT_EQ(source->gif_total_delay, 200u);
}

TEST(GifScannerEdges, DelayTableGrowsGeometricallyAndFailsCleanly) {
    GifBuilder gif = G();
    for (int i = 0; i < 3000; ++i) gif.delay(10).image(F);
    SourceRecord source(SourceKind::kMemory, gif.trailer().bytes());
    KOVRADALT_ImageInfo info{};
    {
        AllocationFailure failure(40);  // a table growing one entry at a time would need thousands
        EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), &info, 0), 6);
    }
    EXPECT_EQ(info.frame_count == 3000 ? info.frame_delays[2999] : 0, 100u);
    KOVRADALT_OsFree(info.frame_delays);
    SourceRecord small(SourceKind::kMemory, G().delay(10).image(F).delay(10).image(F).image(F).trailer().bytes());
    for (long successes = 0; successes < 4; ++successes) {
        KOVRADALT_ImageInfo partial{};
        AllocationFailure failure(successes);  // the window first, then the delay slots
        EXPECT_EQ(KOVRADALT_SimpleParserGIF(small.record(), &partial, 0) + partial.frame_count, 0u) << successes;
        EXPECT_TRUE(successes > 0 || gKOVRADALT_Error == 4);
        KOVRADALT_OsFree(partial.frame_delays);
    }
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(GifScanner);

}  // namespace
}  // namespace kovra::test
