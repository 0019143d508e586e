// The GIF record, its colour tables and header, and the framework set-up: what each reads from
// the header, what it refuses, and that no allocation failure leaks or crashes.

#include <gtest/gtest.h>

#include <cstring>

#include "support/gif_builder.h"
#include "gif_decode.h"
#include "kovra_os.h"

namespace kovra::test {
namespace {

Bytes one_pixel_gif(int width = 4, int height = 3, const std::vector<Rgb> &palette = test_palette(4)) {
    ImageSpec spec;
    spec.width = width;
    spec.height = height;
    spec.indexes.assign(static_cast<size_t>(width) * height, 1);
    return GifBuilder(width, height, palette).image(spec).trailer().bytes();
}

TEST(GifColorTable, FullTableHasNoUnsetSlots) {
    Bytes rgb(256 * 3);
    for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<uint8_t>(i * 31);
    uint32_t table[256];
    DALTI_MakeColorTable(rgb.data(), 256, table);
    for (int i = 0; i < 256; ++i) {
        EXPECT_NE(table[i], GIF_COLOR_UNSET);
        EXPECT_EQ(table[i], 0xFF000000u | (uint32_t{rgb[3 * i + 2]} << 16) | (uint32_t{rgb[3 * i + 1]} << 8) |
                                (rgb[3 * i] & 0xFEu));
    }
}

TEST(GifColorTable, ShortTableFillsTheRestWithUnset) {
    const uint8_t rgb[6] = {0xFF, 0xFF, 0xFF, 0x11, 0x22, 0x33};
    uint32_t table[256];
    DALTI_MakeColorTable(rgb, 2, table);
    EXPECT_EQ(table[0], 0xFFFFFFFEu);  // white loses red's lowest bit and so never reads as unset
    EXPECT_EQ(table[1], 0xFF332210u);
    for (int i = 2; i < 256; ++i) EXPECT_EQ(table[i], GIF_COLOR_UNSET);
    DALTI_MakeColorTable(rgb, 0, table);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(table[i], GIF_COLOR_UNSET);
}

TEST(GifHeader, GlobalTableSizeFromItsSizeBits) {
    {
        GifSession session(GifBuilder(2, 2, test_palette(256)).raw({0x2C, 0, 0, 0, 0, 2, 0, 2, 0, 0, 2, 2, 0x84, 0x05, 0, 0x3B}).bytes(),
                           KOVRADALT_FORMAT_INDEX8, 1, false);
        ASSERT_TRUE(session.parsed());
        EXPECT_EQ(session.gif()->global_color_count, 256u);
        for (int i = 0; i < 256; ++i) EXPECT_NE(session.gif()->global_colors[i], GIF_COLOR_UNSET);
    }
    {
        GifSession session(one_pixel_gif(4, 3, test_palette(2)), KOVRADALT_FORMAT_INDEX8, 1, false);
        ASSERT_TRUE(session.parsed());
        EXPECT_EQ(session.gif()->global_color_count, 2u);
        EXPECT_EQ(session.gif()->active_colors, session.gif()->global_colors);
        for (int i = 2; i < 256; ++i) EXPECT_EQ(session.gif()->global_colors[i], GIF_COLOR_UNSET);
    }
}

TEST(GifHeader, ScreenFieldsReachBothRecords) {
    Bytes bytes = one_pixel_gif(300, 7);
    bytes[10] |= 0x50;  // colour resolution bits
    bytes[11] = 3;      // background
    bytes[12] = 49;     // aspect ratio
    GifSession session(bytes, KOVRADALT_FORMAT_RGBA32, 2, true);
    ASSERT_TRUE(session.parsed());
    const DALTI_GIFDecoderInfo *rec = session.gif();
    EXPECT_EQ(rec->screen_width, 300);
    EXPECT_EQ(rec->screen_height, 7);
    EXPECT_EQ(rec->background_index, 3u);
    EXPECT_EQ(rec->aspect_ratio, 49u);
    EXPECT_EQ(rec->color_resolution, 7u);
    EXPECT_EQ(session.dec()->width, 300u);
    EXPECT_EQ(session.dec()->height, 7u);
    EXPECT_EQ(session.dec()->scaled_width, 150u);
    EXPECT_EQ(session.dec()->progress_total, 3u);
    EXPECT_EQ(rec->out_width, 150);
    EXPECT_EQ(rec->row_out_width, 150);
    EXPECT_EQ(rec->out_stride, 600u);
    EXPECT_EQ(rec->out_pixel_size, 4u);
    EXPECT_EQ(rec->one_to_one, 0u);
    EXPECT_EQ(rec->frame_mode, 1u);
    EXPECT_EQ(rec->canvas, nullptr);
}

TEST(GifHeader, NoGlobalTableClearsOnlyTheBackgroundSlot) {
    ImageSpec spec;
    spec.width = spec.height = 2;
    spec.indexes = {0, 1, 1, 0};
    spec.local = test_palette(2);
    Bytes bytes = GifBuilder(2, 2, {}, 5).image(spec).trailer().bytes();
    GifSession session(bytes, KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(session.parsed());
    EXPECT_EQ(session.gif()->global_color_count, 0u);
    EXPECT_EQ(session.gif()->global_colors[5], 0u);
    EXPECT_EQ(session.gif()->active_colors, session.gif()->local_colors);
    EXPECT_EQ(session.gif()->active_color_count, 2u);
}

TEST(GifHeader, SetUpRefusals) {
    const Bytes good = one_pixel_gif();
    EXPECT_FALSE(GifSession(good, KOVRADALT_FORMAT_INDEX8, 0, false).parsed());  // sample size 0
    EXPECT_FALSE(GifSession(Bytes(good.begin(), good.begin() + 12), KOVRADALT_FORMAT_INDEX8, 1, false).parsed());
    for (auto [at, value] : {std::pair{0, 'g'}, {3, 'x'}, {4, '/'}, {5, '@'}, {5, '{'}}) {
        Bytes bad = good;
        bad[static_cast<size_t>(at)] = static_cast<uint8_t>(value);
        EXPECT_FALSE(GifSession(bad, KOVRADALT_FORMAT_INDEX8, 1, false).parsed()) << at;
    }
    for (int at : {6, 8}) {  // zero width, zero height
        Bytes bad = good;
        bad[static_cast<size_t>(at)] = bad[static_cast<size_t>(at) + 1] = 0;
        GifSession session(bad, KOVRADALT_FORMAT_INDEX8, 1, false);
        EXPECT_FALSE(session.parsed());
        EXPECT_EQ(session.gif(), nullptr);
    }
    Bytes version = good;
    version[3] = '1';
    version[4] = '2';
    version[5] = 'z';  // any digits and any letter-range byte pass
    EXPECT_TRUE(GifSession(version, KOVRADALT_FORMAT_INDEX8, 1, false).parsed());
}

TEST(GifHeader, SampleSizeLargerThanTheScreenGivesOnePixel) {
    GifSession session(one_pixel_gif(4, 3), KOVRADALT_FORMAT_INDEX8, 9, false);
    ASSERT_TRUE(session.parsed());
    EXPECT_EQ(session.gif()->out_width, 1);
    EXPECT_EQ(session.gif()->out_height, 1);
    EXPECT_EQ(session.gif()->out_stride, 1u);
}

TEST(GifHeader, ScreensWiderThan10000AreForDirectModeOnly) {
    ImageSpec spec;
    spec.width = 3;
    spec.height = 1;
    spec.indexes = {1, 2, 3};
    const Bytes wide = GifBuilder(10001, 1, test_palette(4)).image(spec).trailer().bytes();
    EXPECT_FALSE(GifSession(wide, KOVRADALT_FORMAT_RGBA32, 1, true).parsed());
    GifSession direct(wide, KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(direct.parsed());
    std::vector<uint8_t> out(direct.frame_bytes(), 0);
    EXPECT_EQ(KOVRADALTI_DecodeGIF(direct.dec(), out.data(), 10001, 1), 1);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[2], 3);
    EXPECT_EQ(out[3], 0);  // filled with the background index
    const Bytes ok = GifBuilder(10000, 1, test_palette(4)).image(spec).trailer().bytes();
    EXPECT_TRUE(GifSession(ok, KOVRADALT_FORMAT_RGBA32, 1, true).parsed());
}

TEST(GifHeader, SetupWithoutAnyFrameFails) {
    const Bytes bytes = GifBuilder(4, 4, test_palette(2)).trailer().bytes();
    GifSession session(bytes, KOVRADALT_FORMAT_INDEX8, 1, false);
    EXPECT_FALSE(session.parsed());
    EXPECT_NE(session.gif(), nullptr);  // attached before the seek; the session releases it
}

TEST(GifHeader, ParseGIFHeaderReadsFromOffsetZero) {
    const Bytes bytes = one_pixel_gif(5, 6);
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        SourceRecord source(kind, bytes);
        ASSERT_NE(source.record(), nullptr);
        auto *rec = static_cast<DALTI_GIFDecoderInfo *>(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)));
        std::memset(rec, 0, sizeof *rec);
        ASSERT_EQ(DALTI_CreateGIFDecoderInfo(rec), 1);
        rec->input->source = source->io;
        rec->input->next = rec->input->buffer;
        KOVRADALT_Seek_IO(source->io, 20, 0);
        ASSERT_EQ(DALTI_ParseGIFHeader(nullptr, rec), 1);
        EXPECT_EQ(rec->screen_width, 5);
        EXPECT_EQ(rec->screen_height, 6);
        EXPECT_EQ(rec->global_color_count, 4u);
        EXPECT_EQ(rec->input->next[0], 0x2C);  // left just past the global table
        DALTI_DelGIFDecoderInfo(rec);
    }
}

