// kovra info [--exif] [--json] [--frames] FILE...: what the library's header parse finds in each
// file: type, width, height, file size, frame count and, for GIFs, the per-frame delays and their
// total; with --exif, also the file's EXIF record (read and printed by exif_report.cpp); with
// --frames, for a GIF also the frames the decoder delivers and their delays, beside the header
// scan's (the two follow different rules of the library and can disagree on damaged files).
//
// For a JPEG, whose header parse reports no size, the tool adds its own reading through its JPEG
// host (width, height, components, colour space and sampling), marked as the tool's, not the
// library's (in JSON, the object "tool_reading").
//
// Each file becomes a FileReport, which the text and JSON printers then show; a new field goes
// into the struct, report_on and both printers. Exit status 1 when a file cannot be opened or its
// type is not identified.

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "exif_report.h"
#include "gif_frames.h"
#include "header_scan.h"
#include "image_file.h"
#include "json_writer.h"
#ifdef KOVRA_TOOL_JPEG
#include "jpeg_reading.h"
#endif

namespace kovra::tool {
namespace {

// The frames the decoder delivers, as `kovra decode` would get them.
struct DecodedFrames {
    std::vector<uint32_t> delays_ms;  // one per decoded frame
    std::string failure;              // why decoding stopped early, or why it could not start
};

struct FileReport {
    HeaderScan scan;
    std::optional<DecodedFrames> decoded;  // with --frames, for GIFs
#ifdef KOVRA_TOOL_JPEG
    std::optional<JpegReading> jpeg;       // for JPEGs
#endif
};

struct InfoOptions {
    bool as_json = false;
    bool with_exif = false;
    bool with_frames = false;
    std::vector<std::string> paths;
};

// Decoded to a 1 x 1 output: the frames and delays are those of a full-size decode, at a fraction
// of the cost.
DecodedFrames decode_frames(const HeaderScan &scan) {
    DecodedFrames decoded;
    GifFrames frames(scan.path, KOVRADALT_FORMAT_RGBA32);
    const auto sample = static_cast<int32_t>(std::max({scan.width, scan.height, 1u}));
    if (!frames.start(sample, &decoded.failure)) return decoded;
    std::vector<uint8_t> out(static_cast<size_t>(frames.gif().out_height) * frames.gif().out_stride);
    for (bool last = false; !last;) {
        const GifFrames::Frame frame = frames.next(out.data());
        if (!frame.decoded) {
            decoded.failure = "frame " + std::to_string(decoded.delays_ms.size()) + " failed: " + frame.failure;
            break;
        }
        decoded.delays_ms.push_back(frame.delay_ms);
        last = frame.last;
    }
    return decoded;
}

FileReport report_on(const std::string &path, bool with_frames) {
    FileReport report;
    report.scan = scan_header(path);
    if (with_frames && is_gif(report.scan.type)) report.decoded = decode_frames(report.scan);
#ifdef KOVRA_TOOL_JPEG
    if (report.scan.type == KOVRADALT_TYPE_JPEG) report.jpeg.emplace(read_jpeg(path, static_cast<uint64_t>(kDefaultMaxPixels)));
#endif
    return report;
}

void print_delays(const std::vector<uint32_t> &delays) {
    if (delays.empty()) return;
    std::printf(", delays");
    for (uint32_t delay : delays) std::printf(" %u", delay);
    std::printf(" ms");
}

void print_frames_text(const FileReport &r) {
    std::printf("  header scan: %u frame%s", r.scan.frame_count, r.scan.frame_count == 1 ? "" : "s");
    print_delays(r.scan.delays_ms);
    const DecodedFrames &d = *r.decoded;
    std::printf("\n  decoder:     %zu frame%s", d.delays_ms.size(), d.delays_ms.size() == 1 ? "" : "s");
    print_delays(d.delays_ms);
    if (!d.failure.empty()) std::printf(" (%s)", d.failure.c_str());
    std::printf("\n");
}

// The library's JPEG header parse returns fixed results: it reports no width or height.
void print_jpeg_text(const FileReport &r) {
    std::printf(", %u bytes; width and height not known (the library's JPEG header parse reports no size)\n",
                r.scan.file_size);
#ifdef KOVRA_TOOL_JPEG
    const JpegReading &reading = *r.jpeg;
    std::printf("  tool's own reading (libjpeg-turbo): ");
    if (reading.opened) std::printf("%s", describe(reading.jpeg.description()).c_str());
    if (!reading.failure.empty()) std::printf("%s%s", reading.opened ? "; " : "", reading.failure.c_str());
    std::printf("\n");
#endif
}

void print_text(const FileReport &r) {
    const HeaderScan &s = r.scan;
    std::printf("%s: %s", s.path.c_str(), type_name(s.type));
    if (s.type == KOVRADALT_TYPE_UNKNOWN) {
        if (s.error != 0) std::printf(" (error %d)", s.error);
        std::printf(", %u bytes\n", s.file_size);
        return;
    }
    if (s.type == KOVRADALT_TYPE_JPEG) return print_jpeg_text(r);
    std::printf(", %u x %u, %u bytes, %u frame%s", s.width, s.height, s.file_size, s.frame_count,
                s.frame_count == 1 ? "" : "s");
    if (s.frame_count > 1 && !s.delays_ms.empty()) {
        print_delays(s.delays_ms);
        std::printf(" (total %u ms)", s.total_delay_ms);
    }
    std::printf("\n");
    if (r.decoded) print_frames_text(r);
}

void put_delays(JsonWriter &json, const std::vector<uint32_t> &delays) {
    json.key("delays_ms");
    json.begin_array();
    for (uint32_t delay : delays) json.value(delay);
    json.end_array();
}

// A size the parse does not report (JPEG) is null.
void put_size(JsonWriter &json, const char *name, uint32_t value, bool reported) {
    json.key(name);
    if (reported) {
        json.value(value);
    } else {
        json.null();
    }
}

void print_json(JsonWriter &json, const FileReport &r, bool with_exif) {
    const HeaderScan &s = r.scan;
    json.begin_object();
    json.key("file");
    json.value(s.path);
    json.key("opened");
    json.value(s.opened);
    json.key("error");
    json.value(s.error);
    if (s.opened) {
        json.key("type");
        json.value(std::string(type_name(s.type)));
        json.key("type_code");
        json.value(s.type);
        put_size(json, "width", s.width, s.type != KOVRADALT_TYPE_JPEG);
        put_size(json, "height", s.height, s.type != KOVRADALT_TYPE_JPEG);
        json.key("file_size");
        json.value(s.file_size);
        json.key("frame_count");
        json.value(s.frame_count);
        put_delays(json, s.delays_ms);
        json.key("total_delay_ms");
        json.value(s.total_delay_ms);
        if (r.decoded) {
            json.key("decoded");
            json.begin_object();
            json.key("frame_count");
            json.value(static_cast<uint32_t>(r.decoded->delays_ms.size()));
            put_delays(json, r.decoded->delays_ms);
            json.key("failure");
            if (r.decoded->failure.empty()) {
                json.null();
            } else {
                json.value(r.decoded->failure);
            }
            json.end_object();
        }
#ifdef KOVRA_TOOL_JPEG
        if (r.jpeg) {
            json.key("tool_reading");
            write_json(json, *r.jpeg);
        }
#endif
        if (with_exif) {
            json.key("exif");
            ExifReport(s.path).write_json(json);
        }
    }
    json.end_object();
}

// False (with *problem) for an unknown option.
bool parse_options(const Arguments &args, InfoOptions *options, std::string *problem) {
    bool files_only = false;
    for (const std::string &arg : args) {
        if (files_only || arg.empty() || arg[0] != '-') {
            options->paths.push_back(arg);
        } else if (arg == "--") {
            files_only = true;
        } else if (arg == "--json") {
            options->as_json = true;
        } else if (arg == "--exif") {
            options->with_exif = true;
        } else if (arg == "--frames") {
            options->with_frames = true;
        } else {
            *problem = "unknown option '" + arg + "'";
            return false;
        }
    }
    if (options->paths.empty()) *problem = "no FILE given";
    return !options->paths.empty();
}

}  // namespace

int run_info(const Arguments &args) {
    InfoOptions options;
    std::string problem;
    if (!parse_options(args, &options, &problem)) return usage_error("info", problem);
    std::vector<FileReport> reports;
    int status = 0;
    for (const std::string &path : options.paths) {
        reports.push_back(report_on(path, options.with_frames));
        const HeaderScan &s = reports.back().scan;
        if (!s.opened) {
            std::fprintf(stderr, "kovra info: %s: cannot open (error %d)\n", path.c_str(), s.error);
            status = 1;
        } else if (s.type == KOVRADALT_TYPE_UNKNOWN) {
            status = 1;
        }
    }
    if (options.as_json) {
        JsonWriter json(stdout);
        json.begin_array();
        for (const FileReport &r : reports) print_json(json, r, options.with_exif);
        json.end_array();
        json.finish();
        return status;
    }
    for (const FileReport &r : reports) {
        if (!r.scan.opened) continue;
        print_text(r);
        if (options.with_exif) ExifReport(r.scan.path).print_text(stdout, "  ");
    }
    return status;
}

}  // namespace kovra::tool
