// Context rows for the MCU row drivers. Each component has two lists of sample-row pointers over
// the same rows (the main controller's rowPointers[0] and [1]); with rgroup the component's
// vertical sampling factor, a list has entries -rgroup .. 11 * rgroup - 1, i.e. one row group
// above the MCU row's eight and two below it. The drivers hand the MCU row on in row groups and
// the upsampler reads one row group above and one below the one it works on:
//
//   list index   -rgroup .. -1 | 0 .. 8*rgroup - 1 | 8*rgroup .. 11*rgroup - 1
//   holds        row group above | this MCU row     | row groups below
//
// After the first MCU row the slots above the start are made to point at row group 9 (the last
// row group of the previous MCU row, in the other list's order) and the slots of row group 10
// at row group 0, so that both lists wrap around. At the last MCU row the rows beyond the
// component's real height repeat its last real row, so the upsampler's look-below stays inside
// the image.

#include "jpeg/context_rows.h"

namespace kovra::jpeg {

namespace {

constexpr uint32_t kRowsPerBlock = 8;
constexpr uint32_t kWrapSourceGroup = 9;   // the row group that the slots above the start show
constexpr uint32_t kWrapTargetGroup = 10;  // the row group below the end that shows row group 0

}  // namespace

bool context_rows_usable(const DALTJ_DecoderInfo *ctx) {
    if (ctx->numComponents > kMaxComponents) return false;
    if (ctx->numComponents != 0 && ctx->components == nullptr) return false;
    for (uint32_t c = 0; c < ctx->numComponents; ++c) {
        const uint32_t v = ctx->components[c].vSampFactor;
        if (v == 0 || v > kMaxVSampFactor) return false;
    }
    return true;
}

void set_bottom_pointers(DALTJ_DecoderInfo *ctx) {
    DALTJ_MainController *main = ctx->mainController;
    for (int c = ctx->numComponents - 1; c >= 0; --c) {
        const DALTJ_ComponentInfo &comp = ctx->components[c];
        const uint32_t v = comp.vSampFactor;
        const uint32_t imcuHeight = v * kRowsPerBlock;
        uint32_t rowsLeft = comp.downsampledHeight % imcuHeight;
        if (rowsLeft == 0) rowsLeft = imcuHeight;
        if (c == 0) main->rowgroupsAvail = (rowsLeft - 1) / v + 1;
        uint8_t **rows = main->rowPointers[main->whichPtr][c];
        for (uint32_t i = 0; i < 2 * v; ++i) rows[rowsLeft + i] = rows[rowsLeft - 1];
    }
}

void set_wraparound_pointers(DALTJ_DecoderInfo *ctx) {
    DALTJ_MainController *main = ctx->mainController;
    for (int c = ctx->numComponents - 1; c >= 0; --c) {
        const int32_t rgroup = ctx->components[c].vSampFactor;
        for (uint8_t ***list : main->rowPointers) {
            uint8_t **rows = list[c];
            for (int32_t i = 0; i < rgroup; ++i) {
                rows[i - rgroup] = rows[kWrapSourceGroup * rgroup + i];
                rows[kWrapTargetGroup * rgroup + i] = rows[i];
            }
        }
    }
}

}  // namespace kovra::jpeg
