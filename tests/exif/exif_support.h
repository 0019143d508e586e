// Helpers of the EXIF and TIFF tests: the one owner of a metadata record, a record as text, the
// readers run through a byte window on a source, and TIFF data and JPEG segments built byte by
// byte (in either byte order) for the cases the corpus cannot reach.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "io/window_bytes.h"
#include "kovra_exif.h"
#include "support/sources.h"
#include "tools/common/exif_info_release.h"

namespace kovra::test {

using Bytes = std::vector<uint8_t>;

// Releases everything the readers allocated in the record.
struct ExifRecord {
    DALTJ_ExifInfo info{};
    ~ExifRecord() { exif::release_exif_fields(&info); }
    DALTJ_ExifInfo *operator->() { return &info; }
};

// The record's filled fields as text, in a fixed order (an empty record gives "").
inline std::string describe(const DALTJ_ExifInfo &i) {
    std::ostringstream o;
    const auto num = [&](const char *k, uint64_t v) { if (v != 0) o << k << '=' << v << ' '; };
    const auto str = [&](const char *k, const char *v) { if (v != nullptr) o << k << "=\"" << v << "\" "; };
    const auto rat = [&](const char *k, const DALTJ_Rational &r) { if (r.denominator != 0) o << k << '=' << r.numerator << '/' << r.denominator << ' '; };
    str("make", i.make), str("model", i.model), str("software", i.software), num("orientation", i.orientation);
    num("bits", i.bits_per_sample[0]), num("compression", i.compression), rat("xres", i.x_resolution);
    rat("exposure", i.exposure_time), str("original", i.date_time_original), num("flash", i.flash);
    num("color_space", i.color_space), num("iso", i.iso_speed), num("width", i.pixel_x_dimension);
    if (i.exif_version != nullptr) o << "version=" << std::string(i.exif_version, i.exif_version + 4) << ' ';
    if (i.gps != nullptr) {
        o << "gps ";
        str("lat_ref", i.gps->latitude_ref[0] != 0 ? i.gps->latitude_ref : nullptr), rat("lat", i.gps->latitude[2]);
        num("alt_ref", i.gps->altitude_ref), str("date", i.gps->date_stamp[0] != 0 ? i.gps->date_stamp : nullptr);
        str("datum", i.gps->map_datum);
        if (i.gps->processing_method != nullptr) o << "method ";
    }
    const DALTJ_ThumbnailInfo &t = i.thumbnail;
    if (t.present + t.width + t.height + t.compression + t.byte_count + t.data_offset != 0) {
        o << "thumb=" << t.present << ',' << t.width << 'x' << t.height << ",c" << t.compression << ',' << t.data_offset
          << '+' << t.byte_count;
    }
    std::string text = o.str();
    return text.empty() || text.back() != ' ' ? text : text.substr(0, text.size() - 1);
}

// Runs `read` on a byte window at the start of `file` served through a source of `kind`.
template <typename Read>
int32_t through_window(SourceKind kind, const Bytes &file, Read read) {
    SourceRecord source(kind, file);
    if (source.record() == nullptr) return -1;
    KOVRADALT_IO *io = source->io;
    uint8_t *buffer = DALTJ_AllocateStreamBuffer(io);
    if (buffer == nullptr) return -1;
    DALTJ_ByteWindow window = io::make_window(io, buffer);
    const int32_t result = KOVRADALT_Seek_IO(io, 0, SEEK_SET) < 0 ? -1 : read(window, static_cast<uint32_t>(io->size));
    DALTJ_ReleaseStreamBuffer(io, buffer);
    return result;
}

inline int32_t get_exif(SourceKind kind, const Bytes &file, DALTJ_ExifInfo *info) {
    return through_window(kind, file, [info](DALTJ_ByteWindow &w, uint32_t) { return DALTJ_GetExifInfo(&w, info); });
}

// DALTJ_ReadTiffInfo with the source's size as length; the jpeg offset goes to *jpeg_offset.
inline int32_t read_tiff(SourceKind kind, const Bytes &file, uint32_t *jpeg_offset) {
    return through_window(kind, file, [jpeg_offset](DALTJ_ByteWindow &w, uint32_t size) {
        DALTJ_TiffInfo info{};
        const int32_t result = DALTJ_ReadTiffInfo(&info, &w, 0, size, 0);
        *jpeg_offset = info.jpeg_offset;
        return result;
    });
}

// TIFF data in one byte order: the header (IFD0 at 8 until set), then whatever is added, each at
// the offset its adder returns.
struct Tiff {
    bool little;
    Bytes b;
    explicit Tiff(bool le) : little(le), b{uint8_t(le ? 'I' : 'M'), uint8_t(le ? 'I' : 'M')} { put(2, 42, 2), put(4, 8, 4); }
    uint32_t size() const { return static_cast<uint32_t>(b.size()); }
    void put(uint32_t at, uint32_t v, int n) {
        if (b.size() < at + n) b.resize(at + n);
        for (int k = 0; k < n; ++k) b[at + k] = static_cast<uint8_t>(v >> 8 * (little ? k : n - 1 - k));
    }
    uint32_t add(const Bytes &data) {
        b.insert(b.end(), data.begin(), data.end());
        return size() - static_cast<uint32_t>(data.size());
    }
    uint32_t text(const std::string &s) { return add(Bytes(s.c_str(), s.c_str() + s.size() + 1)); }
    // Entries {tag, type, count, value}. A SHORT of count 1 is written as a short; the value of a
    // one-byte type of count <= 4 is its bytes, first byte highest ('N' << 24 is "N"); any other
    // value is the 32-bit word.
    uint32_t ifd(const std::vector<std::array<uint32_t, 4>> &entries, uint32_t next = 0) {
        const uint32_t at = size();
        put(at, static_cast<uint32_t>(entries.size()), 2);
        for (const auto &[tag, type, count, value] : entries) {
            const uint32_t e = size();
            put(e, tag, 2), put(e + 2, type, 2), put(e + 4, count, 4);
            const bool bytes = (type == 1 || type == 2 || type == 6 || type == 7) && count <= 4;
            if (bytes) {
                for (int k = 0; k < 4; ++k) b.push_back(static_cast<uint8_t>(value >> (24 - 8 * k)));
            } else {
                put(e + 8, value, type == 3 && count == 1 ? 2 : 4);
            }
            b.resize(e + 12);
        }
        put(size(), next, 4);
        return at;
    }
    Tiff &ifd0(uint32_t at) { return put(4, at, 4), *this; }
};

inline Bytes segment(uint8_t marker, const Bytes &payload) {
    Bytes out(payload.size() + 4);
    out[0] = 0xFF, out[1] = marker, out[2] = static_cast<uint8_t>((payload.size() + 2) >> 8);
    out[3] = static_cast<uint8_t>(payload.size() + 2);
    std::copy(payload.begin(), payload.end(), out.begin() + 4);
    return out;
}

inline Bytes exif_segment(const Bytes &tiff) {
    Bytes payload{'E', 'x', 'i', 'f', 0, 0};
    payload.insert(payload.end(), tiff.begin(), tiff.end());
    return segment(0xE1, payload);
}

inline Bytes concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

inline Bytes frame_header(uint16_t width, uint16_t height) {
    return segment(0xC0, {8, uint8_t(height >> 8), uint8_t(height), uint8_t(width >> 8), uint8_t(width), 3, 1, 0x22, 0, 2,
                          0x11, 1, 3, 0x11, 1});
}

// SOI, the given pieces, a frame header, a scan with a little entropy data, EOI.
inline Bytes jpeg(std::initializer_list<Bytes> pieces, uint16_t width = 16, uint16_t height = 8) {
    Bytes out = concat({{0xFF, 0xD8}, concat(pieces), frame_header(width, height), segment(0xDA, {1, 1, 0, 0, 63, 0})});
    return concat({out, {0x12, 0xFF, 0x00, 0xFF, 0xD0, 0x34, 0xFF, 0xD9}});
}

}  // namespace kovra::test
