// The GIF scanner over every corpus GIF against giflib's walk of its blocks: the frame count
// (descriptors within the scanner's limits) and result type, and where each frame has one control
// block of size 4 of its own the delays (below 30 ms the default) and their total, through the
// generic driver (default 0) and KOVRADALT_SimpleParserGIF (100). Every source kind gives the same
// scan. Files giflib cannot walk to the trailer must be in gif-broken, or listed with the
// scanner's result.

#include <gif_lib.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "gif_scan_helpers.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

const std::map<std::string, std::pair<int32_t, uint32_t>> kGiflibUnreadable = {
    // Zero-sized descriptors: the scanner refuses them and rescans their bytes.
    {"gif-suite/pygif-test-suite/image-zero-height.gif", {0, 0}},
    {"gif-suite/pygif-test-suite/image-zero-width.gif", {0, 0}},
    {"gif-suite/pygif-test-suite/image-zero-size.gif", {0, 0}},
    // LZW code size 11: giflib refuses sizes above 8, the scanner never reads it.
    {"gif-suite/pygif-test-suite/max-codes.gif", {4, 1}},
    {"gif-suite/pygif-test-suite/overflow-codes.gif", {4, 1}},
    {"gif-suite/pygif-test-suite/overflow-codes-max.gif", {4, 1}},
};

bool in_limits(int v) { return v >= 1 && v <= 5000; }

// Frames within the limits and, when each has one control block of size 4, their delays in
// hundredths; nullopt when giflib fails before the trailer.
std::optional<std::pair<uint32_t, std::vector<uint32_t>>> giflib_walk(const std::string &path) {
    int error = 0, controls = 0;
    GifFileType *gif = DGifOpenFileName(path.c_str(), &error);
    if (gif == nullptr) return std::nullopt;
    uint32_t frames = 0;
    std::vector<uint32_t> delays;
    bool regular = true, ok = false;
    for (GifRecordType record; DGifGetRecordType(gif, &record) != GIF_ERROR;) {
        GifByteType *block = nullptr;
        int code = 0;
        if (record == TERMINATE_RECORD_TYPE) {
            ok = true;
            break;
        }
        if (record == IMAGE_DESC_RECORD_TYPE ? DGifGetImageDesc(gif) == GIF_ERROR || DGifGetCode(gif, &code, &block) == GIF_ERROR
                                             : record != EXTENSION_RECORD_TYPE || DGifGetExtension(gif, &code, &block) == GIF_ERROR)
            break;
        const GifImageDesc &d = gif->Image;
        if (record == IMAGE_DESC_RECORD_TYPE && in_limits(d.Width) && in_limits(d.Height) && d.Left <= 5000 && d.Top <= 5000) {
            ++frames;
            regular = regular && controls == 1;
            controls = 0;
        } else if (record == IMAGE_DESC_RECORD_TYPE) {
            regular = false;
        } else if (code == GRAPHICS_EXT_FUNC_CODE) {
            ++controls;
            regular = regular && block != nullptr && block[0] == 4;
            if (regular) delays.push_back(block[2] | (uint32_t{block[3]} << 8));
        }
        while (block != nullptr) {
            if ((record == IMAGE_DESC_RECORD_TYPE ? DGifGetCodeNext(gif, &block) : DGifGetExtensionNext(gif, &block)) == GIF_ERROR) break;
        }
        if (block != nullptr) break;
    }
    if (!in_limits(gif->SWidth) || !in_limits(gif->SHeight)) frames = 0;
    DGifCloseFile(gif, &error);
    if (!ok) return std::nullopt;
    if (!regular || delays.size() != frames) delays.clear();
    return std::pair(frames, delays);
}

TEST(GifGiflibComparison, EveryCorpusGif) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0, with_delays = 0;
    for (const char *folder : {"gif", "gif-suite", "gif-broken"}) {
        for (const std::filesystem::path &path : corpus_files(folder, {".gif"})) {
            const std::string name = std::filesystem::relative(path, corpus_dir()).generic_string();
            const std::vector<uint8_t> bytes = read_file(path);
            const GifScan scan = scan_gif(SourceKind::kMemory, bytes, -1);
            for (SourceKind kind : kAllSourceKinds) EXPECT_EQ(scan_gif(kind, bytes, -1), scan) << name << " " << source_kind_name(kind);
            const auto pinned = kGiflibUnreadable.find(name);
            EXPECT_TRUE(pinned == kGiflibUnreadable.end() || std::pair(scan.type, scan.frame_count) == pinned->second) << name;
            const auto walk = giflib_walk(path);
            if (!walk) {
                EXPECT_TRUE(pinned != kGiflibUnreadable.end() || std::string(folder) == "gif-broken") << name;
                continue;
            }
            const auto &[frames, delays] = *walk;
            ++compared;
            EXPECT_EQ(std::pair(scan.type, scan.frame_count), std::pair(frames == 0 ? 0 : frames == 1 ? 4 : 6, frames)) << name;
            if (frames == 0 || delays.empty()) continue;
            ++with_delays;
            for (uint32_t default_delay : {0u, 100u}) {
                const GifScan got = default_delay == 0 ? scan : scan_gif(SourceKind::kMemory, bytes, default_delay);
                std::vector<uint32_t> expected;
                uint32_t total = 0;
                for (uint32_t d : delays) total += expected.emplace_back(d * 10 < 30 ? default_delay : d * 10);
                EXPECT_EQ(std::pair(got.delays, got.total_delay), std::pair(expected, total)) << name << " default " << default_delay;
            }
        }
    }
    EXPECT_GT(compared, 150);
    EXPECT_GT(with_delays, 50);
}

}  // namespace
}  // namespace kovra::test
