// What the reduced-size decoders and the MCU row skipper share: the context checks they make
// before touching anything, the region bound on the rows they work on, and the clearing of an
// MCU's blocks (see mcu_row_region.cpp).
#pragma once

#include "kovra_jpeg.h"

namespace kovra::jpeg {

inline constexpr uint32_t kMaxBlocksInMcu = 10;
inline constexpr int32_t kRowsLeftForEnd = 16;  // a dry input with fewer output rows to go ends the work

// A context these routines can work on: the context, its decoder record (checkContext) and
// coefficient controller present, outputHeight above 0 (it divides), mcusPerRow above 0 and at
// most 10 blocks in an MCU.
bool mcu_row_context_usable(const DALTJ_DecoderInfo *ctx);

// Whether the source row of the current output row lies below the record's region.
bool beyond_region(const DALTJ_DecoderInfo *ctx);

// The first output row that is written: the region top rounded down to a multiple of
// regionRowAlign (an alignment of 0 rounds nothing).
int32_t first_written_row(const DALTJ_DecoderInfo *ctx);

// The MCU decoder found the input exhausted at MCU column `column`: counts the MCU row and
// reports 101 when under 16 output rows remain, else saves the resumption point and reports 102.
uint32_t reduced_row_ran_dry(DALTJ_DecoderInfo *ctx, uint32_t column);

// Zeroes the blocksInMcu blocks of the current MCU.
void clear_mcu_blocks(const DALTJ_DecoderInfo *ctx);

}  // namespace kovra::jpeg
