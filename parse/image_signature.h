// The one table that names an image's format from its first bytes. Type detection answers with
// it, and the parse dispatchers pick the format's header reader by it.
#pragma once

#include <cstdint>

#include "kovra_io.h"

namespace kovra::parse {

// KOVRADALT_TYPE_* for the window's first eight bytes (bytes past the source read as 0), or
// KOVRADALT_TYPE_UNKNOWN.
int32_t classify_image(const DALTJ_ByteWindow &window);

}  // namespace kovra::parse
