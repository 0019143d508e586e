// The GIF header: signature, logical screen descriptor and global colour table.
#pragma once

#include "kovra_gif.h"

namespace kovra::gif {

// Signature, version and logical screen descriptor: the fixed bytes before the global colour table.
inline constexpr int32_t kHeaderBytes = 13;

enum class ScreenResult { kOk, kBadSignature, kZeroSize, kTableShort };

// Reads the header from the kHeaderBytes or more unread bytes at rec->input->next and, when the file has
// one, the global colour table (refilling the input once if it is not all there yet). Leaves the
// input just past what it read.
ScreenResult read_logical_screen(DALTI_GIFDecoderInfo *rec);

}  // namespace kovra::gif
