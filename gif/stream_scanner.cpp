// GIF stream scanner: the header pass behind the parse drivers. Without decoding any pixel data it
// walks the whole stream block by block and reports the logical screen size, the number of frames,
// a per-frame delay table, the total animation time, and whether the file is a single-frame GIF
// (4) or an animation (6); 0 means unusable.
//
// It is tolerant rather than strict: a byte that is not a block introducer (0x21, 0x2C, 0x3B) is
// stepped over, so a damaged stream resynchronises on the next byte that looks like one. Long runs
// (colour tables, sub-blocks that do not fit the window) are skipped by seeking the source.
//
// Buffers: it reads only through the caller's byte window; the one allocation it makes is the delay
// table (info->frame_delays), which outlives the call and belongs to the image-information record.
// When the caller passes no record, a private one is used and its table freed before returning.
//
// Delay rules (`delay-rules` and the extension rules in gif/quirks.md), all deliberate:
//   * a graphic control delay is hundredths of a second times 10; below 30 ms it becomes the
//     caller's default delay;
//   * a graphic control extension fills the table slot of the image that follows it; two before
//     one image both count in gce_count while the second overwrites the first one's slot;
//   * when more images were counted than graphic control extensions were seen, the table is cut
//     to the image count, the entries from gce_count on are cleared, and every entry below the
//     default delay or at 65536 ms and above becomes the default delay (the clamp pass); the
//     images without an extension add the default delay to gif_total_delay;
//   * an empty first sub-block in a comment, application or plain-text extension makes the
//     window forget the last byte it holds (that byte is never read);
//   * extensions with any other label have only their label consumed; their body is scanned as
//     top-level bytes.
//
// Not supported here: version checks, loop counts, anything about pixels. Window requests are met
// only when the window really holds the bytes asked for, so a short refill at the end of a source
// counts as a failed request rather than letting the scanner look past the bytes it holds.

#include <algorithm>
#include <cstring>

#include "gif/stream_scanner.h"

#include "gif/header.h"
#include "io/source_kind.h"
#include "io/window_bytes.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace {
using kovra::gif::kHeaderBytes;
using kovra::io::consume;
using kovra::io::unread_byte;
using kovra::io::unread_u16le;

constexpr uint32_t kMaxDimension = 5000;       // screen and image sizes are 1..5000
constexpr uint32_t kMinDelayMs = 30;           // shorter delays take the default
constexpr uint32_t kClampDelayMs = 65536;      // the clamp pass replaces delays from here on
constexpr int32_t kDescriptorBytes = 9;        // image descriptor after the separator
constexpr int32_t kGraphicControlBytes = 5;    // packed, delay (2), transparent index, terminator

enum : uint8_t {
    kExtensionIntroducer = 0x21,
    kImageSeparator = 0x2C,
    kTrailer = 0x3B,
    kLabelPlainText = 0x01,
    kLabelGraphicControl = 0xF9,
    kLabelComment = 0xFE,
    kLabelApplication = 0xFF,
};

enum class Step { kGoOn, kEndScan, kFail };

struct Scan {
    DALTJ_ByteWindow &window;
    KOVRADALT_DecInfo &dec;
    KOVRADALT_ImageInfo &info;
    uint32_t default_delay;
    uint32_t gce_count = 0;      // graphic control extensions recorded so far
    uint32_t last_delay = 0;     // delay of the last one since the last image descriptor
    uint32_t table_entries = 0;  // entries of the table as this scan last sized it
    uint32_t table_capacity = 0; // entries allocated: the table grows geometrically
};

// A request is met only when the window holds at least `need` unread bytes afterwards.
bool can_supply(DALTJ_ByteWindow &window, int32_t need) {
    return DALTJ_CheckBuffer(&window, need) != DALTJ_WINDOW_FAILED && window.avail >= need;
}

// Steps over `n` bytes: inside the window if they are there, else by seeking the source past the
// shortfall. Fails when the source reports a position short of where the skip should land.
bool skip_run(DALTJ_ByteWindow &window, int32_t n) {
    if (n <= window.avail) {
        consume(window, n);
        return true;
    }
    const int32_t shortfall = n - window.avail;
    window.consumed_total = kovra::io::wrapping_add(window.consumed_total, shortfall);
    if (KOVRADALT_Seek_IO(window.io, shortfall, SEEK_CUR) < window.consumed_total) return false;
    window.pos = 0;
    window.avail = 0;
    return true;
}

int32_t colour_table_bytes(uint8_t packed) { return 3 << ((packed & 7) + 1); }

bool dimension_ok(uint32_t value) { return value != 0 && value <= kMaxDimension; }

// Size in bytes of a delay table of `entries` words, refusing sizes the allocator cannot express.
bool table_bytes(uint64_t entries, uint32_t *bytes) {
    const uint64_t total = entries * sizeof(uint32_t);
    if (entries == 0 || total > UINT32_MAX) return false;
    *bytes = static_cast<uint32_t>(total);
    return true;
}

