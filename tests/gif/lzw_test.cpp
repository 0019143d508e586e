// LZW decoding where real files do not go: hand-made code streams, every minimum code size with
// the table full at 12 bits, the input buffer's 4096-byte refills, the line buffer's end, and the
// exported step functions.

#include <gtest/gtest.h>

#include "gif_decode.h"

namespace kovra::test {
namespace {

Bytes coded_gif(int width, int height, int min_code_size, const Bytes &data, int screen_width, int block = 255) {
    return GifBuilder(screen_width, height, test_palette(256)).image(coded_image(width, height, min_code_size, data, block)).trailer().bytes();
}

TEST(GifLzw, HandMadeCodeStreams) {
    struct Case {
        const char *what;
        int width, height, min_code_size;
        std::vector<Code> codes;
        int32_t result;
        Bytes indexes;
    };
    const Case cases[] = {
        {"code size 12 is refused", 2, 1, 12, {{4096, 13}, {1, 13}}, 0, {kU, kU}},
        {"an end code first writes nothing", 3, 2, 2, {{4, 3}, {4, 3}, {5, 3}}, 1, Bytes(6, kU)},
        {"an early end writes the partial row, the line buffer's bytes after it", 4, 3, 2,
         {{4, 3}, {1, 3}, {2, 3}, {5, 3}}, 1, {1, 2, 0, 0, kU, kU, kU, kU, kU, kU, kU, kU}},
        {"clear then end writes no partial row", 4, 2, 2, {{4, 3}, {1, 3}, {2, 3}, {4, 3}, {4, 3}, {5, 3}}, 1, Bytes(8, kU)},
        {"a first code beyond the table is its own byte; a later one repeats code 0 and that byte", 3, 1, 2,
         {{4, 3}, {7, 3}, {7, 3}}, 1, {7, 0, 7}},
        {"the next free code is the previous string plus its first byte", 5, 1, 2, {{4, 3}, {1, 3}, {6, 3}, {5, 3}}, 1, {1, 1, 1, 0, 0}},
    };
    for (const Case &c : cases) {
        const IndexImage image = decode_indexes(coded_gif(c.width, c.height, c.min_code_size, pack_codes(c.codes), c.width));
        EXPECT_EQ(image.result, c.result) << c.what;
        EXPECT_EQ(image.indexes, c.indexes) << c.what;
    }
    // Nothing after the code size byte; an empty sub-block inside the data does not end them.
    EXPECT_EQ(decode_indexes(GifBuilder(2, 1, test_palette(4)).raw({0x2C, 0, 0, 0, 0, 2, 0, 1, 0, 0, 2}).bytes()).result, 0);
    const Bytes indexes = random_indexes(400, 16, 5), data = lzw_literal(indexes, 4);
    const Bytes gif = GifBuilder(20, 20, test_palette(16)).raw({0x2C, 0, 0, 0, 0, 20, 0, 20, 0, 0, 4})
                          .raw(sub_blocks(Bytes(data.begin(), data.begin() + 10)))
                          .raw(sub_blocks(Bytes(data.begin() + 10, data.end()))).bytes();
    EXPECT_EQ(decode_indexes(gif).indexes, indexes);
}

TEST(GifLzw, EveryCodeSizeFillsTheTable) {
    // One code per index: the table fills and stays full at 12 bits (or is cleared), in the fast
    // loop and, with a frame 9 wider than the screen, in the careful one.
    for (int min_code_size = 0; min_code_size < 12; ++min_code_size) {
        const Bytes indexes = random_indexes(100 * 90, std::min(1u << min_code_size, 256u), 7u + min_code_size);
        for (const bool clear_when_full : {false, true}) {
            for (const int narrower : {0, 9}) {
                const Bytes gif = coded_gif(100, 90, min_code_size, lzw_literal(indexes, min_code_size, clear_when_full), 100 - narrower);
                Bytes expected;
                for (int y = 0; y < 90; ++y) expected.insert(expected.end(), &indexes[y * 100], &indexes[y * 100 + 100 - narrower]);
                EXPECT_EQ(decode_indexes(gif).indexes, expected) << min_code_size << " " << clear_when_full << " " << narrower;
            }
        }
    }
}

TEST(GifLzw, SubBlockEndingAtTheInputBufferEndWaitsForTheByteAfterIt) {
    // After a refill has moved a sub-block's data to the buffer's start, blocks of 16 or 240 bytes
    // ((b + 1) divides 4097) end a later block exactly at the buffer's 4096th byte: it may be
    // opened only once a refill brings in the size byte after it.
    const Bytes indexes = random_indexes(100 * 100, 256, 23), data = lzw_literal(indexes, 8);
    for (const int block : {16, 240}) {
        const Bytes gif = coded_gif(100, 100, 8, data, 100, block);
        for (SourceKind kind : kAllSourceKinds) EXPECT_EQ(decode_indexes(gif, 1, kind).indexes, indexes) << block << source_kind_name(kind);
        // A frame cut right after a complete sub-block decodes no further than one cut inside it.
        const size_t blocks_start = gif.size() - 1 - sub_blocks(data, block).size();
        for (size_t cut = blocks_start + block + 1; cut < blocks_start + 3 * 4096; cut += block + 1) {
            ASSERT_EQ(decode_indexes(Bytes(gif.begin(), gif.begin() + cut)).indexes,
                      decode_indexes(Bytes(gif.begin(), gif.begin() + cut - 1)).indexes) << cut;
        }
    }
}

TEST(GifLzw, LineBufferEnd) {
    // A 2-wide screen has a line buffer of 2 + 4096 indexes: a frame one wider fails, one exactly
    // as wide decodes the screen's two columns, and strings ever longer stop where one would end
    // past the buffer.
    const Bytes row = random_indexes(4099, 256, 17);
    EXPECT_EQ(decode_indexes(coded_gif(4099, 1, 8, lzw_literal(row, 8), 2)).result, 0);
    const IndexImage fits = decode_indexes(coded_gif(4098, 1, 8, lzw_literal(Bytes(row.begin(), row.end() - 1), 8), 2));
    EXPECT_EQ(fits.result, 1);
    EXPECT_EQ(fits.indexes, (Bytes{row[0], row[1]}));
    std::vector<Code> codes = {{4, 3}, {1, 3}};
    for (uint32_t next = 6, width = 3; next < 4096; ++next) {
        codes.push_back({next, static_cast<int>(width)});
        if (next + 1 == (1u << width) && width < 12) ++width;
    }
    EXPECT_EQ(decode_indexes(coded_gif(4000, 3000, 2, pack_codes(codes), 2)).result, 0);
}

TEST(GifLzw, StepFunctions) {
    std::vector<uint32_t> prefix(4096, 9), length(4096, 9);
    Bytes suffix(4096, 9);
    DALTI_LZWTables tables{prefix.data(), suffix.data(), length.data()};
    EXPECT_EQ(DALTI_InitializeTransTBL(12, &tables), 0);
    ASSERT_EQ(DALTI_InitializeTransTBL(3, &tables), 1);
    EXPECT_EQ(std::vector<uint32_t>({prefix[9], suffix[9], length[9], prefix[10], suffix[10], length[10], length[4095]}),
              std::vector<uint32_t>({0, 9, 1, 0, 0, 0, 0}));
    EXPECT_EQ(DALTI_AddToTranslationTable(3, 5, 10, &tables), 2u);   // 10 = "3 5"
    EXPECT_EQ(DALTI_AddToTranslationTable(10, 7, 11, &tables), 3u);  // 11 = "3 5 7"
    EXPECT_EQ(DALTI_AddToTranslationTable(1, 1, 4096, &tables), 0u);
    uint8_t line[8] = {};
    int32_t status = 0;
    EXPECT_EQ(DALTI_TranslateCode(11, &tables, 5, line, &status, 8) + status, 3);
    EXPECT_EQ(Bytes(line + 5, line + 8), (Bytes{3, 5, 7}));
    EXPECT_EQ(DALTI_TranslateCode(3, &tables, 0, line, &status, 1), 3);   // ends at 1, the limit
    EXPECT_EQ(DALTI_TranslateCode(11, &tables, 6, line, &status, 8), 0);  // would end at 9 > 8
    EXPECT_EQ(status, -1);
    DALTI_WriteCharacter(0x1FF, 7, line);
    EXPECT_EQ(line[7], 0xFF);

    Bytes bytes(5000);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i);
    SourceRecord source(SourceKind::kMemory, bytes);
    Bytes buffer(4096, 0);
    buffer[4000] = 0xAA;
    int32_t avail = 1;
    uint8_t *next = buffer.data() + 4000;
    EXPECT_EQ(DALTI_CheckBuffer(1, source->io, buffer.data(), &avail, &next), 1);
    EXPECT_EQ(next, buffer.data() + 4000);  // enough already: nothing moves
    ASSERT_EQ(DALTI_CheckBuffer(100, source->io, buffer.data(), &avail, &next), 1);
    EXPECT_EQ(std::vector<int64_t>({next - buffer.data(), avail, buffer[0], buffer[1], buffer[2]}), std::vector<int64_t>({0, 4096, 0xAA, 0, 1}));
    avail = 10;  // 4095 bytes read, 905 left
    next = buffer.data() + 4086;
    EXPECT_EQ(DALTI_CheckBuffer(1000, source->io, buffer.data(), &avail, &next), 0);
    EXPECT_EQ(avail, 10);
}

}  // namespace
}  // namespace kovra::test
