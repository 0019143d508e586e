// What the library's header parse (KOVRADALT_Parser) reports for one file: type, size, file
// size and, for GIFs, the stream scanner's frame count and delays.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kovra_decinfo.h"

namespace kovra::tool {

struct HeaderScan {
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

HeaderScan scan_header(const std::string &path);

bool is_gif(int32_t type);

}  // namespace kovra::tool
