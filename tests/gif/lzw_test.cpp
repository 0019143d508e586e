// LZW decoding: images encoded here decode back to their indexes over every source kind and code
// size; hand-made code streams pin what happens at clear and end codes, codes beyond the table,
// early ends, truncation and over-long strings; and the exported step functions.

#include <gtest/gtest.h>

#include <random>

#include "support/gif_builder.h"
#include "gif_decode.h"
#include "kovra_os.h"

namespace kovra::test {
namespace {

constexpr uint8_t kUnwritten = 0xEE;

Bytes random_indexes(size_t count, int colors, uint32_t seed, int run = 1) {
    std::mt19937 random(seed);
    Bytes out;
    while (out.size() < count) {
        const auto value = static_cast<uint8_t>(random() % static_cast<uint32_t>(colors));
        for (int i = 0; i < run && out.size() < count; ++i) out.push_back(value);
    }
    return out;
}

Bytes single_image(int width, int height, const Bytes &indexes, int colors, bool interlaced = false) {
    return GifBuilder(width, height, test_palette(colors))
        .image(frame_spec(0, 0, width, height, indexes, interlaced))
        .trailer()
        .bytes();
}

// A width x height image whose data is the given codes.
Bytes coded_image(int width, int height, int min_code_size, const std::vector<Code> &codes, int screen_width = -1) {
    return GifBuilder(screen_width < 0 ? width : screen_width, height, test_palette(256))
        .image_with_data(0, 0, width, height, min_code_size, pack_codes(codes))
        .trailer()
        .bytes();
}

TEST(GifLzw, RoundTripsOverEverySourceKind) {
    struct Case {
        int width, height, colors, run;
    };
    for (const Case c : {Case{1, 1, 2, 1}, Case{7, 5, 4, 1}, Case{64, 48, 16, 3}, Case{300, 200, 256, 1},
                         Case{250, 90, 3, 40}, Case{17, 300, 256, 2}}) {
        const Bytes indexes = random_indexes(static_cast<size_t>(c.width) * c.height, c.colors, 7u + c.width, c.run);
        const Bytes gif = single_image(c.width, c.height, indexes, c.colors);
        for (SourceKind kind : kAllSourceKinds) {
            SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height) + " " + source_kind_name(kind));
            const IndexImage image = decode_indexes(gif, 1, kind);
            ASSERT_TRUE(image.parsed);
            EXPECT_EQ(image.result, 1);
            EXPECT_EQ(image.indexes, indexes);
        }
    }
}

TEST(GifLzw, CodeSizeTwelveIsRefused) {
    const IndexImage image = decode_indexes(coded_image(2, 1, 12, {{4096, 13}, {1, 13}, {2, 13}}));
    ASSERT_TRUE(image.parsed);
    EXPECT_EQ(image.result, 0);
    EXPECT_EQ(image.indexes, Bytes(2, kUnwritten));
}

TEST(GifLzw, StringsCrossRowEnds) {
    // Long runs make strings far longer than a 3-pixel row.
    const Bytes indexes(3 * 400, 2);
    const IndexImage image = decode_indexes(single_image(3, 400, indexes, 4));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, indexes);
}

TEST(GifLzw, InterlacedRowsLandInPlaceForEveryHeight) {
    for (int height = 1; height <= 19; ++height) {
        SCOPED_TRACE(height);
        Bytes indexes;
        for (int y = 0; y < height; ++y) indexes.insert(indexes.end(), {static_cast<uint8_t>(y), static_cast<uint8_t>(y + 1)});
        const IndexImage image = decode_indexes(single_image(2, height, indexes, 32, true));
        EXPECT_EQ(image.result, 1);
        EXPECT_EQ(image.indexes, indexes);
    }
}

TEST(GifLzw, FirstCodeEndWritesNothing) {
    const IndexImage image = decode_indexes(coded_image(3, 2, 2, {{4, 3}, {4, 3}, {5, 3}}));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, Bytes(6, kUnwritten));
}

TEST(GifLzw, EarlyEndCodeWritesThePartialRowOnce) {
    // Row 0 gets 1, 2 and then what the (fresh, zero-filled) line buffer held.
    const IndexImage image = decode_indexes(coded_image(4, 3, 2, {{4, 3}, {1, 3}, {2, 3}, {5, 3}}));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, (Bytes{1, 2, 0, 0, kUnwritten, kUnwritten, kUnwritten, kUnwritten, kUnwritten,
                                    kUnwritten, kUnwritten, kUnwritten}));
}

