// The generators' random choices: splitmix64, so that one seed names one input on every platform
// (libFuzzer hands the custom mutators a seed; the seed writer counts seeds up).
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kovra::fuzz {

using Bytes = std::vector<uint8_t>;

class Rng {
public:
    explicit Rng(uint64_t seed) : state_(seed) {}

    uint64_t next() {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    uint32_t below(uint32_t n) { return n == 0 ? 0 : static_cast<uint32_t>(next() % n); }  // 0 when n is 0
    uint32_t range(uint32_t lo, uint32_t hi) { return lo + below(hi - lo + 1); }          // both included
    bool one_in(uint32_t n) { return below(n) == 0; }
    uint8_t byte() { return static_cast<uint8_t>(next()); }
    // 0..max, small values as likely as large ones: a random bit length, then a value of it.
    uint32_t spread(uint32_t max) {
        uint32_t bits = 0;
        while (bits < 32 && (max >> bits) != 0) ++bits;
        const uint32_t top = below(bits + 1);
        const uint32_t value = top == 0 ? 0 : static_cast<uint32_t>(next()) & ((top >= 32 ? 0u : (1u << top)) - 1u);
        return value > max ? max : value;
    }
    template <typename T, size_t N>
    T pick(const T (&items)[N]) { return items[below(N)]; }
    template <typename T>
    void shuffle(std::vector<T> *items) {
        for (size_t i = items->size(); i > 1; --i) std::swap((*items)[i - 1], (*items)[below(static_cast<uint32_t>(i))]);
    }
    void fill(Bytes *out, size_t count) {
        for (size_t i = 0; i < count; ++i) out->push_back(byte());
    }

private:
    uint64_t state_;
};

}  // namespace kovra::fuzz
