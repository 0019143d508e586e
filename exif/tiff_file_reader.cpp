// The TIFF-file reader: checks the header at the start of a window that holds the file from its
// first byte, walks IFD0 and records the embedded JPEG's offset (tag 513) in DALTJ_TiffInfo.
//
// IFD0 (any IFD at a non-zero offset) is read into a buffer of 12n + 8 bytes owned here (for
// memory sources: looked at in place); its entry count n is taken from the window at the IFD's
// offset. What the window shows depends on the source: a file or stream window holds the 16384
// bytes read into its buffer, so a count beyond them reads as 0 and the IFD as empty; a memory
// window is a view of the whole source, so the count is read wherever it lies.
//
// A SubIFDs entry (tag 330) sends the walk into the first sub-IFD it lists: the 4 bytes at the
// entry's value are that sub-IFD's offset, 16384 bytes from there are read into the window, and
// the sub-IFD is walked from the start of the window (the "offset 0" form), which may in turn lead
// into a deeper sub-IFD. A sub-IFD's own successor is ignored. An IFD of the offset-0 form is
// always the one at the start of the window as it stands: once a descent has reloaded the window,
// the parent's remaining entries (and its next-IFD offset) are read from the reloaded window, for
// every kind of source alike.
//
// The descent is bounded by the data: every entry decoded in one walk, at any depth, spends one
// unit of a budget of length / 12 entries, the most that IFDs sharing no bytes can hold in a file
// of that length. A well-formed file never reaches the budget; sub-IFDs that point back at
// themselves or at each other do, and the walk then ends with 0. Depth therefore never exceeds
// length / 12, and the levels are kept in an explicit stack (on the heap past a few levels), not
// on the call stack.

#include <cstring>

#include "exif/growing_array.h"
#include "exif/ifd_entry.h"
#include "exif/ifd_walk.h"
#include "exif/tiff_bytes.h"
#include "exif/tiff_header.h"
#include "io/source_kind.h"
#include "io/window_bytes.h"
#include "kovra_exif.h"
#include "kovra_os.h"

namespace {

using kovra::exif::GrowingArray;
using kovra::exif::kEntryBytes;
using kovra::exif::TiffBytes;

constexpr uint16_t kJpegInterchangeFormat = 513;
constexpr uint16_t kSubIfds = 330;
constexpr uint32_t kWindowIfdFirstEntry = 2;  // entry count first, then the entries

// One IFD being walked: its entries are decoded at first_entry + 12k, from its own bytes or, for
// an IFD at the start of the window, from whatever the window shows when the entry is read.
struct IfdLevel {
    bool in_window;
    TiffBytes bytes;  // unless in_window
    uint32_t first_entry;
    uint32_t count;
    uint32_t next_entry;
};

// The bytes the window shows, as TIFF data of the given length. A file or stream window shows what
// was read into its buffer; a memory window is a view of the source itself, so everything from
// its data pointer to the end of the source is in view.
TiffBytes window_bytes(const DALTJ_ByteWindow &window, uint32_t length, bool little_endian) {
    const int64_t filled = static_cast<int64_t>(window.pos) + window.avail;
    if (window.data == nullptr || filled <= 0) return TiffBytes{window.data, length, 0, little_endian};
    constexpr int64_t kCapacity = KOVRADALT_WINDOW_CAPACITY;
    uint64_t readable = static_cast<uint64_t>(filled < kCapacity ? filled : kCapacity);
    const KOVRADALT_IO &io = *window.io;
    if (kovra::io::is_memory_kind(io.kind) && io.source != nullptr && io.size > 0) {
        const auto base = reinterpret_cast<uintptr_t>(io.source);
        const auto at = reinterpret_cast<uintptr_t>(window.data);
        if (at >= base && at - base < static_cast<uint32_t>(io.size)) readable = static_cast<uint32_t>(io.size) - (at - base);
    }
    return TiffBytes{window.data, length, static_cast<uint32_t>(readable), little_endian};
}

// Reads `count` bytes at the source's position into `out`; bytes not delivered are 0.
void read_small(KOVRADALT_IO *io, uint8_t *out, int32_t count) {
    uint8_t *bytes = out;
    const int32_t got = KOVRADALT_Read_IO2(io, &bytes, count);
    const int32_t present = got < 0 ? 0 : (got < count ? got : count);
    if (bytes != out && present > 0) std::memcpy(out, bytes, static_cast<size_t>(present));
    std::memset(out + present, 0, static_cast<size_t>(count - present));
}

// The IFD at the start of the window (the offset-0 form): false when its entries would run past
// the length.
bool window_level(const DALTJ_ByteWindow &window, uint32_t length, bool little_endian, IfdLevel *level) {
    const TiffBytes bytes = window_bytes(window, length, little_endian);
    const uint32_t count = bytes.u16(0);
    if (static_cast<uint64_t>(kEntryBytes) * count + kWindowIfdFirstEntry > length) return false;
    *level = IfdLevel{true, bytes, kWindowIfdFirstEntry, count, 0};
    return true;
}

// Follows a SubIFDs entry: finds the first sub-IFD's offset at `value`, reads 16384 bytes from
// there into the window. False when a seek fails.
bool load_sub_ifd(DALTJ_ByteWindow *window, uint32_t value, bool little_endian) {
    KOVRADALT_IO *io = window->io;
    if (KOVRADALT_Seek_IO(io, static_cast<int32_t>(value), SEEK_SET) < 0) return false;
    uint8_t word[4];
    read_small(io, word, 4);
    const TiffBytes pointer{word, 4, 4, little_endian};
    if (KOVRADALT_Seek_IO(io, static_cast<int32_t>(pointer.u32(0)), SEEK_SET) < 0) return false;
    const int32_t got = KOVRADALT_Read_IO2(io, &window->data, KOVRADALT_WINDOW_CAPACITY);
    window->pos = 0;
    window->avail = got > 0 ? got : 0;
    return true;
}

// Next-IFD offset after the top level's entries, or 0 when it lies beyond the length.
// `entries_at` is where the entries begin, counted as the length counts.
uint32_t next_ifd_offset(const IfdLevel &level, const TiffBytes &bytes, uint64_t entries_at, uint32_t length) {
    const uint64_t entry_bytes = static_cast<uint64_t>(kEntryBytes) * level.count;
    if (entries_at + entry_bytes + 4 > length) return 0;
    return bytes.u32(level.first_entry + entry_bytes);
}

// Walks `top` and every sub-IFD it leads to. Returns false when the walk ended early (a seek
// failed on the top level, the budget ran out, or memory ran out).
bool walk_levels(DALTJ_TiffInfo *info, DALTJ_ByteWindow *window, const IfdLevel &top, uint32_t length,
                 bool little_endian) {
    GrowingArray<IfdLevel, 8> levels;
    if (!levels.push(top)) return false;
    uint64_t budget = length / kEntryBytes;
    while (!levels.empty()) {
        IfdLevel &level = levels.back();
        if (level.next_entry == level.count) {
            if (levels.size() == 1) return true;
            levels.pop();
            continue;
        }
        if (budget == 0) return false;
        --budget;
        const uint32_t entry_offset = level.first_entry + kEntryBytes * level.next_entry++;
        DALTJ_ExifField field;
        const TiffBytes bytes = level.in_window ? window_bytes(*window, length, little_endian) : level.bytes;
        if (!kovra::exif::decode_entry(bytes, entry_offset, &field)) continue;
        if (field.tag == kJpegInterchangeFormat) info->jpeg_offset = field.value;
        if (field.tag != kSubIfds) continue;
        if (!load_sub_ifd(window, field.value, little_endian)) {
            // A failed seek ends this level with 0; a parent ignores what its sub-IFD returns.
            if (levels.size() == 1) return false;
            levels.pop();
            continue;
        }
        IfdLevel sub;
        if (window_level(*window, length, little_endian, &sub) && !levels.push(sub)) return false;
    }
    return true;
}

}  // namespace

