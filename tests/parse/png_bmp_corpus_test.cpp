// PNG and BMP headers from the parse driver over the shared corpus against libpng: every PNG
// libpng reads, and each bitmap against the reference PNG its suite ships beside it.

#include <png.h>
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "kovra_parse.h"
#include "support/corpus.h"
#include "support/sources.h"

namespace kovra::test {
namespace {

namespace fs = std::filesystem;
using Header = std::array<uint32_t, 4>;  // type, width, height, interlace

Header parse(const std::vector<uint8_t> &bytes) {
    SourceRecord source(SourceKind::kMemory, bytes);
    KOVRADALT_ImageInfo info{};
    const auto type = static_cast<uint32_t>(KOVRADALT_Parser(source.record(), &info));
    KOVRADALT_OsFree(info.frame_delays);
    EXPECT_EQ(source->interlaced, info.interlaced);
    return {type, info.width, info.height, info.interlaced};
}

// libpng's reading of the header, or nothing when libpng refuses it; the interlace method is
// the IHDR byte libpng accepted (IHDR is the first chunk).
std::optional<Header> libpng(const std::vector<uint8_t> &bytes) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) return std::nullopt;
    png_image_free(&image);
    return Header{3, image.width, image.height, bytes[28]};
}

TEST(PngCorpus, HeadersMatchLibpng) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0, adam7 = 0;
    for (const fs::path &path : corpus_files("png", {".png"})) {
        const std::vector<uint8_t> bytes = read_file(path);
        const std::optional<Header> peer = libpng(bytes);
        if (!peer) continue;
        EXPECT_EQ(parse(bytes), *peer) << path;
        ++compared, adam7 += (*peer)[3];
    }
    EXPECT_GT(compared, 150);
    EXPECT_GT(adam7, 10);
}

// The reference PNG of a bitmap: the BMP suite's by base name, image-rs's by "<name>.bmp.png".
// Header sizes below 40, other than the core header's 12, are refused.
TEST(BmpCorpus, SizesMatchTheReferencePng) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0, refused = 0;
    const fs::path root = corpus_dir() / "bmp";
    for (const fs::path &path : corpus_files("bmp", {".bmp"})) {
        const std::vector<uint8_t> bytes = read_file(path);
        if (bytes.size() < 26 || bytes[0] != 'B' || bytes[1] != 'M') continue;
        const Header ours = parse(bytes);
        const bool refusable = bytes[14] != 12 && bytes[14] < 40;
        EXPECT_EQ(ours[0], refusable ? 0u : 2u) << path;
        refused += refusable;
        for (const fs::path &png : {root / "bmpsuite-reference-png" / (path.stem().string() + ".png"),
                                    root / "image-rs" / "reference" / (path.filename().string() + ".png")}) {
            const std::optional<Header> peer = refusable || !fs::exists(png) ? std::nullopt : libpng(read_file(png));
            if (!peer) continue;
            EXPECT_EQ(ours[1], (*peer)[1]) << path;
            EXPECT_EQ(ours[2], (*peer)[2]) << path;
            ++compared;
        }
    }
    EXPECT_GT(compared, 60);
    EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace kovra::test