TEST(GifHeader, ParseGIFHeaderDestroysTheRecordOnAZeroSize) {
    Bytes bytes = one_pixel_gif();
    bytes[6] = bytes[7] = 0;
    SourceRecord source(SourceKind::kMemory, bytes);
    auto *rec = static_cast<DALTI_GIFDecoderInfo *>(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)));
    std::memset(rec, 0, sizeof *rec);
    ASSERT_EQ(DALTI_CreateGIFDecoderInfo(rec), 1);
    rec->input->source = source->io;
    rec->input->next = rec->input->buffer;
    EXPECT_EQ(DALTI_ParseGIFHeader(nullptr, rec), 0);  // rec is gone; the leak checker sees no leak
}

TEST(GifRecord, CreationFailsCleanlyAtEveryAllocation) {
    for (long successes = 0; successes < 9; ++successes) {
        auto *rec = static_cast<DALTI_GIFDecoderInfo *>(KOVRADALT_OsMalloc(sizeof(DALTI_GIFDecoderInfo)));
        std::memset(rec, 0, sizeof *rec);
        {
            AllocationFailure failure(successes);
            EXPECT_EQ(DALTI_CreateGIFDecoderInfo(rec), 0) << successes;
        }
        DALTI_DelGIFDecoderInfo(rec);
    }
    DALTI_DelGIFDecoderInfo(nullptr);
}

