// Pins the composition rules of the reference on GIFs made for one rule each, with expectations
// worked out by hand: sampling positions, canvas start, disposal, transparency limits, and the
// interlaced frame that runs past the screen's bottom.
#include "gif_builder.h"
#include "gif_reference.h"

#include <gtest/gtest.h>

using namespace kovra::gifref;
using kovra::gifref::test::build_gif;
using kovra::gifref::test::FrameSpec;

namespace {

using Pixel = std::array<uint8_t, 4>;

const Rgb kRed{0xFF, 0, 0}, kGreen{0, 0xFF, 0}, kWhite{0xFF, 0xFF, 0xFF}, kBlue{0, 0, 0xFF};
constexpr Pixel kClear{0, 0, 0, 0}, kOpaqueWhite{0xFF, 0xFF, 0xFF, 0xFF};
constexpr Pixel kRedOut{0xFE, 0, 0, 0xFF}, kGreenOut{0, 0xFF, 0, 0xFF}, kBlueOut{0, 0, 0xFF, 0xFF};

Gif parse(const std::vector<uint8_t> &bytes) {
    Gif gif = load_gif_memory(bytes.data(), bytes.size());
    EXPECT_TRUE(gif.ok) << gif.error;
    return gif;
}

Pixel at(const std::vector<uint8_t> &rgba, int width, int x, int y) {
    const uint8_t *p = rgba.data() + (static_cast<size_t>(y) * width + x) * 4;
    return {p[0], p[1], p[2], p[3]};
}

std::vector<Rgb> gray_ramp() {
    std::vector<Rgb> palette;
    for (int i = 0; i < 256; ++i) palette.push_back({uint8_t(i), uint8_t(i), uint8_t(i)});
    return palette;
}

FrameSpec solid(int left, int top, int width, int height, uint8_t index) {
    FrameSpec f;
    f.left = left, f.top = top, f.width = width, f.height = height;
    f.indexes.assign(static_cast<size_t>(width) * height, index);
    return f;
}

}  // namespace

TEST(GifReferenceRules, DownscalingTakesTheNearestScreenPixelToEachCentre) {
    FrameSpec f = solid(0, 0, 10, 10, 0);
    for (int i = 0; i < 100; ++i) f.indexes[i] = static_cast<uint8_t>(i);  // index = 10 * y + x
    Gif gif = parse(build_gif(10, 10, gray_ramp(), {f}));
    EXPECT_EQ(frame_indexes(gif, 0, 3), (std::vector<uint8_t>{11, 15, 18, 51, 55, 58, 81, 85, 88}));
    EXPECT_EQ(frame_indexes(gif, 0, 4), (std::vector<uint8_t>{22, 27, 72, 77}));
    EXPECT_EQ(frame_indexes(gif, 0, 11), (std::vector<uint8_t>{55}));  // larger than the screen: 1 x 1
    std::vector<std::vector<uint8_t>> rgba = compose_frames(gif, 3);
    ASSERT_EQ(rgba.size(), 1u);
    EXPECT_EQ(at(rgba[0], 3, 1, 2), (Pixel{84, 85, 85, 255}));  // grey 85, red's low bit cleared

    FrameSpec wide = solid(0, 0, 100, 2, 0);
    for (int i = 0; i < 200; ++i) wide.indexes[i] = static_cast<uint8_t>(i % 100);
    std::vector<uint8_t> half = frame_indexes(parse(build_gif(100, 2, gray_ramp(), {wide})), 0, 2);
    ASSERT_EQ(half.size(), 50u);
    for (int k = 0; k < 50; ++k) EXPECT_EQ(half[k], 2 * k + 1);
}

TEST(GifReferenceRules, CanvasStartsWhiteUnlessTheFirstFrameHasTransparency) {
    FrameSpec opaque = solid(0, 0, 1, 1, 0);
    Gif gif = parse(build_gif(2, 1, {kRed, kGreen}, {opaque}));
    std::vector<uint8_t> frame = compose_frames(gif, 1).at(0);
    EXPECT_EQ(at(frame, 2, 0, 0), kRedOut);
    EXPECT_EQ(at(frame, 2, 1, 0), kOpaqueWhite);

    FrameSpec transparent = opaque;
    transparent.control = true;
    transparent.transparent_index = 1;
    frame = compose_frames(parse(build_gif(2, 1, {kRed, kGreen}, {transparent})), 1).at(0);
    EXPECT_EQ(at(frame, 2, 1, 0), kClear);
}

TEST(GifReferenceRules, TransparentIndexEqualToTheTableSizeStaysOnAndAboveItSwitchesOff) {
    // Two-entry table: index 2 keeps transparency (canvas starts transparent), 3 turns it off.
    for (int index : {2, 3}) {
        FrameSpec f = solid(0, 0, 1, 1, 0);
        f.control = true;
        f.transparent_index = index;
        Gif gif = parse(build_gif(2, 1, {kRed, kGreen}, {f}));
        EXPECT_EQ(at(compose_frames(gif, 1).at(0), 2, 1, 0), index == 2 ? kClear : kOpaqueWhite) << index;
    }
    // An index beyond the table that is not the transparent one draws transparent (unset slot).
    FrameSpec f = solid(0, 0, 1, 1, 5);
    Gif gif = parse(build_gif(1, 1, {kRed, kGreen, kBlue, kWhite, kRed, kRed, kRed, kRed}, {f}));
    // A palette entry of pure white loses red's low bit and stays a colour.
    EXPECT_EQ(color_words(gif, 0)[3], 0xFFFFFFFEu);
    gif.global_palette.resize(2);  // as if the table held two entries
    EXPECT_EQ(color_words(gif, 0)[5], kColorUnset);
    EXPECT_EQ(at(compose_frames(gif, 1).at(0), 1, 0, 0), kClear);
}

