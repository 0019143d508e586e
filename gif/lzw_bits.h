// The LZW decoder's bit reader: codes are taken least significant bit first from a 64-bit
// accumulator, topped up from the data sub-blocks held in the GIF input buffer. A sub-block is
// opened only when all of it and the byte after it are buffered (the input is refilled from the
// source when they are not).
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "kovra_gif.h"

namespace kovra::gif {

enum class Fill { kOk, kFailed, kInputEnded };

inline uint64_t load_le64(const uint8_t *p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap64(v);
    return v;
}

inline void store_le64(uint8_t *p, uint64_t v) {
    if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap64(v);
    std::memcpy(p, &v, 8);
}

// The bit reader between codes: the current sub-block's data is [block_begin, block_end), and
// bytes [p, block_end) of it are not loaded yet; [p, data_end) is everything buffered. Bits of
// acc above `bits` are zero or copies of bytes not yet counted (an 8-byte load counts only the
// bytes that fit).
struct BitReader {
    uint8_t *p;
    uint8_t *block_begin;
    uint8_t *block_end;
    uint8_t *data_end;
    uint64_t acc;
    int32_t bits;
};

// Takes a code of `width` bits, which the reader holds.
inline uint32_t take_code(BitReader &r, int32_t width) {
    const auto code = static_cast<uint32_t>(r.acc) & ((1u << width) - 1);
    r.acc >>= width;
    r.bits -= width;
    return code;
}

// Loads bytes until `width` bits are held, opening sub-blocks as needed; `buffer` is the input
// buffer the bytes lie in and `io` the source it is refilled from.
Fill fill_bits(BitReader &r, int32_t width, uint8_t *buffer, KOVRADALT_IO *io);

}  // namespace kovra::gif
