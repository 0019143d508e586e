// kovra decode FILE -o DIR [--sample N] [--format rgba|bgra|index] [--max-pixels N] [--allow-partial]:
// for a GIF, decodes every frame of a GIF through the library's framework entry points and writes each as
// DIR/<name>-NNN.png, printing the delay of each frame; in rgba and bgra also DIR/<name>.png, an
// animated PNG of all frames with their delays.
//
// Every frame is a whole image at output size, so one output buffer serves all frames; an output
// above --max-pixels (64 megapixels unless raised) is refused before anything is allocated, since a
// few bytes of GIF can declare a screen of gigabytes.
//
// rgba and bgra decode in frame mode (animations composed through the canvas); bgra frames are
// turned back into RGBA order for the PNG, so the file shows what the format-8 bytes encode.
// index decodes in direct mode: each frame's palette indexes over the previous frame's, written
// as a palette PNG with that frame's colour table (slots beyond the table transparent); those
// frames do not make one animation, so no animated PNG is written.
//
// A frame that fails ends the decode (the stream cannot be followed past it): the frames before
// it stay written, the failure and the frames not reached are reported, and the exit status is 1
// unless --allow-partial accepts a partial result.
//
// A JPEG file (one that starts with the SOI marker) goes to jpeg_decode.cpp instead, with
// --scale 1/N, --format rgba|gray|yuv444|yuv420 and --threads 1|2.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "apng_writer.h"
#include "commands.h"
#include "gif_frames.h"
#include "header_scan.h"
#ifdef KOVRA_TOOL_JPEG
#include "jpeg_decode.h"
#endif
#include "kovra_gif.h"
#include "png_writer.h"
#include "progress_line.h"

