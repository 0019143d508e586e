// The LZW decoder's translation table (DALTI_LZWTable in kovra_gif.h): setting it up for a frame,
// making entries, and writing a code's string into the line buffer either by its chunk chain
// (8 bytes per store, for entries that are exact) or byte by byte through its prefix chain.
//
// Roots get their one-byte strings; they stay in place from one frame to the next while the code
// size does not change, since the decoder only ever writes entries above the end code. The clear
// and end codes have no string: a length of 0 marks them. Entries above the end code may still
// hold strings of an earlier frame (or whatever the allocation held): the fast loop never reads an
// entry it has not written in this frame, and the careful loop clears them before it starts, so a
// frame always sees them as empty.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gif/lzw_bits.h"
#include "kovra_gif.h"

namespace kovra::gif {

inline constexpr uint32_t kChunkBytes = 8;

// Empties entries [from, end).
void clear_entries(DALTI_LZWTable &t, uint32_t from, uint32_t end);

// Sets the roots up for the record's code size; returns the end of the entries that may hold
// old strings.
uint32_t reset_table(DALTI_GIFDecoderInfo *rec);

inline uint32_t length_of(uint64_t link) { return static_cast<uint32_t>(link); }
inline uint32_t chunk_prefix_of(uint64_t link) { return static_cast<uint32_t>(link >> 32) & 0xFFFFu; }

inline uint8_t last_byte(const DALTI_LZWTable &t, uint32_t code) {
    return static_cast<uint8_t>(t.chunk[code] >> (8 * ((length_of(t.link[code]) - 1) % kChunkBytes)));
}

// Writes code's string at dst byte by byte through the prefix chain, last byte first (it has
// been checked to fit); returns its first byte.
inline uint8_t walk_string(const DALTI_LZWTable &t, uint32_t code, uint8_t *dst) {
    uint8_t *end = dst + length_of(t.link[code]);
    while (end != dst) {
        *--end = last_byte(t, code);
        code = t.prefix[code];
    }
    return dst[0];
}

// Writes code's string at dst and returns its first byte. The store that holds the string's end
// is placed to end with it, its first bytes repeating what lies before (`tail`, the 8 bytes before
// dst on entry, and before the string's end on return); the chunks under it are stored in place,
// last first. So no byte outside the string changes, and nothing is loaded from the buffer. The
// buffer must have 8 bytes in front of its start (see gif_alloc.h).
inline uint8_t write_chunks(const DALTI_LZWTable &t, uint32_t code, uint32_t length, uint8_t *dst, uint64_t &tail) {
    const uint64_t top = t.chunk[code];
    if (length <= kChunkBytes) [[likely]] {
        const uint32_t top_bits = 8 * length;
        tail = (tail >> (top_bits - 8) >> 8) | (top << (64 - top_bits));
        store_le64(dst + length - kChunkBytes, tail);
        return static_cast<uint8_t>(top);
    }
    const uint32_t below_top = (length - 1) & ~(kChunkBytes - 1);  // bytes in the chunks under the last
    code = chunk_prefix_of(t.link[code]);
    uint64_t chunk = t.chunk[code];
    const uint32_t top_bits = 8 * (length - below_top);
    tail = (chunk >> (top_bits - 8) >> 8) | (top << (64 - top_bits));
    store_le64(dst + length - kChunkBytes, tail);
    uint8_t *at = dst + below_top - kChunkBytes;
    store_le64(at, chunk);
    while (at != dst) {
        at -= kChunkBytes;
        code = chunk_prefix_of(t.link[code]);
        chunk = t.chunk[code];
        store_le64(at, chunk);
    }
    return static_cast<uint8_t>(chunk);
}

// Makes entry `code` prev's string plus `first`. (A length that wraps past 32 bits, which only
// the careful loop's stale entries could reach, spills into the chunk prefix, which that loop
// never reads.)
inline void add_entry(DALTI_LZWTable &t, uint32_t code, uint32_t prev, uint8_t first) {
    const uint64_t base = t.link[prev];
    const uint64_t shifted_first = static_cast<uint64_t>(first) << ((base << 3) & 63);  // to byte length % 8
    if (base % kChunkBytes != 0) {
        // prev's last chunk has room for one more byte.
        t.chunk[code] = t.chunk[prev] | shifted_first;
        t.link[code] = base + 1;
    } else {
        t.chunk[code] = shifted_first;
        t.link[code] = (base & 0xFFFFFFFFu) + 1 + (static_cast<uint64_t>(prev) << 32);
    }
    t.prefix[code] = static_cast<uint16_t>(prev);
}

}  // namespace kovra::gif
