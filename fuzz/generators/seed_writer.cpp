// fuzz_seed_writer KIND DIR COUNT [MAX_BYTES]: writes COUNT generated inputs of KIND (gif or exif)
// into DIR as seed-N.gif or seed-N.exif, input N made from seed N, so that every build writes the
// same corpus. The fuzz targets' CTest runs replay these folders; long fuzz runs start from them.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/generators/exif_generator.h"
#include "fuzz/generators/gif_generator.h"

int main(int argc, char **argv) {
    using namespace kovra::fuzz;
    if (argc < 4 || (std::strcmp(argv[1], "gif") != 0 && std::strcmp(argv[1], "exif") != 0)) {
        std::fprintf(stderr, "usage: %s gif|exif DIR COUNT [MAX_BYTES]\n", argv[0]);
        return 2;
    }
    const bool gif = std::strcmp(argv[1], "gif") == 0;
    const unsigned long count = std::strtoul(argv[3], nullptr, 10);
    const size_t max_size = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 16384;
    for (unsigned long n = 1; n <= count; ++n) {
        Rng rng(n);
        const Bytes input = gif ? generate_gif(rng, max_size) : generate_exif_input(rng, max_size);
        const std::string path = std::string(argv[2]) + "/seed-" + std::to_string(n) + (gif ? ".gif" : ".exif");
        FILE *file = std::fopen(path.c_str(), "wb");
        if (file == nullptr || std::fwrite(input.data(), 1, input.size(), file) != input.size()) {
            std::fprintf(stderr, "cannot write %s\n", path.c_str());
            return 1;
        }
        std::fclose(file);
    }
    return 0;
}
