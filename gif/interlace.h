// Row stepping after each written line: +1 for a progressive frame, the four interlace passes
// otherwise.
#pragma once

#include "kovra_gif.h"

namespace kovra::gif {

// Moves rec->out_row to the screen row of the next decoded line. False for a pass above 4.
bool advance_out_row(DALTI_GIFDecoderInfo *rec);

}  // namespace kovra::gif
