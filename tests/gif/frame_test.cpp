// Set-up and frame driving where the reference comparison does not go: refusals, colour queries,
// blocks that end an animation, output sizes set through the framework, the caller's row count,
// the frame cache.

#include <gtest/gtest.h>

#include <cstring>

#include "gif_decode.h"
#include "kovra_os.h"

namespace kovra::test {
namespace {

const std::vector<Rgb> kPalette = test_palette(4);

// Format 7 pixels of one palette index.
Bytes filled(uint8_t index, int pixels) {
    Bytes out(4 * static_cast<size_t>(pixels), 255);
    for (size_t i = 0; i < out.size(); i += 4) std::memcpy(&out[i], &kPalette[index], 3), out[i] &= 0xFE;
    return out;
}

// Three 2 x 2 frames of indexes 1, 2, 3 with delays of 5, 7 and 9 hundredths.
Bytes three_frames() {
    GifBuilder gif(2, 2, kPalette);
    for (uint8_t i = 1; i <= 3; ++i) gif.control(0, false, 3 + 2 * i, 0).image(0, 0, 2, 2, Bytes(4, i));
    return gif.trailer().bytes();
}

TEST(GifSetUp, RecordAndRefusals) {
    Bytes bytes = GifBuilder(300, 7, kPalette, 3).image(0, 0, 1, 1, {1}).trailer().bytes();
    bytes[10] = 0xA1;  // colour resolution 2 (3 bits), a table of 4
    bytes[12] = 49;
    GifSession session(bytes, KOVRADALT_FORMAT_RGBA32, 2, true);
    const DALTI_GIFDecoderInfo *rec = session.gif();
    ASSERT_TRUE(session.parsed);
    EXPECT_EQ(std::vector<int64_t>({rec->background_index, rec->aspect_ratio, rec->color_resolution, rec->global_color_count,
                                    rec->out_width, rec->row_out_width, rec->out_height, session.dec()->width, session.dec()->height,
                                    session.dec()->scaled_width, session.dec()->progress_total, rec->out_stride, rec->one_to_one, rec->frame_mode}),
              std::vector<int64_t>({3, 49, 2, 4, 150, 150, 3, 300, 7, 150, 3, 600, 0, 1}));
    const Bytes good = GifBuilder(4, 3, kPalette).image(0, 0, 1, 1, {1}).trailer().bytes();
    EXPECT_FALSE(GifSession(good, KOVRADALT_FORMAT_INDEX8, 0, false).parsed);  // sample size 0
    EXPECT_FALSE(GifSession(Bytes(good.begin(), good.begin() + 12), KOVRADALT_FORMAT_INDEX8, 1, false).parsed);
    EXPECT_FALSE(GifSession(GifBuilder(4, 3).trailer().bytes(), KOVRADALT_FORMAT_INDEX8, 1, false).parsed);  // no frame
    // Signature bytes, version digits and letter, zero width or height; any digits and a letter pass.
    for (auto [at, value, parsed] : {std::tuple{0, 'g', false}, {3, 'x', false}, {4, '/', false}, {5, '@', false},
                                     {5, '{', false}, {6, 0, false}, {8, 0, false}, {3, '1', true}, {5, 'z', true}}) {
        Bytes bad = good;
        bad[static_cast<size_t>(at)] = static_cast<uint8_t>(value);
        if (value == 0) bad[static_cast<size_t>(at) + 1] = 0;
        EXPECT_EQ(GifSession(bad, KOVRADALT_FORMAT_INDEX8, 1, false).parsed, parsed) << at;
    }
    // Screens wider than 10000 are for direct mode only, which fills what the frame leaves with
    // the background.
    const Bytes wide = GifBuilder(10001, 1, kPalette).image(0, 0, 3, 1, {1, 2, 3}).trailer().bytes();
    EXPECT_FALSE(GifSession(wide, KOVRADALT_FORMAT_RGBA32, 1, true).parsed);
    EXPECT_EQ(decode_indexes(wide, 1, SourceKind::kMemory, 9).indexes[3], 0);
    EXPECT_TRUE(GifSession(GifBuilder(10000, 1, kPalette).image(0, 0, 1, 1, {1}).bytes(), KOVRADALT_FORMAT_RGBA32, 1, true).parsed);
    // The header parse reads from offset 0 wherever the source stands.
    SourceRecord source(SourceKind::kStream, GifBuilder(5, 6, kPalette).image(0, 0, 1, 1, {1}).bytes());
    auto *raw = static_cast<DALTI_GIFDecoderInfo *>(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)));
    std::memset(raw, 0, sizeof *raw);
    ASSERT_EQ(DALTI_CreateGIFDecoderInfo(raw), 1);
    raw->input->source = source->io;
    raw->input->next = raw->input->buffer;
    KOVRADALT_Seek_IO(source->io, 20, 0);
    EXPECT_EQ(DALTI_ParseGIFHeader(nullptr, raw), 1);
    EXPECT_EQ(std::vector<int64_t>({raw->screen_width, raw->screen_height, raw->input->next[0]}), std::vector<int64_t>({5, 6, 0x2C}));
    DALTI_DelGIFDecoderInfo(raw);
}

