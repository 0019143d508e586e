// The GIF stream scanner on streams built block by block: screen and descriptor limits, the delay
// table rules, resynchronisation, truncation at every kind of block, and every source kind.

#include <gtest/gtest.h>

#include "gif_scan_helpers.h"
#include "support/gif_builder.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

using Delays = std::vector<uint32_t>;

// An image whose data are `count` sub-blocks of `size` separator bytes (a scan must skip them),
// with a local table of 2 << lct_bits entries when lct_bits >= 0.
ImageSpec filler_image(int left, int top, int width, int height, int lct_bits = -1, int count = 1, int size = 4) {
    ImageSpec spec = frame_spec(left, top, width, height, {});
    if (lct_bits >= 0) spec.local = test_palette(2 << lct_bits);
    spec.min_code_size = 2;
    spec.data = Bytes(static_cast<size_t>(count * size), 0x2C);
    spec.block = size;
    return spec;
}
const ImageSpec kFrame = filler_image(0, 0, 4, 4);

GifScan scan(const GifBuilder &gif, uint32_t default_delay = 0) {
    return scan_gif(SourceKind::kMemory, gif.bytes(), default_delay);
}

TEST(GifScannerScreen, AcceptsFiveThousandAndRefusesBeyondOrZero) {
    EXPECT_EQ(scan(GifBuilder(5000, 5000).image(kFrame).trailer()).type, 4);
    for (auto [w, h] : {std::pair<uint16_t, uint16_t>{5001, 10}, {10, 5001}, {0, 10}, {10, 0}}) {
        GifScan result = scan(GifBuilder(w, h).image(kFrame).trailer());
        EXPECT_EQ(result.type, 0) << w << "x" << h;
        // The size reaches the record before it is checked.
        EXPECT_EQ(result.width, w);
        EXPECT_EQ(result.height, h);
        EXPECT_EQ(result.error, 0);  // the scanner never sets the error word
    }
}

TEST(GifScannerScreen, SkipsTheGlobalColourTable) {
    GifScan result = scan(GifBuilder(10, 20, test_palette(256)).image(kFrame).image(kFrame).trailer());
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.frame_count, 2u);
    EXPECT_EQ(result.width, 10u);
    EXPECT_EQ(result.height, 20u);
}

TEST(GifScannerDescriptor, OutOfLimitDescriptorsAreNotCountedAndScanningGoesOn) {
    struct Case { uint16_t left, top, width, height; };
    for (Case c : {Case{5001, 0, 4, 4}, Case{0, 5001, 4, 4}, Case{0, 0, 0, 4}, Case{0, 0, 4, 0},
                   Case{0, 0, 5001, 4}, Case{0, 0, 4, 5001}}) {
        GifBuilder gif(8, 8);
        gif.image(kFrame).image(filler_image(c.left, c.top, c.width, c.height)).image(kFrame).trailer();
        GifScan result = scan(gif);
        EXPECT_EQ(result.frame_count, 2u) << c.left << "," << c.top << " " << c.width << "x" << c.height;
        EXPECT_EQ(result.type, 6);
    }
    // Limits themselves are fine.
    EXPECT_EQ(scan(GifBuilder(8, 8).image(filler_image(5000, 5000, 5000, 5000)).trailer()).frame_count, 1u);
}

using GifScannerEverySource = SourceKindTest;

TEST_P(GifScannerEverySource, LocalColourTableAndLongDataChainsAreSkipped) {
    GifBuilder gif(8, 8);
    gif.image(filler_image(0, 0, 8, 8, 7, 300, 255)).image(filler_image(0, 0, 8, 8, 0, 2, 1)).trailer();
    GifScan result = scan_gif(GetParam(), gif.bytes());
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.frame_count, 2u);
}

TEST(GifScannerEnd, StreamWithoutTrailerEndingAtItsSizeIsAccepted) {
    GifScan result = scan(GifBuilder(8, 8).image(kFrame).image(kFrame));
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.frame_count, 2u);
}

TEST(GifScannerEnd, BytesAfterTheTrailerAreNotRead) {
    GifScan result = scan(GifBuilder(8, 8).image(kFrame).trailer().image(kFrame).image(kFrame));
    EXPECT_EQ(result.type, 4);
    EXPECT_EQ(result.frame_count, 1u);
}

