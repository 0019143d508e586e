// The DC-only reduced decoders against a recording DALTJ_DecodeMcu_8to1 whose block b of MCU
// decode n holds the DC term 10 * n + b. The range-limit tables cover exactly the samples
// -227..481 every table must cover, so a read beyond them shows under the sanitizer.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "mcu_scene.h"

namespace {

constexpr int kLowest = -227, kHighest = 481;

int dc_of(int call, int block) { return 10 * call + block; }

struct ReducedScene : McuScene {
    std::vector<uint8_t> lumaTable, chromaTable;
    std::array<std::array<int32_t, 64>, 3> multipliers{};
    DALTJ_ComponentInfo scan[3]{};
    std::array<std::array<uint8_t, 16>, 9> out{};  // row r of plane p (Y, Cb, Cr) is out[3 * p + r]
    uint8_t *rowsOf[3][3];
    uint8_t **planes[3];

    explicit ReducedScene(uint8_t blocksInMcu, uint32_t mcusPerRow) : McuScene({1}, 100, 13) {
        for (int s = kLowest; s <= kHighest; ++s) {
            lumaTable.push_back(static_cast<uint8_t>(std::clamp(s, 0, 255)));
            chromaTable.push_back(static_cast<uint8_t>(255 - std::clamp(s, 0, 255)));
        }
        ctx.rangeLimit = lumaTable.data() - kLowest;
        ctx.chromaRangeLimit = chromaTable.data() - kLowest;
        for (int i = 0; i < 3; ++i) {
            multipliers[i][0] = (i + 1) << 15;  // component i scales the DC term by i + 1
            scan[i].multipliers = multipliers[i].data();
            scan[i].componentIndex = static_cast<uint8_t>(i);
            scan[i].mcuWidth = scan[i].mcuHeight = scan[i].lastColWidth = 1;
            ctx.scanComponents[i] = &scan[i];
        }
        for (auto &row : out) row.fill(0xEE);
        for (int p = 0; p < 3; ++p) {
            for (int r = 0; r < 3; ++r) rowsOf[p][r] = out[3 * p + r].data();
            planes[p] = rowsOf[p];
        }
        ctx.blocksInMcu = blocksInMcu;
        ctx.mcusPerRow = mcusPerRow;
        ctx.numComponents = 3;
        ctx.compsInScan = 3;
        for (int b = 0; b < 10; ++b) blocks[b][1] = 5;  // an AC term that only clearing removes
        stages().dcOf = [](int call, int block) { return static_cast<int16_t>(dc_of(call, block)); };
    }

    // The sample a block of the given DC term gives through a component's multiplier and table.
    static uint8_t luma(int dc, int factor = 1) { return static_cast<uint8_t>(std::clamp(dc * factor + 128, 0, 255)); }
    static uint8_t chroma(int dc, int factor) { return static_cast<uint8_t>(255 - luma(dc, factor)); }
};

TEST(ReducedDc, Yuv420WritesTwoLumaRowsAndBothChromaWithTheSecondMultipliers) {
    ReducedScene s(6, 2);
    s.scan[0].lastColWidth = 1;  // odd width in blocks: one luma block across in the last column
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV420(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.out[0][0], s.luma(dc_of(0, 0)));
    EXPECT_EQ(s.out[0][1], s.luma(dc_of(0, 1)));
    EXPECT_EQ(s.out[1][0], s.luma(dc_of(0, 2)));
    EXPECT_EQ(s.out[1][1], s.luma(dc_of(0, 3)));
    EXPECT_EQ(s.out[0][2], s.luma(dc_of(1, 0)));
    EXPECT_EQ(s.out[1][2], s.luma(dc_of(1, 2)));
    EXPECT_EQ(s.out[0][3], 0xEE);
    EXPECT_EQ(s.out[1][3], 0xEE);
    for (int c = 0; c < 2; ++c) {
        EXPECT_EQ(s.out[3][c], s.chroma(dc_of(c, 4), 2));
        EXPECT_EQ(s.out[6][c], s.chroma(dc_of(c, 5), 2));
    }
    EXPECT_EQ(s.out[3][2], 0xEE);
    EXPECT_EQ(s.ctx.resizeMcuRow, 1u);
}

TEST(ReducedDc, Yuv422OneMcuAcrossWithATwoBlockLastColumn) {
    ReducedScene s(4, 1);
    s.scan[0].lastColWidth = 2;
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.out[0][0], s.luma(dc_of(0, 0)));
    EXPECT_EQ(s.out[0][1], s.luma(dc_of(0, 1)));
    EXPECT_EQ(s.out[3][0], s.chroma(dc_of(0, 2), 2));
    EXPECT_EQ(s.out[6][0], s.chroma(dc_of(0, 3), 3));
    EXPECT_EQ(s.out[1][0], 0xEE);
    EXPECT_EQ(stages().mcuDecodes, 1);
}