TEST(GifSetUp, RecordCreationSurvivesEachAllocationFailure) {
    for (long successes = 0; successes < 8; ++successes) {
        auto *rec = static_cast<DALTI_GIFDecoderInfo *>(std::memset(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)), 0, sizeof(DALTI_GIFDecoderInfo)));
        {
            AllocationFailure failure(successes);
            EXPECT_EQ(DALTI_CreateGIFDecoderInfo(rec), 0) << successes;
        }
        DALTI_DelGIFDecoderInfo(rec);
    }
}

TEST(GifSetUp, ColorQueries) {
    const Bytes gif = GifBuilder(2, 1, {{0x10, 0x20, 0x30}, {0x41, 0x51, 0x61}}).control(0, true, 7, 1).image(0, 0, 2, 1, {0, 1}).trailer().bytes();
    GifSession session(gif, KOVRADALT_FORMAT_BGRA32, 1, true);
    uint32_t count = 0, delay = 0;
    int32_t transparent = 0;
    EXPECT_EQ(KOVRADALTI_GetColorInfo(session.dec(), &count, &transparent, &delay), 1);
    EXPECT_EQ(std::vector<int64_t>({count, transparent, delay}), std::vector<int64_t>({2, 1, 70}));
    const uint32_t *map = KOVRADALTI_GetColorMap(session.dec());
    ASSERT_EQ(map, session.gif()->global_colors);
    EXPECT_EQ(std::vector<uint32_t>(map, map + 3), std::vector<uint32_t>({0xFF102030u, 0xFF405161u, GIF_COLOR_UNSET}));
    KOVRADALTI_GetColorMap(session.dec());  // the second call swaps back
    EXPECT_EQ(map[1], 0xFF615140u);
    EXPECT_EQ(KOVRADALTI_GetColorMap(GifSession(gif, KOVRADALT_FORMAT_RGBA32, 1, true).dec())[1], 0xFF615140u);
    KOVRADALT_DecInfo empty{};
    EXPECT_EQ(KOVRADALTI_GetColorMap(&empty), nullptr);
    EXPECT_EQ(KOVRADALTI_GetColorInfo(&empty, &count, &transparent, &delay), 0);
    uint32_t *block = KOVRADALTI_SetDecodeAGIFBuffer(nullptr, nullptr, 4);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[0] | block[3], 0u);
    KOVRADALT_OsFree(block);
    EXPECT_EQ(KOVRADALTI_SetDecodeAGIFBuffer(nullptr, nullptr, 5), nullptr);
}