TEST(GifScannerEnd, StreamShorterThanItsStatedSizeGivesZero) {
    GifBuilder gif(8, 8);
    gif.image(kFrame).image(kFrame);  // no trailer: the scan ends when the bytes run out
    MemoryStream stream;
    stream.bytes = gif.bytes();
    KOVRADALT_DecInfo *dec = KOVRADALT_CreateDecInfoWithStream(&stream, static_cast<int32_t>(gif.size() + 100),
                                                               MemoryStream::read, MemoryStream::skip,
                                                               MemoryStream::rewind, 0, 0);
    ASSERT_NE(dec, nullptr);
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(dec, &info, 0), 0);
    EXPECT_EQ(info.frame_count, 0u);  // not set on this path
    EXPECT_EQ(info.image_count, 2u);
    KOVRADALT_OsFree(info.frame_delays);
    KOVRADALT_DestroyDecInfo(dec);
}

TEST(GifScannerDelays, ShortDelaysTakeTheDefault) {
    GifBuilder gif(8, 8);
    gif.delay(2).image(kFrame).delay(3).image(kFrame).trailer();
    GifScan result = scan(gif, 70);
    EXPECT_EQ(result.delays, (Delays{70, 30}));
    EXPECT_EQ(result.total_delay, 100u);
    // Through the generic driver the default is 0.
    result = scan_gif(SourceKind::kMemory, gif.bytes(), 0, Driver::kParser);
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.delays, (Delays{0, 30}));
}

TEST(GifScannerDelays, FramesWithoutGraphicControlTakeTheDefault) {
    GifScan result = scan(GifBuilder(8, 8).image(kFrame).image(kFrame).image(kFrame).trailer(), 100);
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.delays, (Delays{100, 100, 100}));
    EXPECT_EQ(result.total_delay, 300u);
}

TEST(GifScannerDelays, ClampPassRunsOnlyWhenSomeFrameLacksAnExtension) {
    GifBuilder every(8, 8);
    every.delay(65535).image(kFrame).delay(10).image(kFrame).trailer();
    GifScan result = scan(every, 50);
    EXPECT_EQ(result.delays, (Delays{655350, 100}));
    EXPECT_EQ(result.total_delay, 655450u);

    GifBuilder some(8, 8);
    some.delay(65535).image(kFrame).delay(4).image(kFrame).image(kFrame).trailer();
    result = scan(some, 50);
    // 655350 >= 65536 and 40 < 50 both become the default; the third slot is cleared, then 50.
    EXPECT_EQ(result.delays, (Delays{50, 50, 50}));
    EXPECT_EQ(result.total_delay, 655350u + 40u + 50u);
}

TEST(GifScannerDelays, OneFrameReturnsFourButStillAddsItsDelay) {
    GifScan result = scan(GifBuilder(8, 8).delay(25).image(kFrame).trailer(), 0);
    EXPECT_EQ(result.type, 4);
    EXPECT_EQ(result.frame_count, 1u);
    EXPECT_EQ(result.delays, (Delays{250}));
    EXPECT_EQ(result.total_delay, 250u);
}

TEST(GifScannerDelays, SecondExtensionBeforeOneImageOverwritesItsSlotAndReplacesItsTotal) {
    GifBuilder gif(8, 8);
    gif.delay(10).delay(20).image(kFrame).image(kFrame).trailer();
    GifScan result = scan(gif, 7);
    // gce_count (2) is not below the image count (2): no clamp pass, no default for frame 2. The
    // table was sized for one slot; the frame past its end reads 0.
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.delays, (Delays{200, 0}));
    EXPECT_EQ(result.total_delay, 200u);
}

TEST_P(GifScannerEverySource, SlotsNoExtensionEverWroteReadZero) {
    // Three extensions before the first image leave gce_count ahead of the table; when the table
    // grows later, the slots of the images in between were never written and read as 0.
    GifBuilder gif(8, 8);
    gif.delay(10).delay(20).delay(30);
    gif.image(kFrame).image(kFrame).image(kFrame).delay(40).image(kFrame).trailer();
    GifScan result = scan_gif(GetParam(), gif.bytes(), 9);
    EXPECT_EQ(result.delays, (Delays{300, 0, 0, 400}));
    EXPECT_EQ(result.total_delay, 700u);
}

TEST(GifScannerDelays, LastDelayIsForgottenAtEachDescriptor) {
    // Two extensions around an image each count in full; only repeats before one image replace.
    GifBuilder gif(8, 8);
    gif.delay(10).image(kFrame).delay(20).image(kFrame).trailer();
    EXPECT_EQ(scan(gif).total_delay, 300u);
}

TEST(GifScannerDelays, ExtensionCountAndImageCountDrift) {
    // GCE, image, image without GCE, GCE, image: the final pass clears from gce_count (2) on, so
    // the third frame's own delay is lost to the default.
    GifBuilder gif(8, 8);
    gif.delay(40).image(kFrame).image(kFrame).delay(60).image(kFrame).trailer();
    GifScan result = scan(gif, 35);
    EXPECT_EQ(result.delays, (Delays{400, 35, 35}));
    EXPECT_EQ(result.total_delay, 400u + 600u + 35u);
}

