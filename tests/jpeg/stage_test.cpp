// The drivers a host's stages plug into, against the doubles of stage_doubles.h: the MCU row
// drivers and skipper, the DC-only reduced decoders, the scan waiting points and the one-thread
// loops of the two-thread decode. The road's corpus sweep holds their ordinary work against
// libjpeg-turbo; these are the resumptions, regions, hostile terms and refused contexts.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "stage_doubles.h"

namespace {

TEST(McuRowDriver, InputRanDryFailsAndTheRowIsDecodedAgainOrSkipped) {
    for (const bool resize : {false, true}) {
        McuScene s({1}, 40, 5);
        stages().decodeResults = {DALTJ_STATUS_INPUT_DRY};
        EXPECT_EQ(s.process(resize), DALTJ_STATUS_FAILED);
        EXPECT_EQ(s.main.bufferFull, resize ? 1u : 0u);  // the reduced-size driver keeps its rows
        EXPECT_EQ(s.main.mcuRowCounter, 0u);
        EXPECT_TRUE(stages().upsampleSkipModes.empty());
    }
    McuScene s({1}, 40, 5);
    stages().decodeResults = {DALTJ_STATUS_INPUT_DRY};
    s.process();
    EXPECT_EQ(s.process(), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(s.ctx.outputRow, 7);
    s.ctx.mcusPerRow = 3;
    EXPECT_EQ(s.process(false, 1), DALTJ_STATUS_ROW_DONE);
    EXPECT_EQ(stages().decodes, 2);
    EXPECT_EQ(stages().skipCalls, 3);
    EXPECT_EQ(s.ctx.mcuRowsSkipped, 1u);
    EXPECT_EQ(stages().upsampleSkipModes, (std::vector<uint8_t>{0, 0, 1}));
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

TEST(McuRowSkipper, ConsumesTheRowWithClearedBlocksResumesAndEndsBelowTheRegion) {
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
    const int before = stages().skipCalls;
    const uint32_t skipped = s.ctx.mcuRowsSkipped;
    stages().skipFailsAt = before + 4;  // second MCU row, second column
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_INPUT_DRY);
    EXPECT_EQ(s.coef.mcuColumn, 1u);
    EXPECT_EQ(s.coef.mcuRowOffset, 1u);
    EXPECT_EQ(s.ctx.mcuRowsSkipped, skipped);
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_ROW_DONE);  // from the saved MCU row on
    EXPECT_EQ(stages().skipCalls, before + 8);
    EXPECT_EQ(s.coef.mcuColumn, 0u);
    s.ctx.outputRow = 41;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_END);
    EXPECT_EQ(stages().skipCalls, before + 8);
    SkipScene nearBottom;
    nearBottom.ctx.outputRow = 85;  // 15 rows to go
    nearBottom.record.region_height = 1000;
    stages().skipFailsAt = 0;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&nearBottom.ctx), DALTJ_STATUS_END);
    EXPECT_EQ(nearBottom.coef.mcuRowOffset, 0u);
}

constexpr int kLowest = -227, kHighest = 481;

// Three components; component i's multiplier scales the DC term by i + 1 (1 << 15 is 1); luma reads
// a plain clamp, chroma its negative, so a wrong table shows; nine output rows of 0xEE.
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
            multipliers[i][0] = (i + 1) << 15;
            scan[i].multipliers = multipliers[i].data();
            scan[i].componentIndex = static_cast<uint8_t>(i);
            scan[i].mcuWidth = scan[i].mcuHeight = scan[i].lastColWidth = 1;
            ctx.scanComponents[i] = &scan[i];
            for (int r = 0; r < 3; ++r) rowsOf[i][r] = out[3 * i + r].data();
            planes[i] = rowsOf[i];
        }
        for (auto &row : out) row.fill(0xEE);
        ctx.blocksInMcu = blocksInMcu;
        ctx.mcusPerRow = mcusPerRow;
        ctx.numComponents = ctx.compsInScan = 3;
        for (int b = 0; b < 10; ++b) blocks[b][1] = 5;  // an AC term that only clearing removes
    }
    static uint8_t luma(int dc, int factor = 1) { return static_cast<uint8_t>(std::clamp(dc * factor + 128, 0, 255)); }
};

