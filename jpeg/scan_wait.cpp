// Two thread bodies that hold a decoder at a waiting point until code outside the library lets
// it go.
//
// scan_jpeg waits for the entropy decoder's input to reach scanTargetPosition: it reads the
// source's position once and, unless that lies beyond the target, spins until the position is
// the target and the byte window has no bytes left (the window's avail is loaded afresh on every
// turn, as another thread empties it; the position is not, so a position short of the target
// waits for ever), then marks the scan finished (scanState 3). It waits only for a decode still
// running (outputRow below outputHeight, scanState not 4) with something to wait for (a
// scanOffsets entry set). scan_jpeg_mid_point marks the scan running (scanState 0) and, unless
// the decode is done, spins for ever. Both return 0. Who sets the target and who releases a
// waiting thread is the host's business.
//
// Refused (0 at once, nothing changed): null arguments or context; for scan_jpeg also a null
// input source or byte window.

#include <atomic>

#include "kovra_jpeg.h"

namespace {

constexpr uint8_t kScanFinishedWaiting = 3;
constexpr uint8_t kScanAbandoned = 4;

bool decode_running(const DALTJ_DecoderInfo *ctx) { return ctx->outputRow < ctx->outputHeight; }

}  // namespace

extern "C" {

KOVRA_API uint32_t scan_jpeg(DALTJ_ScanArgs *args) {
    if (args == nullptr || args->enable == 0 || args->context == nullptr) return 0;
    DALTJ_DecoderInfo *ctx = args->context;
    if (ctx->scanOffsets[0] == 0 && ctx->scanOffsets[1] == 0) return 0;
    if (ctx->io == nullptr || ctx->byteWindow == nullptr) return 0;
    if (decode_running(ctx) && ctx->scanState != kScanAbandoned) {
        const uint32_t position = static_cast<uint32_t>(ctx->io->position);
        const uint32_t target = ctx->scanTargetPosition;
        std::atomic_ref<int32_t> bytesLeft(ctx->byteWindow->avail);
        while (position <= target) {
            if (position == target && bytesLeft.load(std::memory_order_acquire) == 0) break;
        }
    }
    ctx->scanState = kScanFinishedWaiting;
    return 0;
}

KOVRA_API uint32_t scan_jpeg_mid_point(DALTJ_DecoderInfo **args) {
    if (args == nullptr || *args == nullptr) return 0;
    DALTJ_DecoderInfo *ctx = *args;
    ctx->scanState = 0;
    if (!decode_running(ctx)) return 0;
    std::atomic<bool> released{false};  // an atomic load each turn keeps the endless wait well defined
    while (!released.load(std::memory_order_relaxed)) {
    }
    return 0;
}

}  // extern "C"
