// The GIF header: signature, logical screen descriptor and global colour table.
#pragma once

#include "kovra_gif.h"

namespace kovra::gif {

enum class ScreenResult { kOk, kBadSignature, kZeroSize, kTableShort };

// Reads the header from the 13 or more unread bytes at rec->input->next and, when the file has
// one, the global colour table (refilling the input once if it is not all there yet). Leaves the
// input just past what it read.
ScreenResult read_logical_screen(DALTI_GIFDecoderInfo *rec);

}  // namespace kovra::gif
