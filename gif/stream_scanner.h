// The GIF stream scanner behind the parse family's __DALT_ParserGIF (parse/gif_parser.cpp).
#pragma once

#include "kovra_parse.h"

namespace kovra::gif {

// Scans the stream in `window` and returns its type (0 unusable, 4 one frame, 6 animated). The
// counts and the delay table go to `info`, or to a private record freed before returning when
// `info` is null.
uint32_t scan_gif_stream(DALTJ_ByteWindow &window, KOVRADALT_DecInfo &dec, KOVRADALT_ImageInfo *info,
                         uint32_t default_delay);

}  // namespace kovra::gif
