// Recording doubles of the JPEG stages a host may supply, for tests that link the shared object
// (kovra_stage_test): the library's drivers call these instead of its fixed-result stages.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "kovra_jpeg.h"

struct UpsampleCall {
    uint32_t rowgroupCounter;  // on entry
    uint32_t rowgroupsAvail;
    uint8_t skipMode;
    uint8_t whichPtr;
};

// What the doubles do and what they saw. Reset it in each test (stages() = {}).
struct StageScript {
    std::deque<uint32_t> decodeResults;  // DALTJ_DecodeSingleiMcu(_resize), then 100 when empty
    std::vector<uint8_t ***> decodeLists;   // the list each MCU-row decode was given
    std::vector<uint32_t> resizeMcuRowAtDecode;
    int resizeDecodes = 0;
    std::vector<UpsampleCall> upsampleCalls;
    // The upsampler double hands on one output row per row group, at most rowsAvail per call.
    int skipCalls = 0;
    int skipFailsAt = -1;                // the DALTJ_SkipMcuDual call (from 0) that reports 0
    bool skipSawClearedBlocks = true;
    int setupiMcuCalls = 0;
    int mcuDecodes = 0;
    int mcuDecodeFailsAt = -1;           // the DALTJ_DecodeMcu_8to1 call (from 0) that reports 0
    std::vector<bool> mcuBlocksWereClear;  // per DALTJ_DecodeMcu_8to1 call: every block all zeros
    std::function<int16_t(int call, int block)> dcOf = [](int, int) { return int16_t{0}; };
};

StageScript &stages();
