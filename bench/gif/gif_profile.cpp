// gif_profile FILE [kovra|giflib|stb] [REPEAT]: decodes FILE to RGBA REPEAT times (default 1) with
// the decoder named (default this library) and prints the frames and output pixels, for perf, for
// peak memory under valgrind --tool=massif, and for instruction counts under callgrind (the
// `instructions` script beside this file counts only inside kovra::bench::decode_with). A first
// decode outside decode_with takes the dynamic linker's symbol look-ups out of the count.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include "gif_bench_support.h"

int main(int argc, char **argv) {
    kovra::bench::Decoder decoder = kovra::bench::Decoder::kKovra;
    if (argc < 2 || (argc > 2 && !kovra::bench::decoder_named(argv[2], &decoder))) {
        std::fprintf(stderr, "usage: gif_profile FILE [kovra|giflib|stb] [REPEAT] (peers only where built)\n");
        return 2;
    }
    std::ifstream in(argv[1], std::ios::binary);
    const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const int repeat = argc > 3 ? std::atoi(argv[3]) : 1;
    // Its frames are screen-sized: the logical screen is bytes 6-9.
    const int64_t screen = bytes.size() < 10 ? 0 : (bytes[6] | bytes[7] << 8) * int64_t{bytes[8] | bytes[9] << 8};
    kovra::bench::decode_uncounted(decoder, bytes);
    int frames = 0;
    for (int i = 0; i < repeat; ++i) frames = kovra::bench::decode_with(decoder, bytes);
    std::printf("%s: %d frames, %lld output pixels per decode\n", argv[1], frames,
                static_cast<long long>(frames * screen));
    return frames > 0 ? 0 : 1;
}
