// exif_profile CORPUS_DIR [ROUNDS]: reads the EXIF block of every corpus JPEG with this library
// ROUNDS times (default 1), after loading them all; for instruction counts (instructions-armhf
// subtracts a run of 0 rounds, which leaves only start-up and loading).

#include <cstdio>
#include <cstdlib>

#include "exif_corpus.h"

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: exif_profile CORPUS_DIR [ROUNDS]\n");
        return 2;
    }
    kovra::bench::Files files = kovra::bench::load_corpus(argv[1]);
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 1;
    int found = 0;
    for (int round = 0; round < rounds; ++round) {
        for (auto &file : files) found += kovra::bench::library_read(file);
    }
    std::printf("%zu files, %d rounds, EXIF found %d times\n", files.size(), rounds, found);
    return files.empty() ? 1 : 0;
}
