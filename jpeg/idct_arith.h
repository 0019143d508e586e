// Integer arithmetic shared by every inverse DCT.
//
// The routines trust their arguments, so a hostile coefficient block or multiplier table can push
// a product or a sum past 32 bits. Int does its additions, subtractions, multiplications and left
// shifts modulo 2^32 (as the registers of the target do) instead of leaving such an overflow
// undefined; right shifts are arithmetic. On legal input nothing wraps and Int is plain 32-bit
// arithmetic. Whatever a block does, every range-limit index is brought back into the table's
// bounds at the end (range_limit.h), so a wrapped sum can give a wrong sample but never a read
// outside the table.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace kovra::jpeg {

struct Int {
    int32_t v;  // left undefined by default, like the int it stands for

    Int() = default;
    constexpr Int(int32_t value) : v(value) {}  // NOLINT: coefficients and constants convert freely

    friend constexpr Int operator+(Int a, Int b) { return wrapped(a.bits() + b.bits()); }
    friend constexpr Int operator-(Int a, Int b) { return wrapped(a.bits() - b.bits()); }
    friend constexpr Int operator*(Int a, Int b) { return wrapped(a.bits() * b.bits()); }
    friend constexpr Int operator<<(Int a, int n) { return wrapped(a.bits() << n); }
    friend constexpr Int operator>>(Int a, int n) { return Int(a.v >> n); }

private:
    constexpr uint32_t bits() const { return static_cast<uint32_t>(v); }
    static constexpr Int wrapped(uint32_t bits) { return Int(static_cast<int32_t>(bits)); }
};

// The dequantised coefficient at natural position i: its product with the multiplier.
inline Int dequantised(const int16_t *coefficients, const int32_t *multipliers, int i) {
    return Int(coefficients[i]) * Int(multipliers[i]);
}

// Four samples in one 32-bit word, sample 0 in the low byte, stored as a little-endian word.
inline void store_samples4(uint8_t *dst, uint8_t s0, uint8_t s1, uint8_t s2, uint8_t s3) {
    uint32_t word = s0 | (uint32_t{s1} << 8) | (uint32_t{s2} << 16) | (uint32_t{s3} << 24);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    std::memcpy(dst, &word, 4);
}

// Eight samples as two little-endian words.
inline void store_samples8(uint8_t *dst, const uint8_t *s) {
    store_samples4(dst, s[0], s[1], s[2], s[3]);
    store_samples4(dst + 4, s[4], s[5], s[6], s[7]);
}

// One output row of N samples: words where it is 4 or 8 wide, bytes otherwise.
template <int N>
inline void store_row(uint8_t *dst, const uint8_t *s) {
    if constexpr (N == 8) {
        store_samples8(dst, s);
    } else if constexpr (N == 4) {
        store_samples4(dst, s[0], s[1], s[2], s[3]);
    } else {
        for (int i = 0; i < N; ++i) dst[i] = s[i];
    }
}

}  // namespace kovra::jpeg
