// Real files: decoded palette indexes that ship with the wuffs test data.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "gif_decode.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

std::vector<uint8_t> wuffs_file(const std::string &name) { return read_file(corpus_dir() / "gif/wuffs" / name); }

TEST(GifCorpusIndexes, BricksMatchTheShippedIndexes) {
    KOVRA_REQUIRE_CORPUS();
    for (const char *name : {"bricks-dither", "bricks-gray", "bricks-nodither"}) {
        SCOPED_TRACE(name);
        const IndexImage image = decode_indexes(wuffs_file(std::string(name) + ".gif"));
        ASSERT_TRUE(image.parsed);
        EXPECT_EQ(image.result, 1);
        EXPECT_EQ(image.indexes, wuffs_file(std::string(name) + ".indexes"));
    }
}

TEST(GifCorpusIndexes, MuybridgeFramesMatchTheShippedIndexes) {
    KOVRA_REQUIRE_CORPUS();
    // Also the frame path (no peer needed, so on every leg): its full-screen opaque frames in
    // format 7 are the global palette's colours of those indexes, red's lowest bit cleared.
    const std::vector<uint8_t> gif = wuffs_file("muybridge.gif");
    GifSession session(gif, KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(session.parsed());
    const Animation animation = decode_animation(gif, KOVRADALT_FORMAT_RGBA32, 1);
    ASSERT_EQ(animation.frames.size(), 15u);
    for (int frame = 0; frame < 15; ++frame) {
        char name[64];
        std::snprintf(name, sizeof name, "muybridge-frame-%03d.indexes", frame);
        SCOPED_TRACE(name);
        std::vector<uint8_t> out(session.frame_bytes(), 0xEE);
        ASSERT_EQ(KOVRADALTI_DecodeGIF(session.dec(), out.data(), 30, 20), 1);
        EXPECT_EQ(out, wuffs_file(name));
        const int32_t more = DALTI_SeekImageData(nullptr, session.gif());
        EXPECT_EQ(more, frame < 14 ? 1 : 0);
        Bytes rgba;
        for (uint8_t i : out) rgba.insert(rgba.end(), {uint8_t(gif[13 + 3 * i] & 0xFE), gif[14 + 3 * i], gif[15 + 3 * i], 255});
        EXPECT_EQ(animation.frames[frame], rgba);
    }
}

}  // namespace
}  // namespace kovra::test
