// Frame driving: finding frames (graphic control data, skipped descriptors, extensions), the
// animation results and delays, the framework's frame cache, and failures on the way (bad
// graphic control blocks, a canvas that cannot be allocated, an output size changed mid-way).

#include <gtest/gtest.h>

#include <cstring>

#include "composition_model.h"
#include "gif_decode.h"
#include "kovra_os.h"

namespace kovra::test {
namespace {

const std::vector<Rgb> kPalette = test_palette(4);

ImageSpec frame_of(uint8_t index, int left = 0, int top = 0, int width = 2, int height = 2) {
    return frame_spec(left, top, width, height, Bytes(static_cast<size_t>(width) * height, index));
}

Bytes three_frames() {
    return GifBuilder(2, 2, kPalette)
        .graphic_control(0, false, 5, 0)
        .image(frame_of(1))
        .graphic_control(0, false, 7, 0)
        .image(frame_of(2))
        .graphic_control(0, false, 9, 0)
        .image(frame_of(3))
        .trailer()
        .bytes();
}

Bytes pixel(uint8_t index) {
    const Rgb c = kPalette[index];
    return {static_cast<uint8_t>(c.r & 0xFE), c.g, c.b, 255};
}

Bytes filled(uint8_t index, int pixels) {
    Bytes out;
    for (int i = 0; i < pixels; ++i) {
        const Bytes p = pixel(index);
        out.insert(out.end(), p.begin(), p.end());
    }
    return out;
}

TEST(GifAnimation, ResultsAndDelaysFrameByFrame) {
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        const Animation animation = decode_animation(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, kind);
        ASSERT_TRUE(animation.parsed);
        EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 1, 3}));
        EXPECT_EQ(animation.delays, (std::vector<uint32_t>{70, 90, 0}));  // the next frame's delay; 0 at the end
        ASSERT_EQ(animation.frames.size(), 3u);
        EXPECT_EQ(animation.frames[2], filled(3, 4));
    }
}

TEST(GifAnimation, OversizedDescriptorsAreSkipped) {
    for (int field = 0; field < 4; ++field) {
        Bytes gif = GifBuilder(2, 2, kPalette).image(frame_of(1)).bytes();
        // A descriptor with one side of 10001, then a usable one.
        Bytes bad = {0x2C, 0, 0, 0, 0, 2, 0, 2, 0, 0};
        bad[static_cast<size_t>(1 + 2 * field)] = 10001 & 0xFF;
        bad[static_cast<size_t>(2 + 2 * field)] = 10001 >> 8;
        gif = GifBuilder(2, 2, kPalette).image(frame_of(1)).raw(bad).image(frame_of(2)).trailer().bytes();
        const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
        EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 3})) << field;
        ASSERT_EQ(animation.frames.size(), 2u);
        EXPECT_EQ(animation.frames[1], filled(2, 4)) << field;
    }
    // 10000 is usable: that frame is decoded (and lies off the screen).
    const Bytes gif = GifBuilder(2, 2, kPalette).image(frame_of(1)).image(frame_of(2, 10000, 0)).trailer().bytes();
    const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
    EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 3}));
    EXPECT_EQ(animation.frames[1], filled(1, 4));
}

TEST(GifAnimation, TransparentIndexUpToTheColourCount) {
    // Four colours: index 4 keeps transparency (and reads as unset), 5 switches it off.
    for (int index : {3, 4, 5}) {
        const Bytes gif = GifBuilder(2, 1, kPalette)
                              .graphic_control(0, true, 0, index)
                              .image(frame_spec(0, 0, 2, 1, {1, static_cast<uint8_t>(index)}))
                              .trailer()
                              .bytes();
        GifSession session(gif, KOVRADALT_FORMAT_RGBA32, 1, true);
        ASSERT_TRUE(session.parsed());
        EXPECT_EQ(session.gif()->has_transparency, index <= 4 ? 1u : 0u) << index;
        EXPECT_EQ(session.gif()->transparent_index, index <= 4 ? index : -1) << index;
    }
}

