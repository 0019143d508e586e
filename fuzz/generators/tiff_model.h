// A TIFF structure before it is laid out: IFDs of 12-byte entries whose values lie inline, in
// blocks after their IFD, at another IFD, a few bytes before the end, or anywhere at all. Laying
// it out (write_tiff) fixes every offset, so a generator can say "the EXIF pointer of IFD0 points
// back at IFD0" or "this string ends one byte past the data" without counting bytes itself.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/generators/rng.h"

namespace kovra::fuzz {

// Where a value word points.
enum class TiffRef : uint8_t {
    kInline,   // entry: `data` (up to 4 bytes) is the value field itself
    kBlob,     // entry: `data` is placed after the IFD and the value is its offset
    kIfd,      // the offset of IFD number `number` (a number beyond the IFDs is written as it is)
    kFromEnd,  // the data's length minus `number`
    kRaw,      // `number` itself
};

struct TiffEntry {
    uint16_t tag = 0, type = 0;
    uint32_t count = 0;
    TiffRef ref = TiffRef::kInline;
    Bytes data;                      // already in the file's byte order
    std::vector<uint32_t> ifd_list;  // kBlob: when not empty, the block is these IFDs' offsets
    uint32_t number = 0;
};

struct TiffIfd {
    std::vector<TiffEntry> entries;
    TiffRef next = TiffRef::kRaw;  // kRaw with number 0: no next IFD
    uint32_t next_number = 0;
    uint32_t padding = 0;        // filler bytes before the IFD
    int32_t claimed_count = -1;  // the entry count field when it is made to lie
};

struct TiffModel {
    bool little = true;
    uint8_t order[2] = {'I', 'I'};
    uint16_t magic = 42;
    TiffRef first = TiffRef::kIfd;
    uint32_t first_number = 0;
    std::vector<TiffIfd> ifds;  // laid out in this order after the header
    uint32_t tail_padding = 0;
};

Bytes write_tiff(const TiffModel &model);

// Numbers in the model's byte order.
void put_u16(Bytes *out, uint32_t value, bool little);
void put_u32(Bytes *out, uint32_t value, bool little);

}  // namespace kovra::fuzz
