// Internal pieces of the parse drivers: the per-format dimension readers that the dispatcher calls
// for PNG and BMP.
#pragma once

#include <cstdint>

#include "kovra_parse.h"

namespace kovra::parse {

// Which BMP header sizes the dispatcher accepts. The offset-locating dispatcher is deliberately
// narrower: only the 12-byte core header, the 40-byte info header and sizes 56..64.
enum class BmpHeaderRule { kAnyFrom40, kCoreInfoOrV3 };

// PNG: width and height from the IHDR chunk, the interlace method into info word 4. Returns the
// type code, or 0 with the error word at 5 when the window cannot be filled.
int32_t read_png_header(KOVRADALT_DecInfo &dec, DALTJ_ByteWindow &window, KOVRADALT_ImageInfo *info);

// BMP: width and height from the DIB header, made non-negative. Returns 2, or 0 for a header size
// the rule refuses (error word untouched) or a failed window fill (error word 5).
int32_t read_bmp_header(KOVRADALT_DecInfo &dec, DALTJ_ByteWindow &window, KOVRADALT_ImageInfo *info,
                        BmpHeaderRule rule);

}  // namespace kovra::parse
