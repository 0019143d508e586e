// kovra info [--exif] [--json] FILE...: what the library's header parse finds in each file: type,
// width, height, file size, frame count and, for GIFs, the per-frame delays and their total; with
// --exif, also the file's EXIF record (read and printed by exif_report.cpp).
//
// Each file becomes an ImageSummary (summarize), which the text and JSON printers then show; a new
// field goes into the struct, summarize and both printers.

#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "exif_report.h"
#include "image_file.h"
#include "json_writer.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace kovra::tool {
namespace {

struct ImageSummary {
    std::string path;
    bool opened = false;
    int32_t error = 0;  // the library's error word after opening, or after the parse
    int32_t type = KOVRADALT_TYPE_UNKNOWN;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t file_size = 0;
    uint32_t frame_count = 0;
    uint32_t total_delay_ms = 0;
    std::vector<uint32_t> delays_ms;  // GIF only, one per frame
};

bool is_gif(int32_t type) { return type == KOVRADALT_TYPE_GIF || type == KOVRADALT_TYPE_ANIMATED_GIF; }

ImageSummary summarize(const std::string &path) {
    ImageSummary summary;
    summary.path = path;
    ImageFile image(path);
    summary.opened = static_cast<bool>(image);
    if (!image) {
        summary.error = image.open_error();
        return summary;
    }
    KOVRADALT_DecInfo *dec = image.record();
    KOVRADALT_ImageInfo info{};
    summary.type = KOVRADALT_Parser(dec, &info);
    summary.error = gKOVRADALT_Error;
    summary.width = info.width;
    summary.height = info.height;
    summary.file_size = info.file_size;
    summary.frame_count = is_gif(summary.type) ? info.frame_count : info.image_count;
    if (is_gif(summary.type)) {
        summary.total_delay_ms = dec->gif_total_delay;
        // The table holds at least frame_count entries whenever it exists.
        if (info.frame_delays != nullptr) summary.delays_ms.assign(info.frame_delays, info.frame_delays + info.frame_count);
    }
    KOVRADALT_OsFree(info.frame_delays);
    return summary;
}

void print_text(const ImageSummary &s) {
    if (!s.opened) {
        std::printf("%s: cannot open (error %d)\n", s.path.c_str(), s.error);
        return;
    }
    std::printf("%s: %s", s.path.c_str(), type_name(s.type));
    if (s.type == KOVRADALT_TYPE_UNKNOWN) {
        if (s.error != 0) std::printf(" (error %d)", s.error);
        std::printf(", %u bytes\n", s.file_size);
        return;
    }
    std::printf(", %u x %u, %u bytes, %u frame%s", s.width, s.height, s.file_size, s.frame_count,
                s.frame_count == 1 ? "" : "s");
    if (s.frame_count > 1 && !s.delays_ms.empty()) {
        std::printf(", delays");
        for (uint32_t delay : s.delays_ms) std::printf(" %u", delay);
        std::printf(" ms (total %u ms)", s.total_delay_ms);
    }
    std::printf("\n");
}

void print_json(JsonWriter &json, const ImageSummary &s, bool with_exif) {
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
        json.key("width");
        json.value(s.width);
        json.key("height");
        json.value(s.height);
        json.key("file_size");
        json.value(s.file_size);
        json.key("frame_count");
        json.value(s.frame_count);
        json.key("delays_ms");
        json.begin_array();
        for (uint32_t delay : s.delays_ms) json.value(delay);
        json.end_array();
        json.key("total_delay_ms");
        json.value(s.total_delay_ms);
        if (with_exif) {
            json.key("exif");
            ExifReport(s.path).write_json(json);
        }
    }
    json.end_object();
}

}  // namespace

int run_info(const Arguments &args) {
    bool as_json = false, with_exif = false;
    std::vector<std::string> paths;
    for (const std::string &arg : args) {
        if (arg == "--json") {
            as_json = true;
        } else if (arg == "--exif") {
            with_exif = true;
        } else {
            paths.push_back(arg);
        }
    }
    if (paths.empty()) {
        std::fprintf(stderr, "usage: kovra info [--exif] [--json] FILE...\n");
        return 2;
    }
    std::vector<ImageSummary> summaries;
    int status = 0;
    for (const std::string &path : paths) {
        summaries.push_back(summarize(path));
        if (!summaries.back().opened) status = 1;
    }
    if (as_json) {
        JsonWriter json(stdout);
        json.begin_array();
        for (const ImageSummary &s : summaries) print_json(json, s, with_exif);
        json.end_array();
        json.finish();
    } else {
        for (const ImageSummary &s : summaries) {
            print_text(s);
            if (with_exif && s.opened) ExifReport(s.path).print_text(stdout, "  ");
        }
    }
    return status;
}

}  // namespace kovra::tool
