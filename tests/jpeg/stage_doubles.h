// Doubles of the JPEG stages a host may supply, for tests that link the shared object
// (kovra_stage_test), so the library's drivers call these instead of its own. By default each
// records what it saw and follows the script; a test may give one a behaviour of its own (set
// before any thread starts: the replacements are only read).
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kovra_jpeg.h"

struct StageScript {
    std::deque<uint32_t> decodeResults;  // DALTJ_DecodeSingleiMcu(_resize), then ROW_DONE when empty
    std::vector<uint8_t ***> decodeLists;  // the list each MCU-row decode was given
    std::vector<uint32_t> resizeMcuRowAtDecode;
    std::vector<uint8_t> upsampleSkipModes;  // the upsampler hands on one row per row group
    int skipCalls = 0, skipFailsAt = -1;  // the DALTJ_SkipMcuDual call (from 0) that reports 0
    bool skipSawClearedBlocks = true;
    int setupiMcuCalls = 0;
    int mcuDecodes = 0, mcuDecodeFailsAt = -1;  // DALTJ_DecodeMcu_8to1, as the skipper
    std::vector<bool> mcuBlocksWereClear;       // per DALTJ_DecodeMcu_8to1 call: every block all zeros
    std::function<int16_t(int call, int block)> dcOf = [](int, int) { return int16_t{0}; };
    std::deque<std::pair<int32_t, uint32_t>> processAnswers;  // DALTJ_ProcessData*: status, rows
    std::string processCalls;                                 // D, R or P per call
    uint32_t (*decodeRow)(DALTJ_DecoderInfo *) = nullptr;     // replaces both MCU-row decodes
    int32_t (*skipMcu)(DALTJ_DecoderInfo *) = nullptr;
    void (*upsample)(DALTJ_DecoderInfo *, uint32_t *rowsOut, uint32_t rowsAvail) = nullptr;
};

StageScript &stages();

// A decoding context for the MCU row drivers: components with the given vertical sampling factors
// over an image of `height` rows, two row-pointer lists per component whose entries are distinct
// row addresses (so pointer moves can be told apart), and ten blocks. Resets the doubles.
struct McuScene {
    static constexpr int kRowsPerEntryList = 64;
    DALTJ_DecoderInfo ctx{};
    DALTJ_MainController main{};
    DALTJ_CoefController coef{};
    KOVRADALT_DecInfo record{};
    std::vector<DALTJ_ComponentInfo> comps;
    std::vector<uint8_t> rowBytes = std::vector<uint8_t>(2 * 4 * kRowsPerEntryList);
    std::vector<std::vector<uint8_t *>> entries[2];
    std::vector<uint8_t **> heads[2];
    int16_t blocks[10][64]{};

    McuScene(std::vector<uint8_t> vFactors, uint16_t height, uint32_t mcuRows) {
        stages() = {};
        const uint8_t vmax = *std::max_element(vFactors.begin(), vFactors.end());
        for (uint8_t v : vFactors) {
            DALTJ_ComponentInfo comp{};
            comp.componentIndex = static_cast<uint8_t>(comps.size());
            comp.vSampFactor = v;
            comp.downsampledHeight = static_cast<uint16_t>((height * v + vmax - 1) / vmax);
            comps.push_back(comp);
        }
        for (int w = 0; w < 2; ++w) {
            for (size_t c = 0; c < comps.size(); ++c) {
                const int v = comps[c].vSampFactor;
                std::vector<uint8_t *> list;
                for (int i = -v; i < 11 * v; ++i) list.push_back(original(w, static_cast<int>(c), i));
                entries[w].push_back(list);
            }
            for (size_t c = 0; c < comps.size(); ++c) heads[w].push_back(entries[w][c].data() + comps[c].vSampFactor);
            main.rowPointers[w] = heads[w].data();
        }
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
        ctx.outputHeight = height;
        ctx.imageHeightRows = height;
    }

    // The row address that entry i of component c's list w held at the start.
    uint8_t *original(int w, int c, int i) { return &rowBytes[(w * 4 + c) * kRowsPerEntryList + 16 + i]; }
    uint8_t *entry(int w, int c, int i) { return heads[w][c][i]; }

    int32_t process(uint32_t rowsAvail = 100, int32_t skip = 0, bool resize = false) {
        uint32_t rowsOut = 0;
        const int32_t status = resize ? static_cast<int32_t>(DALTJ_ProcessDataMCU_resize(&ctx, nullptr, &rowsOut, rowsAvail, skip))
                                      : DALTJ_ProcessMCU(&ctx, nullptr, &rowsOut, rowsAvail, skip);
        EXPECT_EQ(rowsOut, 0u);
        return status;
    }
};
