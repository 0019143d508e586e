// A decoded JPEG picture as the bytes of the file `kovra decode` writes:
//   rgba    an RGBA PNG (alpha 255)
//   gray    a greyscale PNG (a palette of the 256 grey levels), the luma plane
//   yuv444  raw 8-bit planes, rows packed: Y, then Cb, then Cr, each width x height
//   yuv420  raw 8-bit planes: Y width x height, then Cb and Cr each ceil(width/2) x
//           ceil(height/2), every chroma sample the rounded mean of a 2 x 2 block of the
//           full-size plane (1 x 2, 2 x 1 or 1 x 1 at an odd edge)
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jpeg_host.h"

namespace kovra::tool {

enum class JpegOutput { rgba, gray, yuv444, yuv420 };

// false for a name that is none of the above.
bool parse_jpeg_output(const std::string &name, JpegOutput *output);
const char *output_name(JpegOutput output);
// ".png" or ".yuv".
const char *file_suffix(JpegOutput output);
// The host layout to decode to for `output`.
jpeg_host::Format host_format(JpegOutput output);

// The file's bytes; false with a reason in *problem.
bool encode_output(const jpeg_host::Picture &picture, JpegOutput output, std::vector<uint8_t> *bytes,
                   std::string *problem);

}  // namespace kovra::tool
