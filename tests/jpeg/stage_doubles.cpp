#include "stage_doubles.h"

StageScript &stages() {
    static StageScript script;
    return script;
}

namespace {

uint32_t next_decode_result() {
    StageScript &s = stages();
    if (s.decodeResults.empty()) return DALTJ_STATUS_ROW_DONE;
    const uint32_t result = s.decodeResults.front();
    s.decodeResults.pop_front();
    return result;
}

}  // namespace

extern "C" {

KOVRA_API uint32_t DALTJ_DecodeSingleiMcu(DALTJ_DecoderInfo *, uint8_t ***componentRows) {
    stages().decodeLists.push_back(componentRows);
    return next_decode_result();
}

KOVRA_API uint32_t DALTJ_DecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows) {
    stages().resizeMcuRowAtDecode.push_back(ctx->resizeMcuRow);
    ++stages().resizeDecodes;
    return DALTJ_DecodeSingleiMcu(ctx, componentRows);
}

KOVRA_API void DALTJ_SetupUpsample(DALTJ_DecoderInfo *ctx, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    DALTJ_MainController *main = ctx->mainController;
    stages().upsampleCalls.push_back({main->rowgroupCounter, main->rowgroupsAvail, ctx->skipMode, main->whichPtr});
    while (main->rowgroupCounter < main->rowgroupsAvail && *rowsOut < rowsAvail) {
        ++main->rowgroupCounter;
        ++*rowsOut;
        ++ctx->outputRowsWritten;
    }
}

KOVRA_API int32_t DALTJ_SkipMcuDual(DALTJ_DecoderInfo *ctx, int16_t **blocks) {
    StageScript &s = stages();
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b)
        for (int i = 0; i < 64; ++i) s.skipSawClearedBlocks &= blocks[b][i] == 0;
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b) blocks[b][0] = 99;  // the next MCU must clear it
    return s.skipCalls++ == s.skipFailsAt ? 0 : 1;
}

KOVRA_API void DALTJ_SetupiMcu(DALTJ_DecoderInfo *) { ++stages().setupiMcuCalls; }

KOVRA_API int32_t DALTJ_DecodeMcu_8to1(DALTJ_DecoderInfo *ctx, int16_t **blocks) {
    StageScript &s = stages();
    const int call = s.mcuDecodes++;
    bool clear = true;
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b)
        for (int i = 0; i < 64; ++i) clear &= blocks[b][i] == 0;
    s.mcuBlocksWereClear.push_back(clear);
    if (call == s.mcuDecodeFailsAt) return 0;
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b) blocks[b][0] = s.dcOf(call, static_cast<int>(b));
    return 1;
}

}  // extern "C"
