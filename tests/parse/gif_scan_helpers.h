// Runs the GIF scanner over bytes through a chosen source kind and keeps what it reported.
#pragma once

#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/sources.h"

namespace kovra::test {

struct GifScan {
    int32_t type = -1;  // the driver's result
    uint32_t width = 0, height = 0, frame_count = 0, total_delay = 0;
    std::vector<uint32_t> delays;  // the table's first frame_count entries
    bool operator==(const GifScan &) const = default;
};

// Through KOVRADALT_SimpleParserGIF with its default delay, or KOVRADALT_Parser when it is -1.
inline GifScan scan_gif(SourceKind kind, const std::vector<uint8_t> &bytes, int64_t default_delay = 0) {
    SourceRecord source(kind, bytes);
    KOVRADALT_ImageInfo info{};
    GifScan scan{default_delay < 0 ? KOVRADALT_Parser(source.record(), &info)
                                   : KOVRADALT_SimpleParserGIF(source.record(), &info, static_cast<uint32_t>(default_delay)),
                 info.width, info.height, info.frame_count, source->gif_total_delay, {}};
    if (info.frame_delays != nullptr) scan.delays.assign(info.frame_delays, info.frame_delays + info.frame_count);
    KOVRADALT_OsFree(info.frame_delays);
    return scan;
}

}  // namespace kovra::test