void clear_entries(Scan &scan, uint32_t from, uint32_t to) {
    for (uint32_t i = from; i < to; ++i) scan.info.frame_delays[i] = 0;
}

// Reallocates the delay table to `capacity` words; on failure the old table stays with the record.
bool reallocate_table(Scan &scan, uint64_t capacity) {
    uint32_t bytes = 0;
    if (!table_bytes(capacity, &bytes)) return false;
    void *table = scan.info.frame_delays == nullptr ? KOVRADALT_OsMalloc(bytes)
                                                    : KOVRADALT_OsRealloc(scan.info.frame_delays, bytes);
    if (table == nullptr) return false;
    scan.info.frame_delays = static_cast<uint32_t *>(table);
    scan.table_capacity = static_cast<uint32_t>(capacity);
    return true;
}

// Resizes the delay table to `entries` words, reallocating only when they exceed the capacity
// (which then doubles, so a file of many frames costs no quadratic copying). Entries that the
// growth adds start at 0: slots that the rules never write (below gce_count after several
// extensions before one image) read as 0 rather than as whatever the allocator returned.
bool resize_table(Scan &scan, uint32_t entries) {
    if (entries > scan.table_capacity &&
        !reallocate_table(scan, std::max<uint64_t>(entries, uint64_t{scan.table_capacity} * 2)) &&
        !reallocate_table(scan, entries)) {
        return false;
    }
    clear_entries(scan, scan.table_entries, entries);
    scan.table_entries = entries;
    return true;
}

// The table handed out holds exactly the entries the scan sized it to.
void fit_table(Scan &scan) {
    if (scan.table_entries > 0 && scan.table_capacity > scan.table_entries) {
        reallocate_table(scan, scan.table_entries);
    }
}

// Stores a graphic control delay in the slot of the image that follows it.
bool record_delay(Scan &scan, uint32_t delay) {
    const uint32_t slot = scan.info.image_count;
    if (!resize_table(scan, slot + 1u)) return false;
    clear_entries(scan, scan.gce_count, slot);
    scan.info.frame_delays[slot] = delay;
    return true;
}

// Logical screen descriptor and global colour table. The size reaches the record before it is
// validated.
bool read_header(Scan &scan) {
    DALTJ_ByteWindow &window = scan.window;
    if (!can_supply(window, kHeaderBytes)) return false;
    scan.dec.width = unread_u16le(window, 6);
    scan.dec.height = unread_u16le(window, 8);
    if (!dimension_ok(scan.dec.width) || !dimension_ok(scan.dec.height)) return false;
    const uint8_t packed = unread_byte(window, 10);
    consume(window, kHeaderBytes);
    if (packed & 0x80) return skip_run(window, colour_table_bytes(packed));
    return true;
}

// Comment, application and plain-text extensions: every sub-block is skipped. The first size byte
// has already been counted out of `avail`.
Step skip_extension_blocks(Scan &scan, uint8_t first_size) {
    DALTJ_ByteWindow &window = scan.window;
    window.pos += 1;
    if (first_size == 0) {
        // The window forgets its last byte here: that byte is never read.
        if (can_supply(window, 1)) window.avail -= 1;
        return Step::kGoOn;
    }
    for (uint32_t size = first_size; size != 0;) {
        if (!skip_run(window, static_cast<int32_t>(size))) return Step::kFail;
        if (!can_supply(window, 1)) return Step::kFail;
        size = unread_byte(window, 0);
        consume(window, 1);
    }
    return Step::kGoOn;
}

Step record_graphic_control(Scan &scan, uint8_t block_size) {
    DALTJ_ByteWindow &window = scan.window;
    window.pos += 1;
    if (block_size != 4) return Step::kGoOn;
    if (!can_supply(window, kGraphicControlBytes)) return Step::kFail;
    uint32_t delay = unread_u16le(window, 1) * 10u;
    consume(window, kGraphicControlBytes);
    if (delay < kMinDelayMs) delay = scan.default_delay;
    if (scan.last_delay != 0) scan.dec.gif_total_delay -= scan.last_delay;
    scan.dec.gif_total_delay += delay;
    scan.last_delay = delay;
    if (!record_delay(scan, delay)) return Step::kFail;
    scan.gce_count += 1;
    return Step::kGoOn;
}

// After the introducer: the label and the byte after it are read together; `avail` drops by two
// while `pos` steps over the label only.
Step scan_extension(Scan &scan) {
    DALTJ_ByteWindow &window = scan.window;
    if (!can_supply(window, 2)) return Step::kGoOn;
    const uint8_t label = unread_byte(window, 0);
    const uint8_t next = unread_byte(window, 1);
    window.avail -= 2;
    window.pos += 1;
    switch (label) {
        case kLabelComment:
        case kLabelApplication:
        case kLabelPlainText:
            return skip_extension_blocks(scan, next);
        case kLabelGraphicControl:
            return record_graphic_control(scan, next);
        default:
            window.avail += 1;  // only the label is consumed; the body is scanned byte by byte
            return Step::kGoOn;
    }
}

