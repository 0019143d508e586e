// LZW decoding of one GIF frame into rows of palette indexes.
//
// Role: reads the frame's data sub-blocks through the input record (refilling it from the source
// as each sub-block begins), turns codes into strings and hands every completed row of
// frame_width indexes to the row writer (line_writer.cpp, or frame_composer.cpp in frame mode).
//
// Buffers: everything lives in the GIF record and is allocated before decoding starts; nothing is
// allocated per frame or per code. A code's string is written straight into line_buffer at the
// current position, so no output stack is needed. A string may run past the row's end into the
// line buffer's 4096 spare bytes; that overflow is moved to the buffer's start once the row has
// been written, and becomes the next row's head. Every string must end within screen_width + 4096
// bytes; a frame wider than that cannot be decoded and fails at once.
//
// The translation table is the record's lzw_table (kovra_gif.h, lzw_table.h): each code's
// string both byte by byte (prefix code, last byte, length: the values the step functions keep in
// DALTI_LZWTables) and as a chain of 8-byte chunks counted from the string's start. The fast loop
// writes a string with one 8-byte store per chunk; the store holding the string's end ends with
// it, so the bytes beyond keep what the buffer held (an end code in mid-row writes them out). The
// chunk chains are exact as long as every code refers to the current run of codes (since the last
// clear code), which a well-formed stream always does. A
// code beyond the table, or one that follows a clear code without being a root, makes later
// entries refer to strings that later codes may overwrite; from there to the end of the frame the
// decoder walks every string byte by byte through the prefix chain, which gives exactly the
// strings the table holds at that moment.

// Codes: clear = 1 << min_code_size, end = clear + 1; the width starts at min_code_size + 1 and
// grows when the next free code reaches 1 << width, up to 12 bits. A code at or beyond the next
// free code repeats the previous string plus its first byte (the previous code is replaced by
// code 0 when it is itself beyond the table). A zero-length sub-block does not end the data: the
// next byte is read as a further sub-block size. Decoding stops after frame_height rows, at an
// end code (the partial row is written once, with whatever the line buffer holds after the
// position) or when the input runs out.
//
// What it leaves behind: the input record points just past the last byte that held bits of a
// code taken; bits still held are dropped and the sub-block structure is forgotten. (The bit
// reader loads up to eight bytes of a sub-block at a time, and gives back the whole bytes it
// loaded ahead when it saves the input, so the saved position is the same as if it had taken one
// byte at a time.)
//
// Speed: nearly every code goes through FrameDecoder::run_fast, a loop whose state lives in local
// variables, so that the compiler can keep it in registers although the line buffer's stores
// could alias any memory. It writes completed rows and opens sub-blocks through out-of-line calls
// and hands clear codes, end codes and codes beyond the table to fast_mode(). Once the table
// is full a second instance of it runs, which makes no entries. Between frames the table is not
// cleared: the fast loop reads only entries the frame has made, and the careful loop clears the
// rest before it starts.

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "gif/frame_composer.h"
#include "gif/gif_input.h"
#include "gif/lzw_bits.h"
#include "gif/lzw_table.h"
#include "kovra_gif.h"

