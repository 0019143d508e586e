// The inverse DCTs against libjpeg-turbo's own, byte for byte, on the blocks of the corpus JPEGs
// and on random legal blocks: DALTJ_DoIdct against jpeg_idct_ifast (its multipliers times 1024),
// _4x4, _2x2 and _1x1 against jpeg_idct_4x4, _2x2 and _1x1 with the plain steps. On every corpus
// block the vector versions also write what their scalar cores write.

#include "idct_support.h"
#include "jpeg_blocks.h"
#include "support/corpus.h"

extern "C" {
void jpeg_idct_ifast(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jpeg_idct_4x4(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jpeg_idct_2x2(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jpeg_idct_1x1(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
}

namespace kovra::test::idct {
namespace {

using PeerIdct = void (*)(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);

std::vector<uint8_t> encode_with(const Quant &quant) { return encode_grey(8, std::vector<uint8_t>(64), &quant); }

// Every block through both sides (the first peer_blocks of them) and through the vector and scalar
// versions; stops at the first difference. libjpeg-turbo's range-limit table lives in a started
// decompressor.
void expect_equal(const Component &c, size_t peer_blocks, const std::string &where) {
    static const std::vector<uint8_t> jpeg = encode_with(Quant{1});
    static Decompressor decoder{jpeg};
    static const bool started = start_ifast(decoder);
    ASSERT_TRUE(started);
    Multipliers ifast;
    Table16 plain;
    for (int i = 0; i < 64; ++i) ifast[i] = c.ifast[i] * 1024, plain[i] = static_cast<int16_t>(c.quant[i]);
    const Multipliers steps = plain_multipliers(c.quant), fine = aan_multipliers(c.quant);
    const struct {
        DALTJ_IdctFn ours;
        PeerIdct theirs;
        const Multipliers &multipliers;
        const Table16 &table;
    } pairs[] = {{DALTJ_DoIdct, jpeg_idct_ifast, ifast, c.ifast},
                 {DALTJ_DoIdct_4x4, jpeg_idct_4x4, steps, plain},
                 {DALTJ_DoIdct_2x2, jpeg_idct_2x2, steps, plain},
                 {DALTJ_DoIdct_1x1, jpeg_idct_1x1, steps, plain}};
    for (size_t n = 0; n < c.blocks.size(); ++n) {
        for (size_t p = 0; p < std::size(pairs) && n < peer_blocks; ++p) {
            jpeg_component_info comp = decoder.cinfo.comp_info[0];
            comp.dct_table = const_cast<int16_t *>(pairs[p].table.data());
            Samples theirs;
            JSAMPROW rows[8];
            for (int r = 0; r < 8; ++r) rows[r] = theirs[r].data(), theirs[r].fill(kUnwritten);
            Block block = c.blocks[n];
            pairs[p].theirs(&decoder.cinfo, &comp, block.data(), rows, 0);
            ASSERT_EQ(run_idct(pairs[p].ours, c.blocks[n], pairs[p].multipliers), theirs) << p << ", " << where << ", block " << n;
        }
        const VectorPair &v = kVectorPairs[n % 3];
        const Multipliers &m = n % 2 ? fine : ifast;
        ASSERT_EQ(run_idct(v.exported, c.blocks[n], m), run_idct(v.scalar, c.blocks[n], m)) << v.name << ", " << where << ", block " << n;
    }
}

TEST(IdctPeer, CorpusBlocksMatchLibjpegTurbo) {
    KOVRA_REQUIRE_CORPUS();
    size_t files = 0, blocks = 0;
    for (const auto &path : corpus_files("", {".jpg", ".jpeg"})) {
        std::vector<Component> components;
        if (!read_components(read_file(path), SIZE_MAX, components)) continue;  // not legal throughout
        ++files;
        for (const Component &c : components) {
            blocks += c.blocks.size();
            expect_equal(c, 2048, path.string());
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(files, 100u);
    EXPECT_GT(blocks, 1'000'000u);
}

TEST(IdctPeer, RandomLegalBlocksMatchLibjpegTurbo) {
    std::mt19937 rng(10);
    for (int table = 0; table < 200; ++table) {
        const Quant quant = random_quant(rng, table % 2 ? 32 : 255);
        std::vector<Component> components;
        ASSERT_TRUE(read_components(encode_with(quant), 0, components));
        for (int n = 0; n < 500; ++n) components[0].blocks.push_back(legal_block(rng, quant));
        expect_equal(components[0], SIZE_MAX, "table " + std::to_string(table));
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace kovra::test::idct
