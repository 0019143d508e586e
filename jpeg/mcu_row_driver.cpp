// The MCU row drivers: decode one MCU row into the sample rows behind the main controller's
// current list, then hand it on, row group by row group, to the host's upsampler and colour
// converter (DALTJ_SetupUpsample), until the whole MCU row is handed on.
//
// DALTJ_ProcessMCU keeps context rows (context_rows.cpp): the last row group of an MCU row is
// postponed until the next MCU row is decoded, because the upsampler looks one row group below.
// Its controller walks three states:
//   0 prepare   row groups 0..6 of the new MCU row become available (fewer at the last MCU row,
//               whose bottom rows are then repeated);
//   1 process   hand them on; once all are, flip the lists and make row group 9 (the last one
//               of this MCU row, seen through the other list) the postponed one;
//   2 postponed hand the postponed row group on after the next MCU row has been decoded.
// DALTJ_ProcessDataMCU_resize is the reduced-size variant without a postponed row group.
//
// The decoding stages are called through their exported symbols, so a host's own definitions
// replace the library's fixed-result ones. With those fixed results DALTJ_SetupUpsample hands
// nothing on, so DALTJ_ProcessMCU never finishes an MCU row and keeps cycling: that is the
// shipped library's behaviour and is kept.
//
// Refused with 201 before anything changes: a null context, main controller or rowsOut;
// mcusPerRow 0; whichPtr above 1; contextState above 2; numComponents above 4, a null component
// array, or a vertical sampling factor of 0 or above 4 (the row-pointer lists are indexed by it).
// The output rows and the row-pointer lists themselves are the host's, trusted to be sized as
// documented in kovra_jpeg.h.

#include "jpeg/context_rows.h"
#include "kovra_jpeg.h"

namespace kovra::jpeg {

namespace {

enum ContextState : uint8_t { kPrepare = 0, kProcess = 1, kPostponed = 2 };

constexpr uint32_t kRowGroupsBeforeLast = 7;  // row groups handed on before the postponed one
constexpr uint32_t kPostponedGroup = 9;
constexpr uint32_t kPostponedGroupEnd = 10;

bool driver_context_usable(const DALTJ_DecoderInfo *ctx, const uint32_t *rowsOut) {
    if (ctx == nullptr || rowsOut == nullptr || ctx->mainController == nullptr) return false;
    const DALTJ_MainController *main = ctx->mainController;
    return ctx->mcusPerRow != 0 && main->whichPtr <= 1 && main->contextState <= kPostponed &&
           context_rows_usable(ctx);
}

// Asks the cancel callback, if any, whether to go on before a new MCU row.
bool cancelled(const DALTJ_DecoderInfo *ctx) {
    return ctx->checkFn != nullptr && ctx->checkFn(ctx->checkContext, ctx->outputRowsWritten) == 0;
}

uint8_t ***current_list(const DALTJ_DecoderInfo *ctx) {
    const DALTJ_MainController *main = ctx->mainController;
    return main->rowPointers[main->whichPtr];
}

void hand_on(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut, uint32_t rowsAvail, int32_t skip) {
    ctx->skipMode = skip != 0 ? 1 : 0;
    DALTJ_SetupUpsample(ctx, outputRows, rowsOut, rowsAvail);
}

bool row_groups_pending(const DALTJ_MainController *main) { return main->rowgroupCounter < main->rowgroupsAvail; }

// Every row group of the MCU row is handed on: the next round starts with the postponed one.
void finish_mcu_row(DALTJ_DecoderInfo *ctx) {
    DALTJ_MainController *main = ctx->mainController;
    if (main->mcuRowCounter == 1) set_wraparound_pointers(ctx);
    main->whichPtr ^= 1;
    main->bufferFull = 0;
    main->rowgroupCounter = kPostponedGroup;
    main->rowgroupsAvail = kPostponedGroupEnd;
}

void add_output_rows(DALTJ_DecoderInfo *ctx, uint32_t *rowsOut) {
    ctx->outputRow = static_cast<uint16_t>(ctx->outputRow + *rowsOut);
    *rowsOut = 0;
}

// One round of the context state machine over an MCU row already in the buffer.
void context_round(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut, uint32_t rowsAvail,
                   int32_t skip) {
    DALTJ_MainController *main = ctx->mainController;
    if (main->contextState == kPostponed) {
        DALTJ_SetupUpsample(ctx, outputRows, rowsOut, rowsAvail);
        if (row_groups_pending(main)) return;
        main->contextState = kPrepare;
        if (*rowsOut >= rowsAvail) return;
    }
    if (main->contextState == kPrepare) {
        main->rowgroupCounter = 0;
        main->rowgroupsAvail = kRowGroupsBeforeLast;
        if (main->mcuRowCounter == ctx->totalMcuRows) set_bottom_pointers(ctx);
        main->contextState = kProcess;
    }
    hand_on(ctx, outputRows, rowsOut, rowsAvail, skip);
    if (row_groups_pending(main)) return;
    finish_mcu_row(ctx);
    main->contextState = kPostponed;
}

// The frame both drivers share: refuse, ask the cancel callback and decode when the buffer is
// empty (decode_row stores the MCU decoder's status and says whether to go on), then run rounds
// until the MCU row is handed on.
template <class DecodeRow, class Round>
int32_t drive_mcu_row(DALTJ_DecoderInfo *ctx, uint32_t *rowsOut, DecodeRow decode_row, Round round) {
    if (!driver_context_usable(ctx, rowsOut)) return DALTJ_STATUS_FAILED;
    DALTJ_MainController *main = ctx->mainController;
    int32_t status = DALTJ_STATUS_ROW_DONE;
    if (main->bufferFull == 0) {
        if (cancelled(ctx)) return DALTJ_STATUS_FAILED;
        if (!decode_row(status)) return DALTJ_STATUS_FAILED;
    }
    do {
        round();
        add_output_rows(ctx, rowsOut);
    } while (main->bufferFull == 1);
    return status;
}

int32_t decode_or_skip(DALTJ_DecoderInfo *ctx, int32_t skip, uint32_t (*decode)(DALTJ_DecoderInfo *, uint8_t ***)) {
    return skip != 0 ? DALTJ_SkipSingleiMcu(ctx) : static_cast<int32_t>(decode(ctx, current_list(ctx)));
}

}  // namespace

}  // namespace kovra::jpeg

