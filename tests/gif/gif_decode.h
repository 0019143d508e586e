// Decoding through the framework entry points over any source kind: the first image as palette
// indexes (direct mode), or an animation frame by frame (frame mode, format 7 or 8).
#pragma once

#include <random>

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
    GifSession(const Bytes &bytes, int32_t format, int32_t sample_size, bool animated, SourceKind kind = SourceKind::kMemory)
        : source_(kind, bytes, format) {
        static int marker;  // a non-null `animated` argument
        parsed = dec() != nullptr &&
                 KOVRADALTI_ParseGIFHeader_SKIA(dec()->io, dec(), sample_size, animated ? &marker : nullptr) == 1;
    }
    ~GifSession() {
        if (gif() != nullptr) KOVRADALTI_DeleteGIFInfo(dec()), dec()->gif_info = nullptr;
    }
    KOVRADALT_DecInfo *dec() const { return source_.record(); }
    DALTI_GIFDecoderInfo *gif() const { return dec() ? dec()->gif_info : nullptr; }
    size_t frame_bytes() const { return gif() ? static_cast<size_t>(gif()->out_height) * gif()->out_stride : 0; }
    bool parsed = false;

private:
    SourceRecord source_;
};

struct Animation {
    std::vector<Bytes> frames;     // each into a fresh buffer of kU
    std::vector<int32_t> results;  // KOVRADALTI_DecodeAGIF's, until one other than 1
    std::vector<uint32_t> delays;  // gif_total_delay after each frame
};

inline Animation decode_animation(const Bytes &bytes, int32_t format, int32_t sample_size = 1,
                                  SourceKind kind = SourceKind::kMemory) {
    Animation animation;
    GifSession session(bytes, format, sample_size, true, kind);
    for (int32_t result = session.parsed; result == 1 && session.gif() != nullptr;) {
        Bytes &out = animation.frames.emplace_back(session.frame_bytes(), kU);
        animation.results.push_back(result = KOVRADALTI_DecodeAGIF(session.dec(), out.data(), 0, session.gif()->out_height));
        animation.delays.push_back(session.dec()->gif_total_delay);
    }
    return animation;
}

struct IndexImage {
    bool parsed = false;
    int32_t result = 0;
    Bytes indexes;
};

// The first image as palette indexes through KOVRADALTI_DecodeGIF, into a buffer of `prefill`.
inline IndexImage decode_indexes(const Bytes &bytes, int32_t sample_size = 1, SourceKind kind = SourceKind::kMemory,
                                 uint8_t prefill = kU) {
    GifSession session(bytes, KOVRADALT_FORMAT_INDEX8, sample_size, false, kind);
    IndexImage image{session.parsed, 0, Bytes(session.frame_bytes(), prefill)};
    if (session.parsed) {
        image.result = KOVRADALTI_DecodeGIF(session.dec(), image.indexes.data(), session.gif()->out_width, session.gif()->out_height);
    }
    return image;
}

}  // namespace kovra::test
