// libFuzzer's custom mutator hook over a generator: from the seed libFuzzer hands it, one time in
// five a fresh generated input, two in five a structural change, otherwise (or when the change
// gives nothing) libFuzzer's own byte mutation.
#pragma once

#include <algorithm>
#include <cstring>

#include "fuzz/generators/rng.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace kovra::fuzz {

// generate(rng, max_size) makes an input; change(input, rng, max_size) alters one (empty: none).
template <typename Generate, typename Change>
size_t custom_mutate(uint8_t *data, size_t size, size_t max_size, unsigned int seed, Generate generate, Change change) {
    Rng rng(seed);
    const uint32_t roll = rng.below(5);
    const Bytes out = roll == 0 ? generate(rng, max_size) : roll < 3 ? change(Bytes(data, data + size), rng, max_size) : Bytes();
    if (out.empty()) return LLVMFuzzerMutate(data, size, max_size);
    const size_t n = std::min(out.size(), max_size);
    std::memcpy(data, out.data(), n);
    return n;
}

}  // namespace kovra::fuzz
