// LZW decoding of one GIF frame into rows of palette indexes.
//
// Role: reads the frame's data sub-blocks through the input record (refilling it from the source
// as each sub-block begins), turns codes into strings and hands every completed row of
// frame_width indexes to the row writer (line_writer.cpp, or frame_composer.cpp in frame mode).
//
// Buffers: everything lives in the GIF record and is allocated before decoding starts; nothing is
// allocated per frame or per code. A code's string is written straight into line_buffer, last
// byte first, by walking the prefix chain for `length` steps, so no output stack is needed. A
// string may run past the row's end into the line buffer's 4096 spare bytes; that overflow is
// moved to the buffer's start once the row has been written, and becomes the next row's head.
// Every string must end within screen_width + 4096 bytes (the buffer has one spare byte beyond
// that for the byte a "code not yet in the table" appends); a frame wider than that cannot be
// decoded and fails at once.
//
// Codes: clear = 1 << min_code_size, end = clear + 1; the width starts at min_code_size + 1 and
// grows when the next free code reaches 1 << width, up to 12 bits. A code at or beyond the next
// free code repeats the previous string plus its first byte (the previous code is replaced by
// code 0 when it is itself beyond the table). A zero-length sub-block does not end the data: the
// next byte is read as a further sub-block size. Decoding stops after frame_height rows, at an
// end code (the partial row is written once) or when the input runs out.
//
// What it leaves behind: the input record points at the first byte the decoder did not consume;
// bits still held in the bit accumulator are dropped and the sub-block structure is forgotten.

#include <cstring>

#include "gif/gif_input.h"
#include "kovra_gif.h"

namespace {

using kovra::gif::refill_input;

enum class Fill { kOk, kFailed, kInputEnded };

constexpr uint32_t kMaxCodeWidth = 12;

// Bit reader over the data sub-blocks, least significant bit first. Bytes are taken one at a time
// only when the accumulator holds fewer bits than the next code needs, so the read position is
// exactly past the last byte that contributed to a code.
class CodeReader {
public:
    CodeReader(KOVRADALT_IO *io, DALTI_GIFInput *input)
        : io_(io), buffer_(input->buffer), p_(input->next), in_buffer_(input->avail) {}

    Fill need(int32_t width) {
        while (bits_ < width) {
            if (block_left_ == 0) {
                const Fill opened = open_block();
                if (opened != Fill::kOk) return opened;
                continue;
            }
            acc_ |= static_cast<uint32_t>(*p_++) << bits_;
            bits_ += 8;
            --block_left_;
            --in_buffer_;
        }
        return Fill::kOk;
    }

    uint32_t take(int32_t width, uint32_t mask) {
        const uint32_t code = acc_ & mask;
        acc_ >>= width;
        bits_ -= width;
        return code;
    }

    void save(DALTI_GIFInput *input) const {
        input->avail = in_buffer_;
        input->next = p_;
    }

private:
    // Reads a sub-block size; the whole sub-block and the byte after it must then be buffered.
    Fill open_block() {
        const int32_t size = *p_++;
        --in_buffer_;
        if (in_buffer_ < size + 1) {
            if (refill_input(buffer_, io_, &in_buffer_, &p_) == 0) return Fill::kFailed;
            if (in_buffer_ < size + 1) return Fill::kInputEnded;
        }
        block_left_ = size;
        return Fill::kOk;
    }

    KOVRADALT_IO *io_;
    uint8_t *buffer_;
    uint8_t *p_;
    int32_t in_buffer_;       // bytes from p_ to the end of the buffered data
    int32_t block_left_ = 0;  // bytes of the current sub-block not yet taken
    uint32_t acc_ = 0;
    int32_t bits_ = 0;        // 0..19
};

// Brings at least one byte into the input and moves the unread bytes to the buffer's start.
bool prime_input(DALTI_GIFInput *input) {
    if (input->avail < 1) {
        input->avail = 0;
        if (refill_input(input->buffer, input->source, &input->avail, &input->next) == 0) return false;
    }
    refill_input(input->buffer, input->source, &input->avail, &input->next);
    return true;
}

// Writes the `length` bytes of `code`'s string so that its last byte lands at end[-1].
inline void write_string(uint8_t *end, uint32_t code, const uint32_t *prefix, const uint8_t *suffix,
                         uint32_t length) {
    for (uint32_t i = 0; i < length; ++i) {
        *--end = suffix[code];
        code = prefix[code];
    }
}

class FrameDecoder {
public:
    FrameDecoder(KOVRADALT_IO *io, DALTI_GIFDecoderInfo *rec, uint8_t *out)
        : io_(io), rec_(rec), out_(out), input_(rec->input), reader_(io, rec->input) {}

    int32_t run();

private:
    // Reads one code of the current width; false when the input failed or ended (result_ set).
    bool read_code(uint32_t &code) {
        const Fill filled = reader_.need(width_);
        if (filled == Fill::kOk) {
            code = reader_.take(width_, mask_);
            return true;
        }
        reader_.save(input_);
        result_ = (filled == Fill::kInputEnded && io_ != nullptr && io_->position == io_->size) ? 1 : 0;
        return false;
    }

