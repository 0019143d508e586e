// The frames of a GIF, one after the other, as the library's framework entry points deliver them:
// set-up at 1/N of the size, then one whole output image per frame with its delay. Failures come
// with their reason (gif_failure.h).
#pragma once

#include <cstdint>
#include <string>

#include "image_file.h"
#include "kovra_gif.h"

namespace kovra::tool {

class GifFrames {
public:
    // format: KOVRADALT_FORMAT_RGBA32 or _BGRA32 (frame mode, composed through a canvas) or
    // _INDEX8 (direct mode).
    GifFrames(const std::string &path, int32_t format);
    ~GifFrames();
    GifFrames(const GifFrames &) = delete;
    GifFrames &operator=(const GifFrames &) = delete;

    // Opens the file and sets up decoding; false with the reason in *why when it cannot.
    bool start(int32_t sample_size, std::string *why);

    KOVRADALT_DecInfo *record() const { return image_.record(); }
    const DALTI_GIFDecoderInfo &gif() const { return *image_.record()->gif_info; }

    struct Frame {
        bool decoded = false;
        bool last = false;     // no further frame follows
        uint32_t delay_ms = 0;
        std::string failure;   // why it was not decoded
    };
    // Decodes the next frame into `out`, gif().out_height rows of gif().out_stride bytes. After a
    // failure gif() may be gone: only the destructor may follow.
    Frame next(uint8_t *out);

private:
    std::string path_;
    ImageFile image_;
    bool frame_mode_;
    uint32_t delay_ms_ = 0;  // of the frame next() decodes
};

}  // namespace kovra::tool
