// One-thread loops of the two-thread decode: each drives a row-group processor, one row group per
// call, until the context's outputRow reaches the stop row (or, for the full-size loops, the
// output height), or the processor reports the end (101, returned as the last result) or a
// failure (201, returned at once, the rows of that call not counted). The processors are stages a
// host may supply, reached through their exported symbols; the library's own produce nothing, so
// with them a loop whose stop row lies ahead never returns.
//
// outputRow is a 16-bit counter: the rows of each call are added to it modulo 65536 and it is
// compared as it stands. The processors get no row list of the loop's own (the colour stage
// writes through the context's output pointers) and a limit of one row.
//
// The reduced-size loops refuse contexts of more than three components, and all but the first
// refuse a scan the bit reader has not marked ready: _Nowait and _8to1 with 0, _Nto1 with 201.
// A null context (or bit reader, where it is read) is refused the same way, with 201 where there
// is no other answer.

#include "kovra_jpeg.h"

namespace {

using Processor = int32_t (*)(DALTJ_DecoderInfo *, uint8_t **, uint32_t *, uint32_t);

constexpr uint32_t kRowsPerCall = 1;

bool scan_ready(const DALTJ_DecoderInfo *ctx) { return ctx->bitReader != nullptr && ctx->bitReader->scanReady == 1; }

bool at_stop_row(const DALTJ_DecoderInfo *ctx, uint32_t stopRow) { return ctx->outputRow >= stopRow; }

bool at_stop_or_bottom(const DALTJ_DecoderInfo *ctx, uint32_t stopRow) {
    return at_stop_row(ctx, stopRow) || static_cast<int32_t>(ctx->outputRow) >= ctx->outputHeight;
}

template <bool (*Finished)(const DALTJ_DecoderInfo *, uint32_t)>
int32_t drive_rows(DALTJ_DecoderInfo *ctx, uint32_t stopRow, Processor process) {
    for (;;) {
        uint32_t rows = 0;
        const int32_t result = process(ctx, nullptr, &rows, kRowsPerCall);
        if (result == DALTJ_STATUS_FAILED) return result;
        ctx->outputRow = static_cast<uint16_t>(ctx->outputRow + rows);
        if (result == DALTJ_STATUS_END || Finished(ctx, stopRow)) return result;
    }
}

}  // namespace

extern "C" {

KOVRA_API int32_t DALTJ_Decode_Dualcore_1to1(void *, void *, DALTJ_DecoderInfo *ctx, uint32_t stopRow) {
    if (ctx == nullptr) return DALTJ_STATUS_FAILED;
    return drive_rows<at_stop_or_bottom>(ctx, stopRow, DALTJ_ProcessData);
}

KOVRA_API int32_t DALTJ_Decode_Dualcore_Nowait(void *, void *, DALTJ_DecoderInfo *ctx, uint32_t stopRow,
                                               int32_t resize) {
    if (ctx == nullptr) return DALTJ_STATUS_FAILED;
    if (!scan_ready(ctx)) return 0;
    return drive_rows<at_stop_or_bottom>(ctx, stopRow, resize != 0 ? DALTJ_ProcessData_resize : DALTJ_ProcessData);
}

KOVRA_API int32_t DALTJ_Decode_Dualcore_8to1(void *, void *, DALTJ_DecoderInfo *ctx, uint32_t stopRow) {
    if (ctx == nullptr || ctx->numComponents > 3) return DALTJ_STATUS_FAILED;
    if (!scan_ready(ctx)) return 0;
    return drive_rows<at_stop_row>(ctx, stopRow, DALTJ_ProcessData_resize);
}

KOVRA_API int32_t DALTJ_Decode_Dualcore_Nto1(void *, void *, DALTJ_DecoderInfo *ctx, uint32_t stopRow,
                                             int32_t resize) {
    if (ctx == nullptr || ctx->numComponents > 3 || !scan_ready(ctx)) return DALTJ_STATUS_FAILED;
    return drive_rows<at_stop_row>(ctx, stopRow, resize != 0 ? DALTJ_ProcessData_resize : DALTJ_ProcessDataPartial);
}

}  // extern "C"
