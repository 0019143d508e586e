// See exif_mutation.h.

#include "fuzz/generators/exif_mutation.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <set>

#include "fuzz/generators/exif_generator.h"

namespace kovra::fuzz {

namespace {

constexpr size_t kMaxIfds = 64;

class TiffBytes {
public:
    TiffBytes(Bytes *input, size_t base) : bytes_(input), base_(base), little_((*input)[base] == 'I') {}

    size_t length() const { return bytes_->size() - base_; }
    uint32_t get(size_t at, size_t width) const {
        uint32_t value = 0;
        for (size_t i = 0; i < width; ++i) {
            const size_t from = little_ ? width - 1 - i : i;
            const size_t index = base_ + at + from;
            value = (value << 8) | (index < bytes_->size() ? (*bytes_)[index] : 0);
        }
        return value;
    }
    void set(size_t at, size_t width, uint32_t value) {
        for (size_t i = 0; i < width; ++i) {
            const size_t index = base_ + at + (little_ ? i : width - 1 - i);
            if (index < bytes_->size()) (*bytes_)[index] = static_cast<uint8_t>(value >> (8 * i));
        }
    }
    void flip_order() {
        const uint8_t other = little_ ? 'M' : 'I';
        (*bytes_)[base_] = (*bytes_)[base_ + 1] = other;
    }

private:
    Bytes *bytes_;
    size_t base_;
    bool little_;
};

// Where the walk found IFDs, entries and next offsets (offsets from the TIFF header).
struct Places {
    std::vector<size_t> ifds, entries, nexts;
};

bool is_pointer(uint32_t tag) { return tag == 330 || tag == 34665 || tag == 34853 || tag == 40965; }

Places walk(const TiffBytes &tiff) {
    Places places;
    std::set<size_t> seen;
    std::deque<size_t> queue{tiff.get(4, 4)};
    while (!queue.empty() && places.ifds.size() < kMaxIfds) {
        const size_t ifd = queue.front();
        queue.pop_front();
        if (ifd + 2 > tiff.length() || !seen.insert(ifd).second) continue;
        places.ifds.push_back(ifd);
        const size_t count = tiff.get(ifd, 2);
        size_t at = ifd + 2;
        for (size_t k = 0; k < count && at + 12 <= tiff.length(); ++k, at += 12) {
            places.entries.push_back(at);
            if (is_pointer(tiff.get(at, 2))) queue.push_back(tiff.get(at + 8, 4));
        }
        if (at + 4 <= tiff.length() && at == ifd + 2 + 12 * count) {
            places.nexts.push_back(at);
            queue.push_back(tiff.get(at, 4));
        }
    }
    return places;
}

size_t any_of(Rng &rng, const std::vector<size_t> &items) {
    return items[rng.below(static_cast<uint32_t>(items.size()))];
}

// An offset worth trying: another IFD, a few bytes before or past the end, or anything.
uint32_t pick_offset(Rng &rng, const TiffBytes &tiff, const Places &places) {
    const uint32_t length = static_cast<uint32_t>(tiff.length());
    switch (rng.below(4)) {
        case 0: return places.ifds.empty() ? 0 : static_cast<uint32_t>(any_of(rng, places.ifds));
        case 1: return length - rng.below(9);
        case 2: return length + rng.below(4);
        default: {
            const uint32_t offsets[] = {0,          1,          8,          0x7FFFFFFF,
                                        0x80000000, 0xFFFFFFF8, 0xFFFFFFFF, rng.spread(0xFFFFFFFF)};
            return rng.pick(offsets);
        }
    }
}

void mutate_entry(Rng &rng, TiffBytes *tiff, const Places &places) {
    const size_t entry = any_of(rng, places.entries);
    switch (rng.below(4)) {
        case 0: tiff->set(entry, 2, known_tag(rng)); break;
        case 1: tiff->set(entry + 2, 2, rng.below(14)); break;
        case 2: tiff->set(entry + 4, 4, edge_count(rng)); break;
        default: tiff->set(entry + 8, 4, pick_offset(rng, *tiff, places)); break;
    }
}

size_t find_tiff(const Bytes &input) {
    static const uint8_t kExif[] = {'E', 'x', 'i', 'f', 0, 0};
    const auto found = std::search(input.begin(), input.end(), std::begin(kExif), std::end(kExif));
    return found == input.end() ? 0 : static_cast<size_t>(found - input.begin()) + sizeof kExif;
}

}  // namespace

Bytes mutate_exif(const Bytes &input, Rng &rng) {
    Bytes out = input;
    const size_t base = find_tiff(out);
    if (base + 8 > out.size() || (out[base] != 'I' && out[base] != 'M')) return {};
    TiffBytes tiff(&out, base);
    const Places places = walk(tiff);
    const uint32_t roll = rng.below(10);
    if (roll < 5 && !places.entries.empty()) {
        mutate_entry(rng, &tiff, places);
    } else if (roll < 7 && !places.nexts.empty()) {
        tiff.set(any_of(rng, places.nexts), 4, pick_offset(rng, tiff, places));
    } else if (roll < 8 && !places.ifds.empty()) {
        const uint32_t counts[] = {0, 1, 0xFFFF, static_cast<uint32_t>(places.entries.size() + 1)};
        tiff.set(any_of(rng, places.ifds), 2, rng.pick(counts));
    } else if (roll < 9) {
        tiff.set(4, 4, pick_offset(rng, tiff, places));
    } else {
        tiff.flip_order();
    }
    return out;
}

}  // namespace kovra::fuzz