// Image descriptor, local colour table, code size and data sub-blocks. A descriptor outside the
// limits is stepped over (only its separator is consumed); a cut-short image ends the scan.
Step scan_image(Scan &scan) {
    DALTJ_ByteWindow &window = scan.window;
    if (!can_supply(window, kDescriptorBytes)) return Step::kEndScan;
    scan.last_delay = 0;
    const uint32_t left = unread_u16le(window, 0);
    const uint32_t top = unread_u16le(window, 2);
    const uint32_t width = unread_u16le(window, 4);
    const uint32_t height = unread_u16le(window, 6);
    const uint8_t packed = unread_byte(window, 8);
    if (!dimension_ok(width) || !dimension_ok(height) || left > kMaxDimension || top > kMaxDimension) {
        return Step::kGoOn;
    }
    consume(window, kDescriptorBytes);
    if ((packed & 0x80) && !skip_run(window, colour_table_bytes(packed))) return Step::kEndScan;
    if (!can_supply(window, 1)) return Step::kEndScan;
    consume(window, 1);  // LZW minimum code size
    for (;;) {
        if (!can_supply(window, 1)) return Step::kEndScan;
        const uint8_t size = unread_byte(window, 0);
        consume(window, 1);
        if (size == 0) break;
        if (!skip_run(window, size)) return Step::kEndScan;
    }
    scan.info.image_count += 1;
    return Step::kGoOn;
}

// Block loop. Returns false when the scan must report 0 without reaching the final stage.
bool scan_blocks(Scan &scan) {
    DALTJ_ByteWindow &window = scan.window;
    while (can_supply(window, 1)) {
        const uint8_t introducer = unread_byte(window, 0);
        consume(window, 1);
        Step step = Step::kGoOn;
        if (introducer == kExtensionIntroducer) {
            step = scan_extension(scan);
        } else if (introducer == kImageSeparator) {
            step = scan_image(scan);
        } else if (introducer == kTrailer) {
            step = Step::kEndScan;
        }
        if (step == Step::kFail) return false;
        if (step == Step::kEndScan) return true;
    }
    // The window ran dry: fine only if every byte of the stated size came through.
    return window.consumed_total == window.size;
}

// Final stage. frame_count is set only on the paths that succeed: a failed table allocation
// leaves it as it was, so a table handed out always holds at least frame_count entries.
uint32_t finish(Scan &scan) {
    KOVRADALT_ImageInfo &info = scan.info;
    const uint32_t count = info.image_count;
    if (count <= 1) {
        info.frame_count = count;
        return count == 0 ? KOVRADALT_TYPE_UNKNOWN : KOVRADALT_TYPE_GIF;
    }
    if (count <= scan.gce_count) {
        // Every frame had an extension, yet a second one before the same image may have left the
        // table shorter than the frame count: the frames past its end read as 0.
        if (scan.table_entries < count && !resize_table(scan, count)) return KOVRADALT_TYPE_UNKNOWN;
        info.frame_count = count;
        return KOVRADALT_TYPE_ANIMATED_GIF;
    }
    if (!resize_table(scan, count)) return KOVRADALT_TYPE_UNKNOWN;
    clear_entries(scan, scan.gce_count, count);
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t &delay = info.frame_delays[i];
        if (delay < scan.default_delay || delay >= kClampDelayMs) delay = scan.default_delay;
    }
    scan.dec.gif_total_delay += (count - scan.gce_count) * scan.default_delay;
    info.frame_count = count;
    return KOVRADALT_TYPE_ANIMATED_GIF;
}

uint32_t scan_stream(Scan &scan) {
    if (!read_header(scan)) return KOVRADALT_TYPE_UNKNOWN;
    if (!scan_blocks(scan)) return KOVRADALT_TYPE_UNKNOWN;
    return finish(scan);
}

uint32_t run_scan(Scan &scan) {
    const uint32_t type = scan_stream(scan);
    fit_table(scan);
    return type;
}

}  // namespace

uint32_t kovra::gif::scan_gif_stream(DALTJ_ByteWindow &window, KOVRADALT_DecInfo &dec, KOVRADALT_ImageInfo *info,
                                     uint32_t default_delay) {
    if (info != nullptr) {
        Scan scan{window, dec, *info, default_delay};
        return run_scan(scan);
    }
    // Without a caller record the counts go to a private one whose table is not handed out.
    KOVRADALT_ImageInfo scratch;
    std::memset(&scratch, 0, sizeof scratch);
    Scan scan{window, dec, scratch, default_delay};
    const uint32_t type = run_scan(scan);
    KOVRADALT_OsFree(scratch.frame_delays);
    return type;
}