TEST(ReducedDc, Yuv444ClearsEveryMcuAndClampsHostileTerms) {
    ReducedScene s(3, 3);
    stages().dcOf = [](int call, int block) {
        return static_cast<int16_t>(call == 0 ? 32767 : (call == 1 ? -32768 : dc_of(call, block)));
    };
    s.multipliers[0][0] = INT32_MAX;
    s.multipliers[1][0] = INT32_MIN;
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV444(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(stages().mcuBlocksWereClear, (std::vector<bool>{true, true, true}));
    EXPECT_EQ(s.out[0][0], 255);
    EXPECT_EQ(s.out[0][1], 0);
    EXPECT_EQ(s.out[3][1], 0);  // chroma: 255 - the clamp of a huge positive level
    EXPECT_EQ(s.out[6][2], s.chroma(dc_of(2, 2), 3));
    EXPECT_EQ(s.out[0][3], 0xEE);
}

// Region top 20 rounded down to 16; output rows map one to one onto source rows.
TEST(ReducedDc, RowsAboveTheRegionAreDecodedButNotWritten) {
    for (int layout = 0; layout < 2; ++layout) {
        ReducedScene s(4, 2);
        s.record.region_top = 20;
        s.record.region_height = 10;
        s.ctx.regionRowAlign = 8;
        s.ctx.outputRow = 15;
        auto decode = layout == 0 ? DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1 : DALTJ_DecodeSingleiMcuResize8to1_YUV444;
        EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
        EXPECT_EQ(stages().mcuDecodes, 2);
        EXPECT_EQ(s.out[0][0], 0xEE);
        EXPECT_EQ(s.ctx.resizeMcuRow, layout == 0 ? 0u : 1u);  // 4:4:4 counts the row all the same
        s.ctx.outputRow = 16;
        EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
        EXPECT_NE(s.out[0][0], 0xEE);
        s.ctx.outputRow = 31;  // source row 31 lies below 20 + 10
        EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_END);
        EXPECT_EQ(stages().mcuDecodes, 4);
    }
}

TEST(ReducedDc, InputRanDryMidRow) {
    ReducedScene s(4, 3);
    s.coef.mcuRowOffset = 2;
    s.ctx.outputRow = 84;  // 16 rows to go
    stages().mcuDecodeFailsAt = 1;
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1(&s.ctx, s.planes), DALTJ_STATUS_INPUT_DRY);
    EXPECT_EQ(s.coef.mcuColumn, 1u);
    EXPECT_EQ(s.coef.mcuRowOffset, 0u);
    EXPECT_EQ(s.ctx.resizeMcuRow, 1u);
    s.ctx.outputRow = 85;  // 15 rows to go
    stages().mcuDecodes = 0;
    stages().mcuDecodeFailsAt = 0;
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV420(&s.ctx, s.planes), DALTJ_STATUS_END);
}