TEST(GifScannerDelays, ExtensionAfterTheLastImageGrowsTheTableOnly) {
    GifBuilder gif(8, 8);
    gif.delay(40).image(kFrame).delay(50).image(kFrame).delay(60).trailer();
    GifScan result = scan(gif);
    EXPECT_EQ(result.frame_count, 2u);
    EXPECT_EQ(result.delays, (Delays{400, 500}));
    EXPECT_EQ(result.total_delay, 1500u);
}

TEST(GifScannerDelays, GraphicControlWithWrongBlockSizeIsNotRecorded) {
    GifBuilder gif(8, 8);
    gif.graphic_control(0, false, 40, 0, 5).image(kFrame).delay(50).image(kFrame).trailer();
    GifScan result = scan(gif, 11);
    EXPECT_EQ(result.frame_count, 2u);
    // The one recorded extension filled slot 1; the final pass clears from gce_count (1) on and the
    // clamp pass turns both zeros into the default.
    EXPECT_EQ(result.delays, (Delays{11, 11}));
}

TEST(GifScannerResync, StrayBytesBetweenBlocksAreSteppedOver) {
    GifBuilder gif(8, 8);
    gif.raw({0x00, 0x99, 0x42}).image(kFrame).raw({0xFF, 0x01}).image(kFrame).raw({0x07}).trailer();
    GifScan result = scan(gif);
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.frame_count, 2u);
}

TEST(GifScannerResync, UnknownExtensionBodyIsScannedAsTopLevelBytes) {
    // The body of an extension with an unknown label holds a complete image: it is counted.
    GifBuilder inner;
    inner.image(filler_image(0, 0, 2, 2));
    std::vector<uint8_t> body = inner.bytes();
    GifBuilder gif(8, 8);
    gif.raw({0x21, 0x99, static_cast<uint8_t>(body.size())});
    gif.raw(body).raw({0x00}).image(kFrame).trailer();
    EXPECT_EQ(scan(gif).frame_count, 2u);
    // With a known label the same body is skipped whole.
    GifBuilder known(8, 8);
    known.raw({0x21, 0xFE, static_cast<uint8_t>(body.size())});
    known.raw(body).raw({0x00}).image(kFrame).trailer();
    EXPECT_EQ(scan(known).frame_count, 1u);
}

TEST(GifScannerResync, ExtensionsOfEveryKnownLabelAreSkippedWhole) {
    GifBuilder gif(8, 8);
    gif.extension(0xFF, {11, 3})
        .extension(0xFE, {255, 255, 1})
        .extension(0x01, {12, 4})
        .image(kFrame)
        .trailer();
    EXPECT_EQ(scan(gif).type, 4);
}

TEST_P(GifScannerEverySource, EmptyFirstSubBlockMakesTheWindowForgetItsLastByte) {
    // The image's terminator is the stream's last byte: after an empty comment it is never read,
    // so the image is not counted.
    GifBuilder forgetful(8, 8);
    forgetful.comment({}).image(kFrame);
    EXPECT_EQ(scan_gif(GetParam(), forgetful.bytes()).type, 0);
    GifBuilder normal(8, 8);
    normal.extension(0xFE, {1}).image(kFrame);
    EXPECT_EQ(scan(normal).type, 4);
    // With a trailer after the image only the trailer is lost, which changes nothing.
    GifBuilder with_trailer(8, 8);
    with_trailer.comment({}).image(kFrame).trailer();
    EXPECT_EQ(scan(with_trailer).type, 4);
}

TEST_P(GifScannerEverySource, HeaderAndGlobalTableCutsGiveZero) {
    GifBuilder gif(8, 8, test_palette(8));
    gif.image(kFrame).trailer();
    for (size_t n : {size_t{3}, size_t{8}, size_t{12}, size_t{13 + 10}}) {
        EXPECT_EQ(scan_gif(GetParam(), gif.cut(n)).type, 0) << n << " bytes";
    }
}

TEST_P(GifScannerEverySource, CutExtensionsFail) {
    GifBuilder gce(8, 8);
    gce.image(kFrame).image(kFrame).delay(10);
    GifBuilder comment(8, 8);
    comment.image(kFrame).image(kFrame).extension(0xFE, {200});
    // The graphic control's five data bytes cannot be had: 0 whatever came before.
    GifScan cut_gce = scan_gif(GetParam(), gce.cut(gce.size() - 3));
    EXPECT_EQ(cut_gce.type, 0);
    EXPECT_EQ(cut_gce.frame_count, 0u);
    EXPECT_EQ(scan_gif(GetParam(), comment.cut(comment.size() - 50)).type, 0);
}

