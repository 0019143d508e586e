// Doubles of the JPEG stages a host may supply, for tests that link the shared object
// (kovra_stage_test), so the library's drivers call these instead of its own. Each counts its
// calls and follows the script; a test may replace one (before any thread starts).
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "kovra_jpeg.h"

struct StageScript {
    std::deque<uint32_t> decodeResults;  // the MCU-row decodes' results, then ROW_DONE
    int decodes = 0;
    std::vector<uint8_t> upsampleSkipModes;  // the upsampler hands on one row per row group
    int skipCalls = 0, skipFailsAt = -1;     // the DALTJ_SkipMcuDual call (from 0) that reports 0
    bool skipSawClearedBlocks = true;
    int setupiMcuCalls = 0;
    int mcuDecodes = 0, mcuDecodeFailsAt = -1;  // DALTJ_DecodeMcu_8to1, which sets the DC terms
    bool mcuBlocksWereClear = true;
    int16_t (*dcOf)(int call, int block) = [](int call, int block) { return static_cast<int16_t>(10 * call + block); };
    std::deque<std::pair<int32_t, uint32_t>> processAnswers;  // DALTJ_ProcessData*: status, rows
    std::string processCalls;                                 // D, R or P per call
    uint32_t (*decodeRow)(DALTJ_DecoderInfo *) = nullptr;     // replaces both MCU-row decodes
    int32_t (*skipMcu)(DALTJ_DecoderInfo *) = nullptr;
    void (*upsample)(DALTJ_DecoderInfo *, uint32_t *rowsOut, uint32_t rowsAvail) = nullptr;
};

StageScript &stages();

// A context for the MCU row drivers: components with the given vertical sampling factors over an
// image of `height` rows, two row-pointer lists per component (entries -v .. 11 v - 1, all one
// row), ten blocks. Resets the doubles.
struct McuScene {
    DALTJ_DecoderInfo ctx{};
    DALTJ_MainController main{};
    DALTJ_CoefController coef{};
    KOVRADALT_DecInfo record{};
    std::vector<DALTJ_ComponentInfo> comps;
    uint8_t row[64]{};
    std::vector<uint8_t *> entries[2][4];
    uint8_t **heads[2][4]{};
    int16_t blocks[10][64]{};

    McuScene(std::vector<uint8_t> vFactors, uint16_t height, uint32_t mcuRows) {
        stages() = {};
        const uint8_t vmax = *std::max_element(vFactors.begin(), vFactors.end());
        for (size_t c = 0; c < vFactors.size(); ++c) {
            const uint8_t v = vFactors[c];
            comps.push_back({});
            comps[c].componentIndex = static_cast<uint8_t>(c);
            comps[c].vSampFactor = v;
            comps[c].downsampledHeight = static_cast<uint16_t>((height * v + vmax - 1) / vmax);
            for (int w = 0; w < 2; ++w) entries[w][c].assign(12 * v, row), heads[w][c] = entries[w][c].data() + v;
        }
        main.rowPointers[0] = heads[0], main.rowPointers[1] = heads[1];
        for (int b = 0; b < 10; ++b) coef.blocks[b] = blocks[b];
        coef.mcuRowsPerRow = 1;
        record.region_height = 1 << 20;
        ctx.numComponents = static_cast<uint8_t>(comps.size());
        ctx.components = comps.data();
        ctx.mainController = &main;
        ctx.coefController = &coef;
        ctx.checkContext = &record;
        ctx.mcusPerRow = ctx.blocksInMcu = 1;
        ctx.totalMcuRows = mcuRows;
        ctx.outputHeight = ctx.imageHeightRows = height;
    }

    int32_t process(bool resize = false, int32_t skip = 0) {
        uint32_t rowsOut = 0;
        return resize ? static_cast<int32_t>(DALTJ_ProcessDataMCU_resize(&ctx, nullptr, &rowsOut, 100, skip))
                      : DALTJ_ProcessMCU(&ctx, nullptr, &rowsOut, 100, skip);
    }
};
