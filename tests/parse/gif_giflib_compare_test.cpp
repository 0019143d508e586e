// Every GIF of the shared corpus through the scanner, compared with giflib's reading of the same
// file after applying the scanner's documented rules to the blocks giflib found (delay_rules_model.h).
// Frame count, result type, the per-frame delays and the total delay must agree, through the
// generic driver (default delay 0) and through KOVRADALT_SimpleParserGIF with a default of 100.
//
// Every file giflib walks to its trailer must agree (the byte-level rules the model leaves out,
// such as resynchronisation, change nothing on the corpus). Files giflib cannot walk are compared
// only for agreement between source kinds, and the valid ones among them are pinned below.
// Set KOVRA_GIFLIB_REPORT=1 to print every difference.

#include <gif_lib.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "delay_rules_model.h"
#include "gif_scan_helpers.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

namespace fs = std::filesystem;

// Valid-suite files that giflib's reader refuses, with the scanner's result pinned and the reason.
struct Unreadable {
    int32_t type;
    uint32_t frames;
    const char *why;
};
const std::map<std::string, Unreadable> kGiflibUnreadable = {
    {"gif-suite/pygif-test-suite/image-zero-height.gif",
     {0, 0, "descriptor 1x0: the scanner refuses it and rescans its bytes; giflib then misses the colour table"}},
    {"gif-suite/pygif-test-suite/image-zero-width.gif",
     {0, 0, "descriptor 0x1: refused and rescanned as above"}},
    {"gif-suite/pygif-test-suite/image-zero-size.gif",
     {0, 0, "descriptor 0x0: refused and rescanned as above"}},
    {"gif-suite/pygif-test-suite/max-codes.gif",
     {4, 1, "LZW code size 11: giflib refuses sizes above 8, the scanner never reads the code size"}},
    {"gif-suite/pygif-test-suite/overflow-codes.gif", {4, 1, "LZW code size 11, as above"}},
    {"gif-suite/pygif-test-suite/overflow-codes-max.gif", {4, 1, "LZW code size 11, as above"}},
};

struct GiflibView {
    bool readable = false;
    uint32_t screen_width = 0, screen_height = 0;
    std::vector<GifBlock> blocks;
};

// Walks the file's blocks with giflib's record-level reader, without decoding pixels: image
// descriptors with their raw data sub-blocks, and extensions. Readable means giflib reached the
// trailer without an error.
bool walk_blocks(GifFileType *gif, GiflibView &view) {
    for (;;) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif, &record) == GIF_ERROR) return false;
        if (record == TERMINATE_RECORD_TYPE) return true;
        if (record == IMAGE_DESC_RECORD_TYPE) {
            if (DGifGetImageDesc(gif) == GIF_ERROR) return false;
            GifBlock descriptor{GifBlock::Kind::kImage};
            descriptor.left = static_cast<uint32_t>(gif->Image.Left);
            descriptor.top = static_cast<uint32_t>(gif->Image.Top);
            descriptor.width = static_cast<uint32_t>(gif->Image.Width);
            descriptor.height = static_cast<uint32_t>(gif->Image.Height);
            view.blocks.push_back(descriptor);
            int code_size = 0;
            GifByteType *block = nullptr;
            if (DGifGetCode(gif, &code_size, &block) == GIF_ERROR) return false;
            while (block != nullptr) {
                if (DGifGetCodeNext(gif, &block) == GIF_ERROR) return false;
            }
        } else if (record == EXTENSION_RECORD_TYPE) {
            int label = 0;
            GifByteType *data = nullptr;
            if (DGifGetExtension(gif, &label, &data) == GIF_ERROR) return false;
            if (label == GRAPHICS_EXT_FUNC_CODE && data != nullptr && data[0] == 4) {
                GifBlock gce{GifBlock::Kind::kGraphicControl};
                gce.delay_hundredths = data[2] | (static_cast<uint32_t>(data[3]) << 8);
                view.blocks.push_back(gce);
            }
            while (data != nullptr) {
                if (DGifGetExtensionNext(gif, &data) == GIF_ERROR) return false;
            }
        } else {
            return false;
        }
    }
}

GiflibView read_with_giflib(const fs::path &path) {
    GiflibView view;
    int error = 0;
    GifFileType *gif = DGifOpenFileName(path.c_str(), &error);
    if (gif == nullptr) return view;
    view.screen_width = static_cast<uint32_t>(gif->SWidth);
    view.screen_height = static_cast<uint32_t>(gif->SHeight);
    view.readable = walk_blocks(gif, view);
    DGifCloseFile(gif, &error);
    return view;
}