namespace {

using namespace kovra::gif;

constexpr uint32_t kMaxCodeWidth = 12;

// Brings at least one byte into the input and moves the unread bytes to the buffer's start.
bool prime_input(DALTI_GIFInput *input) {
    if (input->avail < 1) {
        input->avail = 0;
        if (refill_input(input->buffer, input->source, &input->avail, &input->next) == 0) return false;
    }
    refill_input(input->buffer, input->source, &input->avail, &input->next);
    return true;
}

// Everything the decode loops hand on: the bit reader, the code state and the line position.
struct DecodeState {
    BitReader reader;
    int32_t width;
    uint32_t next_free;
    uint32_t grow_at;     // the width grows when next_free reaches it
    uint32_t table_high;  // highest next free code before the last clear
    uint32_t prev;
    uint8_t first;        // first byte of prev's string
    uint8_t *dst;         // where the next string goes
    uint32_t pending;     // a code taken in fast mode and left to the careful loop
    bool has_pending;
    Fill input;           // why the input stopped, after run_fast's kInputStopped
};

// What FrameDecoder::run_fast returns besides a code it leaves to fast_mode (clear, end, beyond
// the table; already taken): kStopped when the rows are done or one could not be written
// (stop_value_ says which), kInputStopped when the input failed or ended (`input` says which),
// kTableFilled when it made the last entry.
constexpr uint32_t kStopped = UINT32_MAX;
constexpr uint32_t kInputStopped = UINT32_MAX - 1;
constexpr uint32_t kTableFilled = UINT32_MAX - 2;

// Where run_fast next has to look up as the table grows: at the growth point while the next free
// code has yet to reach it, else when the table is full.
constexpr uint32_t next_check(uint32_t next_free, uint32_t grow_at) {
    constexpr uint32_t kTableSize = DALTI_LZW_TABLE_SIZE;
    return next_free < grow_at && grow_at < kTableSize ? grow_at : kTableSize;
}

enum class Restart { kRoot, kNotARoot, kDone };

enum class LoopEnd { kDone, kCareful };

class FrameDecoder {
public:
    FrameDecoder(KOVRADALT_IO *io, DALTI_GIFDecoderInfo *rec, uint8_t *out, const FrameLineComposer *composer,
                 uint32_t stale_end)
        : io_(io), rec_(rec), out_(out), composer_(composer), stale_end_(stale_end), input_(rec->input),
          table_(*rec->lzw_table), line_(rec->line_buffer),
          line_end_(rec->line_buffer + rec->line_buffer_size), row_end_(rec->line_buffer + rec->frame_width),
          clear_(1u << rec->lzw_min_code_size) {}
    int32_t run();

private:
    Restart restart(DecodeState &s);
    LoopEnd fast_mode(DecodeState &s);
    template <bool kTableFull>
    [[gnu::noinline]] uint32_t run_fast(DecodeState &s);
    void careful_loop(DecodeState &s);

    // Writes the completed rows at the line buffer's start and moves what follows them there;
    // returns where the next string goes, or null when decoding stops (stop_value_ then holds the
    // result: 1 once every row is written, 0 when a row could not be).
    [[gnu::noinline]] uint8_t *next_row(uint8_t *dst) {
        const int32_t frame_width = rec_->frame_width;
        int32_t pos = static_cast<int32_t>(dst - line_);
        do {
            if (!write_row()) {
                stop_value_ = 0;
                return nullptr;
            }
            const int32_t overflow = pos - frame_width;
            if (overflow > 0 && frame_width > 0) {
                std::memmove(line_, line_ + frame_width, static_cast<size_t>(overflow));
            }
            pos = overflow;
            if (++rows_ >= rec_->frame_height) {
                stop_value_ = 1;
                return nullptr;
            }
        } while (pos >= frame_width);
        return line_ + pos;
    }

    // True when any string the table can hold while its chains are exact (at most 4095 bytes),
    // begun inside a row, fits in the buffer.
    bool strings_always_fit() const {
        constexpr int64_t kLongest = DALTI_LZW_TABLE_SIZE - 1;
        const int64_t last_start = static_cast<int64_t>(rec_->frame_width) - 1;
        return last_start + kLongest <= int64_t{rec_->line_buffer_size};
    }

    bool write_row() {
        return (composer_ != nullptr ? composer_->compose_line(rec_) : DALTI_WriteTheLine(rec_, out_)) != 0;
    }
    void note_table(const DecodeState &s) {
        rec_->lzw_table_used = std::max({s.next_free, s.table_high, stale_end_});
    }
    // Before the careful loop: entries this frame has not written read as empty.
    void clear_unwritten(const DecodeState &s) {
        const uint32_t written_end = std::max(s.next_free, s.table_high);
        clear_entries(table_, written_end, stale_end_);
        stale_end_ = std::min(stale_end_, written_end);
    }
    // Saving right after a code was taken: whole bytes loaded ahead go back to the input.
    int32_t finish(const DecodeState &s, int32_t value) {
        const int32_t ahead = s.reader.bits >> 3;
        input_->next = s.reader.p - ahead;
        input_->avail = static_cast<int32_t>(s.reader.data_end - s.reader.p) + ahead;
        note_table(s);
        return value;
    }
    // The input failed or ended while a code was wanted; every loaded bit was needed, so nothing
    // was loaded ahead.
    int32_t input_stopped(const DecodeState &s, Fill why) {
        input_->next = s.reader.p;
        input_->avail = static_cast<int32_t>(s.reader.data_end - s.reader.p);
        note_table(s);
        return (why == Fill::kInputEnded && io_ != nullptr && io_->position == io_->size) ? 1 : 0;
    }