TEST_P(GifScannerEverySource, CutImagesEndTheScanWithTheFramesBefore) {
    GifBuilder gif(8, 8);
    gif.image(kFrame).image(kFrame);
    const size_t two_frames = gif.size();
    gif.image(filler_image(0, 0, 8, 8, 3, 4, 50));
    const size_t descriptor_start = two_frames;
    for (size_t n : {descriptor_start + 5, descriptor_start + 12, descriptor_start + 10 + 48,
                     descriptor_start + 10 + 48 + 1, gif.size() - 20, gif.size() - 1}) {
        GifScan result = scan_gif(GetParam(), gif.cut(n));
        EXPECT_EQ(result.type, 6) << n;
        EXPECT_EQ(result.frame_count, 2u) << n;
    }
    // A GIF whose only image is cut short yields 0.
    GifBuilder single(8, 8);
    single.image(filler_image(0, 0, 8, 8, -1, 3, 50));
    EXPECT_EQ(scan(GifBuilder(single)).type, 4);
    EXPECT_EQ(scan_gif(GetParam(), single.cut(single.size() - 30)).type, 0);
}

TEST_P(GifScannerEverySource, ScansStreamsLongerThanSeveralWindows) {
    GifBuilder gif(300, 200, test_palette(256));
    gif.extension(0xFF, {11, 3})
        .delay(5)
        .image(filler_image(0, 0, 300, 200, 7, 120, 255))
        .extension(0xFE, std::vector<int>(70, 255))
        .delay(70)
        .image(filler_image(10, 10, 20, 20, -1, 90, 200))
        .raw({0x00, 0x13})
        .image(kFrame)
        .trailer();
    ASSERT_GT(gif.size(), 3u * 16384u);  // several window refills and seeks past the window
    GifScan result = scan_gif(GetParam(), gif.bytes(), 40);
    EXPECT_EQ(result.type, 6);
    EXPECT_EQ(result.frame_count, 3u);
    EXPECT_EQ(result.delays, (Delays{50, 700, 40}));
    EXPECT_EQ(result.total_delay, 50u + 700u + 40u);
}

TEST(GifScannerSources, NoInfoRecordStillScansWithoutLeaking) {
    GifBuilder gif(8, 8);
    gif.delay(10).image(kFrame).delay(10).image(kFrame).trailer();
    SourceRecord source(SourceKind::kMemory, gif.bytes());
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), nullptr, 0), 6);
    EXPECT_EQ(source->image_type, 6);
    EXPECT_EQ(source->gif_total_delay, 200u);
}

TEST(GifScannerAllocation, DelayTableGrowsGeometrically) {
    // 3000 frames with an extension each: a table that grows one entry per reallocation would need
    // thousands of allocations; forty are plenty for one that doubles.
    GifBuilder gif(8, 8);
    for (int i = 0; i < 3000; ++i) gif.delay(10).image(kFrame);
    gif.trailer();
    SourceRecord source(SourceKind::kMemory, gif.bytes());
    KOVRADALT_ImageInfo info{};
    {
        AllocationFailure failure(40);
        EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), &info, 0), 6);
    }
    const uint32_t last_delay = info.frame_count == 3000 ? info.frame_delays[2999] : 0;
    KOVRADALT_OsFree(info.frame_delays);
    EXPECT_EQ(info.frame_count, 3000u);
    EXPECT_EQ(last_delay, 100u);
}

TEST(GifScannerAllocation, FailedDelayTableGivesZero) {
    GifBuilder gif(8, 8);
    gif.delay(10).image(kFrame).delay(10).image(kFrame).image(kFrame).trailer();
    SourceRecord source(SourceKind::kMemory, gif.bytes());
    // The window buffer takes the first allocation, the first delay slot the second.
    for (long successes = 0; successes < 4; ++successes) {
        KOVRADALT_ImageInfo info{};
        int32_t type;
        {
            AllocationFailure failure(successes);
            type = KOVRADALT_SimpleParserGIF(source.record(), &info, 0);
        }
        // Whatever failed, a table handed out never holds fewer entries than frame_count says.
        EXPECT_EQ(info.frame_count, 0u) << successes;
        KOVRADALT_OsFree(info.frame_delays);
        if (successes == 0) {
            EXPECT_EQ(type, 0);
            EXPECT_EQ(gKOVRADALT_Error, 4);
        } else if (successes < 4) {
            EXPECT_EQ(type, 0) << successes;
        }
    }
    KOVRADALT_ImageInfo info{};
    EXPECT_EQ(KOVRADALT_SimpleParserGIF(source.record(), &info, 0), 6);
    KOVRADALT_OsFree(info.frame_delays);
}

KOVRA_INSTANTIATE_OVER_SOURCE_KINDS(GifScannerEverySource);

}  // namespace
}  // namespace kovra::test
