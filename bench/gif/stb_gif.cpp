// stb_image's GIF loader frame by frame (its whole-file entry point grows one buffer by a frame at a
// time, which no player would do): each composed frame is copied into one reused RGBA buffer, and
// the frame two back, which its "restore previous" disposal reads, is kept in a second one.
#include <cstring>
#include <vector>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_GIF
#define STBI_NO_STDIO
#include <stb/stb_image.h>

#include "gif_bench_support.h"

namespace kovra::bench {

int stb_decode_rgba(const uint8_t *data, size_t size) {
    stbi__context context;
    stbi__start_mem(&context, data, static_cast<int>(size));
    if (!stbi__gif_test(&context)) return 0;
    stbi__gif gif;
    std::memset(&gif, 0, sizeof gif);
    std::vector<uint8_t> frames[2];
    int count = 0;
    int comp = 0;
    for (;;) {
        const uint8_t *two_back = count >= 2 ? frames[count % 2].data() : nullptr;
        stbi_uc *frame = stbi__gif_load_next(&context, &gif, &comp, 4, const_cast<uint8_t *>(two_back));
        if (frame == nullptr || frame == reinterpret_cast<stbi_uc *>(&context)) break;
        const size_t bytes = static_cast<size_t>(gif.w) * gif.h * 4;
        std::vector<uint8_t> &slot = frames[count % 2];
        if (slot.size() != bytes) slot.resize(bytes);
        std::memcpy(slot.data(), frame, bytes);
        ++count;
    }
    STBI_FREE(gif.out);
    STBI_FREE(gif.history);
    STBI_FREE(gif.background);
    return count;
}

}  // namespace kovra::bench