using namespace kovra::jpeg;

extern "C" {

KOVRA_API int32_t DALTJ_ProcessMCU(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                   uint32_t rowsAvail, int32_t skip) {
    return drive_mcu_row(
        ctx, rowsOut,
        [&](int32_t &status) {
            status = decode_or_skip(ctx, skip, DALTJ_DecodeSingleiMcu);
            if (status == DALTJ_STATUS_INPUT_DRY) return false;
            ctx->mainController->bufferFull = 1;
            ++ctx->mainController->mcuRowCounter;
            return true;
        },
        [&] { context_round(ctx, outputRows, rowsOut, rowsAvail, skip); });
}

KOVRA_API uint32_t DALTJ_ProcessDataMCU_resize(DALTJ_DecoderInfo *ctx, uint8_t **outputRows, uint32_t *rowsOut,
                                               uint32_t rowsAvail, int32_t skip) {
    DALTJ_MainController *main = ctx != nullptr ? ctx->mainController : nullptr;
    return drive_mcu_row(
        ctx, rowsOut,
        [&](int32_t &status) {
            ctx->resizeMcuRow = main->mcuRowCounter;
            status = decode_or_skip(ctx, skip, DALTJ_DecodeSingleiMcu_resize);
            main->bufferFull = 1;
            if (status == DALTJ_STATUS_INPUT_DRY) return false;
            main->rowgroupsAvail = kRowGroupsBeforeLast;
            ++main->mcuRowCounter;
            main->rowgroupCounter = 0;
            if (main->mcuRowCounter == ctx->totalMcuRows) set_bottom_pointers(ctx);
            return true;
        },
        [&] {
            hand_on(ctx, outputRows, rowsOut, rowsAvail, skip);
            if (!row_groups_pending(main)) finish_mcu_row(ctx);
        });
}

}  // extern "C"
