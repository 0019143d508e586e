// Glue between libFuzzer's custom mutator hook and the generators: each fuzz target's mutator
// picks, from the seed libFuzzer hands it, a fresh generated input, a structural change, or
// libFuzzer's own byte-level mutation (LLVMFuzzerMutate), and writes the result back.
#pragma once

#include <cstring>

#include "fuzz/generators/rng.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

namespace kovra::fuzz {

// Copies `out` over the fuzzer's buffer; an empty result becomes a byte-level mutation.
inline size_t hand_back(const Bytes &out, uint8_t *data, size_t size, size_t max_size) {
    if (out.empty()) return LLVMFuzzerMutate(data, size, max_size);
    const size_t n = out.size() < max_size ? out.size() : max_size;
    std::memcpy(data, out.data(), n);
    return n;
}

}  // namespace kovra::fuzz
