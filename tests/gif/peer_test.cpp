// The decoder against the reference (tests/gif_reference: giflib reads, this library's rules
// compose) over every corpus GIF and 300 tame files of the fuzz generator: a single image as
// palette indexes, every frame in format 7 at sample sizes 1 to 4 and in format 8 at 1 and 3, into
// one buffer reused from frame to frame (under the sanitizers, the sweep of every corpus frame).
// A file that differs must be listed with the rule that explains it; a listed file that matches
// fails too.

#include <gtest/gtest.h>

#include <map>

#include "gif_decode.h"
#include "gif_reference.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

const std::map<std::string, std::string> kExplained = {};  // file: the rule giflib and the decoder differ on

// What differs for one file, empty when nothing does.
std::string compare(const Bytes &bytes) {
    const gifref::Reference reference(bytes.data(), bytes.size());
    const Bytes indexes = reference.first_indexes();
    if (!indexes.empty() && decode_indexes(bytes, 1, SourceKind::kMemory, 0).indexes != indexes) return "single image";
    for (auto [sample, format] : {std::pair{1, 7}, {2, 7}, {3, 7}, {4, 7}, {1, 8}, {3, 8}}) {
        const std::vector<Bytes> expected = reference.compose(sample, format);
        GifSession session(bytes, format, sample, true);
        Bytes out(session.frame_bytes(), 0);
        for (size_t i = 0; i < expected.size(); ++i) {
            if (!session.parsed || session.gif() == nullptr ||
                KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, session.gif()->out_height) == 0 || out != expected[i]) {
                return "format " + std::to_string(format) + " sample " + std::to_string(sample) + " frame " + std::to_string(i);
            }
        }
    }
    return "";
}

TEST(GifPeer, EveryCorpusGifMatchesTheReference) {
    KOVRA_REQUIRE_CORPUS();
    std::map<std::string, std::string> differing;
    size_t compared = 0;
    for (const char *folder : {"gif", "gif-suite", "gif-broken"}) {
        for (const auto &path : corpus_files(folder, {".gif"})) {
            ++compared;
            const std::string problem = compare(read_file(path));
            if (!problem.empty()) differing[std::filesystem::relative(path, corpus_dir()).string()] = problem;
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