TEST(ReducedDc, Yuv444ClearsEveryMcuAndClampsHostileTerms) {
    ReducedScene s(3, 3);
    stages().dcOf = [](int call, int block) { return static_cast<int16_t>(call == 0 ? 32767 : call == 1 ? -32768 : 10 * call + block); };
    s.multipliers[0][0] = INT32_MAX;
    s.multipliers[1][0] = INT32_MIN;
    EXPECT_EQ(DALTJ_DecodeSingleiMcuResize8to1_YUV444(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
    EXPECT_TRUE(stages().mcuBlocksWereClear);
    EXPECT_EQ(stages().mcuDecodes, 3);
    EXPECT_EQ(s.out[0][0], 255);
    EXPECT_EQ(s.out[0][1], 0);
    EXPECT_EQ(s.out[3][1], 0);  // chroma: 255 - the clamp of a huge positive level
    EXPECT_EQ(s.out[6][2], 255 - s.luma(22, 3));
    EXPECT_EQ(s.out[0][3], 0xEE);
}

// Region top 20 rounded down to 16; output rows map one to one onto source rows.
TEST(ReducedDc, RowsAboveTheRegionAreDecodedButNotWrittenAndInputRanDry) {
    for (auto decode : {DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1, DALTJ_DecodeSingleiMcuResize8to1_YUV444}) {
        ReducedScene s(4, 2);
        s.record.region_top = 20;
        s.record.region_height = 10;
        s.ctx.regionRowAlign = 8;
        s.ctx.outputRow = 15;
        EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
        EXPECT_EQ(stages().mcuDecodes, 2);
        EXPECT_EQ(s.out[0][0], 0xEE);
        EXPECT_EQ(s.ctx.resizeMcuRow, decode == DALTJ_DecodeSingleiMcuResize8to1_YUV444 ? 1u : 0u);  // 4:4:4 counts it
        s.ctx.outputRow = 16;
        EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
        EXPECT_NE(s.out[0][0], 0xEE);
        s.ctx.outputRow = 31;  // source row 31 lies below 20 + 10
        EXPECT_EQ(decode(&s.ctx, s.planes), DALTJ_STATUS_END);
        EXPECT_EQ(stages().mcuDecodes, 4);
    }
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
// reduction writes (x = 16 * c >> s) and the MCU rows it drops after the written one. Then 2x2
// luma blocks and one chroma block an MCU, the last column one luma block wide, resumed at MCU
// column 2 of row offset 1: luma of columns 0 and 2 at x 0..3 of rows 1 and 2, chroma at x 0, 1.
TEST(ReducedDcMore16, DropsMcusAcrossAndRowsDownAndWritesEachComponentsOwnRows) {
    const struct {
        uint32_t shift;
        std::array<int, 5> callAtColumn;  // -1: column not written
        int decodes;
    } cases[] = {{4, {0, -1, 2, -1, 4}, 10}, {5, {1, 3, 4, -1, -1}, 20}, {6, {2, 4, -1, -1, -1}, 40}, {32, {4, -1, -1, -1, -1}, 40}};
    for (const auto &t : cases) {
        ReducedScene s(1, 5);
        s.ctx.resizeScaleShift = t.shift;
        s.ctx.compsInScan = 1;
        s.scan[0].mcuSampleWidth = 16;
        EXPECT_EQ(DALTJ_DecodeSingleiMcuResizeMore16(&s.ctx, s.planes), DALTJ_STATUS_ROW_DONE);
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(s.out[0][x], t.callAtColumn[x] < 0 ? 0xEE : s.luma(10 * t.callAtColumn[x])) << t.shift << x;
        EXPECT_EQ(stages().mcuDecodes, t.decodes) << t.shift;
        EXPECT_EQ(s.ctx.resizeMcuRow, static_cast<uint32_t>(t.decodes / 5)) << t.shift;
    }
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
    auto l = [](int dc, int factor = 1) { return ReducedScene::luma(dc, factor); };
    const int samples[][3] = {{1, 0, l(0)},  {1, 1, l(1)},  {1, 2, l(20)}, {1, 3, 0xEE},          {2, 0, l(2)},
                              {2, 1, l(3)},  {2, 2, l(22)}, {0, 0, 0xEE},  {4, 0, 255 - l(4, 2)}, {4, 1, 255 - l(24, 2)}};
    for (const auto &[row, col, value] : samples) EXPECT_EQ(s.out[row][col], value) << row << "," << col;
}

// Contexts the drivers cannot index safely: refused before any stage is called or any counter moves.
TEST(Drivers, RefuseContextsTheyCannotIndexSafely) {
    const std::function<void(McuScene &)> mcu[] = {
        [](McuScene &s) { s.ctx.mainController = nullptr; },  [](McuScene &s) { s.ctx.mcusPerRow = 0; },
        [](McuScene &s) { s.main.whichPtr = 2; },             [](McuScene &s) { s.main.contextState = 3; },
        [](McuScene &s) { s.ctx.numComponents = 5; },         [](McuScene &s) { s.ctx.components = nullptr, s.ctx.numComponents = 1; },
        [](McuScene &s) { s.comps[1].vSampFactor = 0; },      [](McuScene &s) { s.comps[1].vSampFactor = 5; }};
    for (size_t i = 0; i < std::size(mcu); ++i) {
        McuScene s({1, 1}, 40, 5);
        mcu[i](s);
        EXPECT_EQ(s.process(), DALTJ_STATUS_FAILED) << i;
        EXPECT_EQ(s.process(true), DALTJ_STATUS_FAILED) << i;
        EXPECT_EQ(stages().decodes + s.main.mcuRowCounter, 0u) << i;
    }
    McuScene s({1}, 40, 5);
    EXPECT_EQ(DALTJ_ProcessMCU(nullptr, nullptr, nullptr, 1, 0), DALTJ_STATUS_FAILED);
    EXPECT_EQ(DALTJ_ProcessMCU(&s.ctx, nullptr, nullptr, 1, 0), DALTJ_STATUS_FAILED);
    EXPECT_EQ(DALTJ_ProcessDataMCU_resize(&s.ctx, nullptr, nullptr, 1, 0), DALTJ_STATUS_FAILED);

    const std::function<void(McuScene &)> skip[] = {
        [](McuScene &s) { s.ctx.checkContext = nullptr; }, [](McuScene &s) { s.ctx.coefController = nullptr; },
        [](McuScene &s) { s.ctx.outputHeight = 0; },       [](McuScene &s) { s.ctx.mcusPerRow = 0; },
        [](McuScene &s) { s.ctx.blocksInMcu = 11; }};
    for (size_t i = 0; i < std::size(skip); ++i) {
        SkipScene s;
        skip[i](s);
        EXPECT_EQ(DALTJ_SkipSingleiMcu(&s.ctx), DALTJ_STATUS_END) << i;
        EXPECT_EQ(stages().skipCalls, 0) << i;
    }
    EXPECT_EQ(DALTJ_SkipSingleiMcu(nullptr), DALTJ_STATUS_END);
    SkipScene oneOutputRow;  // and ten blocks an MCU, the most there are
    oneOutputRow.ctx.outputHeight = 1;
    oneOutputRow.ctx.blocksInMcu = 10;
    EXPECT_EQ(DALTJ_SkipSingleiMcu(&oneOutputRow.ctx), DALTJ_STATUS_ROW_DONE);

    using Breaker = void (*)(ReducedScene &);
    const std::pair<uint32_t (*)(DALTJ_DecoderInfo *, uint8_t ***), Breaker> reduced[] = {
        {DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1, [](ReducedScene &s) { s.ctx.scanComponents[2] = nullptr; }},
        {DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1, [](ReducedScene &s) { s.ctx.blocksInMcu = 3; }},
        {DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1, [](ReducedScene &s) { s.ctx.checkContext = nullptr; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.ctx.numComponents = 5; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.ctx.compsInScan = 5; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.ctx.resizeScaleShift = 3; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.ctx.scanComponents[1] = nullptr; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.scan[2].componentIndex = 3; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.scan[0].lastColWidth = 2; }},
        {DALTJ_DecodeSingleiMcuResizeMore16, [](ReducedScene &s) { s.scan[1].mcuHeight = 3; }}};
    for (size_t i = 0; i < std::size(reduced); ++i) {
        ReducedScene s(4, 2);
        s.ctx.resizeScaleShift = 4;
        reduced[i].second(s);
        EXPECT_EQ(reduced[i].first(&s.ctx, s.planes), DALTJ_STATUS_END) << i;
        EXPECT_EQ(stages().mcuDecodes, 0) << i;
    }
}

// scan_jpeg waits at its target position until the window has emptied, unless nothing is to be
// waited for (state left alone) or the position is past the target or the decode over (state 3).
TEST(ScanWait, WaitsOnlyAtTheTargetAndFinishesOtherwise) {
    struct ScanScene {
        DALTJ_DecoderInfo ctx{};
        KOVRADALT_IO io{};
        DALTJ_ByteWindow window{};
        DALTJ_ScanArgs args{&ctx, 1};
        ScanScene() {
            ctx.io = &io, ctx.byteWindow = &window, ctx.scanOffsets[1] = 1;
            ctx.outputHeight = 10, ctx.scanState = 7, ctx.scanTargetPosition = 500;
            io.position = 600, window.avail = 4;
        }
    } disabled, noOffsets, noWindow, past, done, abandoned, target, mid;
    disabled.args.enable = 0;
    noOffsets.ctx.scanOffsets[1] = 0;
    noWindow.ctx.byteWindow = nullptr;
    done.io.position = abandoned.io.position = 10;
    done.ctx.outputRow = mid.ctx.outputRow = 10;
    abandoned.ctx.scanState = 4;
    for (ScanScene *s : {&disabled, &noOffsets, &noWindow, &past, &done, &abandoned}) {
        EXPECT_EQ(scan_jpeg(&s->args), 0u);
        EXPECT_EQ(s->ctx.scanState, s == &past || s == &done || s == &abandoned ? 3 : 7);
    }
    DALTJ_ScanArgs noContext{nullptr, 1};
    EXPECT_EQ(scan_jpeg(&noContext) + scan_jpeg(nullptr) + scan_jpeg_mid_point(nullptr), 0u);
    target.io.position = 500;
    std::atomic<bool> emptied{false};
    std::thread reader([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        emptied = true;
        std::atomic_ref<int32_t>(target.window.avail).store(0);
    });
    EXPECT_EQ(scan_jpeg(&target.args), 0u);
    EXPECT_TRUE(emptied);
    EXPECT_EQ(target.ctx.scanState, 3);
    reader.join();
    DALTJ_DecoderInfo *ctx = &mid.ctx;
    EXPECT_EQ(scan_jpeg_mid_point(&ctx), 0u);
    EXPECT_EQ(mid.ctx.scanState, 0);
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
