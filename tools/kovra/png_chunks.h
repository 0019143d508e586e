// PNG chunk framing for files assembled in memory: the signature, chunks (length, type, data,
// CRC-32 of type and data) and a walk over the chunks of a finished PNG.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace kovra::tool {

using Bytes = std::vector<uint8_t>;

inline constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

void append_u32be(Bytes &out, uint32_t value);
void append_u16be(Bytes &out, uint16_t value);

// The CRC-32 of PNG chunks over `size` bytes, continuing from `crc` (start with 0).
uint32_t png_crc(uint32_t crc, const uint8_t *data, size_t size);

// Appends one chunk of `type` (four letters) holding `data`.
void append_chunk(Bytes &out, const char *type, const Bytes &data);

// Calls visit(type, data) for each chunk of the PNG in `png`, signature first skipped; false when
// the signature or a chunk length does not fit the bytes.
bool for_each_chunk(const Bytes &png, const std::function<void(std::string_view, const Bytes &)> &visit);

}  // namespace kovra::tool
