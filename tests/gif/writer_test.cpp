// Row writers: nearest-neighbour sampling of rows and columns, interlace stepping, frame
// composition by disposal method and transparency, and the two format-8 packings.

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "composition_model.h"
#include "gif_decode.h"

namespace kovra::test {
namespace {

Bytes counting_row(int width) {
    Bytes row;
    for (int x = 0; x < width; ++x) row.push_back(static_cast<uint8_t>(x));
    return row;
}

Bytes random_bytes(size_t count, int colors, uint32_t seed) {
    std::mt19937 random(seed);
    Bytes out(count);
    for (auto &b : out) b = static_cast<uint8_t>(random() % static_cast<uint32_t>(colors));
    return out;
}

Bytes gif_of(int width, int height, const Bytes &indexes, int colors = 256) {
    return GifBuilder(width, height, test_palette(colors)).image(frame_spec(0, 0, width, height, indexes)).trailer().bytes();
}

TEST(GifSampling, HalvingTakesEveryOddColumn) {
    const IndexImage image = decode_indexes(gif_of(100, 1, counting_row(100)), 2);
    ASSERT_EQ(image.result, 1);
    ASSERT_EQ(image.indexes.size(), 50u);
    for (int k = 0; k < 50; ++k) EXPECT_EQ(image.indexes[static_cast<size_t>(k)], 2 * k + 1);
}

TEST(GifSampling, DoublingRepeatsEveryColumnAndRow) {
    GifSession session(gif_of(100, 2, random_bytes(200, 256, 4)), KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(session.parsed());
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(session.dec(), 200, 4), 1);
    Bytes out(800, 0xEE);
    ASSERT_EQ(KOVRADALTI_DecodeGIF(session.dec(), out.data(), 200, 4), 1);
    const Bytes original = random_bytes(200, 256, 4);
    for (int j = 0; j < 4; ++j) {
        for (int k = 0; k < 200; ++k) {
            EXPECT_EQ(out[static_cast<size_t>(j * 200 + k)], original[static_cast<size_t>((j / 2) * 100 + k / 2)]);
        }
    }
    EXPECT_EQ(session.gif()->rows_written, 4u);
}

TEST(GifSampling, IndexesFollowTheNearestNeighbourRule) {
    for (auto [w, h] : {std::pair{97, 61}, {64, 64}, {5, 3}, {13, 200}}) {
        const Bytes original = random_bytes(static_cast<size_t>(w) * h, 256, static_cast<uint32_t>(w * h));
        const Bytes gif = gif_of(w, h, original);
        for (int sample = 2; sample <= 4; ++sample) {
            SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h) + " / " + std::to_string(sample));
            const IndexImage image = decode_indexes(gif, sample);
            ASSERT_EQ(image.result, 1);
            EXPECT_EQ(image.indexes, sample_indexes(original, w, h, image.width, image.height));
        }
    }
}

TEST(GifSampling, InterlacedFramesSampleTheSame) {
    const Bytes original = random_bytes(40 * 37, 256, 8);
    const Bytes gif =
        GifBuilder(40, 37, test_palette(256)).image(frame_spec(0, 0, 40, 37, original, true)).trailer().bytes();
    for (int sample = 1; sample <= 4; ++sample) {
        const IndexImage image = decode_indexes(gif, sample);
        ASSERT_EQ(image.result, 1);
        EXPECT_EQ(image.indexes, sample_indexes(original, 40, 37, image.width, image.height)) << sample;
    }
}

TEST(GifDirectPath, FramesOffTheRightEdge) {
    // A frame starting at the screen's right edge writes nothing; one crossing it is clipped.
    Bytes gif = GifBuilder(4, 2, test_palette(8), 6).image(frame_spec(4, 0, 2, 2, {1, 2, 3, 4})).trailer().bytes();
    IndexImage image = decode_indexes(gif);
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, Bytes(8, 6));  // background fill only
    gif = GifBuilder(4, 2, test_palette(8), 6).image(frame_spec(3, 1, 2, 1, {1, 2})).trailer().bytes();
    image = decode_indexes(gif);
    EXPECT_EQ(image.indexes, (Bytes{6, 6, 6, 6, 6, 6, 6, 1}));
    gif = GifBuilder(4, 2, test_palette(8), 6)
              .graphic_control(0, true, 0, 5)
              .image(frame_spec(1, 0, 2, 3, {1, 2, 3, 4, 5, 6}))
              .trailer()
              .bytes();
    image = decode_indexes(gif);  // transparent index fills; rows below the screen are dropped
    EXPECT_EQ(image.indexes, (Bytes{5, 1, 2, 5, 5, 3, 4, 5}));
}

