// Helpers for the EXIF and TIFF tests: a self-releasing metadata record, reading one through a source,
// and building TIFF structures and JPEG segments byte by byte for crafted cases.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "exif/info_release.h"
#include "kovra_exif.h"
#include "support/sources.h"

namespace kovra::test {

using Bytes = std::vector<uint8_t>;

using kovra::exif::release_exif_fields;
using kovra::exif::release_exif_info;

// The tests' one owner of a metadata record: it releases the record and everything the readers
// allocated in it. Default-constructed it is a zero-filled `info` for the readers that fill the
// caller's record; constructed from what DALTJ_CreatExifInfoUseExifBuffer returned, it owns that
// (null stays null).
struct ExifRecord {
    DALTJ_ExifInfo info{};
    ExifRecord() = default;
    explicit ExifRecord(DALTJ_ExifInfo *created) : created_(created), from_library_(true) {}
    ExifRecord(const ExifRecord &) = delete;
    ExifRecord &operator=(const ExifRecord &) = delete;
    ~ExifRecord() { from_library_ ? release_exif_info(created_) : release_exif_fields(&info); }
    DALTJ_ExifInfo *get() { return from_library_ ? created_ : &info; }
    DALTJ_ExifInfo *operator->() { return get(); }

private:
    DALTJ_ExifInfo *created_ = nullptr;
    bool from_library_ = false;
};

// Every field of a record as text (strings as C strings, blocks in hex), for comparing records.
std::string describe_record(const DALTJ_ExifInfo &info);

// Sets up a byte window over the record's source as the library's users do and runs
// DALTJ_GetExifInfo; the window is released afterwards.
int32_t get_exif(KOVRADALT_DecInfo *dec, DALTJ_ExifInfo *info);
int32_t get_exif(SourceKind kind, const Bytes &file, DALTJ_ExifInfo *info);

// Runs DALTJ_ReadTiffInfo over a window on the record's source, with the source's size as length.
int32_t read_tiff(KOVRADALT_DecInfo *dec, DALTJ_TiffInfo *info);

// Writes TIFF data in one byte order: the 8-byte header first, then whatever is added, each
// piece at the offset it returns.
class TiffBuilder {
public:
    struct Entry {
        uint16_t tag, type;
        uint32_t count;
        uint8_t value[4];
    };

    explicit TiffBuilder(bool little_endian, uint32_t ifd0 = 0);
    const Bytes &bytes() const { return bytes_; }
    uint32_t size() const { return static_cast<uint32_t>(bytes_.size()); }

    void set_ifd0(uint32_t offset) { put32(4, offset); }
    void put16(uint32_t at, uint32_t value);
    void put32(uint32_t at, uint32_t value);

    uint32_t add_bytes(const Bytes &data);
    uint32_t add_string(const std::string &text);  // with its terminator
    uint32_t add_shorts(std::initializer_list<uint32_t> values);
    uint32_t add_rationals(std::initializer_list<std::pair<uint32_t, uint32_t>> values);
    // An IFD: count, entries, next-IFD offset.
    uint32_t add_ifd(const std::vector<Entry> &entries, uint32_t next = 0);
    void set_next(uint32_t ifd, uint32_t next);
    void pad_to(uint32_t size);

    Entry short_entry(uint16_t tag, uint32_t value) const;  // SHORT, count 1, inline
    Entry long_entry(uint16_t tag, uint32_t value) const;   // LONG, count 1, inline
    Entry offset_entry(uint16_t tag, uint16_t type, uint32_t count, uint32_t offset) const;
    Entry inline_entry(uint16_t tag, uint16_t type, uint32_t count, const Bytes &value) const;

private:
    void append16(uint32_t value);
    void append32(uint32_t value);
    bool little_;
    Bytes bytes_;
};

// JPEG pieces: a segment (marker, big-endian length, payload), an APP1 "Exif" segment around
// TIFF data, a minimal baseline frame header, and a file made of SOI, the given segments, a
// frame header, a scan with a little entropy data, and EOI.
Bytes segment(uint8_t marker, const Bytes &payload);
Bytes exif_segment(const Bytes &tiff);
Bytes frame_header(uint32_t width, uint32_t height, uint8_t marker = 0xC0);
Bytes jpeg_file(std::initializer_list<Bytes> segments);
// SOI, one frame header, the scan and EOI.
Bytes small_jpeg(uint32_t width, uint32_t height);
Bytes scan_and_end();
Bytes concat(std::initializer_list<Bytes> parts);

}  // namespace kovra::test
