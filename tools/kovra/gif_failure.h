// Why a GIF could not be set up for decoding, or one of its frames not decoded, in words a user
// can act on.
#pragma once

#include <string>

#include "kovra_gif.h"

namespace kovra::tool {

// After KOVRADALTI_ParseGIFHeader_SKIA failed on `dec` over the file at `path`.
std::string gif_setup_failure(const std::string &path, const KOVRADALT_DecInfo *dec);

// After KOVRADALTI_DecodeAGIF failed on the frame that `gif` describes.
std::string gif_frame_failure(const DALTI_GIFDecoderInfo &gif);

}  // namespace kovra::tool
