// A bounded view of TIFF data and the byte-order readers every EXIF/TIFF reader uses.
//
// `length` is the number of bytes the data claims (every offset and size check is made against
// it); `readable` is how many bytes from `base` really exist in memory. The two differ only where
// the library reads through a short source: a byte at or past `readable` reads as 0, never from
// memory the library was not given. Exported readers take the caller's length as both.
#pragma once

#include <cstdint>
#include <cstring>

namespace kovra::exif {

struct TiffBytes {
    const uint8_t *base;
    uint32_t length;    // bytes the data claims, from base
    uint32_t readable;  // bytes that exist in memory, from base
    bool little_endian;

    uint8_t byte(uint64_t offset) const { return offset < readable ? base[offset] : 0; }

    uint32_t u16(uint64_t offset) const {
        uint8_t b[2];
        fetch(offset, b, 2);
        return u16_of(b);
    }

    uint32_t u32(uint64_t offset) const {
        uint8_t b[4];
        fetch(offset, b, 4);
        return u32_of(b);
    }

    // The 16- and 32-bit values of bytes already fetched, in the data's byte order.
    uint32_t u16_of(const uint8_t *b) const { return little_endian ? (b[0] | b[1] << 8) : (b[0] << 8 | b[1]); }
    uint32_t u32_of(const uint8_t *b) const {
        const uint32_t b0 = b[0], b1 = b[1], b2 = b[2], b3 = b[3];
        return little_endian ? (b0 | b1 << 8 | b2 << 16 | b3 << 24) : (b0 << 24 | b1 << 16 | b2 << 8 | b3);
    }

    // `n` (a small constant) bytes from `offset`, with the bounds test made once when they all exist.
    void fetch(uint64_t offset, uint8_t *out, int n) const {
        if (offset + static_cast<uint64_t>(n) <= readable) {
            std::memcpy(out, base + offset, static_cast<size_t>(n));
            return;
        }
        for (int i = 0; i < n; ++i) out[i] = byte(offset + static_cast<uint64_t>(i));
    }

    // True when [offset, offset + size) lies within the claimed length (no 32-bit wrap).
    bool fits(uint64_t offset, uint64_t size) const { return offset + size <= length; }

    // Copies `count` bytes from `offset`; bytes past `readable` come out as 0.
    void copy(uint64_t offset, uint8_t *destination, uint32_t count) const {
        uint64_t present = offset < readable ? readable - offset : 0;
        if (present > count) present = count;
        if (present > 0) std::memcpy(destination, base + offset, static_cast<size_t>(present));
        std::memset(destination + present, 0, static_cast<size_t>(count - present));
    }
};

inline TiffBytes trusted_bytes(const uint8_t *base, uint32_t length, bool little_endian) {
    return TiffBytes{base, length, base != nullptr ? length : 0, little_endian};
}

}  // namespace kovra::exif
