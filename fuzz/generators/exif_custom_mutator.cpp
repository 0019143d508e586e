// libFuzzer's custom mutator for the exif target: one time in five a whole new input from the
// EXIF/TIFF generator, two in five a point change inside the TIFF structure, otherwise
// libFuzzer's own byte-level mutation.

#include <cstddef>
#include <cstdint>

#include "fuzz/generators/custom_mutator.h"
#include "fuzz/generators/exif_generator.h"

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size, unsigned int seed) {
    using namespace kovra::fuzz;
    Rng rng(seed);
    const uint32_t roll = rng.below(5);
    if (roll == 0) return hand_back(generate_exif_input(rng, max_size), data, size, max_size);
    if (roll <= 2) return hand_back(mutate_exif(Bytes(data, data + size), rng), data, size, max_size);
    return LLVMFuzzerMutate(data, size, max_size);
}