TEST(GifAnimation, GraphicControlOfTheWrongSize) {
    // During set-up the seek fails.
    Bytes gif = GifBuilder(2, 2, kPalette).graphic_control(0, false, 5, 0, 5).image(frame_of(1)).trailer().bytes();
    EXPECT_FALSE(GifSession(gif, KOVRADALT_FORMAT_RGBA32, 1, true).parsed());
    // After a decoded frame it ends the animation.
    gif = GifBuilder(2, 2, kPalette)
              .image(frame_of(1))
              .graphic_control(0, false, 5, 0, 3)
              .image(frame_of(2))
              .trailer()
              .bytes();
    const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
    EXPECT_EQ(animation.results, (std::vector<int32_t>{3}));
}

TEST(GifAnimation, ExtensionsOnTheWay) {
    const Bytes app = {0x21, 0xFF, 11, 'N', 'E', 'T', 'S', 'C', 'A', 'P', 'E', '2', '.', '0', 3, 1, 0, 0, 0};
    const Bytes gif = GifBuilder(2, 2, kPalette)
                          .raw(app)
                          .comment({'h', 'i'})
                          .raw({0x21, 0x01, 2, 9, 9, 0})  // plain text
                          .raw({0x21, 0x99})              // unknown label: only the label goes
                          .image(frame_of(1))
                          .raw({0x21, 0xFE, 0, 0})        // an empty comment
                          .image(frame_of(2))
                          .trailer()
                          .bytes();
    const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
    EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 3}));
    ASSERT_EQ(animation.frames.size(), 2u);
    EXPECT_EQ(animation.frames[1], filled(2, 4));
}

TEST(GifAnimation, EmptyExtensionSwallowsTheNextByte) {
    // An empty comment followed straight by the separator: the separator goes with it, so the
    // frame after it is not found.
    const Bytes gif = GifBuilder(2, 2, kPalette)
                          .image(frame_of(1))
                          .raw({0x21, 0xFE, 0})
                          .image(frame_of(2))
                          .trailer()
                          .bytes();
    const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
    EXPECT_EQ(animation.results, (std::vector<int32_t>{3}));
}

TEST(GifAnimation, CanvasAllocationFailureReleasesTheRecord) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Bytes out(session.frame_bytes());
    {
        AllocationFailure failure(0);
        EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 2), 0);
    }
    EXPECT_EQ(session.dec()->gif_info, nullptr);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 2), 0);
}

TEST(GifAnimation, OutputSizeChangedAfterTheFirstFrameFailsTheFrame) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Bytes out(64);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 2), 1);
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(session.dec(), 4, 4), 1);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 4), 0);
}

TEST(GifAnimation, OutputSizeSetBeforeTheFirstFrame) {
    // Enlarged output: the canvas and the composed row take the new width.
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    ASSERT_EQ(KOVRADALTI_SetGIF_SKIA(session.dec(), 5, 3), 1);
    Bytes out(5 * 3 * 4, 0xEE);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 3), 1);
    EXPECT_EQ(out, filled(1, 15));
}

TEST(GifAnimation, RowsBeyondTheCallersRowsAreComposedButNotWritten) {
    // A call for one output row: the row above the frame past it and the frame's own rows stay
    // untouched in the caller's buffer, while the canvas still takes the frame for the next call.
    const Bytes gif = GifBuilder(2, 4, kPalette)
                          .image(frame_of(1, 0, 0, 2, 4))
                          .image(frame_of(2, 0, 2, 2, 2))
                          .image(frame_of(3, 0, 0, 1, 1))
                          .trailer()
                          .bytes();
    GifSession session(gif, KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Bytes out(2 * 4 * 4, 0xEE);
    ASSERT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 4), 1);
    std::fill(out.begin(), out.end(), 0xEE);
    ASSERT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 1), 1);
    Bytes expected = filled(1, 2);
    expected.resize(out.size(), 0xEE);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 4), 3);
    expected = pixel(3);
    for (const Bytes &rest : {filled(1, 3), filled(2, 4)}) expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(out, expected);
}

