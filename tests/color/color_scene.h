// A decoding context for the colour tests: the caller's region record, source images whose rows
// the sample-row set points at, output planes sized exactly (so the sanitizers see any write
// beyond them) and the two accumulator rows.
#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "jpeg/range_limit.h"
#include "kovra_jpeg.h"

namespace kovra::test::color {

struct Image {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> samples;
    uint8_t at(int32_t x, int32_t y) const { return samples[static_cast<size_t>(y) * width + x]; }
};

inline Image random_image(std::mt19937 &rng, int32_t width, int32_t height) {
    Image image{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height)};
    for (auto &s : image.samples) s = static_cast<uint8_t>(rng());
    return image;
}

struct Scene {
    KOVRADALT_DecInfo region{};
    DALTJ_SampleRows rows{};
    DALTJ_DecoderInfo ctx{};
    std::array<std::vector<uint8_t *>, 4> tables;
    std::array<std::vector<uint8_t>, 3> planes;  // Y (or grey or pixels), Cb, Cr
    std::array<std::vector<uint32_t>, 2> accumulators;

    Scene() {
        ctx.checkContext = &region;
        ctx.sampleRows = &rows;
        ctx.rangeLimit = jpeg::sample_range_limit();
    }

    // Component c's rows are those of `image` (which must outlive the scene's use of them).
    void source(int c, Image &image) {
        tables[c].clear();
        for (int32_t y = 0; y < image.height; ++y) tables[c].push_back(image.samples.data() + size_t(y) * image.width);
        rows.componentRows[c] = tables[c].data();
    }

    // Planes of `bytes` each (the chroma planes only when chroma_bytes is non-zero), unwritten bytes 0xA5.
    void output(int32_t format, size_t bytes, size_t chroma_bytes = 0) {
        ctx.outputFormat = format;
        planes[0].assign(bytes, 0xA5);
        planes[1].assign(chroma_bytes, 0xA5);
        planes[2].assign(chroma_bytes, 0xA5);
        ctx.outY = planes[0].data();
        ctx.outCb = planes[1].data();
        ctx.outCr = planes[2].data();
    }

    void accumulate(int32_t width) {
        for (int i = 0; i < 2; ++i) {
            accumulators[i].assign(static_cast<size_t>(width), 0);
            ctx.accumRows[i] = accumulators[i].data();
        }
    }
};

}  // namespace kovra::test::color