TEST(GifLzw, ClearThenEndStopsWithoutWritingThePartialRow) {
    const IndexImage image = decode_indexes(coded_image(4, 2, 2, {{4, 3}, {1, 3}, {2, 3}, {4, 3}, {4, 3}, {5, 3}}));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, Bytes(8, kUnwritten));
}

TEST(GifLzw, CodesBeyondTheTable) {
    // First code 7 is stored as the byte 7. The next 7 is beyond the table (next free 6) and so
    // is the previous code, so code 0's string is written followed by the remembered byte 7.
    IndexImage image = decode_indexes(coded_image(3, 1, 2, {{4, 3}, {7, 3}, {7, 3}}));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, (Bytes{7, 0, 7}));
    // The usual case of a code equal to the next free one: previous string plus its first byte.
    image = decode_indexes(coded_image(5, 1, 2, {{4, 3}, {1, 3}, {6, 3}, {5, 3}}));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, (Bytes{1, 1, 1, 0, 0}));  // then the end code: partial row
}

TEST(GifLzw, EntriesAnEarlierFrameMadeReadAsEmpty) {
    // Frame B makes entry 7 from code 7's own entry while 7 is beyond the table, then writes
    // entry 7: with an empty table that is the single byte 1, so B's rows are 1 | 1 1 | 0 1 | 1
    // and six 2s. Frame A, taller than the 6 x 2 screen and in one colour, fills entry 7 (with
    // 2 2 2) and far beyond; were that left in place, entry 7 would grow to four bytes and push
    // three of them into B's second row.
    std::vector<Code> codes = {{4, 3}, {1, 3}, {7, 3}, {7, 3}, {7, 4}};
    codes.insert(codes.end(), 6, Code{2, 4});
    codes.push_back({5, 4});
    const Bytes b_alone =
        GifBuilder(6, 2, test_palette(4)).image_with_data(0, 0, 6, 2, 2, pack_codes(codes)).trailer().bytes();
    GifBuilder after(6, 2, test_palette(4));
    after.image(frame_spec(0, 0, 6, 200, Bytes(6 * 200, 2)));
    const Bytes b_after = after.image_with_data(0, 0, 6, 2, 2, pack_codes(codes)).trailer().bytes();

    EXPECT_EQ(decode_indexes(b_alone).indexes, (Bytes{1, 1, 1, 0, 1, 1, 2, 2, 2, 2, 2, 2}));
    const Animation first = decode_animation(b_alone, KOVRADALT_FORMAT_RGBA32, 1);
    const Animation second = decode_animation(b_after, KOVRADALT_FORMAT_RGBA32, 1);
    ASSERT_EQ(first.frames.size(), 1u);
    ASSERT_EQ(second.frames.size(), 2u);
    EXPECT_EQ(second.frames[1], first.frames[0]);
}

TEST(GifLzw, ZeroSizedSubBlockDoesNotEndTheData) {
    const Bytes indexes = random_indexes(20 * 20, 16, 5);
    const Bytes data = lzw_encode(indexes, 4);
    Bytes blocks;
    blocks.reserve(data.size() + 16);
    blocks.push_back(10);
    for (size_t i = 0; i < 10; ++i) blocks.push_back(data[i]);
    blocks.push_back(0);  // an empty sub-block in the middle
    for (uint8_t b : sub_blocks(Bytes(data.begin() + 10, data.end()))) blocks.push_back(b);
    Bytes gif = GifBuilder(20, 20, test_palette(16)).raw({0x2C, 0, 0, 0, 0, 20, 0, 20, 0, 0, 4}).raw(blocks).trailer().bytes();
    const IndexImage image = decode_indexes(gif);
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, indexes);
}

// Complete rows at the top of `decoded` that equal the original's.
size_t matching_rows(const Bytes &original, const Bytes &decoded, size_t width) {
    size_t rows = 0;
    while ((rows + 1) * width <= original.size() &&
           std::equal(original.begin() + static_cast<long>(rows * width),
                      original.begin() + static_cast<long>((rows + 1) * width),
                      decoded.begin() + static_cast<long>(rows * width))) {
        ++rows;
    }
    return rows;
}

