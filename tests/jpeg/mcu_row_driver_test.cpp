// The MCU row drivers and the row skipper against recording stage doubles: this program defines
// the stages itself, so every stage call seen here went through the library's exported symbols.

#include <gtest/gtest.h>

#include <functional>

#include "mcu_scene.h"

namespace {

// Luma twice as tall as chroma; 20 luma rows make two MCU rows of 16, the last with 4 real rows.
TEST(McuRowDriver, HandsOnEveryRowGroupWithContextRows) {
    McuScene s({2, 1}, 20, 2);
    stages().decodeResults = {DALTJ_STATUS_ROW_DONE, DALTJ_STATUS_END};

    EXPECT_EQ(s.process(3), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.ctx.outputRow, 7);  // row groups 0..6; the eighth waits for the next MCU row
    EXPECT_EQ(s.main.whichPtr, 1);
    for (int w = 0; w < 2; ++w) {
        for (int i = 0; i < 2; ++i) {  // luma: two rows per row group
            EXPECT_EQ(s.entry(w, 0, i - 2), s.original(w, 0, 18 + i));
            EXPECT_EQ(s.entry(w, 0, 20 + i), s.original(w, 0, i));
        }
        EXPECT_EQ(s.entry(w, 1, -1), s.original(w, 1, 9));
        EXPECT_EQ(s.entry(w, 1, 10), s.original(w, 1, 0));
    }

    EXPECT_EQ(s.process(3), DALTJ_STATUS_END);
    // The postponed row group, then the two row groups of the last MCU row's 4 real luma rows.
    EXPECT_EQ(s.ctx.outputRow, 10);
    EXPECT_EQ(s.ctx.outputRowsWritten, 10u);
    EXPECT_EQ(s.main.mcuRowCounter, 2u);
    ASSERT_EQ(stages().decodeLists.size(), 2u);
    EXPECT_EQ(stages().decodeLists[0], s.main.rowPointers[0]);
    EXPECT_EQ(stages().decodeLists[1], s.main.rowPointers[1]);
    for (int i = 4; i < 8; ++i) EXPECT_EQ(s.entry(1, 0, i), s.original(1, 0, 3)) << i;
    EXPECT_EQ(s.entry(1, 0, 8), s.original(1, 0, 8));
    for (int i = 2; i < 4; ++i) EXPECT_EQ(s.entry(1, 1, i), s.original(1, 1, 1)) << i;
    EXPECT_EQ(s.entry(1, 1, 4), s.original(1, 1, 4));
    EXPECT_EQ(s.entry(0, 0, 4), s.original(0, 0, 4));
    for (const UpsampleCall &call : stages().upsampleCalls) EXPECT_EQ(call.skipMode, 0);
}

// One MCU row whose height fills it: the bottom pointers come first (rows 8 and 9 repeat row 7),
// then the wrap-around pointers copy them above the start of the current list.
TEST(McuRowDriver, OneMcuRowImage) {
    McuScene s({1}, 8, 1);
    stages().decodeResults = {DALTJ_STATUS_END};
    EXPECT_EQ(s.process(), DALTJ_STATUS_END);
    EXPECT_EQ(s.ctx.outputRow, 8);
    EXPECT_EQ(s.entry(0, 0, 8), s.original(0, 0, 7));
    EXPECT_EQ(s.entry(0, 0, 9), s.original(0, 0, 7));
    EXPECT_EQ(s.entry(0, 0, -1), s.original(0, 0, 7));
    EXPECT_EQ(s.entry(1, 0, -1), s.original(1, 0, 9));
}

std::function<uint32_t(void *, uint32_t)> gCheck;
uint32_t check_through(void *context, uint32_t rows) { return gCheck(context, rows); }

TEST(McuRowDriver, CancelCallbackStopsBeforeTheRowItRefuses) {
    McuScene s({1}, 40, 5);
    std::vector<uint32_t> rowsSeen;
    gCheck = [&](void *context, uint32_t rows) {
        EXPECT_EQ(context, &s.record);
        rowsSeen.push_back(rows);
        return rows < 7 ? 1u : 0u;
    };
    s.ctx.checkFn = check_through;
    EXPECT_EQ(s.process(), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.process(), DALTJ_STATUS_FAILED);
    EXPECT_EQ(rowsSeen, (std::vector<uint32_t>{0, 7}));
    EXPECT_EQ(stages().decodeLists.size(), 1u);
    EXPECT_EQ(s.main.mcuRowCounter, 1u);
    EXPECT_EQ(s.ctx.outputRow, 7);
}

TEST(McuRowDriver, InputRanDryFailsAndTheRowIsDecodedAgain) {
    McuScene s({1}, 40, 5);
    stages().decodeResults = {DALTJ_STATUS_INPUT_DRY};
    EXPECT_EQ(s.process(), DALTJ_STATUS_FAILED);
    EXPECT_EQ(s.main.bufferFull, 0u);
    EXPECT_EQ(s.main.mcuRowCounter, 0u);
    EXPECT_TRUE(stages().upsampleCalls.empty());
    EXPECT_EQ(s.process(), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.ctx.outputRow, 7);
}

TEST(McuRowDriver, SkippingConsumesRowsThroughTheSkipper) {
    McuScene s({1}, 40, 5);
    s.ctx.mcusPerRow = 3;
    EXPECT_EQ(s.process(100, 1), DALTJ_STATUS_ROW_DONE);
    EXPECT_TRUE(stages().decodeLists.empty());
    EXPECT_EQ(stages().skipCalls, 3);
    EXPECT_EQ(s.ctx.mcuRowsSkipped, 1u);
    for (const UpsampleCall &call : stages().upsampleCalls) EXPECT_EQ(call.skipMode, 1);
    EXPECT_EQ(s.ctx.outputRow, 7);
}

TEST(McuRowDriverResize, RecordsTheMcuRowAndNeedsNoPostponedRowGroup) {
    McuScene s({1}, 12, 2);
    stages().decodeResults = {DALTJ_STATUS_ROW_DONE, DALTJ_STATUS_END};
    EXPECT_EQ(s.process_resize(), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.ctx.outputRow, 7);
    EXPECT_EQ(s.entry(0, 0, -1), s.original(0, 0, 9));
    EXPECT_EQ(s.process_resize(2), DALTJ_STATUS_END);
    EXPECT_EQ(s.ctx.outputRow, 11);  // no postponed row group: the last MCU row's 4 real rows
    EXPECT_EQ(s.entry(1, 0, 4), s.original(1, 0, 3));
    EXPECT_EQ(stages().resizeMcuRowAtDecode, (std::vector<uint32_t>{0, 1}));
    EXPECT_EQ(s.main.bufferFull, 0u);
}

TEST(McuRowDriverResize, InputRanDryLeavesTheBufferFull) {
    McuScene s({1}, 40, 5);
    stages().decodeResults = {DALTJ_STATUS_INPUT_DRY};
    EXPECT_EQ(s.process_resize(), DALTJ_STATUS_FAILED);
    EXPECT_EQ(s.main.bufferFull, 1u);
    EXPECT_EQ(s.main.mcuRowCounter, 0u);
}

TEST(McuRowDriver, RefusesContextsItCannotIndexSafely) {
    const std::vector<std::function<void(McuScene &)>> breakers = {
        [](McuScene &s) { s.ctx.mainController = nullptr; },
        [](McuScene &s) { s.ctx.mcusPerRow = 0; },
        [](McuScene &s) { s.main.whichPtr = 2; },
        [](McuScene &s) { s.main.contextState = 3; },
        [](McuScene &s) { s.ctx.numComponents = 5; },
        [](McuScene &s) { s.ctx.components = nullptr, s.ctx.numComponents = 1; },
        [](McuScene &s) { s.comps[1].vSampFactor = 0; },
        [](McuScene &s) { s.comps[1].vSampFactor = 5; },
    };
    for (size_t i = 0; i < breakers.size(); ++i) {
        McuScene s({1, 1}, 40, 5);
        breakers[i](s);
        EXPECT_EQ(s.process(), DALTJ_STATUS_FAILED) << i;
        EXPECT_EQ(s.process_resize(), DALTJ_STATUS_FAILED) << i;
        EXPECT_TRUE(stages().decodeLists.empty()) << i;
        EXPECT_EQ(s.main.mcuRowCounter, 0u) << i;
    }
    McuScene s({1}, 40, 5);
    EXPECT_EQ(DALTJ_ProcessMCU(nullptr, nullptr, nullptr, 1, 0), DALTJ_STATUS_FAILED);
    EXPECT_EQ(DALTJ_ProcessMCU(&s.ctx, nullptr, nullptr, 1, 0), DALTJ_STATUS_FAILED);
    EXPECT_EQ(DALTJ_ProcessDataMCU_resize(&s.ctx, nullptr, nullptr, 1, 0), DALTJ_STATUS_FAILED);
}

// Three MCUs across, two MCU rows per MCU row (a non-interleaved scan of a subsampled component).
struct SkipScene : McuScene {
    SkipScene() : McuScene({1}, 100, 10) {
        ctx.mcusPerRow = 3;
        ctx.blocksInMcu = 2;
        coef.mcuRowsPerRow = 2;
        record.region_top = 10;
        record.region_height = 30;
    }
};

TEST(McuRowSkipper, ConsumesEveryMcuOfTheRowWithClearedBlocks) {
    SkipScene s;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(stages().skipCalls, 6);
    EXPECT_TRUE(stages().skipSawClearedBlocks);
    EXPECT_EQ(stages().setupiMcuCalls, 1);
    EXPECT_EQ(s.ctx.mcuRowsSkipped, 1u);
    EXPECT_EQ(s.ctx.mcuRowsDone, 1u);

    s.ctx.mcuRowsDone = 9;  // the last MCU row
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_END);
    EXPECT_EQ(stages().setupiMcuCalls, 1);
}