TEST(GifDirectPath, OnlyIndexesForPartialFrames) {
    const Bytes gif = GifBuilder(4, 2, test_palette(8)).image(frame_spec(1, 0, 2, 2, {1, 2, 3, 4})).trailer().bytes();
    GifSession session(gif, KOVRADALT_FORMAT_RGBA32, 1, false);
    ASSERT_TRUE(session.parsed());
    Bytes out(32, 0xEE);
    EXPECT_EQ(KOVRADALTI_DecodeGIF(session.dec(), out.data(), 4, 2), 0);
    EXPECT_EQ(out, Bytes(32, 0xEE));
}

// Out rows of a frame in decoding order, through the writer's stepping alone.
std::vector<int> decoding_order(int height, int top) {
    DALTI_GIFDecoderInfo rec{};
    rec.screen_width = 1;
    rec.screen_height = 100000;
    rec.output_format = KOVRADALT_FORMAT_RGBA32;  // the direct path writes nothing for it
    rec.one_to_one = 1;
    rec.frame_top = top;
    rec.frame_height = height;
    rec.interlace_pass = 1;
    rec.out_row = top;
    std::vector<int> rows;
    for (int i = 0; i < height; ++i) {
        rows.push_back(rec.out_row - top);
        EXPECT_EQ(DALTI_WriteTheLine(&rec, nullptr), 1);
    }
    EXPECT_EQ(rec.interlace_pass, 0u);
    return rows;
}

TEST(GifInterlace, StepsThroughTheFourPasses) {
    EXPECT_EQ(decoding_order(1, 3), (std::vector<int>{0}));
    EXPECT_EQ(decoding_order(2, 3), (std::vector<int>{0, 1}));
    EXPECT_EQ(decoding_order(3, 3), (std::vector<int>{0, 2, 1}));
    EXPECT_EQ(decoding_order(4, 3), (std::vector<int>{0, 2, 1, 3}));
    EXPECT_EQ(decoding_order(5, 3), (std::vector<int>{0, 4, 2, 1, 3}));
    for (int height = 5; height <= 40; ++height) {
        std::vector<int> expected;
        for (int y = 0; y < height; y += 8) expected.push_back(y);
        for (int y = 4; y < height; y += 8) expected.push_back(y);
        for (int y = 2; y < height; y += 4) expected.push_back(y);
        for (int y = 1; y < height; y += 2) expected.push_back(y);
        EXPECT_EQ(decoding_order(height, 7), expected) << height;
    }
}

TEST(GifInterlace, PassBeyondFourStopsTheWriter) {
    DALTI_GIFDecoderInfo rec{};
    rec.screen_height = 10;
    rec.frame_height = 10;
    rec.interlace_pass = 5;
    EXPECT_EQ(DALTI_WriteTheLine(&rec, nullptr), 0);
}

TEST(GifComposer, OffScreenRowsReturnWithoutStepping) {
    DALTI_GIFDecoderInfo rec{};
    rec.screen_width = 4;
    rec.screen_height = 4;
    rec.frame_mode = 1;
    rec.frame_height = 8;
    rec.interlace_pass = 2;
    rec.out_row = 4;  // at the screen's bottom
    EXPECT_EQ(DALTI_MakeFrameLineBuffer(&rec), 1);
    EXPECT_EQ(rec.out_row, 4);
    EXPECT_EQ(rec.interlace_pass, 2u);
    rec.out_row = 1;
    rec.frame_left = 4;  // at the screen's right edge
    EXPECT_EQ(DALTI_MakeFrameLineBuffer(&rec), 1);
    EXPECT_EQ(rec.out_row, 1);
    rec.frame_left = 0;  // on screen but with no canvas: an inconsistent record stops the decode
    EXPECT_EQ(DALTI_MakeFrameLineBuffer(&rec), 0);
}

