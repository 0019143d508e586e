// The record, header and set-up, frame driving and the frame cache: what the reference comparison
// (peer_test) cannot reach: refusals, allocation failures, the caller's row count, output sizes
// changed through the framework, and results and delays.

#include <gtest/gtest.h>

#include <cstring>

#include "gif_decode.h"
#include "kovra_os.h"
#include "support/gif_builder.h"

namespace kovra::test {
namespace {

const std::vector<Rgb> kPalette = test_palette(4);

Bytes filled(uint8_t index, int pixels) {
    Bytes out(4 * static_cast<size_t>(pixels), 255);
    for (size_t i = 0; i < out.size(); i += 4) {
        out[i] = kPalette[index].r & 0xFE;
        out[i + 1] = kPalette[index].g;
        out[i + 2] = kPalette[index].b;
    }
    return out;
}

// Three 2 x 2 frames of indexes 1, 2, 3 with delays of 5, 7 and 9 hundredths.
Bytes three_frames(int disposal = 0) {
    GifBuilder gif(2, 2, kPalette);
    for (uint8_t i = 1; i <= 3; ++i) gif.control(disposal, false, 3 + 2 * i, 0).image(0, 0, 2, 2, Bytes(4, i));
    return gif.trailer().bytes();
}

TEST(GifHeader, SetUp) {
    Bytes bytes = GifBuilder(300, 7, kPalette, 3).image(0, 0, 1, 1, {1}).trailer().bytes();
    bytes[10] |= 0x50;
    bytes[12] = 49;
    GifSession session(bytes, KOVRADALT_FORMAT_RGBA32, 2, true);
    ASSERT_TRUE(session.parsed());
    const DALTI_GIFDecoderInfo *rec = session.gif();
    EXPECT_EQ(std::vector<uint32_t>({rec->background_index, rec->aspect_ratio, rec->color_resolution, rec->global_color_count}),
              std::vector<uint32_t>({3, 49, 7, 4}));
    EXPECT_EQ(std::vector<int32_t>({rec->out_width, rec->row_out_width, rec->out_height}), std::vector<int32_t>({150, 150, 3}));
    EXPECT_EQ(std::vector<uint32_t>({session.dec()->width, session.dec()->height, session.dec()->scaled_width,
                                     session.dec()->progress_total, rec->out_stride, rec->one_to_one, rec->frame_mode}),
              std::vector<uint32_t>({300, 7, 150, 3, 600, 0, 1}));

    const Bytes good = GifBuilder(4, 3, kPalette).image(0, 0, 1, 1, {1}).trailer().bytes();
    EXPECT_FALSE(GifSession(good, KOVRADALT_FORMAT_INDEX8, 0, false).parsed());  // sample size 0
    EXPECT_FALSE(GifSession(Bytes(good.begin(), good.begin() + 12), KOVRADALT_FORMAT_INDEX8, 1, false).parsed());
    EXPECT_FALSE(GifSession(GifBuilder(4, 3).trailer().bytes(), KOVRADALT_FORMAT_INDEX8, 1, false).parsed());  // no frame
    for (auto [at, value] : {std::pair{0, 'g'}, {3, 'x'}, {4, '/'}, {5, '@'}, {5, '{'}, {6, 0}, {8, 0}}) {
        Bytes bad = good;
        bad[static_cast<size_t>(at)] = static_cast<uint8_t>(value);
        if (value == 0) bad[static_cast<size_t>(at) + 1] = 0;
        EXPECT_FALSE(GifSession(bad, KOVRADALT_FORMAT_INDEX8, 1, false).parsed()) << at;
    }
    Bytes version = good;
    std::memcpy(&version[3], "12z", 3);  // any digits and any letter-range byte pass
    EXPECT_TRUE(GifSession(version, KOVRADALT_FORMAT_INDEX8, 1, false).parsed());

    // Screens wider than 10000 are for direct mode only.
    const Bytes wide = GifBuilder(10001, 1, kPalette).image(0, 0, 3, 1, {1, 2, 3}).trailer().bytes();
    EXPECT_FALSE(GifSession(wide, KOVRADALT_FORMAT_RGBA32, 1, true).parsed());
    EXPECT_EQ(decode_indexes(wide, 1, SourceKind::kMemory, 9).indexes[3], 0);  // filled with the background
    EXPECT_TRUE(GifSession(GifBuilder(10000, 1, kPalette).image(0, 0, 1, 1, {1}).bytes(), KOVRADALT_FORMAT_RGBA32, 1, true).parsed());
}

TEST(GifHeader, EveryAllocationFailureIsSurvived) {
    for (long successes = 0; successes < 8; ++successes) {
        auto *rec = static_cast<DALTI_GIFDecoderInfo *>(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)));
        std::memset(rec, 0, sizeof *rec);
        {
            AllocationFailure failure(successes);
            EXPECT_EQ(DALTI_CreateGIFDecoderInfo(rec), 0) << successes;
        }
        DALTI_DelGIFDecoderInfo(rec);
    }
    const Bytes gif = GifBuilder(6, 5, kPalette).control(2, true, 1, 1).image(1, 1, 3, 2, {0, 1, 2, 3, 2, 1}).image(1, 1, 3, 2, {0, 1, 2, 3, 2, 1}).trailer().bytes();
    for (bool animated : {false, true}) {
        int32_t parsed = 0;
        for (long successes = 0; parsed != 1; ++successes) {
            ASSERT_LT(successes, 30);
            SourceRecord source(SourceKind::kStream, gif, KOVRADALT_FORMAT_BGRA32);
            int marker = 0;
            Bytes out(3 * 2 * 4);
            AllocationFailure failure(successes);
            parsed = KOVRADALTI_ParseGIFHeader_SKIA(source->io, source.record(), 2, animated ? &marker : nullptr);
            while (parsed == 1 && KOVRADALTI_DecodeAGIF(source.record(), out.data(), 0, 2) == 1) {
            }
            if (source->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(source.record());
        }
    }
}

TEST(GifHeader, ParseGIFHeaderReadsFromOffsetZero) {
    SourceRecord source(SourceKind::kStream, GifBuilder(5, 6, kPalette).image(0, 0, 1, 1, {1}).bytes());
    auto *rec = static_cast<DALTI_GIFDecoderInfo *>(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)));
    std::memset(rec, 0, sizeof *rec);
    ASSERT_EQ(DALTI_CreateGIFDecoderInfo(rec), 1);
    rec->input->source = source->io;
    rec->input->next = rec->input->buffer;
    KOVRADALT_Seek_IO(source->io, 20, 0);
    ASSERT_EQ(DALTI_ParseGIFHeader(nullptr, rec), 1);
    EXPECT_EQ(rec->screen_width * 10 + rec->screen_height, 56);
    EXPECT_EQ(rec->input->next[0], 0x2C);  // just past the global table
    DALTI_DelGIFDecoderInfo(rec);
}

