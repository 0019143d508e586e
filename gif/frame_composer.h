// Frame composition (frame_composer.cpp): each decoded row of palette indexes is laid over the
// canvas and the result is written into the frame output.
#pragma once

#include <cstdint>

#include "kovra_gif.h"

namespace kovra::gif {

// Composes the rows of the record's current frame. What stays the same for the whole frame (the
// output columns the frame covers, the row composer for its disposal, transparency and output
// packing, the output pixel of every palette index) is worked out once, when the frame starts;
// the record must not change in between, except for the row position the rows themselves move.
class FrameLineComposer {
public:
    explicit FrameLineComposer(const DALTI_GIFDecoderInfo *rec);

    // Lays the line in rec->line_buffer, which belongs to screen row rec->out_row, over the
    // canvas and into the output, then steps out_row on. 0 when the record's buffers cannot hold
    // the rows or the interlace pass is beyond 4; else 1.
    int32_t compose_line(DALTI_GIFDecoderInfo *rec) const;

    struct Frame;
    using RowComposer = void (*)(const DALTI_GIFDecoderInfo *rec, const Frame &frame, uint32_t *canvas_line,
                                 uint8_t *dst);

    struct Frame {
        int32_t first_col;  // first output column inside the frame
        int32_t end_col;    // first output column right of it
        int32_t out_width;
        bool same_width;    // output column k is screen column k
        int64_t row_bytes;  // output bytes per row, 0 without 32-bit output
        uint32_t shown[DALTI_GIF_PALETTE_SLOTS];  // each index's colour as an output pixel
    };

private:
    bool buffers_fit_;
    RowComposer with_output_;
    RowComposer canvas_only_;
    Frame frame_;
};

}  // namespace kovra::gif
