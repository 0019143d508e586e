// See lzw_stream.h. The model follows the decoder's rules: the first code after a clear (or at
// the start) makes no entry; every later code makes one while the next free code is below 4096;
// the width grows when the next free code reaches 1 << width, up to 12 bits. With minimum code
// sizes 0 and 1 that point is never met, so their codes stay 1 and 2 bits wide and the table
// fills after about 4,000 codes of one or two bits.

#include "fuzz/generators/lzw_stream.h"

#include <algorithm>

namespace kovra::fuzz {

namespace {

constexpr uint32_t kTableSize = 4096;
constexpr uint32_t kMaxWidth = 12;

class BitPacker {
public:
    void put(uint32_t code, uint32_t width) {
        acc_ |= static_cast<uint64_t>(code & ((1u << width) - 1u)) << bits_;
        bits_ += width;
        while (bits_ >= 8) {
            out_.push_back(static_cast<uint8_t>(acc_));
            acc_ >>= 8;
            bits_ -= 8;
        }
    }
    size_t size() const { return out_.size(); }
    Bytes finish() {
        if (bits_ > 0) out_.push_back(static_cast<uint8_t>(acc_));
        return out_;
    }

private:
    Bytes out_;
    uint64_t acc_ = 0;
    uint32_t bits_ = 0;
};

class DecoderTable {
public:
    explicit DecoderTable(uint32_t min_code_size)
        : min_code_size_(min_code_size), clear_(1u << min_code_size), end_(clear_ + 1) {
        for (uint32_t code = 0; code < kTableSize; ++code) length_[code] = 1;
        reset();
    }
    uint32_t clear() const { return clear_; }
    uint32_t end() const { return end_; }
    uint32_t width() const { return width_; }
    uint32_t next_free() const { return next_free_; }
    bool fresh() const { return fresh_; }
    bool full() const { return next_free_ >= kTableSize; }
    // Highest code the current width can carry.
    uint32_t max_code() const { return (1u << width_) - 1u; }

    // Takes one code other than the end code; returns how many indexes the decoder writes for it.
    uint64_t take(uint32_t code) {
        if (code == clear_) {
            reset();
            return 0;
        }
        uint64_t produced = code < next_free_ ? length_[code] : uint64_t{length_[prev_]} + 1;
        if (fresh_) {
            fresh_ = false;
            produced = 1;
        } else if (next_free_ < kTableSize) {
            length_[next_free_] = std::min<uint32_t>(length_[prev_] + 1, kTableSize);
            ++next_free_;
            if (width_ < kMaxWidth && next_free_ == (1u << width_)) ++width_;
        }
        prev_ = code & (kTableSize - 1);
        return produced;
    }

private:
    void reset() {
        width_ = min_code_size_ + 1;
        next_free_ = clear_ + 2;
        fresh_ = true;
    }
    uint32_t min_code_size_, clear_, end_;
    uint32_t width_ = 0, next_free_ = 0, prev_ = 0;
    bool fresh_ = true;
    uint32_t length_[kTableSize];
};

// How a run of codes is chosen.
enum class Run { kAny, kRoots, kRecent, kRepeat, kHostile };

Run pick_run(Rng &rng, bool hostile) {
    const uint32_t roll = rng.below(hostile ? 20 : 18);
    if (roll < 7) return Run::kAny;
    if (roll < 13) return Run::kRoots;
    if (roll < 16) return Run::kRecent;
    if (roll < 18) return Run::kRepeat;
    return Run::kHostile;
}

// Runs of long strings are kept short, or a frame's pixels run out long before its table fills.
uint32_t run_length(Rng &rng, Run run) {
    switch (run) {
        case Run::kHostile: return rng.below(3);
        case Run::kRepeat: return rng.spread(16);
        case Run::kRecent: return rng.spread(64);
        default: return rng.spread(4096);
    }
}

uint32_t hostile_code(Rng &rng, const DecoderTable &table) {
    switch (rng.below(6)) {
        case 0: return table.clear();
        case 1: return table.end();
        case 2: return std::min(table.max_code(), table.next_free() + 1 + rng.below(64));
        case 3: return table.max_code();
        case 4: return kTableSize - 1;
        default: return rng.below(table.max_code() + 1);
    }
}

uint32_t choose_code(Rng &rng, Run run, const DecoderTable &table) {
    if (run == Run::kHostile) return hostile_code(rng, table) & table.max_code();
    const uint32_t top = std::min(table.next_free(), table.max_code());
    uint32_t code = 0;
    if (table.fresh() || run == Run::kRoots) {
        code = rng.below(table.clear());
    } else if (run == Run::kRecent) {
        code = top - std::min(top, rng.below(8));
    } else if (run == Run::kRepeat) {
        code = top;
    } else {
        code = rng.below(top + 1);
    }
    if (code == table.clear() || code == table.end()) code = rng.below(table.clear());
    return code;
}

// How many indexes the stream aims at: the frame's area, fewer (an early end) or more.
uint64_t pick_target(Rng &rng, uint64_t pixels) {
    switch (rng.below(8)) {
        case 0: return rng.spread(static_cast<uint32_t>(std::min<uint64_t>(pixels, UINT32_MAX)));
        case 1: return pixels + 1 + rng.spread(5000);
        default: return pixels;
    }
}

Bytes random_data(Rng &rng, size_t budget) {
    Bytes data;
    rng.fill(&data, rng.spread(static_cast<uint32_t>(std::min<size_t>(budget, 4096))));
    return data;
}

}  // namespace

Bytes pack_sub_blocks(Rng &rng, const Bytes &data) {
    const uint32_t mode = rng.below(10);  // 0-6: full sub-blocks, 7-8: random sizes, 9: empty ones inside
    Bytes out;
    size_t at = 0;
    while (at < data.size()) {
        size_t n = mode < 7 ? 255 : rng.range(1, 255);
        if (mode == 9 && rng.one_in(8)) n = 0;
        n = std::min(n, data.size() - at);
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), data.begin() + static_cast<long>(at), data.begin() + static_cast<long>(at + n));
        at += n;
    }
    if (!rng.one_in(12)) out.push_back(0);
    return out;
}

Bytes generate_lzw_data(Rng &rng, uint32_t min_code_size, uint64_t pixels, size_t budget) {
    if (min_code_size > 11) return pack_sub_blocks(rng, random_data(rng, budget));
    DecoderTable table(min_code_size);
    BitPacker out;
    const bool hostile = rng.one_in(3);
    const bool clear_when_full = rng.one_in(2);
    const uint64_t target = pick_target(rng, pixels);
    if (!rng.one_in(10)) {
        out.put(table.clear(), table.width());
        table.take(table.clear());
    }
    uint64_t produced = 0;
    bool ended = false;
    while (!ended && produced < target && out.size() < budget) {
        const Run run = pick_run(rng, hostile);
        const uint32_t count = 1 + run_length(rng, run);
        for (uint32_t i = 0; i < count && produced < target && out.size() < budget; ++i) {
            const uint32_t code = choose_code(rng, run, table);
            out.put(code, table.width());
            if (code == table.end()) {
                ended = true;
                break;
            }
            produced += table.take(code);
            if (clear_when_full && table.full()) {
                out.put(table.clear(), table.width());
                table.take(table.clear());
            }
        }
    }
    if (!ended && !rng.one_in(6)) out.put(table.end(), table.width());
    Bytes data = out.finish();
    if (rng.one_in(12)) rng.fill(&data, rng.spread(64));
    return pack_sub_blocks(rng, data);
}

}  // namespace kovra::fuzz
