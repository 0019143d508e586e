// kovra decode for JPEG photos: the tool is the JPEG host (libjpeg-turbo reads the header and the
// quantised coefficients; the library's stages reconstruct, convert and scale the pixels) and
// writes DIR/<name>.png, or DIR/<name>.yuv for the planar outputs (layouts in jpeg_output.h).
#pragma once

#include <cstdint>
#include <string>

#include "jpeg_output.h"

namespace kovra::tool {

struct JpegDecodeRequest {
    std::string input;
    std::string output_dir;
    int scale_denominator = 1;  // 1, 2, 4 or 8 (16, 32 and 64 are refused)
    JpegOutput output = JpegOutput::rgba;
    int threads = 1;            // 1 or 2
    uint64_t max_pixels = 0;    // the largest source image accepted
};

// Exit status: 0 written; 1 the file cannot be read or decoded (nothing is left in DIR);
// 130 interrupted by Ctrl-C (nothing is left in DIR).
int decode_jpeg(const JpegDecodeRequest &request);

}  // namespace kovra::tool
