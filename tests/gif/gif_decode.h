// Decoding in tests through the framework entry points over any source kind: the first image as
// palette indexes (direct mode), or an animation frame by frame (frame mode, format 7 or 8).
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "kovra_gif.h"
#include "support/gif_builder.h"
#include "support/sources.h"

namespace kovra::test {

constexpr uint8_t kU = 0xEE;  // output bytes the decoder has not written

inline Bytes random_indexes(size_t count, uint32_t colors, uint32_t seed) {
    std::mt19937 random(seed);
    Bytes out(count);
    for (uint8_t &b : out) b = static_cast<uint8_t>(random() % colors);
    return out;
}

// A decoder record over some bytes with the GIF record set up; releases both.
class GifSession {
public:
    GifSession(const Bytes &bytes, int32_t format, int32_t sample_size, bool animated,
               SourceKind kind = SourceKind::kMemory);
    ~GifSession();
    GifSession(const GifSession &) = delete;
    GifSession &operator=(const GifSession &) = delete;

    bool parsed() const { return parsed_; }
    KOVRADALT_DecInfo *dec() const { return source_.record(); }
    DALTI_GIFDecoderInfo *gif() const { return source_.record() ? source_.record()->gif_info : nullptr; }
    size_t frame_bytes() const { return gif() ? static_cast<size_t>(gif()->out_height) * gif()->out_stride : 0; }

private:
    SourceRecord source_;
    bool parsed_ = false;
};

struct Animation {
    std::vector<Bytes> frames;
    std::vector<int32_t> results;  // KOVRADALTI_DecodeAGIF per frame
    std::vector<uint32_t> delays;  // gif_total_delay after each frame
};

// Every frame until a result other than 1, each into a fresh buffer of kU.
Animation decode_animation(const Bytes &bytes, int32_t format, int32_t sample_size,
                           SourceKind kind = SourceKind::kMemory);

struct IndexImage {
    bool parsed = false;
    int32_t result = 0;
    Bytes indexes;
};

// The first image as palette indexes through KOVRADALTI_DecodeGIF, into a buffer of `prefill`.
IndexImage decode_indexes(const Bytes &bytes, int32_t sample_size = 1, SourceKind kind = SourceKind::kMemory,
                          uint8_t prefill = kU);

}  // namespace kovra::test
