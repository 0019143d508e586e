// The DC-only road at 1/8: the library's planar decoders take the place of the MCU row decoder
// and ask for one MCU at a time (DALTJ_DecodeMcu_8to1), which comes from the coefficient arrays
// in raster order.

#include <algorithm>

#include "road.h"

namespace kovra::jpeg_host {

uint32_t Road::decode_reduced_row(uint8_t ***componentRows) {
    if (!dc_) return decode_mcu_row(componentRows);
    // The driver's MCU row, whether the rows before it were decoded or skipped (the decoders
    // themselves count it in resizeMcuRow).
    nextMcu_ = uint64_t{main_.mcuRowCounter} * ctx_.mcusPerRow;
    const ComponentCoefficients &luma = image_.components()[0];
    if (luma.h == 1) return DALTJ_DecodeSingleiMcuResize8to1_YUV444(&ctx_, componentRows);
    if (luma.v == 1) return DALTJ_DecodeSingleiMcuResize8to1_YUV422H2V1(&ctx_, componentRows);
    return DALTJ_DecodeSingleiMcuResize8to1_YUV420(&ctx_, componentRows);
}

// The next MCU's blocks, component by component, row by row; blocks beyond a component's arrays
// (the padding of the last MCU column or row) are zero. 0 once the image is through.
int32_t Road::next_mcu(int16_t **blocks) {
    if (nextMcu_ >= uint64_t{ctx_.mcusPerRow} * ctx_.totalMcuRows) return 0;
    const auto mcuRow = static_cast<uint32_t>(nextMcu_ / ctx_.mcusPerRow);
    const auto mcuColumn = static_cast<uint32_t>(nextMcu_ % ctx_.mcusPerRow);
    ++nextMcu_;
    uint32_t i = 0;
    for (const ComponentCoefficients &c : image_.components())
        for (uint32_t r = 0; r < static_cast<uint32_t>(c.v); ++r)
            for (uint32_t b = 0; b < static_cast<uint32_t>(c.h) && i < ctx_.blocksInMcu; ++b, ++i) {
                int16_t *block = blocks[i];
                const uint32_t row = mcuRow * c.v + r, column = mcuColumn * c.h + b;
                if (row < c.heightInBlocks && column < c.widthInBlocks)
                    std::copy(c.blockRows[row][column], c.blockRows[row][column] + 64, block);
                else
                    std::fill(block, block + 64, int16_t{0});
            }
    return 1;
}

}  // namespace kovra::jpeg_host