const Rgb kRed{201, 10, 20}, kGreen{30, 202, 40}, kBlue{50, 60, 203}, kGrey{128, 128, 128};

// Colour words in a row of their own as format 7.
Bytes rgba(const std::vector<uint32_t> &words) {
    const int n = static_cast<int>(words.size());
    return to_rgba(words, n, 1, n, 1);
}

TEST(GifComposer, DisposalAndTransparencyCases) {
    const std::vector<Rgb> palette = {kRed, kGreen, kBlue, kGrey};
    std::vector<ModelFrame> frames(6);
    frames[0] = {0, 0, 3, 1, {0, 1, 2}, palette, 0, false, 0};  // keep
    frames[1] = {0, 0, 3, 1, {3, 0, 3}, palette, 2, true, 3};   // restore background, transparency
    frames[2] = {1, 0, 2, 1, {1, 1}, palette, 3, false, 0};     // restore previous
    frames[3] = {0, 0, 2, 1, {2, 3}, palette, 2, false, 0};     // restore background, opaque
    frames[4] = {0, 0, 3, 1, {0, 3, 3}, palette, 3, true, 3};   // restore previous, transparency
    frames[5] = {2, 0, 1, 1, {3}, palette, 0, true, 3};         // keep, transparent pixel
    const Animation animation = decode_animation(encode_animation(3, 1, frames), KOVRADALT_FORMAT_RGBA32, 1);
    ASSERT_EQ(animation.frames.size(), 6u);
    const uint32_t unset = GIF_COLOR_UNSET, white = 0x00FFFFFFu;
    const std::vector<std::vector<uint32_t>> expected = {
        {color_word(kRed), color_word(kGreen), color_word(kBlue)},
        {color_word(kRed), color_word(kRed), color_word(kBlue)},  // canvas now all unset
        {unset, color_word(kGreen), color_word(kGreen)},           // canvas unchanged
        {color_word(kBlue), color_word(kGrey), unset},             // canvas now white, white, unset
        {color_word(kRed), white, unset},
        {white, white, unset},
    };
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(animation.frames[i], rgba(expected[i])) << i;
    const auto model = compose_frames(3, 1, frames);
    for (size_t i = 0; i < model.size(); ++i) EXPECT_EQ(model[i], expected[i]) << i;
    EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 1, 1, 1, 1, 3}));
}

TEST(GifComposer, CanvasStartsTransparentOrWhite) {
    const std::vector<Rgb> palette = {kRed, kGreen};
    for (bool transparency : {false, true}) {
        const std::vector<ModelFrame> frames = {{1, 1, 1, 1, {0}, palette, 0, transparency, 1}};
        const Animation animation = decode_animation(encode_animation(2, 2, frames), KOVRADALT_FORMAT_RGBA32, 1);
        ASSERT_EQ(animation.results, (std::vector<int32_t>{3}));
        const uint32_t start = transparency ? GIF_COLOR_UNSET : 0x00FFFFFFu;
        EXPECT_EQ(animation.frames[0], rgba({start, start, start, color_word(kRed)}));
    }
}

TEST(GifComposer, FormatEightPacksFrameRowsTheirOwnWay) {
    // Row 0 comes from the canvas through the regular writer, row 1 from the composer.
    const std::vector<Rgb> palette = {{0x12, 0x34, 0x56}, {0xFF, 0xFF, 0xFF}};
    const std::vector<ModelFrame> frames = {{0, 1, 2, 1, {0, 1}, palette, 0, false, 0}};
    const Animation animation = decode_animation(encode_animation(2, 2, frames), KOVRADALT_FORMAT_BGRA32, 1);
    ASSERT_EQ(animation.results, (std::vector<int32_t>{3}));
    auto frame_bgra = [](uint32_t w) {
        return Bytes{static_cast<uint8_t>(w), static_cast<uint8_t>(w >> 10), static_cast<uint8_t>(w >> 20), 255};
    };
    Bytes expected = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};  // white canvas, regular BGRA
    for (uint32_t w : {0xFF563412u, 0xFFFFFFFEu}) {
        const Bytes px = frame_bgra(w);
        expected.insert(expected.end(), px.begin(), px.end());
    }
    EXPECT_EQ(animation.frames[0], expected);
}

