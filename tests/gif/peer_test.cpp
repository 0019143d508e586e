// The decoder against giflib on every GIF of the shared corpus: giflib's palette indexes for
// single images (format 13, direct mode), and for animations each frame in format 7 at sample
// sizes 1 to 4 against frames composed from giflib's indexes by this library's rules and sampled
// by the nearest-neighbour rule (tests/gif_reference).
//
// A file whose output differs must be listed below with the rule that explains it; a listed file
// that no longer differs fails too, so the list stays true.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "gif_decode.h"
#include "gif_reference.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

namespace fs = std::filesystem;
using gifref::Gif;
using Bytes = std::vector<uint8_t>;

// Files whose decoded output is allowed to differ from the reference, with the rule that makes
// it differ. Paths are relative to the corpus.
const std::map<std::string, std::string> &explained_differences() {
    static const std::map<std::string, std::string> list = {
        {"gif-broken/libvips/invalid_multiframe.gif",
         "frame 3's data holds code 117 while the next free code is 73: a code beyond the table repeats the "
         "previous string plus its first byte here, giflib decodes it its own way (the last row differs)"},
    };
    return list;
}

std::vector<fs::path> all_gifs() {
    std::vector<fs::path> files;
    for (const char *folder : {"gif", "gif-suite", "gif-broken"}) {
        for (const fs::path &path : corpus_files(folder, {".gif"})) files.push_back(path);
    }
    return files;
}

std::string corpus_name(const fs::path &path) { return fs::relative(path, corpus_dir()).string(); }

bool covers_screen(const Gif &gif, const gifref::Frame &frame) {
    return frame.left == 0 && frame.top == 0 && frame.width >= gif.screen_width && frame.height >= gif.screen_height;
}

// Frames the reference can predict; 0 when the file is out of its reach.
size_t predictable_frames(const Gif &gif) {
    const std::vector<gifref::Limit> limits = gifref::unmodelled(gif);
    return limits.empty() ? gif.frames.size() : limits.front().frame;
}

// Each frame in format 7 through the framework road, into one buffer reused from frame to frame
// (zeros before the first), as the reference composes them.
std::vector<Bytes> decode_frames_rgba(const Bytes &bytes, int32_t sample, size_t frames) {
    std::vector<Bytes> out;
    GifSession session(bytes, KOVRADALT_FORMAT_RGBA32, sample, true);
    if (!session.parsed()) return out;
    Bytes buffer(session.frame_bytes(), 0);
    for (size_t i = 0; i < frames; ++i) {
        const int32_t result =
            KOVRADALTI_DecodeAGIF(session.dec(), buffer.data(), 0, session.gif() ? session.gif()->out_height : 0);
        if (result == 0) break;
        out.push_back(buffer);
        if (result == 3 || session.gif() == nullptr) break;
    }
    return out;
}

// What differs for one file, empty when nothing does.
std::string compare_file(const fs::path &path) {
    const Bytes bytes = read_file(path);
    const Gif gif = gifref::load_gif_memory(bytes.data(), bytes.size());
    if (gif.frames.empty() || gif.screen_width <= 0 || gif.screen_height <= 0) return "";
    const size_t frames = predictable_frames(gif);
    if (frames == 0) return "";

    if (gif.frames.size() == 1) {
        const IndexImage image = decode_indexes(bytes, 1, SourceKind::kMemory, 0);
        if (!image.parsed) return "set-up failed";
        const Bytes expected = gifref::frame_indexes(gif, 0, 1);
        if (image.result != 1) return "single image: decode result " + std::to_string(image.result);
        if (image.indexes != expected) {
            return std::string("single image: indexes differ") + (covers_screen(gif, gif.frames[0]) ? "" : " (partial frame)");
        }
    }
    for (int32_t sample = 1; sample <= 4; ++sample) {
        const std::vector<Bytes> expected = gifref::compose_frames(gif, sample);
        const std::vector<Bytes> decoded = decode_frames_rgba(bytes, sample, expected.size());
        if (decoded.size() < expected.size()) {
            return "sample " + std::to_string(sample) + ": " + std::to_string(decoded.size()) + " of " +
                   std::to_string(expected.size()) + " frames decoded";
        }
        for (size_t i = 0; i < expected.size(); ++i) {
            if (decoded[i] != expected[i]) {
                return "sample " + std::to_string(sample) + ": frame " + std::to_string(i) + " differs";
            }
        }
    }
    return "";
}

TEST(GifPeer, EveryCorpusGifMatchesGiflib) {
    KOVRA_REQUIRE_CORPUS();
    size_t compared = 0;
    std::map<std::string, std::string> differing;
    for (const fs::path &path : all_gifs()) {
        const std::string problem = compare_file(path);
        ++compared;
        if (!problem.empty()) differing[corpus_name(path)] = problem;
    }
    EXPECT_GT(compared, 300u);
    for (const auto &[file, problem] : differing) {
        const auto listed = explained_differences().find(file);
        EXPECT_NE(listed, explained_differences().end()) << file << ": " << problem;
    }
    for (const auto &[file, rule] : explained_differences()) {
        EXPECT_TRUE(differing.count(file)) << file << " is listed (" << rule << ") but matches now";
    }
}

TEST(GifPeer, SingleImagesCoveringTheScreenGiveGiflibsIndexes) {
    KOVRA_REQUIRE_CORPUS();
    size_t compared = 0;
    for (const fs::path &path : all_gifs()) {
        const Bytes bytes = read_file(path);
        const Gif gif = gifref::load_gif_memory(bytes.data(), bytes.size());
        if (!gif.ok || gif.frames.size() != 1 || !covers_screen(gif, gif.frames[0]) || predictable_frames(gif) != 1) {
            continue;
        }
        if (explained_differences().count(corpus_name(path))) continue;
        const IndexImage image = decode_indexes(bytes, 1, SourceKind::kMemory, 0);
        EXPECT_EQ(image.indexes, gif.frames[0].indexes.size() == image.indexes.size()
                                     ? gif.frames[0].indexes
                                     : gifref::frame_indexes(gif, 0, 1))
            << corpus_name(path);
        ++compared;
    }
    EXPECT_GT(compared, 50u);
}

}  // namespace
}  // namespace kovra::test
