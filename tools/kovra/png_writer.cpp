#include "png_writer.h"

#include <algorithm>
#include <cstdio>

#include "png_chunks.h"

#ifdef KOVRA_TOOL_LIBPNG
#include <png.h>
#endif

namespace kovra::tool {
namespace {

int bytes_per_pixel(const PngImage &image) { return image.indexed ? 1 : 4; }

#ifdef KOVRA_TOOL_LIBPNG

void append_output(png_structp png, png_bytep data, png_size_t size) {
    auto *out = static_cast<Bytes *>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + size);
}

void flush_nothing(png_structp) {}

bool encode_with_libpng(const PngImage &image, Bytes *out, std::string *error) {
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
    png_set_write_fn(png, out, append_output, flush_nothing);
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
Bytes stored_zlib(const Bytes &raw) {
    Bytes out = {0x78, 0x01};
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
    append_u32be(out, (b << 16) | a);
    return out;
}

void encode_stored(const PngImage &image, Bytes *out) {
    out->assign(kPngSignature, kPngSignature + sizeof kPngSignature);
    Bytes header;
    append_u32be(header, static_cast<uint32_t>(image.width));
    append_u32be(header, static_cast<uint32_t>(image.height));
    header.insert(header.end(), {8, static_cast<uint8_t>(image.indexed ? 3 : 6), 0, 0, 0});
    append_chunk(*out, "IHDR", header);
    if (image.indexed) {
        Bytes colors, alphas;
        for (const auto &entry : image.palette) {
            colors.insert(colors.end(), {entry[0], entry[1], entry[2]});
            alphas.push_back(entry[3]);
        }
        append_chunk(*out, "PLTE", colors);
        append_chunk(*out, "tRNS", alphas);
    }
    const size_t stride = static_cast<size_t>(image.width) * bytes_per_pixel(image);
    Bytes raw;
    for (int y = 0; y < image.height; ++y) {
        raw.push_back(0);  // filter: none
        const uint8_t *row = image.pixels + static_cast<size_t>(y) * stride;
        raw.insert(raw.end(), row, row + stride);
    }
    append_chunk(*out, "IDAT", stored_zlib(raw));
    append_chunk(*out, "IEND", {});
}

#endif

}  // namespace

bool encode_png(const PngImage &image, Bytes *out, std::string *error) {
    out->clear();
#ifdef KOVRA_TOOL_LIBPNG
    return encode_with_libpng(image, out, error);
#else
    (void)error;
    encode_stored(image, out);
    return true;
#endif
}

bool write_file(const std::string &path, const Bytes &bytes, std::string *error) {
    FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        *error = "cannot create " + path;
        return false;
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (std::fclose(file) != 0 || !written) {
        *error = "write error on " + path;
        return false;
    }
    return true;
}

bool write_png(const std::string &path, const PngImage &image, std::string *error) {
    Bytes png;
    return encode_png(image, &png, error) && write_file(path, png, error);
}

}  // namespace kovra::tool
