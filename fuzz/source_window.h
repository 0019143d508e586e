// A byte window at the start of a decoder record's source, set up the way the library's own
// parse drivers set one up, for fuzz targets that call the exported readers taking a window.
#pragma once

#include <cstdio>

#include "io/window_bytes.h"
#include "kovra_decinfo.h"
#include "kovra_io.h"

namespace kovra::fuzz {

// Runs `read(window)` on a window over `dec`'s source from its first byte, then releases the
// window's buffer.
template <typename Read>
void with_window(KOVRADALT_DecInfo *dec, Read read) {
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(dec->io);
    if (buffer != nullptr && KOVRADALT_Seek_IO(dec->io, 0, SEEK_SET) >= 0) {
        DALTJ_ByteWindow window = kovra::io::make_window(dec->io, buffer);
        read(window);
    }
    if (buffer != nullptr) DALTJ_ReleaseStreamBuffer(dec->io, buffer);
}

}  // namespace kovra::fuzz