TEST(GifComposer, FormatEightFrameRowsAcrossGroupsOfFourPixels) {
    // A 9 x 3 screen: frame A covers it (two groups of four pixels and one more per row); frame B,
    // 7 x 1 at (1, 1), has transparent pixels inside a group and canvas columns on both sides.
    // Rows a frame covers are packed the frame path's way, the rest by the regular writer.
    const std::vector<Rgb> palette = {{0x12, 0x34, 0x56}, {0xA0, 0xB0, 0xC0}, {0x01, 0x02, 0x03}};
    Bytes a_indexes;
    for (int i = 0; i < 27; ++i) a_indexes.push_back(static_cast<uint8_t>(i % 3));
    const std::vector<ModelFrame> frames = {{0, 0, 9, 3, a_indexes, palette, 1, false, 0},
                                            {1, 1, 7, 1, {0, 1, 2, 0, 1, 2, 1}, palette, 1, true, 0}};
    const Animation animation = decode_animation(encode_animation(9, 3, frames), KOVRADALT_FORMAT_BGRA32, 1);
    ASSERT_EQ(animation.frames.size(), 2u);
    const auto model = compose_frames(9, 3, frames);
    auto packed = [](uint32_t w, bool frame_path) {
        if (frame_path) {
            return Bytes{static_cast<uint8_t>(w), static_cast<uint8_t>(w >> 10), static_cast<uint8_t>(w >> 20), 255};
        }
        return Bytes{static_cast<uint8_t>(w >> 16), static_cast<uint8_t>(w >> 8), static_cast<uint8_t>(w), 255};
    };
    for (size_t f = 0; f < frames.size(); ++f) {
        Bytes expected;
        for (int y = 0; y < 3; ++y) {
            const bool frame_row = y >= frames[f].top && y < frames[f].top + frames[f].height;
            for (int x = 0; x < 9; ++x) {
                const Bytes px = packed(model[f][static_cast<size_t>(y * 9 + x)], frame_row);
                expected.insert(expected.end(), px.begin(), px.end());
            }
        }
        EXPECT_EQ(animation.frames[f], expected) << f;
    }
}

TEST(GifComposer, RandomAnimationsMatchTheModelAtEverySampleSize) {
    std::mt19937 random(2024);
    for (int round = 0; round < 12; ++round) {
        const int sw = 8 + static_cast<int>(random() % 60), sh = 8 + static_cast<int>(random() % 60);
        std::vector<ModelFrame> frames;
        for (int i = 0; i < 5; ++i) {
            ModelFrame f;
            f.width = 1 + static_cast<int>(random() % static_cast<uint32_t>(sw));
            f.height = 1 + static_cast<int>(random() % static_cast<uint32_t>(sh));
            f.left = static_cast<int>(random() % static_cast<uint32_t>(sw - f.width + 1));
            f.top = static_cast<int>(random() % static_cast<uint32_t>(sh - f.height + 1));
            f.palette = test_palette(1 + static_cast<int>(random() % 16));
            f.indexes = random_bytes(static_cast<size_t>(f.width) * f.height, 18, random());
            f.disposal = static_cast<int>(random() % 4);
            f.transparency = random() % 2 == 0;
            f.transparent_index = static_cast<int>(random() % 18);
            frames.push_back(f);
        }
        const bool interlaced = round % 3 == 0;
        const Bytes gif = encode_animation(sw, sh, frames, interlaced);
        const auto model = compose_frames(sw, sh, frames);
        for (int sample = 1; sample <= 4; ++sample) {
            SCOPED_TRACE("round " + std::to_string(round) + " sample " + std::to_string(sample));
            const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, sample);
            ASSERT_EQ(animation.frames.size(), frames.size());
            for (size_t i = 0; i < frames.size(); ++i) {
                EXPECT_EQ(animation.frames[i], to_rgba(model[i], sw, sh, animation.width, animation.height)) << i;
            }
        }
    }
}

}  // namespace
}  // namespace kovra::test
