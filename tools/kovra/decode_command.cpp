// kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index] [--max-pixels N]: decodes every
// frame of a GIF through the library's framework entry points and writes each as
// DIR/<name>-NNN.png, printing the delay of each frame.
//
// Every frame is a whole image at output size, so one output buffer serves all frames; an output
// above --max-pixels (64 megapixels unless raised) is refused before anything is allocated, since a
// few bytes of GIF can declare a screen of gigabytes.
//
// rgba and bgra decode in frame mode (animations composed through the canvas); bgra frames are
// turned back into RGBA order for the PNG, so the file shows what the format-8 bytes encode.
// index decodes in direct mode: each frame's palette indexes over the previous frame's, written
// as a palette PNG with that frame's colour table (slots beyond the table transparent).

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "commands.h"
#include "image_file.h"
#include "kovra_gif.h"
#include "kovra_parse.h"
#include "png_writer.h"

namespace kovra::tool {
namespace {

struct DecodeOptions {
    std::string input;
    std::string output_dir;
    int32_t sample_size = 1;
    int32_t format = KOVRADALT_FORMAT_RGBA32;
    int64_t max_pixels = int64_t{64} << 20;
};

int usage_error(const char *message) {
    std::fprintf(stderr, "kovra decode: %s\nusage: kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index] "
                 "[--max-pixels N]\n",
                 message);
    return 2;
}

bool parse_options(const Arguments &args, DecodeOptions *options, std::string *problem) {
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string &arg = args[i];
        const bool has_value = i + 1 < args.size();
        if (arg == "-o" && has_value) {
            options->output_dir = args[++i];
        } else if (arg == "--sample" && has_value) {
            char *end = nullptr;
            const long sample = std::strtol(args[++i].c_str(), &end, 10);
            if (*end != '\0' || sample < 1 || sample > 1000) {
                *problem = "--sample takes a whole number from 1 to 1000";
                return false;
            }
            options->sample_size = static_cast<int32_t>(sample);
        } else if (arg == "--max-pixels" && has_value) {
            char *end = nullptr;
            const long long pixels = std::strtoll(args[++i].c_str(), &end, 10);
            if (*end != '\0' || pixels < 1) {
                *problem = "--max-pixels takes a whole number above 0";
                return false;
            }
            options->max_pixels = pixels;
        } else if (arg == "--format" && has_value) {
            const std::string &name = args[++i];
            if (name == "rgba") {
                options->format = KOVRADALT_FORMAT_RGBA32;
            } else if (name == "bgra") {
                options->format = KOVRADALT_FORMAT_BGRA32;
            } else if (name == "index") {
                options->format = KOVRADALT_FORMAT_INDEX8;
            } else {
                *problem = "--format takes rgba, bgra or index";
                return false;
            }
        } else if (!arg.empty() && arg[0] != '-' && options->input.empty()) {
            options->input = arg;
        } else {
            *problem = "unexpected argument '" + arg + "'";
            return false;
        }
    }
    if (options->input.empty() || options->output_dir.empty()) {
        *problem = "a FILE and -o DIR are needed";
        return false;
    }
    return true;
}

// The decoder record with its GIF record; the GIF record goes first.
class GifDecode {
public:
    GifDecode(const std::string &path, int32_t format) : image_(path, format) {}
    ~GifDecode() {
        if (image_ && image_.record()->gif_info != nullptr) {
            KOVRADALTI_DeleteGIFInfo(image_.record());
            image_.record()->gif_info = nullptr;
        }
    }
    ImageFile &image() { return image_; }

private:
    ImageFile image_;
};

std::vector<std::array<uint8_t, 4>> palette_of(const uint32_t *colors) {
    std::vector<std::array<uint8_t, 4>> palette;
    for (int i = 0; i < DALTI_GIF_PALETTE_SLOTS; ++i) {
        const uint32_t w = colors != nullptr ? colors[i] : GIF_COLOR_UNSET;
        if (w == GIF_COLOR_UNSET) {
            palette.push_back({0, 0, 0, 0});
        } else {
            palette.push_back({static_cast<uint8_t>(w), static_cast<uint8_t>(w >> 8), static_cast<uint8_t>(w >> 16), 255});
        }
    }
    return palette;
}

void swap_red_blue(std::vector<uint8_t> &pixels) {
    for (size_t i = 0; i + 3 < pixels.size(); i += 4) std::swap(pixels[i], pixels[i + 2]);
}

std::string frame_path(const DecodeOptions &options, int frame) {
    char number[16];
    std::snprintf(number, sizeof number, "-%03d.png", frame);
    const std::string stem = std::filesystem::path(options.input).stem().string();
    return (std::filesystem::path(options.output_dir) / (stem + number)).string();
}

int decode_frames(const DecodeOptions &options) {
    GifDecode decode(options.input, options.format);
    ImageFile &image = decode.image();
    if (!image) {
        std::fprintf(stderr, "kovra decode: cannot open %s (error %d)\n", options.input.c_str(), image.open_error());
        return 1;
    }
    KOVRADALT_DecInfo *dec = image.record();
    const int32_t type = KOVRADALT_GetImageType(dec);
    if (type != KOVRADALT_TYPE_GIF && type != KOVRADALT_TYPE_ANIMATED_GIF) {
        std::fprintf(stderr, "kovra decode: %s is %s, not a GIF\n", options.input.c_str(), type_name(type));
        return 1;
    }
    KOVRADALT_Seek_IO(dec->io, 0, 0);
    int animated = 1;
    const bool frame_mode = options.format != KOVRADALT_FORMAT_INDEX8;
    if (KOVRADALTI_ParseGIFHeader_SKIA(dec->io, dec, options.sample_size, frame_mode ? &animated : nullptr) != 1) {
        std::fprintf(stderr, "kovra decode: %s: the GIF header or its first frame cannot be read\n",
                     options.input.c_str());
        return 1;
    }
    const DALTI_GIFDecoderInfo *gif = dec->gif_info;
    std::printf("%s: %u x %u, output %d x %d\n", options.input.c_str(), dec->width, dec->height, gif->out_width,
                gif->out_height);

    const int32_t out_w = gif->out_width, out_h = gif->out_height;
    if (int64_t{out_w} * out_h > options.max_pixels) {
        std::fprintf(stderr,
                     "kovra decode: %s: the output of %d x %d pixels is above the limit of %lld pixels "
                     "(a larger --sample makes it smaller; --max-pixels raises the limit)\n",
                     options.input.c_str(), out_w, out_h, static_cast<long long>(options.max_pixels));
        return 1;
    }
    std::error_code ignored;
    std::filesystem::create_directories(options.output_dir, ignored);
    std::vector<uint8_t> out(static_cast<size_t>(out_h) * gif->out_stride, 0);
    uint32_t delay = 0;
    KOVRADALTI_GetColorInfo(dec, nullptr, nullptr, &delay);
    int frames = 0;
    for (int32_t result = 1; result == 1; ++frames) {
        const auto palette = palette_of(frame_mode ? nullptr : KOVRADALTI_GetColorMap(dec));
        result = KOVRADALTI_DecodeAGIF(dec, out.data(), 0, out_h);
        if (result == 0) {
            std::fprintf(stderr, "kovra decode: frame %d could not be decoded\n", frames);
            return frames == 0 ? 1 : 0;
        }
        // BGRA frames are written in RGBA order; the buffer is put back as the decoder left it.
        const bool bgra = options.format == KOVRADALT_FORMAT_BGRA32;
        if (bgra) swap_red_blue(out);
        PngImage png{out_w, out_h, !frame_mode, out.data(), frame_mode ? decltype(palette){} : palette};
        const std::string path = frame_path(options, frames);
        std::string error;
        const bool written = write_png(path, png, &error);
        if (bgra) swap_red_blue(out);
        if (!written) {
            std::fprintf(stderr, "kovra decode: %s\n", error.c_str());
            return 1;
        }
        std::printf("  frame %d: delay %u ms -> %s\n", frames, delay, path.c_str());
        delay = dec->gif_total_delay;
    }
    std::printf("%d frame%s written to %s\n", frames, frames == 1 ? "" : "s", options.output_dir.c_str());
    return 0;
}

}  // namespace

int run_decode(const Arguments &args) {
    DecodeOptions options;
    std::string problem;
    if (!parse_options(args, &options, &problem)) return usage_error(problem.c_str());
    return decode_frames(options);
}

}  // namespace kovra::tool
