#include "png_chunks.h"

#include <array>
#include <cstring>

namespace kovra::tool {
namespace {

std::array<uint32_t, 256> make_crc_table() {
    std::array<uint32_t, 256> table{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
        table[n] = c;
    }
    return table;
}

uint32_t read_u32be(const uint8_t *p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

}  // namespace

void append_u32be(Bytes &out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(value >> shift));
}

void append_u16be(Bytes &out, uint16_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

uint32_t png_crc(uint32_t crc, const uint8_t *data, size_t size) {
    static const std::array<uint32_t, 256> table = make_crc_table();
    uint32_t c = crc ^ 0xFFFFFFFFu;
    for (size_t i = 0; i < size; ++i) c = table[(c ^ data[i]) & 0xFFu] ^ (c >> 8);
    return c ^ 0xFFFFFFFFu;
}

void append_chunk(Bytes &out, const char *type, const Bytes &data) {
    append_u32be(out, static_cast<uint32_t>(data.size()));
    const size_t type_at = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    append_u32be(out, png_crc(0, out.data() + type_at, 4 + data.size()));
}

bool for_each_chunk(const Bytes &png, const std::function<void(std::string_view, const Bytes &)> &visit) {
    if (png.size() < sizeof kPngSignature || std::memcmp(png.data(), kPngSignature, sizeof kPngSignature) != 0) {
        return false;
    }
    size_t at = sizeof kPngSignature;
    while (at + 12 <= png.size()) {
        const uint32_t length = read_u32be(png.data() + at);
        if (length > png.size() - at - 12) return false;
        const std::string_view type(reinterpret_cast<const char *>(png.data() + at + 4), 4);
        const Bytes data(png.begin() + static_cast<long>(at + 8), png.begin() + static_cast<long>(at + 8 + length));
        visit(type, data);
        at += 12 + length;
    }
    return at == png.size();
}

}  // namespace kovra::tool
