// Every GIF of the shared corpus (valid, suite and broken ones) decoded in every mode, format and
// sample size 1..4. Only faults fail it, so it is built for the sanitizer leg alone.

#include <gtest/gtest.h>

#include "gif_decode.h"
#include "support/corpus.h"

namespace kovra::test {
namespace {

// Decodes every frame in every way; only faults (sanitizers, hangs) fail this test.
void sweep(const std::vector<uint8_t> &bytes) {
    for (int32_t sample = 1; sample <= 4; ++sample) {
        (void)decode_indexes(bytes, sample);
        for (int32_t format : {KOVRADALT_FORMAT_RGBA32, KOVRADALT_FORMAT_BGRA32, KOVRADALT_FORMAT_INDEX8}) {
            (void)decode_animation(bytes, format, sample, SourceKind::kMemory, 400);
        }
    }
}

TEST(GifCorpusRobustness, EveryCorpusGifDecodesWithoutFault) {
    KOVRA_REQUIRE_CORPUS();
    size_t files = 0;
    for (const char *folder : {"gif", "gif-suite", "gif-broken"}) {
        for (const auto &path : corpus_files(folder, {".gif"})) {
            SCOPED_TRACE(path.string());
            sweep(read_file(path));
            ++files;
        }
    }
    EXPECT_GT(files, 100u);
}

}  // namespace
}  // namespace kovra::test
