// The work of the stages: an MCU row from the coefficient arrays through each component's
// inverse DCT into the sample rows the driver names, and row groups of the driver's current
// list replicated to full size and handed to the library's colour converters.

#include <algorithm>
#include <bit>
#include <cstring>

#include "road.h"

namespace kovra::jpeg_host {
namespace {

constexpr uint32_t kHighestGroup = 10;  // a pointer list holds row groups -1 .. 10

// Each of `count` samples `ratio` times (the common ratio 2 in a loop the compiler can widen).
void replicate(const uint8_t *source, size_t count, uint32_t ratio, uint8_t *out) {
    if (ratio == 2) {
        for (size_t x = 0; x < count; ++x) out[2 * x] = out[2 * x + 1] = source[x];
        return;
    }
    for (size_t x = 0; x < count; ++x)
        for (uint32_t k = 0; k < ratio; ++k) *out++ = source[x];
}

// The converter writes 255, R, G, B; the picture holds R, G, B, 255: each pixel's word turns by
// one byte (T: one word, or four in a vector register, since the compiler does not widen the
// rotate itself).
template <class T>
T rgba_words(T argb) {
    if constexpr (std::endian::native == std::endian::little) return (argb >> 8) | (argb << 24);
    return (argb << 8) | (argb >> 24);
}

void rgba_from_argb(uint8_t *pixels, size_t count) {
    using Words = uint32_t __attribute__((vector_size(16)));
    size_t p = 0;
    for (; p + 4 <= count; p += 4, pixels += 16) {
        Words words;
        std::memcpy(&words, pixels, 16);
        words = rgba_words(words);
        std::memcpy(pixels, &words, 16);
    }
    for (; p < count; ++p, pixels += 4) {
        uint32_t word;
        std::memcpy(&word, pixels, 4);
        word = rgba_words(word);
        std::memcpy(pixels, &word, 4);
    }
}

}  // namespace

// The MCU row is the driver's: the rows it has received so far, decoded or skipped (the blocks
// are at hand for any row, so rows another thread decoded are simply passed over). resizeMcuRow
// then tells the rows consumed: the two-thread hand-over carries it to the other thread's driver.
uint32_t Road::decode_mcu_row(uint8_t ***componentRows) {
    const uint32_t mcuRow = main_.mcuRowCounter;
    if (mcuRow >= ctx_.totalMcuRows) return DALTJ_STATUS_END;
    ctx_.resizeMcuRow = mcuRow + 1;
    for (size_t c = 0; c < components_.size(); ++c) {
        const ComponentCoefficients &source = image_.components()[c];
        const DALTJ_ComponentInfo &info = info_[c];
        const uint8_t *rangeLimit = (c == 0 ? ctx_.rangeLimit : ctx_.chromaRangeLimit) + 128;
        uint8_t **rows = componentRows[c];
        const uint32_t firstBlockRow = mcuRow * info.mcuHeight;
        const uint32_t blockRows = std::min(info.mcuHeight, source.heightInBlocks - std::min(source.heightInBlocks, firstBlockRow));
        for (uint32_t r = 0; r < blockRows; ++r) {
            const CoefficientBlock *blocks = source.blockRows[firstBlockRow + r];
            for (uint32_t b = 0; b < source.widthInBlocks; ++b)
                info.idct(rangeLimit, info.multipliers, blocks[b], rows + r * info.blockOutputSize, b * info.blockOutputSize);
        }
    }
    return mcuRow + 1 == ctx_.totalMcuRows ? DALTJ_STATUS_END : DALTJ_STATUS_ROW_DONE;
}

void Road::hand_on(uint32_t *rowsOut, uint32_t rowsAvail) {
    if (scale_ == 1) {
        // Full size: the driver's row groups, the postponed last group of a list included.
        while (main_.rowgroupCounter < main_.rowgroupsAvail) {
            if (!hand_on_group(main_.rowgroupCounter, rowsOut, rowsAvail)) return;
            ++main_.rowgroupCounter;
        }
        return;
    }
    // Reduced size: an MCU row is blockSize_ row groups, all of them handed on before the driver
    // decodes the next row; the driver only learns that the row is through.
    while (resizeGroup_ < blockSize_) {
        if (!hand_on_group(resizeGroup_, rowsOut, rowsAvail)) return;
        ++resizeGroup_;
    }
    resizeGroup_ = 0;
    main_.rowgroupCounter = std::max(main_.rowgroupCounter, main_.rowgroupsAvail);
}

// True when the group is through (or lies below the image); false when rowsAvail ran out first.
bool Road::hand_on_group(uint32_t group, uint32_t *rowsOut, uint32_t rowsAvail) {
    const uint32_t produced = ctx_.outputRow + *rowsOut;
    if (produced >= height_ || group > kHighestGroup) {
        groupRowsDone_ = 0;
        return true;
    }
    if (*rowsOut >= rowsAvail) return false;
    const uint32_t n = std::min({maxV_ - groupRowsDone_, rowsAvail - *rowsOut, height_ - produced});
    if (options_.format == Format::planar) {
        // The two-thread hand-over carries outY alone; the chroma planes keep their distance.
        const size_t plane = size_t{width_} * height_;
        ctx_.outCb = ctx_.outY + plane;
        ctx_.outCr = ctx_.outY + 2 * plane;
    }
    if (ctx_.skipMode != 0) {
        skip_rows(n);  // rows the other thread of a two-thread decode writes
    } else {
        if (groupRowsDone_ == 0) upsample_group(group);
        convert_rows(groupRowsDone_, n);
    }
    *rowsOut += n;
    groupRowsDone_ += n;
    if (groupRowsDone_ < maxV_ && produced + n < height_) return false;
    groupRowsDone_ = 0;
    return true;
}

// maxV_ full-size rows of each component for row group `group` of the current list: subsampled
// rows repeat downwards, subsampled samples across (plain replication).
void Road::upsample_group(uint32_t group) {
    const size_t needed = options_.format == Format::grey ? 1 : components_.size();
    for (size_t c = 0; c < needed; ++c) {
        Component &k = components_[c];
        uint8_t *const *in = main_.rowPointers[main_.whichPtr & 1][c];
        const size_t upWidth = k.upsampled.size() / maxV_;
        for (uint32_t r = 0; r < maxV_; ++r) {
            uint8_t *source = in[group * k.rgroup + r / k.vRatio];
            if (k.hRatio == 1) {
                k.upsampledRows[r] = source;
                continue;
            }
            if (r % k.vRatio != 0) {  // the row above came from the same source row
                k.upsampledRows[r] = k.upsampledRows[r - 1];
                continue;
            }
            uint8_t *row = k.upsampled.data() + r * upWidth;
            k.upsampledRows[r] = row;
            replicate(source, k.rowWidth, k.hRatio, row);
        }
    }
}

void Road::skip_rows(uint32_t count) {
    const size_t rowBytes = options_.format == Format::rgba ? size_t{width_} * 4 : width_;
    ctx_.outY += count * rowBytes;
}

// Rows first .. first + count - 1 of the upsampled group into the output, through the library's
// converter for the colour space and layout.
void Road::convert_rows(uint32_t first, uint32_t count) {
    sampleRows_.sampleRowIndex = static_cast<int32_t>(first);
    for (size_t c = 0; c < components_.size(); ++c) sampleRows_.componentRows[c] = components_[c].upsampledRows.data();
    const auto n = static_cast<int32_t>(count);
    const bool grey = ctx_.colorSpace == 1;
    if (options_.format == Format::rgba && grey) {
        std::array<uint8_t *, 4> out{};  // count <= maxV_ <= 4
        for (uint32_t i = 0; i < count; ++i) out[i] = ctx_.outY + size_t{i} * width_ * 4;
        ycc_rgb_convert_internal(width_, identity_.data(), sampleRows_.componentRows, first, out.data(), n);
        ctx_.outY += size_t{count} * width_ * 4;
        ctx_.outputRowsWritten += count;
        ctx_.inputRow += n;
    } else if (options_.format == Format::rgba) {
        uint8_t *pixels = ctx_.outY;
        ctx_.outputFormat = 5;
        DALTJ_DoFastYcbcrToRgb(&ctx_, nullptr, n);
        rgba_from_argb(pixels, size_t{count} * width_);
    } else if (options_.format == Format::planar && !grey) {
        ctx_.outputFormat = 15;
        DALTJ_DoFastYcbcrToRgb(&ctx_, nullptr, n);
    } else {
        ctx_.outputFormat = 4;
        DALTJ_DoGrayConvert(&ctx_, nullptr, n);
    }
}

}  // namespace kovra::jpeg_host