TEST(GifReferenceRules, DisposalClearsToTransparentOrWhiteAndRestorePreviousKeepsTheCanvas) {
    // Frame 0 paints red over the 2 x 1 screen, frame 1 paints pixel 0 green.
    for (int disposal : {1, 2, 3}) {
        for (bool transparency : {false, true}) {
            FrameSpec first = solid(0, 0, 2, 1, 0);
            first.control = true;
            first.disposal = disposal;
            first.transparent_index = transparency ? 3 : -1;
            FrameSpec second = solid(0, 0, 1, 1, 1);
            second.control = true;
            Gif gif = parse(build_gif(2, 1, {kRed, kGreen, kBlue, kWhite}, {first, second}));
            std::vector<std::vector<uint8_t>> frames = compose_frames(gif, 1);
            ASSERT_EQ(frames.size(), 2u);
            SCOPED_TRACE(testing::Message() << "disposal " << disposal << " transparency " << transparency);
            EXPECT_EQ(at(frames[0], 2, 1, 0), kRedOut);
            EXPECT_EQ(at(frames[1], 2, 0, 0), kGreenOut);
            Pixel left_behind = disposal == 1   ? kRedOut
                                : disposal == 3 ? (transparency ? kClear : kOpaqueWhite)  // the start canvas
                                : transparency  ? kClear
                                                : kOpaqueWhite;
            EXPECT_EQ(at(frames[1], 2, 1, 0), left_behind);
        }
    }
}

TEST(GifReferenceRules, TransparentPixelsShowTheCanvasAndControlValuesCarryOver) {
    FrameSpec base = solid(0, 0, 2, 1, 2);  // blue
    FrameSpec over = solid(0, 0, 2, 1, 0);
    over.indexes = {0, 3};  // red, then the transparent index
    over.control = true;
    over.transparent_index = 3;
    FrameSpec again = solid(0, 0, 2, 1, 1);
    again.indexes = {3, 1};  // no control block: index 3 is still transparent
    Gif gif = parse(build_gif(2, 1, {kRed, kGreen, kBlue, kWhite}, {base, over, again}));
    std::vector<std::vector<uint8_t>> frames = compose_frames(gif, 1);
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(at(frames[1], 2, 0, 0), kRedOut);
    EXPECT_EQ(at(frames[1], 2, 1, 0), kBlueOut);
    EXPECT_EQ(at(frames[2], 2, 0, 0), kRedOut);
    EXPECT_EQ(at(frames[2], 2, 1, 0), kGreenOut);
}

TEST(GifReferenceRules, InterlacedFramePastTheBottomDrawsOnlyItsFirstRowsAbove) {
    // Screen 1 x 10; a 10-row interlaced frame at row 2: the first pass reaches frame row 8
    // (screen row 10) and the decoder stops there, so only screen row 2 is drawn; rows 3..9 keep
    // the previous output (zeros before the first frame), rows 0..1 show the white canvas.
    FrameSpec f = solid(0, 2, 1, 10, 0);
    f.interlaced = true;
    Gif gif = parse(build_gif(1, 10, {kRed, kGreen}, {f}));
    std::vector<uint8_t> frame = compose_frames(gif, 1).at(0);
    EXPECT_EQ(at(frame, 1, 0, 0), kOpaqueWhite);
    EXPECT_EQ(at(frame, 1, 0, 1), kOpaqueWhite);
    EXPECT_EQ(at(frame, 1, 0, 2), kRedOut);
    for (int y = 3; y < 10; ++y) EXPECT_EQ(at(frame, 1, 0, y), kClear) << y;
    // The same frame progressive draws every row on the screen.
    f.interlaced = false;
    frame = compose_frames(parse(build_gif(1, 10, {kRed, kGreen}, {f})), 1).at(0);
    for (int y = 2; y < 10; ++y) EXPECT_EQ(at(frame, 1, 0, y), kRedOut) << y;
}

TEST(GifReferenceRules, SingleImageIndexesFillWhatTheFrameDoesNotCover) {
    FrameSpec f = solid(1, 0, 1, 1, 0);
    EXPECT_EQ(frame_indexes(parse(build_gif(2, 1, {kRed, kGreen, kBlue, kWhite}, {f}, 2)), 0),
              (std::vector<uint8_t>{2, 0}));  // background index
    f.control = true;
    f.transparent_index = 3;
    EXPECT_EQ(frame_indexes(parse(build_gif(2, 1, {kRed, kGreen, kBlue, kWhite}, {f}, 2)), 0),
              (std::vector<uint8_t>{3, 0}));  // transparent index
}

TEST(GifReferenceRules, NoColourTableReadsZeroWords) {
    // giflib's encoder insists on a table, so the global one is cut out of the bytes afterwards.
    FrameSpec f = solid(0, 0, 1, 1, 1);
    std::vector<uint8_t> bytes = build_gif(1, 1, {kRed, kGreen}, {f});
    ASSERT_EQ(bytes[10] & 0x87, 0x80);
    bytes[10] &= 0x7F;
    bytes.erase(bytes.begin() + 13, bytes.begin() + 19);
    Gif gif = parse(bytes);
    ASSERT_FALSE(gif.has_global_palette);
    EXPECT_EQ(at(compose_frames(gif, 1).at(0), 1, 0, 0), (Pixel{0, 0, 0, 255}));
}
