// The hand-over between the two threads of a two-thread decode. Each thread reads the image through
// a source and a byte window of its own; what passes between them is where the window stands (the
// source position at the end of its data and the unread bytes before it), the entropy decoder's
// bit-reader and Huffman words, and the row counters and output pointer.
//
// Adopting rebuilds the window over this thread's own source. A file or stream source re-reads the
// n = min(size, 16384) bytes that end at the published position into the read buffer, and the
// unread bytes are the last ones of those. A memory source (which the byte window views where it
// lies, and whose window memory may be the image itself) is viewed over the same span instead of
// being copied. Either way the unread bytes must lie inside what was read, or inside the source,
// or the hand-over is refused. The window then starts at the span's first byte with pos on the
// first unread one, so that it is filled to the span's length: the byte window tops a window up
// only to the level it had, and a window holding just the unread bytes would stay that short.

#include "jpeg/dual_handover.h"

#include <algorithm>
#include <cstring>

#include "io/source_kind.h"

namespace kovra::jpeg {
namespace {

// Places the window over the span of `span` bytes that ends at `end`, the last `left` unread.
void place_window(DALTJ_ByteWindow *window, uint8_t *spanStart, uint32_t span, uint32_t left) {
    window->data = spanStart;
    window->pos = static_cast<int32_t>(span - left);
    window->avail = static_cast<int32_t>(left);
}

bool view_memory(DALTJ_DecoderInfo *ctx, uint32_t end, uint32_t left) {
    KOVRADALT_IO *io = ctx->io;
    if (io->source == nullptr || io->size < 0 || end > static_cast<uint32_t>(io->size)) return false;
    const uint32_t span = std::min<uint32_t>(end, KOVRADALT_WINDOW_CAPACITY);
    if (left > span) return false;
    if (static_cast<uint32_t>(io->position) != end) {
        io->position = static_cast<int32_t>(end);
        if (KOVRADALT_Seek_IO(io, static_cast<int32_t>(end), 0) != static_cast<int32_t>(end)) return false;
    }
    place_window(ctx->byteWindow, static_cast<uint8_t *>(io->source) + (end - span), span, left);
    return true;
}

bool reread(DALTJ_DecoderInfo *ctx, uint32_t end, uint32_t left) {
    KOVRADALT_IO *io = ctx->io;
    const int32_t n = std::min<int32_t>(io->size, KOVRADALT_WINDOW_CAPACITY);
    if (n < 0 || left > static_cast<uint32_t>(n)) return false;
    if (static_cast<uint32_t>(io->position) != end) {
        io->position = static_cast<int32_t>(end);
        if (end < static_cast<uint32_t>(n) || end > INT32_MAX) return false;
        if (KOVRADALT_Seek_IO(io, static_cast<int32_t>(end) - n, 0) < 0) return false;
        if (KOVRADALT_Read_IO(io, ctx->readBuffer, n) != n) return false;
    }
    place_window(ctx->byteWindow, ctx->readBuffer, static_cast<uint32_t>(n), left);
    return true;
}

bool adopt_window(DALTJ_DecoderInfo *ctx, const DALTJ_DualDecodeShared *shared) {
    const uint32_t end = shared->windowFilePosition;
    const uint32_t left = shared->windowBytesLeft;
    return io::is_memory_kind(ctx->io->kind) ? view_memory(ctx, end, left) : reread(ctx, end, left);
}

}  // namespace

bool can_hand_over(const DALTJ_DecoderInfo *ctx) {
    return ctx->io != nullptr && ctx->byteWindow != nullptr && ctx->readBuffer != nullptr &&
           ctx->huffState != nullptr && ctx->bitReader != nullptr && ctx->mainController != nullptr;
}

void publish_state(const DALTJ_DecoderInfo *ctx, uint32_t callCount, DALTJ_DualDecodeShared *shared) {
    shared->callCount = callCount;
    shared->outputRow = ctx->outputRow;
    shared->resizeMcuRow = ctx->resizeMcuRow;
    shared->mcuRowsDone = ctx->mcuRowsDone;
    shared->windowFilePosition = static_cast<uint32_t>(ctx->io->position);
    shared->windowBytesLeft = static_cast<uint32_t>(ctx->byteWindow->avail);
    shared->huffState = *ctx->huffState;
    shared->entropyCounter = ctx->entropyCounter;
    shared->markerByte = ctx->bitReader->pendingMarker;
    shared->outY = ctx->outY;
}

bool adopt_state(DALTJ_DecoderInfo *ctx, const DALTJ_DualDecodeShared *shared) {
    if (!adopt_window(ctx, shared)) return false;
    *ctx->huffState = shared->huffState;
    ctx->entropyCounter = shared->entropyCounter;
    ctx->bitReader->pendingMarker = static_cast<uint8_t>(shared->markerByte);
    ctx->outputRow = static_cast<uint16_t>(shared->outputRow);
    ctx->resizeMcuRow = shared->resizeMcuRow;
    ctx->mainController->mcuRowCounter = shared->resizeMcuRow;
    ctx->outY = shared->outY;
    return true;
}

}  // namespace kovra::jpeg