TEST(GifFrames, BlocksBetweenFrames) {
    const std::pair<Bytes, std::vector<int32_t>> cases[] = {
        {{0x21, 0xFE, 0}, {3}},                    // an empty comment swallows the separator after it
        {{0x21, 0xF9, 3, 0, 0, 0, 0}, {3}},        // a control block of the wrong size ends the animation
        {{0x21, 0x99}, {1, 3}},                    // an unknown label goes alone
        {{0x2C, 0x11, 0x27, 0, 0, 2, 0, 2, 0, 0}, {1, 3}},  // a descriptor side of 10001 is skipped
        {{0x2C, 0, 0, 0, 0, 2, 0, 0x11, 0x27, 0}, {1, 3}},
    };
    for (const auto &[between, results] : cases) {
        const Bytes gif = GifBuilder(2, 2, kPalette).image(0, 0, 2, 2, Bytes(4, 1)).raw(between).image(0, 0, 2, 2, Bytes(4, 2)).trailer().bytes();
        const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32);
        EXPECT_EQ(animation.results, results) << between.size();
        EXPECT_EQ(animation.frames.back(), filled(results.size() == 2 ? 2 : 1, 4));
    }
    const Bytes edge = GifBuilder(2, 2, kPalette).image(0, 0, 2, 2, Bytes(4, 1)).image(10000, 0, 1, 1, {2}).trailer().bytes();
    EXPECT_EQ(decode_animation(edge, KOVRADALT_FORMAT_RGBA32).results, (std::vector<int32_t>{1, 3}));
    EXPECT_FALSE(GifSession(GifBuilder(2, 2, kPalette).control(0, false, 5, 0, 5).image(0, 0, 1, 1, {1}).bytes(), KOVRADALT_FORMAT_RGBA32, 1, true).parsed);
    // A first frame cut short leaves the rest of the canvas white.
    const ImageSpec cut = coded_image(3, 3, 2, pack_codes({{4, 3}, {1, 3}, {2, 3}, {5, 3}}));
    const Animation animation = decode_animation(GifBuilder(3, 3, kPalette).image(cut).image(2, 2, 1, 1, {3}).trailer().bytes(), KOVRADALT_FORMAT_RGBA32);
    Bytes expected(4 * 5, 255);
    const Bytes last = filled(3, 1);
    expected.insert(expected.end(), last.begin(), last.end());
    EXPECT_EQ(Bytes(animation.frames.at(1).begin() + 12, animation.frames[1].end()), expected);
}

TEST(GifFrames, OutputSizeThroughTheFramework) {
    GifSession larger(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(larger.dec(), 5, 3), 1);
    Bytes out(5 * 3 * 4, kU);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(larger.dec(), out.data(), 0, 3), 1);
    EXPECT_EQ(out, filled(1, 15));
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(larger.dec(), 4, 4), 1);  // the canvas keeps its first size
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(larger.dec(), out.data(), 0, 4), 0);

    const Bytes row = random_indexes(200, 256, 4);
    GifSession doubled(GifBuilder(100, 2, test_palette(256)).image(0, 0, 100, 2, row).bytes(), KOVRADALT_FORMAT_INDEX8, 1, false);
    EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(nullptr, 3, 5) + KOVRADALTI_SetGIF_SKIA(doubled.dec(), 0, 5) + DALTI_InitializeGIF_SKIA(nullptr, 3, 5), 0);
    EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(doubled.dec(), 1, 1), 1);
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(doubled.dec(), 200, 4), 1);
    EXPECT_EQ(doubled.gif()->one_to_one, 0u);
    Bytes indexes(800, kU), expected;
    ASSERT_EQ(KOVRADALTI_DecodeGIF(doubled.dec(), indexes.data(), 200, 4), 1);
    for (size_t i = 0; i < 800; ++i) expected.push_back(row[(i / 400) * 100 + (i % 200) / 2]);
    EXPECT_EQ(indexes, expected);
    {
        AllocationFailure failure(0);
        EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(doubled.dec(), 4, 4), 0);
    }
    EXPECT_EQ(KOVRADALTI_DecodeGIF(doubled.dec(), indexes.data(), 4, 4), 0);  // no line buffer left
}