// One 1x1-block component, 16 samples across an MCU, five MCUs across: the columns each
// reduction writes (x = 16 * c >> s) and the MCU rows it drops after the written one.
TEST(ReducedDcMore16, DropsMcusAcrossAndRowsDown) {
    struct Case {
        uint32_t shift;
        std::vector<int> callAtColumn;  // -1: column not written
        int decodes;
    };
    for (const Case &t : {Case{4, {0, -1, 2, -1, 4}, 10}, Case{5, {1, 3, 4, -1, -1}, 20},
                          Case{6, {2, 4, -1, -1, -1}, 40}, Case{32, {4, -1, -1, -1, -1}, 40}}) {
        ReducedScene s(1, 5);
        s.ctx.resizeScaleShift = t.shift;
        s.ctx.compsInScan = 1;
        s.scan[0].mcuSampleWidth = 16;
        EXPECT_EQ(DALTJ_DecodeSingleiMcuResizeMore16(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(s.out[0][x], t.callAtColumn[x] < 0 ? 0xEE : s.luma(dc_of(t.callAtColumn[x], 0))) << t.shift << x;
        EXPECT_EQ(stages().mcuDecodes, t.decodes) << t.shift;
        EXPECT_EQ(s.ctx.resizeMcuRow, static_cast<uint32_t>(t.decodes / 5)) << t.shift;
    }
}

// 2x2 luma blocks and one chroma block per MCU; the last column is one luma block wide.
TEST(ReducedDcMore16, WritesEachComponentsBlocksIntoItsOwnRows) {
    ReducedScene s(5, 3);
    s.ctx.resizeScaleShift = 4;
    s.ctx.compsInScan = 2;
    s.scan[0].mcuWidth = s.scan[0].mcuHeight = 2;
    s.scan[0].mcuSampleWidth = 16;
    s.scan[1].mcuSampleWidth = 8;
    s.coef.mcuRowOffset = 1;
    s.coef.mcuRowsPerRow = 2;
    s.coef.mcuColumn = 2;  // a resumption column is not where a row starts
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResizeMore16(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.coef.mcuColumn, 0u);
    // Columns 0 and 2 are written, from MCU row offset 1 on: luma at x 0 and 2 of rows 1 and 2,
    // chroma at x 0 and 1 of row 1.
    EXPECT_EQ(s.out[1][0], s.luma(dc_of(0, 0)));
    EXPECT_EQ(s.out[1][1], s.luma(dc_of(0, 1)));
    EXPECT_EQ(s.out[2][0], s.luma(dc_of(0, 2)));
    EXPECT_EQ(s.out[2][1], s.luma(dc_of(0, 3)));
    EXPECT_EQ(s.out[1][2], s.luma(dc_of(2, 0)));
    EXPECT_EQ(s.out[1][3], 0xEE);
    EXPECT_EQ(s.out[2][2], s.luma(dc_of(2, 2)));
    EXPECT_EQ(s.out[0][0], 0xEE);
    EXPECT_EQ(s.out[4][0], s.chroma(dc_of(0, 4), 2));
    EXPECT_EQ(s.out[4][1], s.chroma(dc_of(2, 4), 2));
}

TEST(ReducedDc, RefusesContextsItCannotIndexSafely) {
    using Breaker = std::function<void(ReducedScene &)>;
    const std::vector<Breaker> yuvBreakers = {
        [](ReducedScene &s) { s.ctx.scanComponents[2] = nullptr; },
        [](ReducedScene &s) { s.ctx.blocksInMcu = 3; },
        [](ReducedScene &s) { s.ctx.checkContext = nullptr; },
    };
    for (size_t i = 0; i < yuvBreakers.size(); ++i) {
        ReducedScene s(4, 2);
        yuvBreakers[i](s);
        EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1(&s.ctx, s.planes), DALTJ_STATUS_END) << i;
        EXPECT_EQ(stages().mcuDecodes, 0) << i;
    }
    const std::vector<Breaker> more16Breakers = {
        [](ReducedScene &s) { s.ctx.numComponents = 5; },
        [](ReducedScene &s) { s.ctx.compsInScan = 5; },
        [](ReducedScene &s) { s.ctx.resizeScaleShift = 3; },
        [](ReducedScene &s) { s.ctx.scanComponents[1] = nullptr; },
        [](ReducedScene &s) { s.scan[2].componentIndex = 3; },
        [](ReducedScene &s) { s.scan[0].lastColWidth = 2; },
        [](ReducedScene &s) { s.scan[1].mcuHeight = 3; },
    };
    for (size_t i = 0; i < more16Breakers.size(); ++i) {
        ReducedScene s(4, 2);
        s.ctx.resizeScaleShift = 4;
        more16Breakers[i](s);
        EXPECT_EQ(DALTJ_DecodeSingleiMcuResizeMore16(&s.ctx, s.planes), DALTJ_STATUS_END) << i;
        EXPECT_EQ(stages().mcuDecodes, 0) << i;
    }
}

}  // namespace