    KOVRADALT_IO *io_;
    DALTI_GIFDecoderInfo *rec_;
    uint8_t *out_;
    const FrameLineComposer *composer_;  // frame mode's row writer; null in direct mode
    uint32_t stale_end_;                 // entries up to here may hold strings of an earlier frame
    DALTI_GIFInput *input_;
    DALTI_LZWTable &table_;
    uint8_t *line_;
    uint8_t *line_end_;  // no string may end beyond it
    uint8_t *row_end_;   // a string starting here belongs to the next row
    uint32_t clear_;
    int32_t rows_ = 0;   // rows written so far
    int32_t stop_value_ = 0;
    int32_t result_ = 0;
};

// The common codes, as fast as they come: roots, table entries and the next free code, writing
// completed rows and opening sub-blocks on the way. Everything lives in local variables, so that
// the compiler can keep it in registers although the line buffer's stores could alias any
// memory. With kTableFull the table has no room left, and no entries are made.
template <bool kTableFull>
uint32_t FrameDecoder::run_fast(DecodeState &run) {
    DALTI_LZWTable &t = table_;
    const uint8_t *const row_end = row_end_;
    uint8_t *p = run.reader.p;
    uint64_t acc = run.reader.acc;
    uint32_t bits = static_cast<uint32_t>(run.reader.bits);
    uint32_t width = static_cast<uint32_t>(run.width);
    uint32_t mask = (1u << width) - 1;
    uint32_t next_free = run.next_free;
    uint32_t grow_at = run.grow_at;
    // The next free code at which the loop must look up: the width grows there, or the table is
    // full. With minimum code sizes 0 and 1 the first free code is already past the first growth
    // point, so the width never grows and only the full table stops the loop.
    uint32_t check_at = next_check(next_free, grow_at);
    uint32_t prev = run.prev;
    uint8_t first = run.first;
    uint8_t *dst = run.dst;
    uint64_t tail = load_le64(dst - kChunkBytes);  // the bytes before dst (see write_chunks)
    uint32_t unhandled = 0;  // set wherever the loop ends
    // Eight bytes may be loaded at p while p is at most `last_load` (compared as addresses, since
    // the sub-block may begin less than eight bytes into the buffer).
    uintptr_t last_load = reinterpret_cast<uintptr_t>(run.reader.block_end) - 8;
    for (;;) {
        if (dst >= row_end) [[unlikely]] {
            uint8_t *const next = next_row(dst);
            if (next == nullptr) {
                unhandled = kStopped;
                break;
            }
            dst = next;
            tail = load_le64(dst - kChunkBytes);
        }
        if (bits < width) {
            if (reinterpret_cast<uintptr_t>(p) <= last_load) [[likely]] {
                acc |= load_le64(p) << bits;
                p += (63 - bits) >> 3;
                bits |= 56;  // bits + 8 * (the whole bytes that fitted)
            } else {
                // Near the sub-block's end: byte by byte, and on into the next one.
                BitReader &r = run.reader;
                r.p = p;
                r.acc = acc;
                r.bits = static_cast<int32_t>(bits);
                run.input = fill_bits(r, static_cast<int32_t>(width), input_->buffer, io_);
                p = r.p;
                acc = r.acc;
                bits = static_cast<uint32_t>(r.bits);
                last_load = reinterpret_cast<uintptr_t>(r.block_end) - 8;
                if (run.input != Fill::kOk) {
                    unhandled = kInputStopped;
                    break;
                }
            }
        }
        const uint32_t code = static_cast<uint32_t>(acc) & mask;
        acc >>= width;
        bits -= width;
        if (code < next_free) {
            const uint32_t length = length_of(t.link[code]);
            if (length == 0) [[unlikely]] {  // clear or end
                unhandled = code;
                break;
            }
            first = write_chunks(t, code, length, dst, tail);
            dst += length;
            if constexpr (kTableFull) {
                prev = code;
                continue;
            }
            add_entry(t, next_free, prev, first);
        } else if (!kTableFull && code == next_free) {
            // prev's string plus its own first byte: the entry about to be made.
            add_entry(t, next_free, prev, first);
            const uint32_t length = length_of(t.link[code]);
            write_chunks(t, code, length, dst, tail);
            dst += length;
        } else {
            unhandled = code;
            break;
        }
        prev = code;
        if (++next_free == check_at) [[unlikely]] {
            if (next_free == DALTI_LZW_TABLE_SIZE) {
                unhandled = kTableFilled;
                break;
            }
            ++width;
            mask = (1u << width) - 1;
            grow_at <<= 1;
            check_at = next_check(next_free, grow_at);
        }
    }
    run.reader.p = p;
    run.reader.acc = acc;
    run.reader.bits = static_cast<int32_t>(bits);
    run.width = static_cast<int32_t>(width);
    run.next_free = next_free;
    run.grow_at = grow_at;
    run.prev = prev;
    run.first = first;
    run.dst = dst;
    return unhandled;
}

// After a clear code, and for a frame's first code: the table starts again, further clear codes
// are skipped, and the next code is written as one byte. kNotARoot when that code is not a root
// (the next entry then builds on a string of an earlier run of codes); kDone when the decode has
// ended (an end code, or the input stopped), with result_ set.
Restart FrameDecoder::restart(DecodeState &s) {
    s.table_high = std::max(s.table_high, s.next_free);
    s.width = rec_->lzw_min_code_size + 1;
    s.next_free = clear_ + 2;
    s.grow_at = 1u << s.width;
    uint32_t code;
    do {
        const Fill filled = fill_bits(s.reader, s.width, input_->buffer, io_);
        if (filled != Fill::kOk) {
            result_ = input_stopped(s, filled);
            return Restart::kDone;
        }
        code = take_code(s.reader, s.width);
    } while (code == clear_);
    if (code == clear_ + 1) {
        result_ = finish(s, 1);
        return Restart::kDone;
    }
    *s.dst++ = static_cast<uint8_t>(code);
    s.prev = code;
    s.first = static_cast<uint8_t>(code);
    return code >= s.next_free ? Restart::kNotARoot : Restart::kRoot;
}

// Fast mode: run_fast takes the codes it can, and clear and end codes are handled here. Returns
// kCareful at the first code that could make a chunk chain wrong (left pending in `s` when it
// has been taken already). Strings need no length checks: fast mode runs only when every string
// fits (see run()).
LoopEnd FrameDecoder::fast_mode(DecodeState &s) {
    for (;;) {
        uint32_t code = s.next_free == DALTI_LZW_TABLE_SIZE ? run_fast<true>(s) : run_fast<false>(s);
        if (code == kTableFilled) code = run_fast<true>(s);
        if (code == kStopped) {
            result_ = finish(s, stop_value_);
            return LoopEnd::kDone;
        }
        if (code == kInputStopped) {
            result_ = input_stopped(s, s.input);
            return LoopEnd::kDone;
        }
        if (code == clear_) {
            const Restart restarted = restart(s);
            if (restarted == Restart::kDone) return LoopEnd::kDone;
            if (restarted == Restart::kNotARoot) return LoopEnd::kCareful;
            continue;
        }
        if (code == clear_ + 1) {
            result_ = finish(s, write_row() ? 1 : 0);
            return LoopEnd::kDone;
        }
        // Beyond the table.
        s.pending = code;
        s.has_pending = true;
        return LoopEnd::kCareful;
    }
}

// Careful mode, to the end of the frame: every string is checked to fit and walked byte by byte
// through its prefix chain.
void FrameDecoder::careful_loop(DecodeState &s) {
    const DALTI_LZWTable &table = table_;
    const uint32_t clear = clear_;
    for (;;) {
        uint32_t code;
        if (s.has_pending) {
            code = s.pending;
            s.has_pending = false;
        } else {
            if (s.dst >= row_end_) {
                uint8_t *const next = next_row(s.dst);
                if (next == nullptr) {
                    result_ = finish(s, stop_value_);
                    return;
                }
                s.dst = next;
            }
            const Fill filled = fill_bits(s.reader, s.width, input_->buffer, io_);
            if (filled != Fill::kOk) {
                result_ = input_stopped(s, filled);
                return;
            }
            code = take_code(s.reader, s.width);
        }

        const auto room = static_cast<size_t>(line_end_ - s.dst);
        if (code < s.next_free && code - clear > 1) {
            // A root or a table entry (code - clear wraps round for a root).
            const uint32_t length = length_of(table.link[code]);
            if (length - 1 >= room) {  // also refuses length 0
                result_ = finish(s, 0);
                return;
            }
            s.first = walk_string(table, code, s.dst);
            s.dst += length;
        } else if (code == clear) {
            if (restart(s) == Restart::kDone) return;
            continue;
        } else if (code == clear + 1) {
            result_ = finish(s, write_row() ? 1 : 0);
            return;
        } else {
            // Not yet in the table, or beyond it: the previous string again plus its first byte
            // (code 0's string when the previous code is itself beyond the table).
            const uint32_t base = s.prev < s.next_free ? s.prev : 0;
            const uint32_t length = length_of(table.link[base]);
            if (length - 1 >= room) {
                result_ = finish(s, 0);
                return;
            }
            walk_string(table, base, s.dst);
            s.dst[length] = s.first;
            s.dst += length + 1;
        }
        if (s.next_free < DALTI_LZW_TABLE_SIZE) {
            add_entry(table_, s.next_free, s.prev, s.first);
            ++s.next_free;
            if (s.next_free == s.grow_at && static_cast<uint32_t>(s.width) < kMaxCodeWidth) {
                ++s.width;
                s.grow_at <<= 1;
            }
        }
        s.prev = code;
    }
}

int32_t FrameDecoder::run() {
    DecodeState s{};
    s.reader = BitReader{input_->next, input_->next, input_->next, input_->next + input_->avail, 0, 0};
    s.next_free = clear_ + 2;
    s.table_high = s.next_free;
    s.dst = line_ + rec_->line_start;
    // Until the decode ends normally, every entry counts as possibly filled.
    rec_->lzw_table_used = DALTI_LZW_TABLE_SIZE;

    const Restart first = restart(s);
    if (first == Restart::kDone) return result_;
    if (rec_->frame_height < 1) return finish(s, 1);
    // A first code that is not a root starts the careful loop at once, and so does a frame so
    // wide that a string begun inside a row might not fit behind it.
    if (first == Restart::kNotARoot || !strings_always_fit() || fast_mode(s) == LoopEnd::kCareful) {
        clear_unwritten(s);
        careful_loop(s);
    }
    return result_;
}

bool record_can_decode(const DALTI_GIFDecoderInfo *rec) {
    if (rec->lzw_table == nullptr || rec->line_buffer == nullptr || !kovra::gif::input_is_sound(rec->input)) {
        return false;
    }
    // A row must fit in the line buffer, and the first index must land inside it.
    return rec->frame_width <= rec->line_buffer_size && rec->line_start >= 0 &&
           rec->line_start < rec->line_buffer_size;
}

}  // namespace

extern "C" KOVRA_API int32_t DALTI_DecodeGIFImage(KOVRADALT_IO *io, DALTI_GIFDecoderInfo *rec, uint8_t *out) {
    if (rec == nullptr) return 0;
    if (rec->lzw_min_code_size > 11 || rec->lzw_min_code_size < 0) return 0;
    if (!record_can_decode(rec)) return 0;
    const uint32_t stale_end = reset_table(rec);
    if (!prime_input(rec->input)) return 0;
    if (rec->frame_mode != 0) {
        const FrameLineComposer composer(rec);
        return FrameDecoder(io, rec, out, &composer, stale_end).run();
    }
    return FrameDecoder(io, rec, out, nullptr, stale_end).run();
}
