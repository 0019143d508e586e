// libFuzzer's custom mutator for the exif target: new inputs from the EXIF/TIFF generator, else
// libFuzzer's own byte-level mutation.

#include "fuzz/generators/custom_mutator.h"
#include "fuzz/generators/exif_generator.h"

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size, unsigned int seed) {
    return kovra::fuzz::custom_mutate(data, size, max_size, seed, kovra::fuzz::generate_exif_input,
                                      [](const kovra::fuzz::Bytes &, kovra::fuzz::Rng &, size_t) { return kovra::fuzz::Bytes(); });
}
