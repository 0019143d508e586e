// Interlace stepping. Passes 1 to 4 take every 8th row from 0, every 8th from 4, every 4th from 2
// and every 2nd from 1. For frames of 5 or more rows, out_row grows by the pass's step, and on
// reaching the frame's bottom the next pass restarts at frame_top + 4, + 2, + 1; after pass 4 the
// pass becomes 0 (progressive stepping from then on). Every pass of such a frame has rows.
//
// A frame of 1 to 4 rows has empty passes, so it takes one row per pass, in the order the four
// passes would visit them: 0 | 0, 1 | 0, 2, 1 | 0, 2, 1, 3. After its last row the pass is 0.

#include "gif/interlace.h"

namespace kovra::gif {
namespace {

constexpr int32_t kPassStep[5] = {1, 8, 8, 4, 2};
constexpr int32_t kPassStart[5] = {0, 0, 4, 2, 1};  // first row of each pass, relative to frame_top

// Rows of a short frame, in decoding order, by frame height 1..4.
constexpr int32_t kShortFrameRows[5][4] = {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 1, 0, 0}, {0, 2, 1, 0}, {0, 2, 1, 3}};

}  // namespace

bool advance_out_row(DALTI_GIFDecoderInfo *rec) {
    const uint32_t pass = rec->interlace_pass;
    if (pass == 0) {
        ++rec->out_row;
        return true;
    }
    if (pass > 4) return false;
    const int32_t top = rec->frame_top;
    const int32_t height = rec->frame_height;
    if (height >= 5) {
        rec->out_row += kPassStep[pass];
        if (rec->out_row >= top + height) {
            if (pass == 4) {
                rec->interlace_pass = 0;
            } else {
                rec->interlace_pass = pass + 1;
                rec->out_row = top + kPassStart[pass + 1];
            }
        }
        return true;
    }
    // Short frame: the pass counts the rows written so far.
    const int32_t rows = height < 1 ? 1 : height;
    if (static_cast<int32_t>(pass) >= rows) {
        rec->interlace_pass = 0;
        rec->out_row = top + rows;
    } else {
        rec->interlace_pass = pass + 1;
        rec->out_row = top + kShortFrameRows[rows][pass];
    }
    return true;
}

}  // namespace kovra::gif