TEST(GifAnimation, FramesOutsideTheScreen) {
    // A frame entirely below or right of the screen leaves the previous picture.
    const Bytes gif = GifBuilder(2, 2, kPalette)
                          .image(frame_of(1))
                          .image(frame_of(2, 0, 5))
                          .image(frame_of(3, 7, 0))
                          .image(frame_of(2, 1, 1, 3, 3))
                          .trailer()
                          .bytes();
    for (int sample = 1; sample <= 2; ++sample) {
        const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, sample);
        EXPECT_EQ(animation.results, (std::vector<int32_t>{1, 1, 1, 3}));
        const int pixels = animation.width * animation.height;
        ASSERT_EQ(animation.frames.size(), 4u);
        EXPECT_EQ(animation.frames[1], filled(1, pixels));
        EXPECT_EQ(animation.frames[2], filled(1, pixels));
    }
}

TEST(GifAnimation, ShortFirstFrameLeavesTheRestOfTheCanvasWhite) {
    // A full-screen opaque first frame whose data ends after two pixels: the rows it never reached
    // show the canvas's start colour, now and for the next frame.
    const Bytes gif = GifBuilder(3, 3, kPalette)
                          .image_with_data(0, 0, 3, 3, 2, pack_codes({{4, 3}, {1, 3}, {2, 3}, {5, 3}}))
                          .image(frame_of(3, 2, 2, 1, 1))
                          .trailer()
                          .bytes();
    for (int sample = 1; sample <= 2; ++sample) {
        const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, sample);
        ASSERT_EQ(animation.results, (std::vector<int32_t>{1, 3})) << sample;
        const int w = animation.width;
        const Bytes white = {255, 255, 255, 255};
        for (size_t f = 0; f < 2; ++f) {
            const Bytes &frame = animation.frames[f];
            for (int px = w; px < w * animation.height; ++px) {
                const Bytes got(frame.begin() + 4 * px, frame.begin() + 4 * px + 4);
                if (f == 1 && sample == 1 && px == 8) {
                    EXPECT_EQ(got, pixel(3));
                } else {
                    EXPECT_EQ(got, white) << "sample " << sample << " frame " << f << " pixel " << px;
                }
            }
        }
        if (sample == 1) {
            EXPECT_EQ(Bytes(animation.frames[0].begin(), animation.frames[0].begin() + 4), pixel(1));
        }
    }
}

TEST(GifAnimation, CodeSizeChangingFromFrameToFrame) {
    // The decoder keeps its table's roots between frames of the same code size; frames that switch
    // sizes up and down must still decode exactly.
    std::vector<ModelFrame> frames;
    GifBuilder gif(9, 7);
    int index = 0;
    for (int code_size : {2, 8, 3, 8, 8, 2, 11, 4}) {
        ModelFrame f;
        f.width = 9;
        f.height = 7;
        f.palette = test_palette(std::min(1 << code_size, 256));
        for (int i = 0; i < 63; ++i) f.indexes.push_back(static_cast<uint8_t>((i * 7 + index * 3) % f.palette.size()));
        ImageSpec spec = frame_spec(0, 0, 9, 7, f.indexes);
        spec.local = f.palette;
        spec.min_code_size = code_size;
        gif.image(spec);
        frames.push_back(f);
        ++index;
    }
    const Bytes bytes = gif.trailer().bytes();
    const auto model = compose_frames(9, 7, frames);
    const Animation animation = decode_animation(bytes, KOVRADALT_FORMAT_RGBA32, 1);
    ASSERT_EQ(animation.frames.size(), frames.size());
    for (size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(animation.frames[i], to_rgba(model[i], 9, 7, 9, 7)) << i;
}

TEST(GifAnimation, DirectModeDecodesIndexesFrameByFrame) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(session.parsed());
    for (int frame = 1; frame <= 3; ++frame) {
        Bytes out(4, 0xEE);
        EXPECT_EQ(KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, 2), frame < 3 ? 1 : 3);
        EXPECT_EQ(out, Bytes(4, static_cast<uint8_t>(frame)));
    }
}

