// The drivers a host's stages plug into, against the recording doubles of stage_doubles.h: the
// MCU row drivers and skipper, the DC-only reduced decoders, the scan waiting points and the
// one-thread loops of the two-thread decode. What the road's corpus sweep holds against
// libjpeg-turbo (context rows, the reduced-size driver, the cancel callback) is not repeated here:
// these are the resumptions, regions, hostile terms and refused contexts it cannot reach.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "stage_doubles.h"

namespace {

TEST(McuRowDriver, InputRanDryFailsAndTheRowIsDecodedAgain) {
    for (const bool resize : {false, true}) {
        McuScene s({1}, 40, 5);
        stages().decodeResults = {DALTJ_STATUS_INPUT_DRY};
        EXPECT_EQ(s.process(100, 0, resize), DALTJ_STATUS_FAILED);
        EXPECT_EQ(s.main.bufferFull, resize ? 1u : 0u);  // the reduced-size driver keeps its rows
        EXPECT_EQ(s.main.mcuRowCounter, 0u);
        EXPECT_TRUE(stages().upsampleSkipModes.empty());
        if (resize) continue;
        EXPECT_EQ(s.process(), DALTJ_STATUS_ROW_DONE);
        EXPECT_EQ(s.ctx.outputRow, 7);
    }
}

TEST(McuRowDriver, SkippingConsumesRowsThroughTheSkipper) {
    McuScene s({1}, 40, 5);
    s.ctx.mcusPerRow = 3;
    EXPECT_EQ(s.process(100, 1), DALTJ_STATUS_ROW_DONE);
    EXPECT_TRUE(stages().decodeLists.empty());
    EXPECT_EQ(stages().skipCalls, 3);
    EXPECT_EQ(s.ctx.mcuRowsSkipped, 1u);
    EXPECT_EQ(stages().upsampleSkipModes, std::vector<uint8_t>{1});
    EXPECT_EQ(s.ctx.outputRow, 7);
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
        EXPECT_EQ(s.process(100, 0, true), DALTJ_STATUS_FAILED) << i;
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

TEST(McuRowSkipper, ConsumesEveryMcuOfTheRowWithClearedBlocksAndEndsBelowTheRegion) {
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
    s.ctx.mcuRowsDone = 0;
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

// Samples (plane row, column) and the (MCU, block) whose DC term each must hold; -1: unwritten.
using Expected = std::vector<std::array<int, 5>>;  // out row, column, MCU, block, multiplier factor
void expect_samples(const ReducedScene &s, const Expected &expected) {
    for (const auto &[row, col, mcu, block, factor] : expected) {
        const int want = mcu < 0 ? 0xEE : row < 3 ? s.luma(dc_of(mcu, block), factor) : s.chroma(dc_of(mcu, block), factor);
        EXPECT_EQ(s.out[row][col], want) << row << "," << col;
    }
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
    expect_samples(s, {{1, 0, 0, 0, 1}, {1, 1, 0, 1, 1}, {2, 0, 0, 2, 1}, {2, 1, 0, 3, 1}, {1, 2, 2, 0, 1},
                       {1, 3, -1, 0, 0}, {2, 2, 2, 2, 1}, {0, 0, -1, 0, 0}, {4, 0, 0, 4, 2}, {4, 1, 2, 4, 2}});
}

TEST(ReducedDc, RefusesContextsItCannotIndexSafely) {
    using Breaker = std::function<void(ReducedScene &)>;
    const std::pair<uint32_t (*)(DALTJ_DecoderInfo *, uint8_t ***), std::vector<Breaker>> cases[] = {
        {DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1,
         {[](ReducedScene &s) { s.ctx.scanComponents[2] = nullptr; }, [](ReducedScene &s) { s.ctx.blocksInMcu = 3; },
          [](ReducedScene &s) { s.ctx.checkContext = nullptr; }}},
        {DALTJ_DecodeSingleiMcuResizeMore16,
         {[](ReducedScene &s) { s.ctx.numComponents = 5; }, [](ReducedScene &s) { s.ctx.compsInScan = 5; },
          [](ReducedScene &s) { s.ctx.resizeScaleShift = 3; }, [](ReducedScene &s) { s.ctx.scanComponents[1] = nullptr; },
          [](ReducedScene &s) { s.scan[2].componentIndex = 3; }, [](ReducedScene &s) { s.scan[0].lastColWidth = 2; },
          [](ReducedScene &s) { s.scan[1].mcuHeight = 3; }}},
    };
    for (const auto &[decode, breakers] : cases) {
        for (size_t i = 0; i < breakers.size(); ++i) {
            ReducedScene s(4, 2);
            s.ctx.resizeScaleShift = 4;
            breakers[i](s);
            EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_END) << i;
            EXPECT_EQ(stages().mcuDecodes, 0) << i;
        }
    }
}

// The scan waiting points: when scan_jpeg waits, what ends the wait, and the refusals.
struct ScanScene {
    DALTJ_DecoderInfo ctx{};
    KOVRADALT_IO io{};
    DALTJ_ByteWindow window{};
    DALTJ_ScanArgs args{&ctx, 1};

    ScanScene() {
        ctx.io = &io;
        ctx.byteWindow = &window;
        ctx.outputHeight = 10;
        ctx.scanOffsets[1] = 1;
        ctx.scanTargetPosition = 500;
        ctx.scanState = 7;
        io.position = 600;
        window.avail = 4;
    }
};

TEST(ScanWait, NothingToWaitForLeavesTheStateAlone) {
    ScanScene disabled, noOffsets, noWindow;
    disabled.args.enable = 0;
    noOffsets.ctx.scanOffsets[1] = 0;
    noWindow.ctx.byteWindow = nullptr;
    for (ScanScene *s : {&disabled, &noOffsets, &noWindow}) {
        EXPECT_EQ(scan_jpeg(&s->args), 0u);
        EXPECT_EQ(s->ctx.scanState, 7);
    }
    EXPECT_EQ(scan_jpeg(nullptr), 0u);
    DALTJ_ScanArgs noContext{nullptr, 1};
    EXPECT_EQ(scan_jpeg(&noContext), 0u);
}

// A position short of the target would wait for ever: these return only because they do not wait.
TEST(ScanWait, FinishesWithoutWaitingPastTheTargetOrWhenTheDecodeIsOver) {
    ScanScene past, done, abandoned;
    done.io.position = abandoned.io.position = 10;
    done.ctx.outputRow = 10;
    abandoned.ctx.scanState = 4;
    for (ScanScene *s : {&past, &done, &abandoned}) {
        EXPECT_EQ(scan_jpeg(&s->args), 0u);
        EXPECT_EQ(s->ctx.scanState, 3);
    }
}

TEST(ScanWait, AtTheTargetWaitsForTheWindowToEmpty) {
    ScanScene s;
    s.io.position = 500;
    std::atomic<bool> emptied{false};
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        emptied = true;
        std::atomic_ref<int32_t>(s.window.avail).store(0);
    });
    EXPECT_EQ(scan_jpeg(&s.args), 0u);
    EXPECT_TRUE(emptied);
    EXPECT_EQ(s.ctx.scanState, 3);
    reader.join();
}

