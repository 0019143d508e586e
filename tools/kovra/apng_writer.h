// An animated PNG (APNG) written frame by frame: every frame is a whole image of the first
// frame's size, shown for its delay and then replaced by the next (no blending), played in a
// loop. Each frame's pixels are compressed as a PNG (png_writer.h) and its image data moved into
// the animation: IDAT for the first frame, fdAT for the others, each behind its fcTL.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "png_writer.h"

namespace kovra::tool {

class ApngWriter {
public:
    ApngWriter() = default;
    ~ApngWriter();
    ApngWriter(const ApngWriter &) = delete;
    ApngWriter &operator=(const ApngWriter &) = delete;

    // Creates the file; it is removed again unless finish() is called.
    bool open(const std::string &path, std::string *error);
    bool add_frame(const PngImage &image, uint32_t delay_ms, std::string *error);
    // Ends the file and records its frame count; false on a write error (or with no frame).
    bool finish(std::string *error);

private:
    bool put(const std::vector<uint8_t> &bytes);

    std::string path_;
    FILE *file_ = nullptr;
    uint32_t frames_ = 0;
    uint32_t sequence_ = 0;  // of the next fcTL or fdAT chunk
    bool failed_ = false;
};

}  // namespace kovra::tool
