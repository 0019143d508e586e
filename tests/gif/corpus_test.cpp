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
    GifSession session(wuffs_file("muybridge.gif"), KOVRADALT_FORMAT_INDEX8, 1, false);
    ASSERT_TRUE(session.parsed());
    for (int frame = 0; frame < 15; ++frame) {
        char name[64];
        std::snprintf(name, sizeof name, "muybridge-frame-%03d.indexes", frame);
        SCOPED_TRACE(name);
        std::vector<uint8_t> out(session.frame_bytes(), 0xEE);
        ASSERT_EQ(KOVRADALTI_DecodeGIF(session.dec(), out.data(), 30, 20), 1);
        EXPECT_EQ(out, wuffs_file(name));
        const int32_t more = DALTI_SeekImageData(nullptr, session.gif());
        EXPECT_EQ(more, frame < 14 ? 1 : 0);
    }
}

}  // namespace
}  // namespace kovra::test