std::string describe(const std::vector<uint32_t> &delays) {
    std::ostringstream text;
    for (size_t i = 0; i < delays.size() && i < 12; ++i) text << (i ? "," : "") << delays[i];
    if (delays.size() > 12) text << ",...(" << delays.size() << ")";
    return text.str();
}

// Empty when the scan agrees with the model.
std::string difference(const GifScan &scan, const ModelResult &model) {
    std::ostringstream text;
    if (scan.type != model.type) text << " type " << scan.type << " vs " << model.type << ";";
    if (scan.frame_count != model.frame_count) text << " frames " << scan.frame_count << " vs " << model.frame_count << ";";
    if (scan.type != 0 && model.type != 0) {
        if (scan.delays != model.delays) text << " delays [" << describe(scan.delays) << "] vs [" << describe(model.delays) << "];";
        if (scan.total_delay != model.total_delay) text << " total " << scan.total_delay << " vs " << model.total_delay << ";";
    }
    return text.str();
}

bool same_scan(const GifScan &a, const GifScan &b) {
    return a.type == b.type && a.frame_count == b.frame_count && a.image_count == b.image_count &&
           a.delays == b.delays && a.total_delay == b.total_delay && a.width == b.width && a.height == b.height;
}

struct FolderOutcome {
    int compared = 0, unreadable = 0;
};

FolderOutcome compare_folder(const std::string &folder, bool require_readable) {
    FolderOutcome outcome;
    const bool report = std::getenv("KOVRA_GIFLIB_REPORT") != nullptr;
    for (const fs::path &path : corpus_files(folder, {".gif"})) {
        const std::string name = fs::relative(path, corpus_dir()).generic_string();
        const std::vector<uint8_t> bytes = read_file(path);
        const GifScan scan = scan_gif(SourceKind::kMemory, bytes, 0, Driver::kParser);
        const GifScan with_default = scan_gif(SourceKind::kMemory, bytes, 100);
        for (SourceKind kind : kAllSourceKinds) {
            if (kind == SourceKind::kMemory) continue;
            EXPECT_TRUE(same_scan(scan, scan_gif(kind, bytes, 0, Driver::kParser)))
                << name << " differs through the " << source_kind_name(kind) << " source";
        }
        const GiflibView view = read_with_giflib(path);
        if (!view.readable) {
            ++outcome.unreadable;
            if (report) std::printf("UNREADABLE %s: scan type %d frames %u\n", name.c_str(), scan.type, scan.frame_count);
            const auto pinned = kGiflibUnreadable.find(name);
            if (pinned != kGiflibUnreadable.end()) {
                EXPECT_EQ(scan.type, pinned->second.type) << name << ": " << pinned->second.why;
                EXPECT_EQ(scan.frame_count, pinned->second.frames) << name << ": " << pinned->second.why;
            } else {
                EXPECT_FALSE(require_readable) << name << ": giflib cannot read it";
            }
            continue;
        }
        ++outcome.compared;
        const std::string diff = difference(scan, apply_delay_rules(view.screen_width, view.screen_height, view.blocks, 0)) +
                                 difference(with_default, apply_delay_rules(view.screen_width, view.screen_height,
                                                                            view.blocks, 100));
        if (report && !diff.empty()) std::printf("DIFF %s:%s\n", name.c_str(), diff.c_str());
        EXPECT_TRUE(diff.empty()) << name << ":" << diff;
    }
    return outcome;
}

TEST(GifGiflibComparison, ValidGifs) {
    KOVRA_REQUIRE_CORPUS();
    FolderOutcome outcome = compare_folder("gif", true);
    EXPECT_GT(outcome.compared, 40);
}

TEST(GifGiflibComparison, GifSuites) {
    KOVRA_REQUIRE_CORPUS();
    FolderOutcome outcome = compare_folder("gif-suite", true);
    EXPECT_GT(outcome.compared, 100);
}

TEST(GifGiflibComparison, BrokenGifsWhereGiflibReadsThem) {
    KOVRA_REQUIRE_CORPUS();
    FolderOutcome outcome = compare_folder("gif-broken", false);
    std::printf("gif-broken: %d compared, %d not readable by giflib\n", outcome.compared, outcome.unreadable);
    EXPECT_GT(outcome.compared, 0);
}

}  // namespace
}  // namespace kovra::test
