// The state one thread of a two-thread decode publishes after each row group it decodes, and
// that the other thread adopts to jump over those rows (see dual_handover.cpp).
#pragma once

#include "kovra_jpeg.h"

namespace kovra::jpeg {

// The context has everything a hand-over reads or writes: source, byte window, read buffer, Huffman
// state, bit reader and context-row controller.
bool can_hand_over(const DALTJ_DecoderInfo *ctx);

// Writes the context's state after its callCount-th processor call into the shared record.
void publish_state(const DALTJ_DecoderInfo *ctx, uint32_t callCount, DALTJ_DualDecodeShared *shared);

// Takes over the published state; false, with the decoding state untouched, when the published
// window cannot be rebuilt inside this context's memory (the source may have moved).
bool adopt_state(DALTJ_DecoderInfo *ctx, const DALTJ_DualDecodeShared *shared);

}  // namespace kovra::jpeg
