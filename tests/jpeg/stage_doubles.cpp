#include "stage_doubles.h"

#include <gtest/gtest.h>

StageScript &stages() {
    static StageScript script;
    return script;
}

namespace {

uint32_t decode_row(DALTJ_DecoderInfo *ctx) {
    StageScript &s = stages();
    if (s.decodeRow != nullptr) return s.decodeRow(ctx);
    ++s.decodes;
    if (s.decodeResults.empty()) return DALTJ_STATUS_ROW_DONE;
    const uint32_t result = s.decodeResults.front();
    s.decodeResults.pop_front();
    return result;
}

int32_t process(char name, uint32_t *rowsOut, uint32_t rowsAvail) {
    StageScript &s = stages();
    s.processCalls += name;
    EXPECT_EQ(rowsAvail, 1u);
    if (s.processAnswers.empty()) return DALTJ_STATUS_FAILED;
    const auto [status, rows] = s.processAnswers.front();
    s.processAnswers.pop_front();
    *rowsOut += rows;
    return status;
}

}  // namespace

extern "C" {

KOVRA_API uint32_t DALTJ_DecodeSingleiMcu(DALTJ_DecoderInfo *ctx, uint8_t ***) { return decode_row(ctx); }
KOVRA_API uint32_t DALTJ_DecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx, uint8_t ***) { return decode_row(ctx); }

KOVRA_API void DALTJ_SetupUpsample(DALTJ_DecoderInfo *ctx, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    if (stages().upsample != nullptr) return stages().upsample(ctx, rowsOut, rowsAvail);
    DALTJ_MainController *main = ctx->mainController;
    stages().upsampleSkipModes.push_back(ctx->skipMode);
    for (; main->rowgroupCounter < main->rowgroupsAvail && *rowsOut < rowsAvail; ++main->rowgroupCounter) ++*rowsOut;
}

KOVRA_API int32_t DALTJ_SkipMcuDual(DALTJ_DecoderInfo *ctx, int16_t **blocks) {
    StageScript &s = stages();
    if (s.skipMcu != nullptr) return s.skipMcu(ctx);
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b) {
        for (int i = 0; i < 64; ++i) s.skipSawClearedBlocks &= blocks[b][i] == 0;
        blocks[b][0] = 99;  // the next MCU must clear it
    }
    return s.skipCalls++ == s.skipFailsAt ? 0 : 1;
}

KOVRA_API void DALTJ_SetupiMcu(DALTJ_DecoderInfo *) {
    if (stages().skipMcu == nullptr) ++stages().setupiMcuCalls;  // not under a replacement: threads
}

KOVRA_API int32_t DALTJ_DecodeMcu_8to1(DALTJ_DecoderInfo *ctx, int16_t **blocks) {
    StageScript &s = stages();
    const int call = s.mcuDecodes++;
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b)
        for (int i = 0; i < 64; ++i) s.mcuBlocksWereClear &= blocks[b][i] == 0;
    if (call == s.mcuDecodeFailsAt) return 0;
    for (uint32_t b = 0; b < ctx->blocksInMcu; ++b) blocks[b][0] = s.dcOf(call, static_cast<int>(b));
    return 1;
}

KOVRA_API int32_t DALTJ_ProcessData(DALTJ_DecoderInfo *, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    return process('D', rowsOut, rowsAvail);
}
KOVRA_API int32_t DALTJ_ProcessData_resize(DALTJ_DecoderInfo *, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    return process('R', rowsOut, rowsAvail);
}
KOVRA_API int32_t DALTJ_ProcessDataPartial(DALTJ_DecoderInfo *, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    return process('P', rowsOut, rowsAvail);
}

}  // extern "C"