TEST(ScanWait, MidPointReturnsOnceTheDecodeIsOver) {
    ScanScene s;
    s.ctx.outputRow = 10;
    DALTJ_DecoderInfo *ctx = &s.ctx;
    EXPECT_EQ(scan_jpeg_mid_point(&ctx), 0u);
    EXPECT_EQ(s.ctx.scanState, 0);
    EXPECT_EQ(scan_jpeg_mid_point(nullptr), 0u);
}

// The one-thread loops against scripted row-group processors: (status, rows) per call.
TEST(DualcoreLoops, StopRowsEndsFailuresAndGuards) {
    stages() = {};
    DALTJ_BitReader bits{0, 1};
    DALTJ_DecoderInfo ctx{};
    ctx.numComponents = 3;
    ctx.outputHeight = 100;
    ctx.bitReader = &bits;
    auto run = [&](std::deque<std::pair<int32_t, uint32_t>> answers, uint16_t from, auto loop) {
        stages().processAnswers = std::move(answers);
        ctx.outputRow = from;
        const int32_t result = loop();
        EXPECT_TRUE(stages().processAnswers.empty());
        return std::pair{result, ctx.outputRow};
    };
    using R = std::pair<int32_t, uint16_t>;
    const std::pair<int32_t, uint32_t> row8{100, 8};
    EXPECT_EQ(run({row8, row8, row8}, 0, [&] { return DALTJ_Decode_Dualcore_1to1(nullptr, nullptr, &ctx, 20); }), R(100, 24));
    EXPECT_EQ(run({row8, row8}, 90, [&] { return DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 1000, 1); }), R(100, 106));
    EXPECT_EQ(run({{100, 4}, {100, 4}, {100, 4}, {100, 4}}, 95,  // the reduced loops ignore the height
                  [&] { return DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 110); }), R(100, 111));
    EXPECT_EQ(run({{100, 1}, {100, 1}}, 111, [&] { return DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 113, 0); }), R(100, 113));
    EXPECT_EQ(run({row8, {101, 3}}, 0, [&] { return DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 50, 0); }), R(101, 11));
    EXPECT_EQ(run({row8, {201, 5}}, 0, [&] { return DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 50, 1); }), R(201, 8));
    EXPECT_EQ(run({row8, {201, 5}}, 0, [&] { return DALTJ_Decode_Dualcore_1to1(nullptr, nullptr, &ctx, 50); }), R(201, 8));
    EXPECT_EQ(run({row8, row8}, 65530, [&] { return DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 10); }), R(100, 10));
    EXPECT_EQ(stages().processCalls, "DDDRRRRRRPPDDRRDDRR");
    bits.scanReady = 0;
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 50, 0), 0);
    EXPECT_EQ(DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 50), 0);
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 50, 0), 201);
    bits.scanReady = 1;
    ctx.numComponents = 4;
    EXPECT_EQ(DALTJ_Decode_Dualcore_8to1(nullptr, nullptr, &ctx, 50), 201);
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nto1(nullptr, nullptr, &ctx, 50, 1), 201);
    ctx.bitReader = nullptr;
    ctx.numComponents = 1;
    EXPECT_EQ(DALTJ_Decode_Dualcore_Nowait(nullptr, nullptr, &ctx, 50, 0), 0);
    EXPECT_EQ(DALTJ_Decode_Dualcore_1to1(nullptr, nullptr, nullptr, 50), 201);
    EXPECT_EQ(stages().processCalls.size(), 19u);  // the guards called nothing
}

}  // namespace
