// WBMP type-0 header: type byte, fixed-header byte, then width and height as multi-byte integers
// (7 data bits per byte, most significant group first, high bit set on all but the last byte).
//
// The groups are packed left-aligned into a scratch bit string and summed bytewise onto the
// record's current width/height, then shifted right by the byte count. Starting from the current
// value (not 0) is deliberate: parsing the same record twice carries the first value into the
// high bits. Width and height together may take at most 17 bytes; each must be <= 5000.

#include <cstring>

#include "io/window_bytes.h"
#include "kovra_parse.h"
#include "os/error_word.h"

namespace {

constexpr int kScratchBytes = 20;
constexpr int kMaxIndexPlusTwo = 18;  // i + 2 may reach 18: at most 17 length bytes in all
constexpr uint32_t kMaxDimension = 5000;

struct GroupBits {
    uint8_t scratch[kScratchBytes];
    int count;
};

void append_group(GroupBits &bits, uint8_t group) {
    for (int bit = 6; bit >= 0; --bit) {
        const int position = bits.count * 7 + (6 - bit);
        const uint8_t mask = static_cast<uint8_t>(0x80u >> (position % 8));
        if ((group >> bit) & 1u) {
            bits.scratch[position / 8] |= mask;
        } else {
            bits.scratch[position / 8] &= static_cast<uint8_t>(~mask);
        }
    }
    ++bits.count;
}

enum class ReadResult { kOk, kReadFailed, kTooLong };

// Reads one multi-byte integer whose first byte is at data[first_index]; `used_before` is the
// number of length bytes already taken by earlier fields.
ReadResult read_groups(DALTJ_ByteWindow &window, int first_index, int used_before, GroupBits &bits) {
    std::memset(&bits, 0, sizeof bits);
    uint8_t byte = 0;
    do {
        if (DALTJ_CheckBuffer(&window, 1) == DALTJ_WINDOW_FAILED) return ReadResult::kReadFailed;
        byte = kovra::io::window_byte(window, first_index + bits.count);
        kovra::io::consume(window, 1);
        append_group(bits, byte & 0x7F);
        if (used_before + bits.count - 1 + 2 > kMaxIndexPlusTwo) return ReadResult::kTooLong;
    } while (byte & 0x80);
    return ReadResult::kOk;
}

uint32_t accumulate(uint32_t start, const GroupBits &bits) {
    uint32_t sum = start;
    for (int k = 0; k < bits.count; ++k) sum = (sum << 8) + bits.scratch[k];
    return sum >> bits.count;
}

// Reads one dimension into *field; false when the parse must stop (error word set on a read failure).
bool read_dimension(DALTJ_ByteWindow &window, int first_index, int used_before, uint32_t *field, int *used) {
    GroupBits bits;
    ReadResult result = read_groups(window, first_index, used_before, bits);
    if (result == ReadResult::kReadFailed) kovra::set_error(KOVRADALT_ERR_READ_OR_PARSE);
    if (result != ReadResult::kOk) return false;
    *field = accumulate(*field, bits);
    *used = bits.count;
    return true;
}

}  // namespace

extern "C" KOVRA_API int32_t __DALT_ParserWBMP(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window) {
    if (window->io->size < 4) return 0;
    int width_bytes = 0;
    int height_bytes = 0;
    if (!read_dimension(*window, 2, 0, &dec->width, &width_bytes)) return 0;
    if (!read_dimension(*window, 2 + width_bytes, width_bytes, &dec->height, &height_bytes)) return 0;
    if (dec->width > kMaxDimension || dec->height > kMaxDimension) return 0;
    return KOVRADALT_TYPE_WBMP;
}