struct Cache {
    uint8_t **entries;
    int32_t count;
    explicit Cache(int32_t n) : count(n) {
        entries = static_cast<uint8_t **>(KOVRADALT_OsMalloc(static_cast<uint32_t>(n) * sizeof(uint8_t *)));
        std::memset(entries, 0, static_cast<size_t>(n) * sizeof(uint8_t *));
    }
    ~Cache() { KOVRADALTI_DeleteGIFInfo_SKIA(entries, count); }
};

int32_t decode_cached(GifSession &session, Bytes &out, int32_t index, Cache *cache, const uint32_t *delays,
                      int32_t side = 2) {
    return KOVRADALTI_DecodeAGIF_SKIA(session.dec(), out.data(), side, side, index, cache ? cache->entries : nullptr,
                                      0, 0, 0, cache ? cache->count : 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, delays);
}

TEST(GifFrameCache, RevisitedFramesComeFromTheCache) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Cache cache(3);
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
}

TEST(GifFrameCache, WithoutACacheOrDelaysTheFrameIsDecoded) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Bytes out(16);
    EXPECT_EQ(decode_cached(session, out, 0, nullptr, nullptr), 1);
    EXPECT_EQ(out, filled(1, 4));
    Cache cache(3);
    EXPECT_EQ(decode_cached(session, out, 1, &cache, nullptr), 1);
    EXPECT_EQ(out, filled(2, 4));
    // A cached frame that is not the last, with no delay table: decoded from the stream instead.
    EXPECT_EQ(decode_cached(session, out, 1, &cache, nullptr), 3);
    EXPECT_EQ(out, filled(3, 4));
}

TEST(GifFrameCache, EntriesAreCopiedOutOnlyAtTheSizeTheyWereMadeAt) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Cache cache(3);
    const uint32_t delays[3] = {50, 70, 90};
    Bytes out(16);
    EXPECT_EQ(decode_cached(session, out, 0, &cache, delays), 1);
    Bytes large(8 * 8 * 4, 0xEE);
    EXPECT_EQ(decode_cached(session, large, 0, &cache, delays, 8), 0);
    EXPECT_EQ(large, Bytes(large.size(), 0xEE));
    // An entry the record did not make is not copied out either.
    GifSession other(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    EXPECT_EQ(decode_cached(other, out, 0, &cache, delays), 0);
    EXPECT_EQ(decode_cached(session, out, 0, &cache, delays), 1);
    EXPECT_EQ(out, filled(1, 4));
}

TEST(GifFrameCache, FailedEntryAllocationFailsTheFrame) {
    GifSession session(three_frames(), KOVRADALT_FORMAT_RGBA32, 1, true);
    ASSERT_TRUE(session.parsed());
    Cache cache(3);
    Bytes out(16);
    {
        AllocationFailure failure(0);
        EXPECT_EQ(decode_cached(session, out, 0, &cache, nullptr), 0);
    }
    EXPECT_EQ(cache.entries[0], nullptr);
    EXPECT_EQ(decode_cached(session, out, 0, &cache, nullptr), 1);
}

TEST(GifAnimation, EveryAllocationFailureOnTheWayIsSurvived) {
    ModelFrame f{1, 1, 3, 2, {0, 1, 2, 3, 2, 1}, test_palette(4), 2, true, 1};
    const Bytes gif = encode_animation(6, 5, {f, f, f});
    for (long successes = 0; successes < 20; ++successes) {
        SourceRecord source(SourceKind::kStream, gif, KOVRADALT_FORMAT_BGRA32);
        int marker = 0;
        Bytes out(3 * 2 * 4);
        {
            AllocationFailure failure(successes);
            if (KOVRADALTI_ParseGIFHeader_SKIA(source->io, source.record(), 2, &marker) == 1) {
                while (KOVRADALTI_DecodeAGIF(source.record(), out.data(), 0, 2) == 1) {
                }
            }
        }
        if (source->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(source.record());
    }
}

}  // namespace
}  // namespace kovra::test
