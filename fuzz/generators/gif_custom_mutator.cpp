// libFuzzer's custom mutator for the targets that read GIF files: new files from the generator,
// structural changes (for a GIF only), and libFuzzer's own byte-level mutation, which keeps the
// inputs of the other formats moving too.

#include "fuzz/generators/custom_mutator.h"
#include "fuzz/generators/gif_generator.h"

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size, unsigned int seed) {
    using namespace kovra::fuzz;
    return custom_mutate(
        data, size, max_size, seed, [](Rng &rng, size_t max) { return generate_gif(rng, max); },
        [](const Bytes &input, Rng &rng, size_t max) {
            return input.size() >= 6 && std::memcmp(input.data(), "GIF", 3) == 0 ? mutate_gif(input, rng, max) : Bytes();
        });
}