TEST(GifRecord, SetUpSurvivesEveryAllocationFailure) {
    const Bytes bytes = one_pixel_gif();
    for (bool animated : {false, true}) {
        for (long successes = 0;; ++successes) {
            SourceRecord source(SourceKind::kMemory, bytes, KOVRADALT_FORMAT_RGBA32);
            int marker = 0;
            int32_t result;
            {
                AllocationFailure failure(successes);
                result = KOVRADALTI_ParseGIFHeader_SKIA(source->io, source.record(), 1, animated ? &marker : nullptr);
            }
            if (source->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(source.record());
            if (result == 1) break;
            ASSERT_LT(successes, 20);
        }
    }
}

TEST(GifRecord, ColorInfoAndColorMap) {
    GifSession session(GifBuilder(2, 1, {{0x10, 0x20, 0x30}, {0x41, 0x51, 0x61}})
                           .graphic_control(0, true, 7, 1)
                           .image(frame_spec(0, 0, 2, 1, {0, 1}))
                           .trailer()
                           .bytes(),
                       KOVRADALT_FORMAT_BGRA32, 1, true);
    ASSERT_TRUE(session.parsed());
    uint32_t count = 0, delay = 0;
    int32_t transparent = 0;
    EXPECT_EQ(KOVRADALTI_GetColorInfo(session.dec(), &count, &transparent, &delay), 1);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(transparent, 1);
    EXPECT_EQ(delay, 70u);
    EXPECT_EQ(KOVRADALTI_GetColorInfo(session.dec(), nullptr, &transparent, nullptr), 1);

    const uint32_t *map = KOVRADALTI_GetColorMap(session.dec());
    ASSERT_EQ(map, session.gif()->global_colors);
    EXPECT_EQ(map[0], 0xFF102030u);  // red and blue exchanged for format 8
    EXPECT_EQ(map[1], 0xFF405161u);  // blue keeps its lowest bit, now in the low byte
    EXPECT_EQ(map[2], GIF_COLOR_UNSET);  // only the active entries are touched
    KOVRADALTI_GetColorMap(session.dec());
    EXPECT_EQ(map[0], 0xFF302010u);  // the second call undoes the first
    EXPECT_EQ(map[1], 0xFF615140u);

    KOVRADALT_DecInfo empty{};
    EXPECT_EQ(KOVRADALTI_GetColorMap(&empty), nullptr);
    EXPECT_EQ(KOVRADALTI_GetColorInfo(&empty, &count, &transparent, &delay), 0);
}

TEST(GifRecord, ColorMapKeepsTheOrderForOtherFormats) {
    GifSession session(one_pixel_gif(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    const uint32_t before = session.gif()->global_colors[1];
    KOVRADALTI_GetColorMap(session.dec());
    EXPECT_EQ(session.gif()->global_colors[1], before);
}

TEST(GifRecord, SetGifChangesTheOutputSize) {
    GifSession session(one_pixel_gif(8, 8), KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(session.parsed());
    ASSERT_EQ(session.gif()->one_to_one, 1u);
    EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(session.dec(), 3, 5), 1);
    EXPECT_EQ(session.gif()->out_width, 3);
    EXPECT_EQ(session.gif()->row_out_width, 3);
    EXPECT_EQ(session.gif()->out_height, 5);
    EXPECT_EQ(session.gif()->out_stride, 3u);
    EXPECT_EQ(session.gif()->one_to_one, 0u);
    EXPECT_NE(session.gif()->line_buffer, nullptr);
    EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(nullptr, 3, 5), 0);
    EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(session.dec(), 0, 5), 0);
    session.gif()->one_to_one = 1;
    EXPECT_EQ(DALTI_InitializeGIF_SKIA(session.gif(), 4, 4), 1);
    EXPECT_EQ(session.gif()->one_to_one, 1u);  // left alone by the record-level call
    {
        AllocationFailure failure(0);
        EXPECT_EQ(KOVRADALTI_SetGIF_SKIA(session.dec(), 4, 4), 0);
    }
    std::vector<uint8_t> out(64);
    EXPECT_EQ(KOVRADALTI_DecodeGIF(session.dec(), out.data(), 4, 4), 0);  // no line buffer: no decode
}

TEST(GifRecord, FixedResultEntryPoints) {
    uint32_t *block = KOVRADALTI_SetDecodeAGIFBuffer(nullptr, nullptr, 4);
    ASSERT_NE(block, nullptr);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(block[i], 0u);
    KOVRADALT_OsFree(block);
    EXPECT_EQ(KOVRADALTI_SetDecodeAGIFBuffer(nullptr, nullptr, 5), nullptr);
    KOVRADALT_DecInfo dec{};
    EXPECT_EQ(KOVRADALTI_DecodeGIFIter(&dec), 0);
    EXPECT_EQ(KOVRADALTI_DecodeGIFLine(&dec), 0);
    EXPECT_EQ(KOVRADALTI_DecodeAGIFIter(&dec), 0);
    EXPECT_EQ(KOVRADALTI_AbortGIFIter(&dec), 0);
    EXPECT_EQ(KOVRADALTI_AborAGIF(&dec), 0);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(nullptr, nullptr, 0, 0), 0);
    EXPECT_EQ(KOVRADALTI_DecodeGIF(nullptr, nullptr, 0, 0), 0);
}

TEST(GifRecord, FrameCacheRelease) {
    KOVRADALTI_DeleteGIFInfo_SKIA(nullptr, 3);
    auto **cache = static_cast<uint8_t **>(KOVRADALT_OsMalloc(3 * sizeof(uint8_t *)));
    cache[0] = static_cast<uint8_t *>(KOVRADALT_OsMalloc(8));
    cache[1] = nullptr;
    cache[2] = static_cast<uint8_t *>(KOVRADALT_OsMalloc(8));
    KOVRADALTI_DeleteGIFInfo_SKIA(cache, 3);  // the leak checker confirms all three went
    auto **empty = static_cast<uint8_t **>(KOVRADALT_OsMalloc(sizeof(uint8_t *)));
    KOVRADALTI_DeleteGIFInfo_SKIA(empty, 0);
}

}  // namespace
}  // namespace kovra::test
