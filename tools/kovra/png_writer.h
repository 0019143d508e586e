// Writing decoded frames as PNG files: 8-bit RGBA, or 8-bit palette indexes with a palette whose
// entries may be transparent. Uses libpng where the build found it; otherwise (the cross build,
// which has no target libpng) a small writer that stores the pixels uncompressed.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kovra::tool {

struct PngImage {
    int width = 0;
    int height = 0;
    bool indexed = false;                          // palette indexes, one byte per pixel
    const uint8_t *pixels = nullptr;               // RGBA (4 bytes) or index (1 byte) per pixel, rows packed
    std::vector<std::array<uint8_t, 4>> palette;   // RGBA entries for an indexed image
};

// The whole PNG file of `image` in *out; on failure returns false with a reason in *error.
bool encode_png(const PngImage &image, std::vector<uint8_t> *out, std::string *error);

// Writes `bytes` to a new file at `path`; on failure returns false with a reason in *error.
bool write_file(const std::string &path, const std::vector<uint8_t> &bytes, std::string *error);

// Writes `image` to `path`; on failure returns false with a reason in *error.
bool write_png(const std::string &path, const PngImage &image, std::string *error);

}  // namespace kovra::tool
