// libFuzzer's custom mutator for the exif target: new inputs from the EXIF/TIFF generator, point
// changes inside the TIFF structure, and libFuzzer's own byte-level mutation.

#include "fuzz/generators/custom_mutator.h"
#include "fuzz/generators/exif_generator.h"

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size, unsigned int seed) {
    using namespace kovra::fuzz;
    return custom_mutate(data, size, max_size, seed, generate_exif_input,
                         [](const Bytes &input, Rng &rng, size_t) { return mutate_exif(input, rng); });
}