TEST(McuRowSkipper, EndsBelowTheRegion) {
    SkipScene s;
    s.ctx.outputRow = 40;  // source row 40 = region_top + region_height: still inside
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_ROW_DONE);
    s.ctx.outputRow = 41;
    stages().skipCalls = 0;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_END);
    EXPECT_EQ(stages().skipCalls, 0);
}

TEST(McuRowSkipper, InputRanDrySavesTheResumptionPoint) {
    SkipScene s;
    stages().skipFailsAt = 4;  // second MCU row, second column
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_INPUT_DRY);
    EXPECT_EQ(s.coef.mcuColumn, 1u);
    EXPECT_EQ(s.coef.mcuRowOffset, 1u);
    EXPECT_EQ(s.ctx.mcuRowsSkipped, 0u);
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_ROW_DONE);  // from the saved MCU row on
    EXPECT_EQ(stages().skipCalls, 8);
    EXPECT_EQ(s.coef.mcuColumn, 0u);

    SkipScene nearBottom;
    nearBottom.ctx.outputRow = 85;  // 15 rows to go
    nearBottom.record.region_height = 1000;
    stages().skipFailsAt = 0;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&nearBottom.ctx), DALTJ_STATUS_END);
    EXPECT_EQ(nearBottom.coef.mcuRowOffset, 0u);
}

TEST(McuRowSkipper, RefusesContextsItCannotWorkOn) {
    const std::vector<std::function<void(McuScene &)>> breakers = {
        [](McuScene &s) { s.ctx.checkContext = nullptr; },
        [](McuScene &s) { s.ctx.coefController = nullptr; },
        [](McuScene &s) { s.ctx.outputHeight = 0; },
        [](McuScene &s) { s.ctx.mcusPerRow = 0; },
        [](McuScene &s) { s.ctx.blocksInMcu = 11; },
    };
    for (size_t i = 0; i < breakers.size(); ++i) {
        SkipScene s;
        breakers[i](s);
        EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_END) << i;
        EXPECT_EQ(stages().skipCalls, 0) << i;
    }
    EXPECT_EQ(DALTJ_SkipSingleiMcu(nullptr), DALTJ_STATUS_END);
    SkipScene oneOutputRow;
    oneOutputRow.ctx.outputHeight = 1;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&oneOutputRow.ctx), DALTJ_STATUS_ROW_DONE);
}

}  // namespace
