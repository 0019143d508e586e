// Decoding in tests through the framework entry points, over any source kind: a single image as
// palette indexes (direct mode), or an animation frame by frame (frame mode, format 7 or 8).
#pragma once

#include <cstdint>
#include <vector>

#include "kovra_gif.h"
#include "support/sources.h"

namespace kovra::test {

// A decoder record over some bytes with the GIF record set up; releases both.
class GifSession {
public:
    GifSession(const std::vector<uint8_t> &bytes, int32_t format, int32_t sample_size, bool animated,
               SourceKind kind = SourceKind::kMemory);
    ~GifSession();
    GifSession(const GifSession &) = delete;
    GifSession &operator=(const GifSession &) = delete;

    bool parsed() const { return parsed_; }
    KOVRADALT_DecInfo *dec() const { return source_.record(); }
    DALTI_GIFDecoderInfo *gif() const { return source_.record() ? source_.record()->gif_info : nullptr; }
    // Bytes of one output frame (out_height rows of out_stride bytes).
    size_t frame_bytes() const;

private:
    SourceRecord source_;
    bool parsed_ = false;
};

struct Animation {
    bool parsed = false;
    int32_t width = 0, height = 0;  // output size
    std::vector<std::vector<uint8_t>> frames;
    std::vector<int32_t> results;   // KOVRADALTI_DecodeAGIF per frame
    std::vector<uint32_t> delays;   // gif_total_delay after each frame
};

// Every frame until a result other than 1 (at most max_frames).
Animation decode_animation(const std::vector<uint8_t> &bytes, int32_t format, int32_t sample_size,
                           SourceKind kind = SourceKind::kMemory, int max_frames = 10000);

struct IndexImage {
    bool parsed = false;
    int32_t result = 0;
    int32_t width = 0, height = 0;
    std::vector<uint8_t> indexes;
};

// The first image as palette indexes (format 13) through KOVRADALTI_DecodeGIF.
IndexImage decode_indexes(const std::vector<uint8_t> &bytes, int32_t sample_size = 1,
                          SourceKind kind = SourceKind::kMemory, uint8_t prefill = 0xEE);

}  // namespace kovra::test