TEST(GifRecord, ColorInfoAndColorMap) {
    const Bytes gif = GifBuilder(2, 1, {{0x10, 0x20, 0x30}, {0x41, 0x51, 0x61}}).control(0, true, 7, 1).image(0, 0, 2, 1, {0, 1}).trailer().bytes();
    GifSession session(gif, KOVRADALT_FORMAT_BGRA32, 1, true);
    ASSERT_TRUE(session.parsed());
    uint32_t count = 0, delay = 0;
    int32_t transparent = 0;
    EXPECT_EQ(KOVRADALTI_GetColorInfo(session.dec(), &count, &transparent, &delay), 1);
    EXPECT_EQ(std::vector<uint32_t>({count, uint32_t(transparent), delay}), std::vector<uint32_t>({2, 1, 70}));
    const uint32_t *map = KOVRADALTI_GetColorMap(session.dec());
    ASSERT_EQ(map, session.gif()->global_colors);
    EXPECT_EQ(std::vector<uint32_t>(map, map + 3), std::vector<uint32_t>({0xFF102030u, 0xFF405161u, GIF_COLOR_UNSET}));
    KOVRADALTI_GetColorMap(session.dec());  // the second call swaps back
    EXPECT_EQ(map[1], 0xFF615140u);
    GifSession rgba(gif, KOVRADALT_FORMAT_RGBA32, 1, true);
    EXPECT_EQ(KOVRADALTI_GetColorMap(rgba.dec())[1], 0xFF615140u);

    KOVRADALT_DecInfo empty{};
    EXPECT_EQ(KOVRADALTI_GetColorMap(&empty), nullptr);
    EXPECT_EQ(KOVRADALTI_GetColorInfo(&empty, &count, &transparent, &delay), 0);
    for (int32_t fixed : {KOVRADALTI_DecodeGIFIter(&empty), KOVRADALTI_DecodeGIFLine(&empty), KOVRADALTI_DecodeAGIFIter(&empty),
                          KOVRADALTI_AbortGIFIter(&empty), KOVRADALTI_AborAGIF(&empty),
                          KOVRADALTI_DecodeAGIF(nullptr, nullptr, 0, 0), KOVRADALTI_DecodeGIF(nullptr, nullptr, 0, 0)}) {
        EXPECT_EQ(fixed, 0);
    }
    uint32_t *block = KOVRADALTI_SetDecodeAGIFBuffer(nullptr, nullptr, 4);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[0] | block[3], 0u);
    KOVRADALT_OsFree(block);
    EXPECT_EQ(KOVRADALTI_SetDecodeAGIFBuffer(nullptr, nullptr, 5), nullptr);
}

