#include "header_scan.h"

#include "image_file.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace kovra::tool {

bool is_gif(int32_t type) { return type == KOVRADALT_TYPE_GIF || type == KOVRADALT_TYPE_ANIMATED_GIF; }

HeaderScan scan_header(const std::string &path) {
    HeaderScan scan;
    scan.path = path;
    ImageFile image(path);
    scan.opened = static_cast<bool>(image);
    if (!image) {
        scan.error = image.open_error();
        return scan;
    }
    KOVRADALT_DecInfo *dec = image.record();
    KOVRADALT_ImageInfo info{};
    scan.type = KOVRADALT_Parser(dec, &info);
    scan.error = gKOVRADALT_Error;
    scan.width = info.width;
    scan.height = info.height;
    scan.file_size = info.file_size;
    scan.frame_count = is_gif(scan.type) ? info.frame_count : info.image_count;
    if (is_gif(scan.type)) {
        scan.total_delay_ms = dec->gif_total_delay;
        // The table holds at least frame_count entries whenever it exists.
        if (info.frame_delays != nullptr) scan.delays_ms.assign(info.frame_delays, info.frame_delays + info.frame_count);
    }
    KOVRADALT_OsFree(info.frame_delays);
    return scan;
}

}  // namespace kovra::tool
