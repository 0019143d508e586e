// An independent statement of the GIF scanner's documented rules, applied to a list of blocks
// that some other reader (giflib, in the comparison test) found in a file: screen limits,
// descriptor limits, the delay table with gce_count and image_count, the clamp pass and the total.
// Byte-level behaviour (resynchronisation, the forgotten window byte, unknown labels scanned as
// data, truncation) is deliberately not modelled: differences that come from it are listed by the
// test with the rule that explains them.
#pragma once

#include <cstdint>
#include <vector>

namespace kovra::test {

struct GifBlock {
    enum class Kind { kGraphicControl, kImage } kind;
    uint32_t delay_hundredths = 0;  // graphic control
    uint32_t left = 0, top = 0, width = 0, height = 0;  // image
};

struct ModelResult {
    int32_t type = 0;
    uint32_t frame_count = 0;
    uint32_t total_delay = 0;
    std::vector<uint32_t> delays;  // first frame_count entries; empty when there is no table
};

inline ModelResult apply_delay_rules(uint32_t screen_width, uint32_t screen_height,
                                     const std::vector<GifBlock> &blocks, uint32_t default_delay) {
    ModelResult result;
    auto in_limits = [](uint32_t v) { return v >= 1 && v <= 5000; };
    if (!in_limits(screen_width) || !in_limits(screen_height)) return result;
    uint32_t gce_count = 0, last_delay = 0, count = 0;
    std::vector<uint32_t> table;
    for (const GifBlock &block : blocks) {
        if (block.kind == GifBlock::Kind::kGraphicControl) {
            uint32_t delay = block.delay_hundredths * 10;
            if (delay < 30) delay = default_delay;
            if (last_delay != 0) result.total_delay -= last_delay;
            result.total_delay += delay;
            last_delay = delay;
            table.resize(count + 1, 0);
            for (uint32_t i = gce_count; i < count; ++i) table[i] = 0;
            table[count] = delay;
            ++gce_count;
            continue;
        }
        last_delay = 0;
        if (!in_limits(block.width) || !in_limits(block.height) || block.left > 5000 || block.top > 5000) continue;
        ++count;
    }
    result.frame_count = count;
    if (count == 0) return result;
    result.type = count == 1 ? 4 : 6;
    if (count >= 2 && count > gce_count) {
        table.resize(count, 0);
        for (uint32_t i = gce_count; i < count; ++i) table[i] = 0;
        for (uint32_t &delay : table) {
            if (delay < default_delay || delay >= 65536) delay = default_delay;
        }
        result.total_delay += (count - gce_count) * default_delay;
    }
    if (!table.empty()) {
        table.resize(std::max<size_t>(table.size(), count), 0);
        result.delays.assign(table.begin(), table.begin() + count);
    }
    return result;
}

}  // namespace kovra::test
