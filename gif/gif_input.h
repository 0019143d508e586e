// The GIF input record: compressed bytes between the source and the decoder. Unread bytes lie at
// `next`; a refill moves them to the start of the 4096-byte buffer and tops it up from a source.
#pragma once

#include <cstdint>

#include "kovra_gif.h"

namespace kovra::gif {

// Reads up to `count` bytes from `io`; never negative and never more than asked for.
int32_t read_source(KOVRADALT_IO *io, uint8_t *destination, int32_t count);

// True when the record's buffer exists and next/avail describe bytes inside it. Every reader
// checks this first, so a record with stray values cannot make it read outside the buffer.
bool input_is_sound(const DALTI_GIFInput *input);

// Moves the unread bytes to the start of `buffer` and fills the rest of the 4096 bytes from `io`.
// Returns the bytes read (0 when the source gave nothing).
int32_t refill_input(uint8_t *buffer, KOVRADALT_IO *io, int32_t *avail, uint8_t **next);

// Makes `need` bytes unread at input->next, refilling from the record's source once if short.
bool ensure_input(DALTI_GIFInput *input, int32_t need);

inline uint8_t take_byte(DALTI_GIFInput *input) {
    --input->avail;
    return *input->next++;
}

inline void skip_bytes(DALTI_GIFInput *input, int32_t count) {
    input->avail -= count;
    input->next += count;
}

inline uint32_t peek_u16le(const DALTI_GIFInput *input, int32_t offset) {
    return input->next[offset] | (static_cast<uint32_t>(input->next[offset + 1]) << 8);
}

}  // namespace kovra::gif
