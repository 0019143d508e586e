// Beyond 1/8 (1/16, 1/32, 1/64): the library's DC-only decoder DALTJ_DecodeSingleiMcuResizeMore16
// takes 2, 4 or 8 MCU rows a call and writes one sample per block of the first of them, thinning
// MCUs out across (it keeps e of every e + 1, e = shift - 3, and writes MCU c from column
// (mcuSampleWidth * c) >> shift, so neighbouring kept MCUs can overlap), into planes of each
// component's own size. The host then replicates each component up to the output size, clamped
// to what the decoder wrote, and hands the rows one at a time to the colour converters.

#include <algorithm>

#include "road.h"

namespace kovra::jpeg_host {
namespace {

constexpr uint32_t kEighthShift = 3;

// One past the last column the decoder writes in a component's plane.
uint32_t plane_width(const DALTJ_ComponentInfo &info, uint32_t mcusPerRow, uint32_t shift) {
    const uint32_t kept = shift - kEighthShift;
    uint32_t width = 0;
    for (uint32_t c = 0, k = 0; c < mcusPerRow; ++c) {
        if (k == kept) {
            k = 0;
            continue;
        }
        ++k;
        const uint32_t blocks = c + 1 == mcusPerRow ? info.lastColWidth : info.mcuWidth;
        width = std::max(width, ((info.mcuSampleWidth * c) >> shift) + blocks);
    }
    return width;
}

}  // namespace

Error Road::run_more16() {
    const uint32_t shift = ctx_.resizeScaleShift;
    const uint32_t mcuRowsPerCall = 1u << (shift - kEighthShift);
    const uint32_t calls = (ctx_.totalMcuRows + mcuRowsPerCall - 1) / mcuRowsPerCall;
    const size_t count = components_.size();
    std::vector<SamplePlane> planes(count);
    for (size_t c = 0; c < count; ++c) {
        SamplePlane &plane = planes[c];
        plane.width = std::max<uint32_t>(1, plane_width(info_[c], ctx_.mcusPerRow, shift));
        plane.samples.assign(size_t{plane.width} * calls * info_[c].mcuHeight, 128);
        for (size_t row = 0; row < plane.samples.size(); row += plane.width) plane.rows.push_back(plane.samples.data() + row);
    }
    std::array<uint8_t **, 4> rows{};
    for (uint32_t call = 0; call < calls; ++call) {
        if (keep_going(ctx_.outputRow) == 0) return Error::cancelled;
        for (size_t c = 0; c < count; ++c) rows[c] = planes[c].rows.data() + size_t{call} * info_[c].mcuHeight;
        lastStatus_ = DALTJ_DecodeSingleiMcuResizeMore16(&ctx_, rows.data());
        // The last call may run out of MCU rows to drop after the one it writes.
        const bool last = call + 1 == calls;
        if (lastStatus_ != DALTJ_STATUS_ROW_DONE && !(last && lastStatus_ == DALTJ_STATUS_END)) return Error::failed;
        ctx_.outputRow += info_[0].mcuHeight;
    }
    ctx_.outputRow = 0;
    for (uint32_t row = 0; row < height_; ++row) convert_more16_row(row, planes);
    ctx_.outputRow = height_;
    return Error::none;
}

// Output row `row` of every component, replicated to the output width, through the converter.
void Road::convert_more16_row(uint32_t row, const std::vector<SamplePlane> &planes) {
    for (size_t c = 0; c < components_.size(); ++c) {
        Component &k = components_[c];
        const SamplePlane &plane = planes[c];
        const size_t sourceRow = size_t{row} * static_cast<uint32_t>(k.v) / maxV_;
        const uint8_t *source = plane.rows[std::min(sourceRow, plane.rows.size() - 1)];
        k.upsampled.resize(width_);
        for (uint32_t x = 0; x < width_; ++x) {
            const uint32_t column = x * static_cast<uint32_t>(k.h) / maxH_;
            k.upsampled[x] = source[std::min(column, plane.width - 1)];
        }
        k.upsampledRows[0] = k.upsampled.data();
    }
    convert_rows(0, 1);
}

}  // namespace kovra::jpeg_host
