// The decoder against giflib and the reference compositor (tests/gif_reference): every GIF of the
// shared corpus and a few hundred from the fuzz generator, single images as palette indexes,
// every frame in format 7 at sample sizes 1 to 4 and in format 8 at 1 and 3. A file that differs
// must be listed with the rule that explains it; a listed file that matches fails too.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "fuzz/generators/gif_generator.h"
#include "gif_decode.h"
#include "gif_reference.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

const std::map<std::string, std::string> kExplained = {
    {"gif-broken/libvips/invalid_multiframe.gif",
     "frame 3 holds code 117 while the next free code is 73: beyond the table the previous string plus its first "
     "byte is repeated, giflib decodes it its own way"},
};

// Every frame through the framework road into one buffer reused from frame to frame (under the
// sanitizers this is also the sweep of every corpus frame).
std::vector<Bytes> decode_frames(const Bytes &bytes, int32_t sample, int32_t format) {
    std::vector<Bytes> out;
    GifSession session(bytes, format, sample, true);
    if (!session.parsed()) return out;
    Bytes buffer(session.frame_bytes(), 0);
    for (;;) {
        const int32_t result = KOVRADALTI_DecodeAGIF(session.dec(), buffer.data(), 0, session.gif()->out_height);
        if (result == 0) break;
        out.push_back(buffer);
        if (result == 3 || session.gif() == nullptr) break;
    }
    return out;
}

// What differs for one file, empty when nothing does.
std::string compare(const Bytes &bytes) {
    const gifref::Gif gif = gifref::load_gif_memory(bytes.data(), bytes.size());
    if (gif.screen_width <= 0 || gif.screen_height <= 0 || gifref::predictable_frames(gif) == 0) return "";
    const IndexImage image = decode_indexes(bytes, 1, SourceKind::kMemory, 0);
    if (gif.frames.size() == 1 && (image.result != 1 || image.indexes != gifref::frame_indexes(gif))) {
        return "single image indexes differ";
    }
    for (auto [sample, format] : {std::pair{1, 7}, {2, 7}, {3, 7}, {4, 7}, {1, 8}, {3, 8}}) {
        const std::vector<Bytes> expected = gifref::compose_frames(gif, sample, format);
        const std::vector<Bytes> decoded = decode_frames(bytes, sample, format);
        const std::string where = "format " + std::to_string(format) + " sample " + std::to_string(sample) + ": ";
        if (decoded.size() < expected.size()) return where + std::to_string(decoded.size()) + " frames decoded";
        for (size_t i = 0; i < expected.size(); ++i) {
            if (decoded[i] != expected[i]) return where + "frame " + std::to_string(i) + " differs";
        }
    }
    return "";
}

TEST(GifPeer, EveryCorpusGifMatchesTheReference) {
    KOVRA_REQUIRE_CORPUS();
    size_t compared = 0;
    std::map<std::string, std::string> differing;
    for (const char *folder : {"gif", "gif-suite", "gif-broken"}) {
        for (const auto &path : corpus_files(folder, {".gif"})) {
            const std::string problem = compare(read_file(path));
            if (!problem.empty()) differing[std::filesystem::relative(path, corpus_dir()).string()] = problem;
            ++compared;
        }
    }
    EXPECT_GT(compared, 300u);
    for (const auto &[file, problem] : differing) EXPECT_TRUE(kExplained.count(file)) << file << ": " << problem;
    for (const auto &[file, rule] : kExplained) EXPECT_TRUE(differing.count(file)) << file << " matches now";
}

TEST(GifPeer, GeneratedGifsMatchTheReference) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        fuzz::Rng rng(seed);
        EXPECT_EQ(compare(fuzz::generate_gif(rng, 16384, true)), "") << "seed " << seed;
    }
}

}  // namespace
}  // namespace kovra::test