TEST(GifFrames, RowsBeyondTheCallersRowsAreComposedButNotWritten) {
    const Bytes gif = GifBuilder(2, 4, kPalette).image(0, 0, 2, 4, Bytes(8, 1)).image(0, 2, 2, 2, Bytes(4, 2)).image(0, 0, 1, 1, {3}).trailer().bytes();
    GifSession session(gif, KOVRADALT_FORMAT_RGBA32, 1, true);
    Bytes out(2 * 4 * 4, kU);
    ASSERT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 4), 1);
    std::fill(out.begin(), out.end(), kU);
    ASSERT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 1), 1);
    Bytes expected = filled(1, 2);
    expected.resize(out.size(), kU);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 4), 3);
    expected = filled(3, 1);
    for (const Bytes &rest : {filled(1, 3), filled(2, 4)}) expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(out, expected);
}

struct Cache {
    uint8_t **entries = static_cast<uint8_t **>(std::memset(KOVRADALT_OsMalloc(3 * sizeof(uint8_t *)), 0, 3 * sizeof(uint8_t *)));
    ~Cache() { KOVRADALTI_DeleteGIFInfo_SKIA(entries, 3); }
};

int32_t decode_cached(const GifSession &session, Bytes &out, int32_t index, Cache *cache, const uint32_t *delays, int32_t side = 2) {
    return KOVRADALTI_DecodeAGIF_SKIA(session.dec(), out.data(), side, side, index, cache ? cache->entries : nullptr, 0,
                                      0, 0, cache ? 3 : 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, delays);
}

TEST(GifFrameCache, RevisitedFramesComeFromTheCache) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    Cache cache;
    const uint32_t delays[3] = {50, 70, 90};
    Bytes out(16);
    for (int32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(decode_cached(session, out, i, &cache, delays), i < 2 ? 1 : 3);
        ASSERT_NE(cache.entries[i], nullptr);
        EXPECT_EQ(Bytes(cache.entries[i], cache.entries[i] + 16), filled(static_cast<uint8_t>(i + 1), 4));
    }
    const int32_t position = session.dec()->io->position;
    for (int32_t i : {1, 0, 2}) {
        std::fill(out.begin(), out.end(), 0);
        EXPECT_EQ(decode_cached(session, out, i, &cache, delays), 1);
        EXPECT_EQ(out, filled(static_cast<uint8_t>(i + 1), 4));
        EXPECT_EQ(session.dec()->gif_total_delay, i < 2 ? delays[i + 1] : 0u);
    }
    EXPECT_EQ(session.dec()->io->position, position);  // the stream was not read
    // Copied out only at the size they were made at, and only to the record that made them.
    Bytes large(8 * 8 * 4, kU);
    EXPECT_EQ(decode_cached(session, large, 0, &cache, delays, 8) + decode_cached(session, large, 0, &cache, delays, 0), 0);
    EXPECT_EQ(large, Bytes(large.size(), kU));
    EXPECT_EQ(decode_cached(GifSession(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true), out, 0, &cache, delays), 0);
    GifSession tiny(GifBuilder(1, 1, kPalette).image(0, 0, 1, 1, {2}).trailer().bytes(), KOVRADALT_FORMAT_RGBA32, 1, true);
    Cache one_pixel;
    EXPECT_EQ(decode_cached(tiny, out, 0, &one_pixel, delays, 1), 3);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 4), filled(2, 1));
    // Without a cache, delays or memory the frame is decoded from the stream.
    GifSession again(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    Cache fresh;
    EXPECT_EQ(decode_cached(again, out, 0, nullptr, nullptr), 1);
    {
        AllocationFailure failure(0);
        EXPECT_EQ(decode_cached(again, out, 1, &fresh, nullptr), 0);
    }
    EXPECT_EQ(fresh.entries[1], nullptr);
    GifSession third(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    EXPECT_EQ(decode_cached(third, out, 0, &fresh, nullptr) + decode_cached(third, out, 1, &fresh, nullptr), 2);
    EXPECT_EQ(decode_cached(third, out, 1, &fresh, nullptr), 3);  // cached but not the last, no delays: from the stream
    EXPECT_EQ(out, filled(3, 4));
}

}  // namespace
}  // namespace kovra::test