extern "C" {

KOVRA_API uint32_t DALTJ_ReadTiffIFDInfo(DALTJ_TiffInfo *info, DALTJ_ByteWindow *window, uint32_t offset,
                                         uint32_t length, int32_t little_endian, uint32_t extra) {
    (void)extra;
    if (info == nullptr || window == nullptr || window->io == nullptr) return 0;
    const bool little = little_endian != 0;
    if (static_cast<uint64_t>(offset) + 2 > length) return 0;
    if (offset == 0) {
        IfdLevel top;
        if (!window_level(*window, length, little, &top)) return 0;
        if (!walk_levels(info, window, top, length, little)) return 0;
        return next_ifd_offset(top, window_bytes(*window, length, little), kWindowIfdFirstEntry, length);
    }
    const uint32_t count = window_bytes(*window, length, little).u16(offset);
    const uint64_t entry_bytes = static_cast<uint64_t>(kEntryBytes) * count;
    if (entry_bytes > length) return 0;
    const auto buffer_size = static_cast<uint32_t>(entry_bytes + 8);
    auto *buffer = static_cast<uint8_t *>(KOVRADALT_OsMalloc(buffer_size));
    if (buffer == nullptr) return 0;
    uint32_t result = 0;
    if (KOVRADALT_Seek_IO(window->io, static_cast<int32_t>(offset + 2), SEEK_SET) >= 0) {
        uint8_t *bytes = buffer;
        const int32_t got = KOVRADALT_Read_IO2(window->io, &bytes, static_cast<int32_t>(buffer_size));
        uint32_t readable = got > 0 ? static_cast<uint32_t>(got) : 0;
        if (bytes == buffer) {
            // A short read from a file or stream: the rest of the buffer reads as zeros.
            std::memset(buffer + readable, 0, buffer_size - readable);
            readable = buffer_size;
        }
        const IfdLevel top{false, TiffBytes{bytes, length, readable, little}, 0, count, 0};
        if (walk_levels(info, window, top, length, little)) {
            result = next_ifd_offset(top, top.bytes, static_cast<uint64_t>(offset) + 2, length);
        }
    }
    KOVRADALT_OsFree(buffer);
    return result;
}

KOVRA_API int32_t DALTJ_ReadTiffInfo(DALTJ_TiffInfo *info, DALTJ_ByteWindow *window, uint32_t ignored,
                                     uint32_t length, uint32_t extra) {
    (void)ignored;
    if (info == nullptr || window == nullptr || window->io == nullptr) return 0;
    if (length < kovra::exif::kTiffHeaderBytes) return 0;
    if (DALTJ_CheckBuffer(window, 2) == DALTJ_WINDOW_FAILED) return DALTJ_TIFF_READ_FAILED;
    const kovra::exif::TiffHeader header = kovra::exif::check_tiff_header(window_bytes(*window, length, false));
    if (!header.valid) return 0;
    DALTJ_ReadTiffIFDInfo(info, window, header.ifd0_offset, length, header.little_endian ? 1 : 0, extra);
    return 1;
}

}  // extern "C"