    // Reads codes until one is not the clear code.
    bool read_code_after_clears(uint32_t &code) {
        do {
            if (!read_code(code)) return false;
        } while (code == clear_);
        return true;
    }

    int32_t finish(int32_t result) {
        reader_.save(input_);
        return result;
    }

    bool write_row() {
        return (rec_->frame_mode != 0 ? DALTI_MakeFrameLineBuffer(rec_) : DALTI_WriteTheLine(rec_, out_)) != 0;
    }

    void reset_width() {
        width_ = rec_->lzw_min_code_size + 1;
        mask_ = (1u << width_) - 1;
        next_free_ = clear_ + 2;
    }

    KOVRADALT_IO *io_;
    DALTI_GIFDecoderInfo *rec_;
    uint8_t *out_;
    DALTI_GIFInput *input_;
    CodeReader reader_;
    uint32_t clear_ = 0;
    int32_t width_ = 0;
    uint32_t mask_ = 0;
    uint32_t next_free_ = 0;
    int32_t result_ = 0;
};

int32_t FrameDecoder::run() {
    DALTI_LZWTables *tables = rec_->lzw;
    uint32_t *const prefix = tables->prefix;
    uint8_t *const suffix = tables->suffix;
    uint32_t *const length = tables->length;
    uint8_t *const line = rec_->line_buffer;
    const int64_t limit = rec_->line_buffer_size;
    const int32_t frame_width = rec_->frame_width;
    const int32_t frame_height = rec_->frame_height;

    clear_ = 1u << rec_->lzw_min_code_size;
    const uint32_t end_code = clear_ + 1;
    reset_width();

    uint32_t code = 0;
    if (!read_code_after_clears(code)) return result_;
    if (code == end_code) return finish(1);
    int32_t pos = rec_->line_start;
    line[pos++] = static_cast<uint8_t>(code);
    uint32_t prev = code;
    uint8_t first = static_cast<uint8_t>(code);
    if (frame_height < 1) return finish(1);

    int32_t rows = 0;
    for (;;) {
        while (pos >= frame_width) {
            if (!write_row()) return finish(0);
            const int32_t overflow = pos - frame_width;
            if (overflow > 0 && frame_width > 0) std::memmove(line, line + frame_width, static_cast<size_t>(overflow));
            pos = overflow;
            if (++rows >= frame_height) return finish(1);
        }
        if (!read_code(code)) return result_;

        if (code == clear_) {
            reset_width();
            if (!read_code_after_clears(code)) return result_;
            if (code == end_code) return finish(1);
            line[pos++] = static_cast<uint8_t>(code);
            prev = code;
            first = static_cast<uint8_t>(code);
            continue;
        }
        if (code == end_code) return finish(write_row() ? 1 : 0);

        if (code < next_free_) {
            const uint32_t len = length[code];
            const int64_t end = static_cast<int64_t>(pos) + len;
            if (end < 1 || end > limit) return 0;
            write_string(line + end, code, prefix, suffix, len);
            first = line[pos];
            pos = static_cast<int32_t>(end);
        } else {
            // Not yet in the table: the previous string again, plus its first byte.
            const uint32_t base = prev < next_free_ ? prev : 0;
            const uint32_t len = length[base];
            const int64_t end = static_cast<int64_t>(pos) + len;
            if (end < 1 || end > limit) return 0;
            write_string(line + end, base, prefix, suffix, len);
            line[end] = first;
            pos = static_cast<int32_t>(end + 1);
        }
        if (next_free_ < DALTI_LZW_TABLE_SIZE) {
            prefix[next_free_] = prev;
            suffix[next_free_] = first;
            length[next_free_] = length[prev] + 1;
            ++next_free_;
            if (static_cast<uint32_t>(width_) < kMaxCodeWidth && next_free_ == (1u << width_)) {
                ++width_;
                mask_ = (1u << width_) - 1;
            }
        }
        prev = code;
    }
}

bool record_can_decode(const DALTI_GIFDecoderInfo *rec) {
    const DALTI_LZWTables *tables = rec->lzw;
    if (tables == nullptr || tables->prefix == nullptr || tables->suffix == nullptr || tables->length == nullptr) {
        return false;
    }
    if (rec->line_buffer == nullptr || !kovra::gif::input_is_sound(rec->input)) return false;
    // A row must fit in the line buffer, and the first index must land inside it.
    return rec->frame_width <= rec->line_buffer_size && rec->line_start >= 0 &&
           rec->line_start < rec->line_buffer_size;
}

}  // namespace

extern "C" KOVRA_API int32_t DALTI_DecodeGIFImage(KOVRADALT_IO *io, DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    if (rec == nullptr) return 0;
    if (rec->lzw_min_code_size > 11 || rec->lzw_min_code_size < 0) return 0;
    if (!record_can_decode(rec)) return 0;
    DALTI_InitializeTransTBL(rec->lzw_min_code_size, rec->lzw);
    if (!prime_input(rec->input)) return 0;
    FrameDecoder decoder(io, rec, out);
    return decoder.run();
}
