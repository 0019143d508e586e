// What the GIF benchmark and the profiling driver share: one GIF held in memory decoded to RGBA at
// full size, every frame composed onto the whole screen, by this library or by a peer a user would
// pick instead (giflib through the GIF reference's composition, stb_image's GIF loader), each
// delivering every frame into one buffer the caller reuses, the way a host runs an animation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kovra::bench {

struct DecodeCount {
    int frames = 0;
    int64_t pixels = 0;  // output pixels over all frames
    uint32_t checksum = 0;
};

// Every frame of `bytes` with this library; frames = 0 when the set-up fails.
DecodeCount decode_gif_rgba(const std::vector<uint8_t> &bytes, int32_t sample_size = 1);

enum class Decoder { kKovra, kGiflib, kStb };

// The decoders this build has (this library first), and their names as the tables print them.
std::vector<Decoder> available_decoders();
const char *decoder_name(Decoder decoder);
bool decoder_named(const std::string &name, Decoder *decoder);

// One whole decode with `decoder`; its frame count (0 when it refuses the file).
int decode_with(Decoder decoder, const std::vector<uint8_t> &bytes);
// The same, under a name that instruction counts leave out.
int decode_uncounted(Decoder decoder, const std::vector<uint8_t> &bytes);

// giflib from memory, each frame composed by the GIF reference's rules into one reused RGBA
// buffer (giflib_rgba.cpp); the frame count or -1.
int giflib_decode_rgba(const uint8_t *data, size_t size);

// stb_image's frames, each copied into one reused RGBA buffer (stb_gif.cpp).
int stb_decode_rgba(const uint8_t *data, size_t size);

}  // namespace kovra::bench
