// gif_profile FILE [kovra|giflib] [REPEAT]: decodes FILE to RGBA REPEAT times (default 1) and
// prints the output pixel count, for instruction counts per pixel under valgrind --tool=callgrind
// (divide the instructions by the pixels) and for peak memory under valgrind --tool=massif.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "gif_bench_support.h"
#ifdef KOVRA_BENCH_GIFLIB
#include "gif_reference.h"
#endif

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: gif_profile FILE [kovra|giflib] [REPEAT]\n");
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const bool giflib = argc > 2 && std::strcmp(argv[2], "giflib") == 0;
    const int repeat = argc > 3 ? std::atoi(argv[3]) : 1;
    int64_t pixels = 0;
    int frames = 0;
    for (int i = 0; i < repeat; ++i) {
        if (giflib) {
#ifdef KOVRA_BENCH_GIFLIB
            frames = kovra::gifref::giflib_decode_rgba(bytes.data(), bytes.size());
            // Its frames are screen-sized: the logical screen is bytes 6-9.
            const int64_t frame_pixels = bytes.size() < 10 ? 0 : (bytes[6] | bytes[7] << 8) * int64_t{bytes[8] | bytes[9] << 8};
            pixels += frames * frame_pixels;
#else
            std::fprintf(stderr, "built without giflib\n");
            return 1;
#endif
        } else {
            const kovra::bench::DecodeCount count = kovra::bench::decode_gif_rgba(bytes);
            frames = count.frames;
            pixels += count.pixels;
        }
    }
    std::printf("%s: %d frames, %lld output pixels\n", argv[1], frames, static_cast<long long>(pixels));
    return frames > 0 ? 0 : 1;
}
