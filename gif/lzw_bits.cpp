// The LZW decoder's bit reader (lzw_bits.h): the slow path that takes bytes one at a time near a
// sub-block's end and opens the next sub-block.

#include "gif/lzw_bits.h"

#include "gif/gif_input.h"

namespace kovra::gif {
namespace {

// Reads a sub-block size; the whole sub-block and the byte after it must then be buffered.
Fill open_block(BitReader &r, uint8_t *buffer, KOVRADALT_IO *io) {
    const int32_t size = *r.p++;
    int32_t in_buffer = static_cast<int32_t>(r.data_end - r.p);
    if (in_buffer < size + 1) {
        if (refill_input(buffer, io, &in_buffer, &r.p) == 0) {
            r.data_end = r.p + in_buffer;
            r.block_begin = r.block_end = r.p;
            return Fill::kFailed;
        }
        r.data_end = r.p + in_buffer;
        if (in_buffer < size + 1) {
            r.block_begin = r.block_end = r.p;
            return Fill::kInputEnded;
        }
    }
    r.block_begin = r.p;
    r.block_end = r.p + size;
    return Fill::kOk;
}

}  // namespace

Fill fill_bits(BitReader &r, int32_t width, uint8_t *buffer, KOVRADALT_IO *io) {
    while (r.bits < width) {
        if (r.block_end - r.p >= 8) {
            const int32_t n = (63 - r.bits) >> 3;
            r.acc |= load_le64(r.p) << r.bits;
            r.p += n;
            r.bits += 8 * n;
        } else if (r.p < r.block_end) {
            r.acc |= static_cast<uint64_t>(*r.p++) << r.bits;
            r.bits += 8;
        } else {
            const Fill opened = open_block(r, buffer, io);
            if (opened != Fill::kOk) return opened;
        }
    }
    return Fill::kOk;
}

}  // namespace kovra::gif
