// libFuzzer's custom mutator for the targets that read GIF files: one time in five a new file from
// the generator, two in five (for a GIF) one structural change, otherwise libFuzzer's own
// byte-level mutation, which keeps the inputs of the other formats moving too.

#include <cstring>

#include "fuzz/generators/custom_mutator.h"
#include "fuzz/generators/gif_generator.h"

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size, unsigned int seed) {
    using namespace kovra::fuzz;
    Rng rng(seed);
    const uint32_t roll = rng.below(5);
    if (roll == 0) return hand_back(generate_gif(rng, max_size), data, size, max_size);
    if (roll <= 2 && size >= 6 && std::memcmp(data, "GIF", 3) == 0)
        return hand_back(mutate_gif(Bytes(data, data + size), rng, max_size), data, size, max_size);
    return LLVMFuzzerMutate(data, size, max_size);
}
