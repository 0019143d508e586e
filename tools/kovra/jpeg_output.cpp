#include "jpeg_output.h"

#include <array>

#include "png_writer.h"

namespace kovra::tool {

using jpeg_host::Format;
using jpeg_host::Picture;

namespace {

struct OutputName {
    JpegOutput output;
    const char *name;
};
constexpr OutputName kNames[] = {
    {JpegOutput::rgba, "rgba"}, {JpegOutput::gray, "gray"}, {JpegOutput::yuv444, "yuv444"}, {JpegOutput::yuv420, "yuv420"}};

std::vector<std::array<uint8_t, 4>> grey_palette() {
    std::vector<std::array<uint8_t, 4>> palette(256);
    for (int level = 0; level < 256; ++level) {
        const auto v = static_cast<uint8_t>(level);
        palette[level] = {v, v, v, 255};
    }
    return palette;
}

// Appends the half-size version of the full-size `plane` (width x height).
void append_half_plane(const uint8_t *plane, uint32_t width, uint32_t height, std::vector<uint8_t> *out) {
    for (uint32_t y = 0; y < height; y += 2) {
        const uint32_t rows = y + 1 < height ? 2 : 1;
        for (uint32_t x = 0; x < width; x += 2) {
            const uint32_t columns = x + 1 < width ? 2 : 1;
            uint32_t sum = 0;
            for (uint32_t dy = 0; dy < rows; ++dy) {
                for (uint32_t dx = 0; dx < columns; ++dx) sum += plane[size_t{y + dy} * width + x + dx];
            }
            const uint32_t count = rows * columns;
            out->push_back(static_cast<uint8_t>((sum + count / 2) / count));
        }
    }
}

std::vector<uint8_t> yuv420_planes(const Picture &picture) {
    const size_t plane = size_t{picture.width} * picture.height;
    std::vector<uint8_t> out(picture.pixels.begin(), picture.pixels.begin() + static_cast<std::ptrdiff_t>(plane));
    append_half_plane(picture.pixels.data() + plane, picture.width, picture.height, &out);
    append_half_plane(picture.pixels.data() + 2 * plane, picture.width, picture.height, &out);
    return out;
}

}  // namespace

bool parse_jpeg_output(const std::string &name, JpegOutput *output) {
    for (const OutputName &known : kNames) {
        if (name == known.name) {
            *output = known.output;
            return true;
        }
    }
    return false;
}

const char *output_name(JpegOutput output) {
    for (const OutputName &known : kNames) {
        if (known.output == output) return known.name;
    }
    return "?";
}

const char *file_suffix(JpegOutput output) {
    return output == JpegOutput::rgba || output == JpegOutput::gray ? ".png" : ".yuv";
}

Format host_format(JpegOutput output) {
    switch (output) {
    case JpegOutput::rgba: return Format::rgba;
    case JpegOutput::gray: return Format::grey;
    case JpegOutput::yuv444:
    case JpegOutput::yuv420: break;
    }
    return Format::planar;
}

bool encode_output(const Picture &picture, JpegOutput output, std::vector<uint8_t> *bytes, std::string *problem) {
    switch (output) {
    case JpegOutput::rgba:
        return encode_png({static_cast<int>(picture.width), static_cast<int>(picture.height), false, picture.pixels.data(), {}},
                          bytes, problem);
    case JpegOutput::gray:
        return encode_png({static_cast<int>(picture.width), static_cast<int>(picture.height), true, picture.pixels.data(),
                           grey_palette()},
                          bytes, problem);
    case JpegOutput::yuv444: bytes->assign(picture.pixels.begin(), picture.pixels.end()); return true;
    case JpegOutput::yuv420: *bytes = yuv420_planes(picture); return true;
    }
    return false;
}

}  // namespace kovra::tool
