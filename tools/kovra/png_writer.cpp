#include "png_writer.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#ifdef KOVRA_TOOL_LIBPNG
#include <png.h>
#endif

namespace kovra::tool {
namespace {

struct FileCloser {
    void operator()(FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

int bytes_per_pixel(const PngImage &image) { return image.indexed ? 1 : 4; }

#ifdef KOVRA_TOOL_LIBPNG

bool write_with_libpng(FILE *file, const PngImage &image, std::string *error) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        *error = "libpng could not start";
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        *error = "libpng failed while writing";
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
                 image.indexed ? PNG_COLOR_TYPE_PALETTE : PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> colors;
    std::vector<png_byte> alphas;
    if (image.indexed) {
        for (const auto &entry : image.palette) {
            colors.push_back({entry[0], entry[1], entry[2]});
            alphas.push_back(entry[3]);
        }
        png_set_PLTE(png, info, colors.data(), static_cast<int>(colors.size()));
        png_set_tRNS(png, info, alphas.data(), static_cast<int>(alphas.size()), nullptr);
    }
    png_write_info(png, info);
    const size_t stride = static_cast<size_t>(image.width) * bytes_per_pixel(image);
    for (int y = 0; y < image.height; ++y) {
        png_write_row(png, const_cast<png_bytep>(image.pixels + static_cast<size_t>(y) * stride));
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

#else

// Without libpng: zlib "stored" blocks, so no compressor is needed.
class Chunks {
public:
    explicit Chunks(FILE *file) : file_(file) {}
    void write(const char *type, const std::vector<uint8_t> &data) {
        put32(static_cast<uint32_t>(data.size()));
        std::vector<uint8_t> body(type, type + 4);
        body.insert(body.end(), data.begin(), data.end());
        std::fwrite(body.data(), 1, body.size(), file_);
        put32(crc(body));
    }

private:
    void put32(uint32_t v) {
        const uint8_t b[4] = {static_cast<uint8_t>(v >> 24), static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
                              static_cast<uint8_t>(v)};
        std::fwrite(b, 1, 4, file_);
    }
    static uint32_t crc(const std::vector<uint8_t> &bytes) {
        uint32_t c = 0xFFFFFFFFu;
        for (uint8_t byte : bytes) {
            c ^= byte;
            for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
        }
        return c ^ 0xFFFFFFFFu;
    }
    FILE *file_;
};

void append32(std::vector<uint8_t> &out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

std::vector<uint8_t> stored_zlib(const std::vector<uint8_t> &raw) {
    std::vector<uint8_t> out = {0x78, 0x01};
    size_t at = 0;
    do {
        const size_t n = std::min<size_t>(65535, raw.size() - at);
        out.push_back(at + n == raw.size() ? 1 : 0);
        out.push_back(static_cast<uint8_t>(n));
        out.push_back(static_cast<uint8_t>(n >> 8));
        out.push_back(static_cast<uint8_t>(~n));
        out.push_back(static_cast<uint8_t>(~n >> 8));
        out.insert(out.end(), raw.begin() + static_cast<long>(at), raw.begin() + static_cast<long>(at + n));
        at += n;
    } while (at < raw.size());
    uint32_t a = 1, b = 0;
    for (uint8_t byte : raw) {
        a = (a + byte) % 65521u;
        b = (b + a) % 65521u;
    }
    append32(out, (b << 16) | a);
    return out;
}

bool write_stored(FILE *file, const PngImage &image, std::string *) {
    static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::fwrite(signature, 1, 8, file);
    Chunks chunks(file);
    std::vector<uint8_t> header;
    append32(header, static_cast<uint32_t>(image.width));
    append32(header, static_cast<uint32_t>(image.height));
    header.insert(header.end(), {8, static_cast<uint8_t>(image.indexed ? 3 : 6), 0, 0, 0});
    chunks.write("IHDR", header);
    if (image.indexed) {
        std::vector<uint8_t> colors, alphas;
        for (const auto &entry : image.palette) {
            colors.insert(colors.end(), {entry[0], entry[1], entry[2]});
            alphas.push_back(entry[3]);
        }
        chunks.write("PLTE", colors);
        chunks.write("tRNS", alphas);
    }
    const size_t stride = static_cast<size_t>(image.width) * bytes_per_pixel(image);
    std::vector<uint8_t> raw;
    for (int y = 0; y < image.height; ++y) {
        raw.push_back(0);  // filter: none
        const uint8_t *row = image.pixels + static_cast<size_t>(y) * stride;
        raw.insert(raw.end(), row, row + stride);
    }
    chunks.write("IDAT", stored_zlib(raw));
    chunks.write("IEND", {});
    return true;
}

#endif

}  // namespace

bool write_png(const std::string &path, const PngImage &image, std::string *error) {
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        *error = "cannot create " + path;
        return false;
    }
#ifdef KOVRA_TOOL_LIBPNG
    if (!write_with_libpng(file.get(), image, error)) return false;
#else
    write_stored(file.get(), image, error);
#endif
    if (std::ferror(file.get())) {
        *error = "write error on " + path;
        return false;
    }
    return true;
}

}  // namespace kovra::tool
