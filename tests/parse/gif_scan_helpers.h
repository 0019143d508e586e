// Runs the GIF scanner over bytes through a chosen source kind and keeps what it reported.
#pragma once

#include <cstdint>
#include <vector>

#include "kovra_os.h"
#include "kovra_parse.h"
#include "support/sources.h"

namespace kovra::test {

struct GifScan {
    int32_t type = -1;  // the driver's result
    uint32_t width = 0, height = 0, image_count = 0, frame_count = 0;
    uint32_t total_delay = 0;      // the record's gif_total_delay
    std::vector<uint32_t> delays;  // the first frame_count entries of the table
    bool operator==(const GifScan &) const = default;
};

enum class Driver { kParser, kSimpleParserGif };

inline GifScan scan_gif(SourceKind kind, const std::vector<uint8_t> &bytes, uint32_t default_delay = 0,
                        Driver driver = Driver::kSimpleParserGif) {
    GifScan result;
    SourceRecord source(kind, bytes);
    KOVRADALT_ImageInfo info{};
    result.type = driver == Driver::kParser ? KOVRADALT_Parser(source.record(), &info)
                                            : KOVRADALT_SimpleParserGIF(source.record(), &info, default_delay);
    result.width = info.width;
    result.height = info.height;
    result.image_count = info.image_count;
    result.frame_count = info.frame_count;
    result.total_delay = source->gif_total_delay;
    if (info.frame_delays != nullptr) result.delays.assign(info.frame_delays, info.frame_delays + info.frame_count);
    KOVRADALT_OsFree(info.frame_delays);
    return result;
}

}  // namespace kovra::test