TEST(GifAnimation, ResultsDelaysAndDirectMode) {
    for (SourceKind kind : kAllSourceKinds) {
        const Animation animation = decode_animation(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, kind);
        EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 1, 3})) << source_kind_name(kind);
        EXPECT_EQ(animation.delays, (std::vector<uint32_t>{70, 90, 0}));  // the next frame's; 0 at the end
        EXPECT_EQ(animation.frames.at(2), filled(3, 4));
    }
    // Frame mode writes nothing for palette indexes.
    const Bytes wide = GifBuilder(8, 1, kPalette).image(0, 0, 8, 1, Bytes(8, 1)).trailer().bytes();
    EXPECT_EQ(decode_animation(wide, KOVRADALT_FORMAT_INDEX8, 1).frames.at(0), Bytes(8, kU));
    GifSession direct(three_frames(), KOVRADALT_FORMAT_INDEX8, 1, false);
    for (uint8_t frame = 1; frame <= 3; ++frame) {
        Bytes out(4, kU);
        EXPECT_EQ(KOVRADALTI_DecodeAGIF(direct.dec(), out.data(), 0, 2), frame < 3 ? 1 : 3);
        EXPECT_EQ(out, Bytes(4, frame));
    }
    // Direct mode gives only indexes for a frame that does not cover the screen.
    GifSession partial(GifBuilder(4, 2, kPalette).image(1, 0, 2, 2, {1, 2, 3, 0}).bytes(), KOVRADALT_FORMAT_RGBA32, 1, false);
    Bytes out(32, kU);
    EXPECT_EQ(KOVRADALTI_DecodeGIF(partial.dec(), out.data(), 4, 2), 0);
    EXPECT_EQ(out, Bytes(32, kU));
}

TEST(GifAnimation, BlocksOnTheWay) {
    struct Case {
        const char *what;
        Bytes between;  // between the first and second frame
        std::vector<int32_t> results;
    };
    Bytes oversized = {0x2C, 0, 0, 0, 0, 2, 0, 2, 0, 0};
    const Case cases[] = {
        {"an empty comment followed straight by a separator swallows it", {0x21, 0xFE, 0}, {3}},
        {"a graphic control block of the wrong size ends the animation", {0x21, 0xF9, 3, 0, 0, 0, 0}, {3}},
        {"an unknown label goes alone", {0x21, 0x99}, {1, 3}},
    };
    for (const Case &c : cases) {
        const Bytes gif = GifBuilder(2, 2, kPalette).image(0, 0, 2, 2, Bytes(4, 1)).raw(c.between).image(0, 0, 2, 2, Bytes(4, 2)).trailer().bytes();
        EXPECT_EQ(decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1).results, c.results) << c.what;
    }
    // A descriptor side of 10001 is skipped (its data read as blocks), 10000 is decoded.
    for (int field = 0; field < 4; ++field) {
        Bytes bad = oversized;
        bad[1 + 2 * field] = 10001 & 0xFF;
        bad[2 + 2 * field] = 10001 >> 8;
        const Bytes gif = GifBuilder(2, 2, kPalette).image(0, 0, 2, 2, Bytes(4, 1)).raw(bad).image(0, 0, 2, 2, Bytes(4, 2)).trailer().bytes();
        const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
        EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 3})) << field;
        EXPECT_EQ(animation.frames.back(), filled(2, 4)) << field;
    }
    const Bytes edge = GifBuilder(2, 2, kPalette).image(0, 0, 2, 2, Bytes(4, 1)).image(10000, 0, 1, 1, {2}).trailer().bytes();
    EXPECT_EQ(decode_animation(edge, KOVRADALT_FORMAT_RGBA32, 1).results, (std::vector<int32_t>{1, 3}));
    EXPECT_FALSE(GifSession(GifBuilder(2, 2, kPalette).control(0, false, 5, 0, 5).image(0, 0, 1, 1, {1}).bytes(),
                            KOVRADALT_FORMAT_RGBA32, 1, true).parsed());
}

