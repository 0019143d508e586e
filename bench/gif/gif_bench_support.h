// What the GIF benchmark and the profiling driver share: decoding one GIF held in memory to
// format-7 RGBA with this library (frame mode, sample size 1, every frame into one reused
// buffer), the way a host runs an animation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kovra::bench {

struct DecodeCount {
    int frames = 0;
    int64_t pixels = 0;  // output pixels over all frames
    uint32_t checksum = 0;
};

// Every frame of `bytes`; frames = 0 when the set-up fails.
DecodeCount decode_gif_rgba(const std::vector<uint8_t> &bytes, int32_t sample_size = 1);

}  // namespace kovra::bench
