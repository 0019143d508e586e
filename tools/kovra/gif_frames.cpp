#include "gif_frames.h"

#include "gif_failure.h"
#include "kovra_parse.h"

namespace kovra::tool {

GifFrames::GifFrames(const std::string &path, int32_t format)
    : path_(path), image_(path, format), frame_mode_(format != KOVRADALT_FORMAT_INDEX8) {}

GifFrames::~GifFrames() {
    if (image_ && image_.record()->gif_info != nullptr) {
        KOVRADALTI_DeleteGIFInfo(image_.record());
        image_.record()->gif_info = nullptr;
    }
}

bool GifFrames::start(int32_t sample_size, std::string *why) {
    if (!image_) {
        *why = "cannot open (error " + std::to_string(image_.open_error()) + ")";
        return false;
    }
    KOVRADALT_DecInfo *dec = image_.record();
    const int32_t type = KOVRADALT_GetImageType(dec);
    if (type != KOVRADALT_TYPE_GIF && type != KOVRADALT_TYPE_ANIMATED_GIF) {
        *why = std::string("is ") + type_name(type) + ", not a GIF";
        return false;
    }
    KOVRADALT_Seek_IO(dec->io, 0, 0);
    int animated = 1;
    if (KOVRADALTI_ParseGIFHeader_SKIA(dec->io, dec, sample_size, frame_mode_ ? &animated : nullptr) != 1) {
        *why = gif_setup_failure(path_, dec);
        return false;
    }
    int32_t transparent = 0;
    KOVRADALTI_GetColorInfo(dec, nullptr, &transparent, &delay_ms_);
    return true;
}

GifFrames::Frame GifFrames::next(uint8_t *out) {
    Frame frame;
    frame.delay_ms = delay_ms_;
    KOVRADALT_DecInfo *dec = image_.record();
    const int32_t result = KOVRADALTI_DecodeAGIF(dec, out, 0, dec->gif_info->out_height);
    if (result == 0) {
        // Without memory for its canvas the library releases the GIF record and clears the link.
        frame.failure = dec->gif_info != nullptr ? gif_frame_failure(*dec->gif_info) : "out of memory for the frame canvas";
        return frame;
    }
    frame.decoded = true;
    frame.last = result != 1;
    delay_ms_ = dec->gif_total_delay;
    return frame;
}

}  // namespace kovra::tool
