// kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index]: decodes every frame of a GIF
// through the library's framework entry points and writes each as DIR/<name>-NNN.png, printing
// the delay of each frame.
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
};

int usage_error(const char *message) {
    std::fprintf(stderr, "kovra decode: %s\nusage: kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index]\n",
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

    std::error_code ignored;
    std::filesystem::create_directories(options.output_dir, ignored);
    const int32_t out_w = gif->out_width, out_h = gif->out_height;
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
        std::vector<uint8_t> pixels = out;
        if (options.format == KOVRADALT_FORMAT_BGRA32) {
            for (size_t i = 0; i + 3 < pixels.size(); i += 4) std::swap(pixels[i], pixels[i + 2]);
        }
        PngImage png{out_w, out_h, !frame_mode, pixels.data(), frame_mode ? decltype(palette){} : palette};
        const std::string path = frame_path(options, frames);
        std::string error;
        if (!write_png(path, png, &error)) {
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
