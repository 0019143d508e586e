// The stages this host supplies to the library's drivers (C linkage, the names and signatures of
// kovra_jpeg.h, so that they take the place of the library's fixed-result entry points). A
// context that no live road made gets the failure status and is left alone.

#include "kovra_jpeg.h"
#include "road.h"

using kovra::jpeg_host::Road;
using kovra::jpeg_host::road_of;

namespace {
constexpr uint32_t kFailed = DALTJ_STATUS_FAILED;
}

extern "C" {

KOVRA_API uint32_t DALTJ_DecodeSingleiMcu(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows) {
    Road *road = road_of(ctx);
    return road == nullptr ? kFailed : road->decode_mcu_row(componentRows);
}

KOVRA_API uint32_t DALTJ_DecodeSingleiMcu_resize(DALTJ_DecoderInfo *ctx, uint8_t ***componentRows) {
    Road *road = road_of(ctx);
    return road == nullptr ? kFailed : road->decode_reduced_row(componentRows);
}

KOVRA_API int32_t DALTJ_DecodeMcu_8to1(DALTJ_DecoderInfo *ctx, int16_t **mcuBlocks) {
    Road *road = road_of(ctx);
    return road == nullptr || mcuBlocks == nullptr ? 0 : road->next_mcu(mcuBlocks);
}

KOVRA_API void DALTJ_SetupUpsample(DALTJ_DecoderInfo *ctx, uint8_t **, uint32_t *rowsOut, uint32_t rowsAvail) {
    if (Road *road = road_of(ctx)) road->hand_on(rowsOut, rowsAvail);
}

}  // extern "C"
