// The GIF scanner over every corpus GIF against giflib's reading of its blocks: the frame count
// (descriptors within the scanner's limits) and result type, and where each frame has one
// well-formed graphic control block of its own the per-frame delays (below 30 ms the default)
// and their total, through the generic driver (default 0) and KOVRADALT_SimpleParserGIF (100).
// Every source kind must give the same scan. Files giflib cannot walk to the trailer must be
// in gif-broken, or listed with the scanner's result pinned.

#include <gif_lib.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "gif_scan_helpers.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

namespace fs = std::filesystem;

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

struct GiflibView {
    bool readable = false;
    uint32_t frames = 0;
    bool regular = true;            // each frame has one control block of size 4 right before it
    std::vector<uint32_t> delays;   // hundredths, per frame, when regular
};

bool in_limits(int v) { return v >= 1 && v <= 5000; }

// The file's blocks through giflib's record-level reader, without decoding pixels.
bool walk(GifFileType *gif, GiflibView &view) {
    int controls = 0;
    for (;;) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif, &record) == GIF_ERROR) return false;
        if (record == TERMINATE_RECORD_TYPE) return true;
        GifByteType *block = nullptr;
        if (record == IMAGE_DESC_RECORD_TYPE) {
            int code_size = 0;
            if (DGifGetImageDesc(gif) == GIF_ERROR || DGifGetCode(gif, &code_size, &block) == GIF_ERROR) return false;
            while (block != nullptr) {
                if (DGifGetCodeNext(gif, &block) == GIF_ERROR) return false;
            }
            const GifImageDesc &d = gif->Image;
            if (!in_limits(d.Width) || !in_limits(d.Height) || d.Left > 5000 || d.Top > 5000) {
                view.regular = false;
                continue;
            }
            ++view.frames;
            view.regular = view.regular && controls == 1;
            controls = 0;
        } else if (record == EXTENSION_RECORD_TYPE) {
            int label = 0;
            if (DGifGetExtension(gif, &label, &block) == GIF_ERROR) return false;
            if (label == GRAPHICS_EXT_FUNC_CODE) {
                ++controls;
                if (block == nullptr || block[0] != 4) view.regular = false;
                else view.delays.push_back(block[2] | (uint32_t{block[3]} << 8));
            }
            while (block != nullptr) {
                if (DGifGetExtensionNext(gif, &block) == GIF_ERROR) return false;
            }
        } else {
            return false;
        }
    }
}

TEST(GifGiflibComparison, EveryCorpusGif) {
    KOVRA_REQUIRE_CORPUS();
    int compared = 0, with_delays = 0;
    for (const char *folder : {"gif", "gif-suite", "gif-broken"}) {
        for (const fs::path &path : corpus_files(folder, {".gif"})) {
            const std::string name = fs::relative(path, corpus_dir()).generic_string();
            const std::vector<uint8_t> bytes = read_file(path);
            const GifScan scan = scan_gif(SourceKind::kMemory, bytes, 0, Driver::kParser);
            for (SourceKind kind : kAllSourceKinds) {
                EXPECT_EQ(scan_gif(kind, bytes, 0, Driver::kParser), scan) << name << " " << source_kind_name(kind);
            }
            GiflibView view;
            int error = 0;
            GifFileType *gif = DGifOpenFileName(path.c_str(), &error);
            const bool screen = gif != nullptr && in_limits(gif->SWidth) && in_limits(gif->SHeight);
            view.readable = gif != nullptr && walk(gif, view);
            DGifCloseFile(gif, &error);
            const auto pinned = kGiflibUnreadable.find(name);
            if (pinned != kGiflibUnreadable.end()) {
                EXPECT_EQ(std::pair(scan.type, scan.frame_count), pinned->second) << name;
            }
            if (!view.readable) {
                EXPECT_TRUE(pinned != kGiflibUnreadable.end() || std::string(folder) == "gif-broken") << name;
                continue;
            }
            ++compared;
            const uint32_t frames = screen ? view.frames : 0;
            EXPECT_EQ(scan.frame_count, frames) << name;
            EXPECT_EQ(scan.type, frames == 0 ? 0 : frames == 1 ? 4 : 6) << name;
            if (!view.regular || frames == 0 || view.delays.size() != frames) continue;
            ++with_delays;
            for (uint32_t default_delay : {0u, 100u}) {
                const GifScan got = default_delay == 0 ? scan : scan_gif(SourceKind::kMemory, bytes, default_delay);
                std::vector<uint32_t> expected;
                uint32_t total = 0;
                for (uint32_t d : view.delays) total += expected.emplace_back(d * 10 < 30 ? default_delay : d * 10);
                EXPECT_EQ(got.delays, expected) << name << " default " << default_delay;
                EXPECT_EQ(got.total_delay, total) << name << " default " << default_delay;
            }
        }
    }
    EXPECT_GT(compared, 150);
    EXPECT_GT(with_delays, 50);
}

}  // namespace
}  // namespace kovra::test
