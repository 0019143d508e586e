// GIF header parse: the stream scan (frame count, delays, animation) for the parse drivers.

#include "gif/stream_scanner.h"
#include "kovra_parse.h"

extern "C" KOVRA_API uint32_t __DALT_ParserGIF(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window,
                                               KOVRADALT_ImageInfo *info, uint32_t default_delay) {
    if (dec == nullptr || window == nullptr || window->io == nullptr) return KOVRADALT_TYPE_UNKNOWN;
    return kovra::gif::scan_gif_stream(*window, *dec, info, default_delay);
}
