// fuzz_seed_writer gif|exif DIR COUNT [MAX_BYTES]: writes COUNT generated inputs into DIR as
// seed-N.gif or seed-N.exif, input N made from seed N, so that every build writes the same seeds.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/generators/exif_generator.h"
#include "fuzz/generators/gif_generator.h"

int main(int argc, char **argv) {
    using namespace kovra::fuzz;
    const std::string kind = argc >= 4 ? argv[1] : "";
    if (kind != "gif" && kind != "exif") return std::fprintf(stderr, "usage: %s gif|exif DIR COUNT [MAX_BYTES]\n", argv[0]), 2;
    const size_t max_size = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 16384;
    for (unsigned long n = 1; n <= std::strtoul(argv[3], nullptr, 10); ++n) {
        Rng rng(n);
        const Bytes input = kind == "gif" ? generate_gif(rng, max_size) : generate_exif_input(rng, max_size);
        const std::string path = std::string(argv[2]) + "/seed-" + std::to_string(n) + "." + kind;
        FILE *file = std::fopen(path.c_str(), "wb");
        if (file == nullptr || std::fwrite(input.data(), 1, input.size(), file) != input.size() || std::fclose(file) != 0)
            return std::fprintf(stderr, "cannot write %s\n", path.c_str()), 1;
    }
    return 0;
}