TEST(GifLzw, TruncatedDataKeepsTheRowsDecoded) {
    // A cut inside the data ends the decode with 1 when the refill that meets it still reads
    // something (the source is then at its end), and with 0 when that refill reads nothing.
    // Either way every complete row before the cut is delivered and nothing after it.
    const Bytes indexes = random_indexes(200 * 200, 256, 11);
    const Bytes whole = single_image(200, 200, indexes, 256);
    size_t done_at_end = 0;
    size_t cut_with_one = 0;
    for (size_t cut = whole.size() / 2; cut < whole.size() / 2 + 4500; cut += 5) {
        const IndexImage image = decode_indexes(Bytes(whole.begin(), whole.begin() + static_cast<long>(cut)));
        ASSERT_TRUE(image.parsed);
        const size_t rows = matching_rows(indexes, image.indexes, 200);
        ASSERT_GT(rows, 50u) << cut;
        ASSERT_LT(rows, 200u) << cut;
        EXPECT_EQ(image.indexes.back(), kUnwritten);
        if (image.result == 1) {
            ++done_at_end;
            cut_with_one = cut;
        }
    }
    ASSERT_GT(done_at_end, 0u);
    const Bytes cut(whole.begin(), whole.begin() + static_cast<long>(cut_with_one));
    for (SourceKind kind : kAllSourceKinds) {
        SCOPED_TRACE(source_kind_name(kind));
        const IndexImage image = decode_indexes(cut, 1, kind);
        EXPECT_EQ(image.result, 1);
    }
}

TEST(GifLzw, TruncationWithNothingLeftToReadFails) {
    // The whole small file is already buffered: the refill reads nothing.
    const Bytes indexes = random_indexes(30 * 30, 256, 3);
    const Bytes whole = single_image(30, 30, indexes, 256);
    const Bytes cut(whole.begin(), whole.end() - 200);
    const IndexImage image = decode_indexes(cut);
    ASSERT_TRUE(image.parsed);
    EXPECT_EQ(image.result, 0);
}

TEST(GifLzw, SubBlockEndingAtTheInputBufferEndWaitsForTheByteAfterIt) {
    // Once a refill has moved a sub-block's data to the input buffer's start, blocks of 16 or 240
    // bytes ((b + 1) divides 4097) put the end of a later block exactly at the buffer's 4096th
    // byte: it may be opened only after a refill brings in the size byte that follows it.
    const Bytes indexes = random_indexes(160 * 160, 256, 23);
    for (const int block : {16, 240}) {
        SCOPED_TRACE(block);
        const Bytes data = lzw_encode(indexes, 8);
        const Bytes gif = GifBuilder(160, 160, test_palette(256))
                              .image_with_data(0, 0, 160, 160, 8, data, false, block)
                              .trailer()
                              .bytes();
        for (SourceKind kind : kAllSourceKinds) {
            EXPECT_EQ(decode_indexes(gif, 1, kind).indexes, indexes) << source_kind_name(kind);
        }
        // A frame cut right after a complete sub-block decodes no further than one cut a byte
        // inside it: that block is never opened without the byte after it.
        const size_t blocks_start = gif.size() - 1 - sub_blocks(data, block).size();
        for (size_t cut = blocks_start + static_cast<size_t>(block) + 1; cut < blocks_start + 3 * 4096;
             cut += static_cast<size_t>(block) + 1) {
            const Bytes whole_block(gif.begin(), gif.begin() + static_cast<long>(cut));
            const Bytes inside_block(gif.begin(), gif.begin() + static_cast<long>(cut - 1));
            ASSERT_EQ(decode_indexes(whole_block).indexes, decode_indexes(inside_block).indexes) << cut;
        }
    }
}

TEST(GifLzw, FrameWiderThanTheLineBufferFails) {
    // Screen 2 wide: the line buffer takes 2 + 4096 indexes.
    Bytes gif = GifBuilder(2, 1, test_palette(4))
                    .image_with_data(0, 0, 4099, 1, 2, lzw_encode(Bytes(4099, 1), 2))
                    .trailer()
                    .bytes();
    EXPECT_EQ(decode_indexes(gif).result, 0);
    // Exactly as wide as the line buffer: decoded, and the screen's two columns written.
    const Bytes row = random_indexes(4098, 256, 17);
    gif = GifBuilder(2, 1, test_palette(256)).image_with_data(0, 0, 4098, 1, 8, lzw_encode(row, 8)).trailer().bytes();
    const IndexImage image = decode_indexes(gif);
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.indexes, (Bytes{row[0], row[1]}));
}

