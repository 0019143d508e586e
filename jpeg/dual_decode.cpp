// Two threads decoding one image. Each runs dualdecode_jpeg on a context of its own (with its own
// source over the same bytes, byte window and read buffer); they share a hand-over record and a
// claim array with one flag per value of the output-row counter, both guarded by the record's
// mutex. Before each row-group processor call (one MCU row) a thread looks at the flag of its
// current output row:
//   0  it claims the row, runs the processor unlocked in decode mode, then publishes its state
//      (dual_handover.cpp) with its call count;
//   1  the other thread has the row: when the other has published a later call than this thread
//      has made, this thread adopts that state and so jumps over the rows decoded there;
//      otherwise (the other is still decoding the row) it runs the processor in skip mode, which
//      consumes the row's input without producing pixels;
//   other values stop the thread at once, with the mutex still held: that is how a host halts a
//      thread, and it must then release the mutex itself.
// A thread stops at the end of the image (its output row reaches outputHeight, or the processor
// reports 101) or on failure (201). The claim array is read only at output rows below outputHeight,
// so it must hold outputHeight entries.
//
// Two cases skip where an adoption would be possible, because the hand-over does not carry the
// context-row controller of DALTJ_ProcessMCU:
//   - a thread's first call: only a controller that has finished a call stands where the
//     publisher's stood (a fresh one hands on one row group fewer, and the threads' output rows
//     would no longer meet in the claim array);
//   - the call after one that decoded: the last row group of an MCU row is handed on in the next
//     call, by the thread that decoded it (the context's skipMode still 0 from its decode; every
//     skip and adoption leaves it 1), so that thread must make that call.
//
// Refused with 0 before any work: a null argument record, context, shared record or claim array,
// and a context without source, byte window, read buffer, Huffman state, bit reader or context-row
// controller. A hand-over whose window cannot be rebuilt ends the thread (mutex released).

#include "jpeg/dual_handover.h"
#include "kovra_jpeg.h"

namespace {

using kovra::jpeg::adopt_state;
using kovra::jpeg::publish_state;

constexpr uint32_t kRowsPerCall = 1;
constexpr uint32_t kClaimFree = 0;
constexpr uint32_t kClaimTaken = 1;

// One row-group processor call, with a fresh rows-produced counter and a limit of one row group.
int32_t process_row_group(DALTJ_DecoderInfo *ctx, bool resize, int32_t skip) {
    uint32_t rows = 0;
    if (resize) return static_cast<int32_t>(DALTJ_ProcessDataMCU_resize(ctx, nullptr, &rows, kRowsPerCall, skip));
    return DALTJ_ProcessMCU(ctx, nullptr, &rows, kRowsPerCall, skip);
}

bool finished(int32_t status) { return status == DALTJ_STATUS_END || status == DALTJ_STATUS_FAILED; }

bool refused(const DALTJ_DualDecodeArgs *args) {
    return args == nullptr || args->context == nullptr || args->shared == nullptr || args->claims == nullptr ||
           !kovra::jpeg::can_hand_over(args->context);
}

class DualDecoder {
public:
    DualDecoder(const DALTJ_DualDecodeArgs &args)
        : ctx_(args.context), shared_(args.shared), claims_(args.claims), resize_(args.resize != 0) {}

    void run() {
        ctx_->skipMode = 0;
        while (!finished(status_) && static_cast<int32_t>(ctx_->outputRow) < ctx_->outputHeight) {
            KOVRADALT_OsThreadMutex_Lock(&shared_->mutex);
            uint32_t &claim = claims_[ctx_->outputRow];
            if (claim == kClaimFree) {
                claim = kClaimTaken;
                decode_and_publish();
            } else if (claim != kClaimTaken) {
                return;  // the mutex stays held
            } else if (call_ == 0 || decodedLast_ || call_ >= shared_->callCount) {
                if (call_ == 0) ctx_->skipMode = 1;
                KOVRADALT_OsThreadMutex_Unlock(&shared_->mutex);
                status_ = process_row_group(ctx_, resize_, 1);
                decodedLast_ = false;
            } else if (!adopt()) {
                return;
            }
            ++call_;
        }
    }

private:
    // Entered with the mutex held.
    void decode_and_publish() {
        KOVRADALT_OsThreadMutex_Unlock(&shared_->mutex);
        status_ = process_row_group(ctx_, resize_, 0);
        decodedLast_ = true;
        KOVRADALT_OsThreadMutex_Lock(&shared_->mutex);
        publish_state(ctx_, call_ + 1, shared_);
        KOVRADALT_OsThreadMutex_Unlock(&shared_->mutex);
    }

    // Entered with the mutex held; releases it. False when the published window cannot be rebuilt.
    bool adopt() {
        const bool adopted = adopt_state(ctx_, shared_);
        if (adopted) {
            ctx_->skipMode = 1;
            call_ = shared_->callCount - 1;
        }
        KOVRADALT_OsThreadMutex_Unlock(&shared_->mutex);
        return adopted;
    }

    DALTJ_DecoderInfo *ctx_;
    DALTJ_DualDecodeShared *shared_;
    uint32_t *claims_;
    bool resize_;
    uint32_t call_ = 0;       // processor calls made, counting those adopted from the other thread
    bool decodedLast_ = false;
    int32_t status_ = 0;
};

}  // namespace

extern "C" KOVRA_API uint32_t dualdecode_jpeg(DALTJ_DualDecodeArgs *args) {
    if (!refused(args)) DualDecoder(*args).run();
    return 0;
}
