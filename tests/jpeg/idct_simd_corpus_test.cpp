// The vector inverse DCTs against their scalar cores (idct_simd_support.h) on every coefficient
// block of the corpus JPEGs that libjpeg-turbo reads cleanly, every other block with the ifast
// multipliers it derives (times 1024), the others with multipliers of 12 fraction bits.

#include <gtest/gtest.h>

#include "idct_simd_support.h"
#include "jpeg_blocks.h"
#include "support/corpus.h"

namespace kovra::test::idct {
namespace {

TEST(IdctSimdCorpus, EveryBlockMatchesTheScalarCores) {
    KOVRA_REQUIRE_CORPUS();
    size_t blocks = 0;
    for (const auto &path : corpus_files("", {".jpg", ".jpeg"})) {
        std::vector<Component> components;
        if (!read_components(read_file(path), SIZE_MAX, components)) continue;
        for (const Component &c : components) {
            Multipliers ifast{};
            for (int i = 0; i < 64; ++i) ifast[i] = c.ifast[i] * 1024;
            const Multipliers fine = aan_multipliers(c.quant);
            for (size_t n = 0; n < c.blocks.size(); ++n) {
                const VectorPair &pair = kVectorPairs[n % 3];
                ASSERT_TRUE(agree(pair, c.blocks[n], n % 2 ? fine : ifast)) << pair.name << ", " << path << ", block " << n;
            }
            blocks += c.blocks.size();
        }
    }
    EXPECT_GT(blocks, 1'000'000u);
    RecordProperty("blocks", static_cast<int>(blocks));
}

}  // namespace
}  // namespace kovra::test::idct
