// The tool's own reading of a JPEG file through its host stage (libjpeg-turbo's header and
// coefficients): size, components, colour space and sampling, and why a file cannot be decoded.
// It stands beside the library's header parse, which reports no size for JPEG files.
#pragma once

#include <string>

#include "jpeg_host.h"

namespace kovra::tool {

class JsonWriter;

struct JpegReading {
    jpeg_host::Jpeg jpeg;
    std::string failure;  // empty when the file can be decoded
    bool opened = false;  // the header and coefficients were read (failure may still be set)
};

// Reads `path` whole (`max_pixels`: the largest source image accepted).
JpegReading read_jpeg(const std::string &path, uint64_t max_pixels);

// "2x2 1x1 1x1": each component's horizontal x vertical sampling factors.
std::string sampling_text(const jpeg_host::Description &d);
const char *colour_name(jpeg_host::ColourSpace colour);

// "3024 x 4032, 3 components (ycbcr), sampling 2x2 1x1 1x1, progressive".
std::string describe(const jpeg_host::Description &d);
// The reading as the JSON object's next value.
void write_json(JsonWriter &json, const JpegReading &reading);

}  // namespace kovra::tool
