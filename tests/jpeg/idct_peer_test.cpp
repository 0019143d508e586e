// The inverse DCTs against libjpeg-turbo's own (its static library has them), byte for byte, on
// the coefficient blocks of the corpus JPEGs and on random legal blocks: DALTJ_DoIdct against
// jpeg_idct_ifast with the ifast multipliers libjpeg-turbo derives (times 1024), and the accurate
// members _4x4, _2x2 and _1x1 against its jpeg_idct_4x4, _2x2 and _1x1 with the plain steps. On
// every corpus block the vector versions also write what their scalar cores write. Files that
// libjpeg-turbo reads with an error or a warning are left out: their blocks need not be legal.

#include <gtest/gtest.h>

#include "idct_support.h"
#include "jpeg_blocks.h"
#include "support/corpus.h"

extern "C" {
// libjpeg-turbo's internal inverse DCTs (not in its public header).
void jpeg_idct_ifast(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jpeg_idct_4x4(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jpeg_idct_2x2(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
void jpeg_idct_1x1(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);
}

namespace kovra::test::idct {
namespace {

using PeerIdct = void (*)(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);

std::vector<uint8_t> encode_with(const Quant &quant) { return encode_grey(8, std::vector<uint8_t>(64), &quant); }

// libjpeg-turbo's side: its range-limit table lives in a started decompressor.
struct PeerIdcts {
    std::vector<uint8_t> jpeg = encode_with(Quant{1});
    Decompressor decoder{jpeg};
    bool started = start_ifast(decoder);

    Samples run(PeerIdct idct, Block block, const Table16 &table) {
        jpeg_component_info comp = decoder.cinfo.comp_info[0];
        comp.dct_table = const_cast<int16_t *>(table.data());
        Samples out{};
        JSAMPROW rows[8];
        for (int r = 0; r < 8; ++r) rows[r] = out[r].data(), out[r].fill(kUnwritten);
        idct(&decoder.cinfo, &comp, block.data(), rows, 0);
        return out;
    }
};

// Every block through both sides (the first peer_blocks of them) and through the vector and
// scalar versions; stops at the first difference.
void expect_equal(PeerIdcts &peer, const Component &c, size_t peer_blocks, const std::string &where) {
    Multipliers ifast{};
    Table16 plain{};
    for (int i = 0; i < 64; ++i) ifast[i] = c.ifast[i] * 1024, plain[i] = static_cast<int16_t>(c.quant[i]);
    const Multipliers steps = plain_multipliers(c.quant), fine = aan_multipliers(c.quant);
    const struct {
        const char *name;
        DALTJ_IdctFn ours;
        PeerIdct theirs;
        const Multipliers &multipliers;
        const Table16 &table;
    } pairs[] = {{"DoIdct", DALTJ_DoIdct, jpeg_idct_ifast, ifast, c.ifast},
                 {"DoIdct_4x4", DALTJ_DoIdct_4x4, jpeg_idct_4x4, steps, plain},
                 {"DoIdct_2x2", DALTJ_DoIdct_2x2, jpeg_idct_2x2, steps, plain},
                 {"DoIdct_1x1", DALTJ_DoIdct_1x1, jpeg_idct_1x1, steps, plain}};
    for (size_t n = 0; n < c.blocks.size(); ++n) {
        for (const auto &p : pairs) {
            if (n >= peer_blocks) break;
            ASSERT_EQ(run_idct(p.ours, c.blocks[n], p.multipliers), peer.run(p.theirs, c.blocks[n], p.table))
                << p.name << ", " << where << ", block " << n;
        }
        const VectorPair &v = kVectorPairs[n % 3];
        const Multipliers &m = n % 2 ? fine : ifast;
        ASSERT_EQ(run_idct(v.exported, c.blocks[n], m), run_idct(v.scalar, c.blocks[n], m))
            << v.name << " vector against scalar, " << where << ", block " << n;
    }
}

TEST(IdctPeer, CorpusBlocksMatchLibjpegTurbo) {
    KOVRA_REQUIRE_CORPUS();
    PeerIdcts peer;
    ASSERT_TRUE(peer.started);
    size_t files = 0, blocks = 0;
    for (const auto &path : corpus_files("", {".jpg", ".jpeg"})) {
        std::vector<Component> components;
        if (!read_components(read_file(path), SIZE_MAX, components)) continue;
        ++files;
        for (const Component &c : components) {
            blocks += c.blocks.size();
            expect_equal(peer, c, 2048, path.string());
            if (HasFatalFailure()) return;
        }
    }
    EXPECT_GT(files, 100u);
    EXPECT_GT(blocks, 1'000'000u);
}

TEST(IdctPeer, RandomLegalBlocksMatchLibjpegTurbo) {
    PeerIdcts peer;
    ASSERT_TRUE(peer.started);
    std::mt19937 rng(10);
    for (int table = 0; table < 200; ++table) {
        const Quant quant = random_quant(rng, table % 2 ? 32 : 255);
        std::vector<Component> components;
        ASSERT_TRUE(read_components(encode_with(quant), 1, components));
        Component &c = components[0];
        c.blocks.clear();
        for (int n = 0; n < 500; ++n) c.blocks.push_back(legal_block(rng, quant));
        expect_equal(peer, c, SIZE_MAX, "table " + std::to_string(table));
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace kovra::test::idct