TEST(GifAnimation, ShortFirstFrameLeavesTheCanvasWhite) {
    const ImageSpec spec = coded_image(3, 3, 2, pack_codes({{4, 3}, {1, 3}, {2, 3}, {5, 3}}));
    const Bytes gif = GifBuilder(3, 3, kPalette).image(spec).image(2, 2, 1, 1, {3}).trailer().bytes();
    const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
    ASSERT_EQ(animation.results, (std::vector<int32_t>{1, 3}));
    Bytes expected(4 * 5, 255);  // rows 1 and 2 white but for the second frame's pixel
    const Bytes last = filled(3, 1);
    expected.insert(expected.end(), last.begin(), last.end());
    EXPECT_EQ(Bytes(animation.frames[1].begin() + 12, animation.frames[1].end()), expected);
}

TEST(GifAnimation, OutputSizeThroughTheFramework) {
    GifSession larger(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(larger.dec(), 5, 3), 1);
    Bytes out(5 * 3 * 4, kU);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(larger.dec(), out.data(), 0, 3), 1);
    EXPECT_EQ(out, filled(1, 15));
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(larger.dec(), 4, 4), 1);  // the canvas keeps its first size
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(larger.dec(), out.data(), 0, 4), 0);

    const Bytes row = random_indexes(200, 256, 4);
    GifSession doubled(GifBuilder(100, 2, test_palette(256)).image(0, 0, 100, 2, row).bytes(), KOVRADALT_FORMAT_INDEX8, 1, false);
    EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(nullptr, 3, 5) + KOVRADALTI_SetGIF_SKIA(doubled.dec(), 0, 5), 0);
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(doubled.dec(), 200, 4), 1);
    EXPECT_EQ(doubled.gif()->one_to_one, 0u);
    Bytes indexes(800, kU);
    ASSERT_EQ(KOVRADALTI_DecodeGIF(doubled.dec(), indexes.data(), 200, 4), 1);
    for (size_t j = 0; j < 4; ++j) {
        for (size_t k = 0; k < 200; ++k) ASSERT_EQ(indexes[j * 200 + k], row[(j / 2) * 100 + k / 2]) << j << " " << k;
    }
    {
        AllocationFailure failure(0);
        EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(doubled.dec(), 4, 4), 0);
    }
    EXPECT_EQ(KOVRADALTI_DecodeGIF(doubled.dec(), indexes.data(), 4, 4), 0);  // no line buffer left
}

TEST(GifAnimation, RowsBeyondTheCallersRowsAreComposedButNotWritten) {
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
    uint8_t **entries;
    explicit Cache() : entries(static_cast<uint8_t **>(KOVRADALT_OsMalloc(3 * sizeof(uint8_t *)))) {
        std::memset(entries, 0, 3 * sizeof(uint8_t *));
    }
    ~Cache() { KOVRADALTI_DeleteGIFInfo_SKIA(entries, 3); }
};

int32_t decode_cached(GifSession &session, Bytes &out, int32_t index, Cache *cache, const uint32_t *delays, int32_t side = 2) {
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
    EXPECT_EQ(decode_cached(session, large, 0, &cache, delays, 8), 0);
    EXPECT_EQ(large, Bytes(large.size(), kU));
    GifSession other(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    EXPECT_EQ(decode_cached(other, out, 0, &cache, delays), 0);
    GifSession tiny(GifBuilder(1, 1, kPalette).image(0, 0, 1, 1, {2}).trailer().bytes(), KOVRADALT_FORMAT_RGBA32, 1, true);
    Cache one_pixel;
    EXPECT_EQ(decode_cached(tiny, out, 0, &one_pixel, delays, 1), 3);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 4), filled(2, 1));
}

TEST(GifFrameCache, WithoutACacheDelaysOrMemoryTheFrameIsDecoded) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    Bytes out(16);
    EXPECT_EQ(decode_cached(session, out, 0, nullptr, nullptr), 1);
    Cache cache;
    {
        AllocationFailure failure(0);
        EXPECT_EQ(decode_cached(session, out, 1, &cache, nullptr), 0);
    }
    EXPECT_EQ(cache.entries[1], nullptr);
    GifSession again(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    EXPECT_EQ(decode_cached(again, out, 0, &cache, nullptr), 1);
    EXPECT_EQ(decode_cached(again, out, 1, &cache, nullptr), 1);
    // A cached frame that is not the last, with no delay table: decoded from the stream instead.
    EXPECT_EQ(decode_cached(again, out, 1, &cache, nullptr), 3);
    EXPECT_EQ(out, filled(3, 4));
}

}  // namespace
}  // namespace kovra::test