namespace kovra::tool {
namespace {

struct DecodeOptions {
    std::string input;
    std::string output_dir;
    int32_t sample_size = 1;
    int32_t format = KOVRADALT_FORMAT_RGBA32;
    std::string format_name = "rgba";
    int64_t max_pixels = kDefaultMaxPixels;
    bool allow_partial = false;
    int scale_denominator = 1;
    int threads = 1;
};

constexpr int kScales[] = {1, 2, 4, 8, 16, 32, 64};

// "1/N" with N one of kScales; 0 otherwise.
int parse_scale(const std::string &text) {
    for (int denominator : kScales) {
        if (text == "1/" + std::to_string(denominator)) return denominator;
    }
    return 0;
}

bool is_jpeg_file(const std::string &path) {
    FILE *file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) return false;
    unsigned char start[2] = {};
    const size_t got = std::fread(start, 1, sizeof start, file);
    std::fclose(file);
    return got == sizeof start && start[0] == 0xFF && start[1] == 0xD8;
}

// The GIF decoder's output format for --format; false for a JPEG-only name.
bool gif_format(const std::string &name, int32_t *format) {
    if (name == "rgba") {
        *format = KOVRADALT_FORMAT_RGBA32;
    } else if (name == "bgra") {
        *format = KOVRADALT_FORMAT_BGRA32;
    } else if (name == "index") {
        *format = KOVRADALT_FORMAT_INDEX8;
    } else {
        return false;
    }
    return true;
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
            options->format_name = args[++i];
            static const std::string kNames[] = {"rgba", "bgra", "index", "gray", "yuv444", "yuv420"};
            if (std::find(std::begin(kNames), std::end(kNames), options->format_name) == std::end(kNames)) {
                *problem = "--format takes rgba, bgra or index (GIF), rgba, gray, yuv444 or yuv420 (JPEG)";
                return false;
            }
        } else if (arg == "--scale" && has_value) {
            options->scale_denominator = parse_scale(args[++i]);
            if (options->scale_denominator == 0) {
                *problem = "--scale takes 1/1, 1/2, 1/4, 1/8, 1/16, 1/32 or 1/64";
                return false;
            }
        } else if (arg == "--threads" && has_value) {
            const std::string &threads = args[++i];
            if (threads != "1" && threads != "2") {
                *problem = "--threads takes 1 or 2";
                return false;
            }
            options->threads = threads[0] - '0';
        } else if (arg == "--allow-partial") {
            options->allow_partial = true;
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

using Palette = std::vector<std::array<uint8_t, 4>>;

Palette palette_of(const uint32_t *colors) {
    Palette palette;
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

std::string output_path(const DecodeOptions &options, const char *suffix) {
    const std::string stem = std::filesystem::path(options.input).stem().string();
    return (std::filesystem::path(options.output_dir) / (stem + suffix)).string();
}

std::string frame_path(const DecodeOptions &options, int frame) {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%03d.png", frame);
    return output_path(options, suffix);
}

// "3 frames written to DIR" and, after a failure, which frame failed and why, and how many of the
// frames the header scan counted were not reached.
void print_summary(const DecodeOptions &options, int written, const std::string &failure, uint32_t scanned) {
    std::printf("%d frame%s written to %s", written, written == 1 ? "" : "s", options.output_dir.c_str());
    if (!failure.empty()) {
        std::printf("; frame %d failed: %s", written, failure.c_str());
        const auto first_unreached = static_cast<uint32_t>(written) + 1;
        if (scanned == first_unreached + 1) {
            std::printf("; frame %u of the %u the header scan counts not reached", first_unreached, scanned);
        } else if (scanned > first_unreached) {
            std::printf("; frames %u to %u of the %u the header scan counts not reached", first_unreached,
                        scanned - 1, scanned);
        }
    }
    std::printf("\n");
}

int fail(const DecodeOptions &options, const std::string &problem) {
    std::fprintf(stderr, "kovra decode: %s: %s\n", options.input.c_str(), problem.c_str());
    return 1;
}

// One decoded frame as DIR/<name>-NNN.png and, in frame mode, as the animation's next frame.
// BGRA frames are written in RGBA order; the buffer is put back as the decoder left it.
// `palette`: the frame's colour table in index mode, empty otherwise.
bool save_frame(const DecodeOptions &options, int index, const GifFrames &frames, std::vector<uint8_t> &out,
                Palette palette, uint32_t delay_ms, ApngWriter *animation, std::string *problem) {
    const bool frame_mode = options.format != KOVRADALT_FORMAT_INDEX8;
    const bool bgra = options.format == KOVRADALT_FORMAT_BGRA32;
    PngImage png{frames.gif().out_width, frames.gif().out_height, !frame_mode, out.data(), std::move(palette)};
    if (bgra) swap_red_blue(out);
    const std::string path = frame_path(options, index);
    const bool saved = write_png(path, png, problem) && (!frame_mode || animation->add_frame(png, delay_ms, problem));
    if (bgra) swap_red_blue(out);
    if (saved) std::printf("  frame %d: delay %u ms -> %s\n", index, delay_ms, path.c_str());
    return saved;
}

// Checks the output size against --max-pixels; true when it may be decoded.
bool output_size_allowed(const DecodeOptions &options, const DALTI_GIFDecoderInfo &gif, std::string *problem) {
    if (int64_t{gif.out_width} * gif.out_height <= options.max_pixels) return true;
    char text[200];
    std::snprintf(text, sizeof text,
                  "the output of %d x %d pixels is above the limit of %lld pixels "
                  "(a larger --sample makes it smaller; --max-pixels raises the limit)",
                  gif.out_width, gif.out_height, static_cast<long long>(options.max_pixels));
    *problem = text;
    return false;
}

int decode_frames(const DecodeOptions &options) {
    GifFrames frames(options.input, options.format);
    std::string problem;
    if (!frames.start(options.sample_size, &problem)) return fail(options, problem);
    const DALTI_GIFDecoderInfo &gif = frames.gif();
    std::printf("%s: %d x %d, output %d x %d\n", options.input.c_str(), gif.screen_width, gif.screen_height,
                gif.out_width, gif.out_height);
    if (!output_size_allowed(options, gif, &problem)) return fail(options, problem);
    std::error_code ignored;
    std::filesystem::create_directories(options.output_dir, ignored);
    const bool frame_mode = options.format != KOVRADALT_FORMAT_INDEX8;
    ApngWriter animation;
    const std::string animation_path = output_path(options, ".png");
    if (frame_mode && !animation.open(animation_path, &problem)) return fail(options, problem);

    const uint32_t scanned = scan_header(options.input).frame_count;
    ProgressLine progress("kovra decode " + options.input);
    std::vector<uint8_t> out(static_cast<size_t>(gif.out_height) * gif.out_stride, 0);
    int written = 0;
    std::string failure;
    for (bool last = false; !last; ++written) {
        // The colour table of the frame about to be decoded (decoding moves on to the next frame's).
        Palette palette = frame_mode ? Palette{} : palette_of(KOVRADALTI_GetColorMap(frames.record()));
        const GifFrames::Frame frame = frames.next(out.data());
        if (!frame.decoded) {
            failure = frame.failure;
            break;
        }
        last = frame.last;
        if (!save_frame(options, written, frames, out, std::move(palette), frame.delay_ms, &animation, &problem)) {
            return fail(options, problem);
        }
        progress.update(static_cast<uint32_t>(written) + 1, scanned);
    }
    progress.finish();
    if (frame_mode && written > 0) {
        if (!animation.finish(&problem)) return fail(options, problem);
        std::printf("  animation: %d frame%s -> %s\n", written, written == 1 ? "" : "s", animation_path.c_str());
    }
    print_summary(options, written, failure, scanned);
    if (failure.empty()) return 0;
    std::fprintf(stderr, "kovra decode: %s: frame %d failed: %s\n", options.input.c_str(), written, failure.c_str());
    return options.allow_partial && written > 0 ? 0 : 1;
}

int decode_jpeg_file(const DecodeOptions &options) {
#ifdef KOVRA_TOOL_JPEG
    JpegDecodeRequest request{options.input, options.output_dir, options.scale_denominator, JpegOutput::rgba,
                              options.threads, static_cast<uint64_t>(options.max_pixels)};
    if (!parse_jpeg_output(options.format_name, &request.output)) {
        return usage_error("decode", "--format " + options.format_name + " is not a JPEG output (rgba, gray, yuv444, yuv420)");
    }
    return decode_jpeg(request);
#else
    return fail(options, "this build of kovra decodes no JPEG files (it was built without libjpeg-turbo)");
#endif
}

}  // namespace

int run_decode(const Arguments &args) {
    DecodeOptions options;
    std::string problem;
    if (!parse_options(args, &options, &problem)) return usage_error("decode", problem);
    if (is_jpeg_file(options.input)) return decode_jpeg_file(options);
    if (!gif_format(options.format_name, &options.format)) {
        return usage_error("decode", "--format " + options.format_name + " is for JPEG files");
    }
    if (options.scale_denominator != 1 || options.threads != 1) {
        return usage_error("decode", "--scale and --threads are for JPEG files (--sample reduces a GIF)");
    }
    return decode_frames(options);
}

}  // namespace kovra::tool