TEST(GifLzw, OverLongStringsFail) {
    // A frame far wider than the screen, fed ever longer strings (each code the next free one):
    // some string would end beyond screen_width + 4096 and the decode stops there.
    std::vector<Code> codes = {{4, 3}, {1, 3}};
    int width = 3;
    for (uint32_t next = 6; next < 4096; ++next) {
        codes.push_back({next, width});
        if (next + 1 == (1u << width) && width < 12) ++width;
    }
    const IndexImage image = decode_indexes(coded_image(4000, 3000, 2, codes, 2));
    ASSERT_TRUE(image.parsed);
    EXPECT_EQ(image.result, 0);
}

TEST(GifLzwSteps, TableInitialisation) {
    DALTI_LZWTables tables;
    std::vector<uint32_t> prefix(4096, 9), length(4096, 9);
    std::vector<uint8_t> suffix(4096, 9);
    tables.prefix = prefix.data();
    tables.suffix = suffix.data();
    tables.length = length.data();
    EXPECT_EQ(DALTI_InitializeTransTBL(12, &tables), 0);
    EXPECT_EQ(prefix[0], 9u);
    ASSERT_EQ(DALTI_InitializeTransTBL(3, &tables), 1);
    for (uint32_t code = 0; code <= 9; ++code) {
        EXPECT_EQ(prefix[code], 0u);
        EXPECT_EQ(suffix[code], code);
        EXPECT_EQ(length[code], 1u);
    }
    for (uint32_t code = 10; code < 4096; ++code) EXPECT_EQ(length[code] + prefix[code] + suffix[code], 0u);
    EXPECT_EQ(DALTI_InitializeTransTBL(11, &tables), 1);

    // Strings: 10 = "3 5", 11 = "3 5 7".
    EXPECT_EQ(DALTI_AddToTranslationTable(3, 5, 10, &tables), 2u);
    EXPECT_EQ(DALTI_AddToTranslationTable(10, 7, 11, &tables), 3u);
    uint8_t line[8] = {};
    int32_t status = 0;
    EXPECT_EQ(DALTI_TranslateCode(11, &tables, 2, line, &status, 8), 3);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(line[2], 3);
    EXPECT_EQ(line[3], 5);
    EXPECT_EQ(line[4], 7);
    EXPECT_EQ(DALTI_TranslateCode(11, &tables, 6, line, &status, 8), 0);  // would end at 9 > 8
    EXPECT_EQ(status, -1);
    status = 0;
    EXPECT_EQ(DALTI_TranslateCode(4096, &tables, 0, line, &status, 8), 0);
    EXPECT_EQ(status, -1);
    status = 0;
    prefix[12] = 5000;  // a walk that meets a code beyond the table
    suffix[12] = 1;
    length[12] = 2;
    EXPECT_EQ(DALTI_TranslateCode(12, &tables, 0, line, &status, 8), 0);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(DALTI_AddToTranslationTable(1, 1, 4096, &tables), 0u);
    DALTI_WriteCharacter(0x1FF, 7, line);
    EXPECT_EQ(line[7], 0xFF);
}

TEST(GifLzwSteps, CheckBufferMovesAndRefills) {
    Bytes source_bytes(5000);
    for (size_t i = 0; i < source_bytes.size(); ++i) source_bytes[i] = static_cast<uint8_t>(i);
    SourceRecord source(SourceKind::kMemory, source_bytes);
    std::vector<uint8_t> buffer(4096, 0);
    buffer[4000] = 0xAA;
    buffer[4001] = 0xBB;
    int32_t avail = 2;
    uint8_t *next = buffer.data() + 4000;
    EXPECT_EQ(DALTI_CheckBuffer(2, source->io, buffer.data(), &avail, &next), 1);
    EXPECT_EQ(next, buffer.data() + 4000);  // enough already: nothing moves
    ASSERT_EQ(DALTI_CheckBuffer(100, source->io, buffer.data(), &avail, &next), 1);
    EXPECT_EQ(next, buffer.data());
    EXPECT_EQ(avail, 4096);
    EXPECT_EQ(buffer[0], 0xAA);
    EXPECT_EQ(buffer[1], 0xBB);
    EXPECT_EQ(buffer[2], 0);
    EXPECT_EQ(buffer[3], 1);
    // 4094 bytes were read; 906 remain: asking for more than that after consuming fails.
    avail = 10;
    next = buffer.data() + 4086;
    EXPECT_EQ(DALTI_CheckBuffer(1000, source->io, buffer.data(), &avail, &next), 0);
    EXPECT_EQ(avail, 10);
    EXPECT_EQ(next, buffer.data() + 4086);
}

}  // namespace
}  // namespace kovra::test
