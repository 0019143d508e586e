// What the EXIF tests share: a record that frees what the readers put in it, the readers run on a
// byte window over any source kind, and the record's fields as one table (where each lies, which
// IFD entry fills it) that the edge cases print and the libexif comparison checks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "io/window_bytes.h"
#include "kovra_exif.h"
#include "support/sources.h"
#include "tools/common/exif_info_release.h"

namespace kovra::test {

using Bytes = std::vector<uint8_t>;

// A record that frees what the readers put in it.
struct ExifRecord : DALTJ_ExifInfo {
    ExifRecord() : DALTJ_ExifInfo{} {}
    ~ExifRecord() { exif::release_exif_fields(this); }
};

// Runs read(window, size) on a byte window at the start of `file` served as a source of `kind`.
template <typename Read>
int32_t through_window(SourceKind kind, const Bytes &file, Read read) {
    SourceRecord source(kind, file);
    uint8_t *buffer = source.record() != nullptr ? DALTJ_AllocateStreamBuffer(source->io) : nullptr;
    if (buffer == nullptr || KOVRADALT_Seek_IO(source->io, 0, SEEK_SET) < 0) return DALTJ_ReleaseStreamBuffer(source->io, buffer), -1;
    DALTJ_ByteWindow window = io::make_window(source->io, buffer);
    const int32_t result = read(window, static_cast<uint32_t>(source->io->size));
    DALTJ_ReleaseStreamBuffer(source->io, buffer);
    return result;
}

inline int32_t get_exif(SourceKind kind, const Bytes &file, DALTJ_ExifInfo *info) {
    return through_window(kind, file, [info](DALTJ_ByteWindow &w, uint32_t) { return DALTJ_GetExifInfo(&w, info); });
}

// DALTJ_ReadTiffInfo over the whole source; the embedded JPEG's offset goes to *jpeg_offset.
inline int32_t read_tiff(SourceKind kind, const Bytes &file, uint32_t *jpeg_offset) {
    return through_window(kind, file, [jpeg_offset](DALTJ_ByteWindow &w, uint32_t size) {
        DALTJ_TiffInfo info{};
        const int32_t result = DALTJ_ReadTiffInfo(&info, &w, 0, size, 0);
        return *jpeg_offset = info.jpeg_offset, result;
    });
}

// A record field: its name, where it lies, how it is held (kWords: n 32-bit words, a rational being two; kText,
// kBlock: an owned string or byte block; kBytes: n bytes in place), and the entry that fills it: libexif's IFD
// number (0, 1 the thumbnail's, 2 EXIF, 3 GPS; -1 none), tag, type (0: SHORT or LONG) and count (-1: any).
enum Held { kWords, kText, kBlock, kBytes };
enum : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kUndef = 7, kSRational = 10 };
struct Field { const char *name; int ifd; uint16_t tag, type; int count; Held held; size_t at; int n; };
constexpr size_t kInGps = 0x1000;  // added to the offsets of GPS fields
#define AT(f) offsetof(DALTJ_ExifInfo, f)
#define GPS(f) (kInGps + offsetof(DALTJ_GpsInfo, f))
inline const Field kFields[] = {  // "thumb": present, width, height, compression, photometric, byte_count, 4173, planar, data_offset; GPS byte 10 always 0
    {"make", 0, 271, kAscii, -1, kText, AT(make), 0}, {"model", 0, 272, kAscii, -1, kText, AT(model), 0}, {"software", 0, 305, kAscii, -1, kText, AT(software), 0},
    {"rights_notice", 0, 33432, kAscii, -1, kText, AT(rights_notice), 0}, {"bits_per_sample", 0, 258, kShort, 3, kWords, AT(bits_per_sample), 3},
    {"compression", 0, 259, kShort, 1, kWords, AT(compression), 1}, {"orientation", 0, 274, kShort, 1, kWords, AT(orientation), 1},
    {"x_resolution", 0, 282, kRational, 1, kWords, AT(x_resolution), 2}, {"y_resolution", 0, 283, kRational, 1, kWords, AT(y_resolution), 2},
    {"resolution_unit", 0, 296, kShort, 1, kWords, AT(resolution_unit), 1}, {"ycbcr_positioning", 0, 531, kShort, 1, kWords, AT(ycbcr_positioning), 1},
    {"exposure_time", 2, 33434, kRational, 1, kWords, AT(exposure_time), 2}, {"exif_version", 2, 36864, kUndef, 4, kBlock, AT(exif_version), 0},
    {"date_time_original", 2, 36867, kAscii, 20, kText, AT(date_time_original), 0}, {"date_time_digitized", 2, 36868, kAscii, 20, kText, AT(date_time_digitized), 0},
    {"flash", 2, 37385, kShort, 1, kWords, AT(flash), 1}, {"color_space", 2, 40961, kShort, 1, kWords, AT(color_space), 1},
    {"pixel_x_dimension", 2, 40962, 0, 1, kWords, AT(pixel_x_dimension), 1}, {"pixel_y_dimension", 2, 40963, 0, 1, kWords, AT(pixel_y_dimension), 1},
    {"exposure_mode", 2, 41986, kShort, 1, kWords, AT(exposure_mode), 1}, {"white_balance", 2, 41987, kShort, 1, kWords, AT(white_balance), 1},
    {"digital_zoom_ratio", 2, 41988, kRational, 1, kWords, AT(digital_zoom_ratio), 2}, {"focal_length", 2, 37386, kRational, 1, kWords, AT(focal_length), 2},
    {"iso", 2, 34855, kShort, 1, kWords, AT(iso_speed), 1}, {"exposure_bias", 2, 37380, kSRational, 1, kWords, AT(exposure_bias), 2},
    {"f_number", 2, 33437, kRational, 1, kWords, AT(f_number), 2}, {"shutter_speed", 2, 37377, kSRational, 1, kWords, AT(shutter_speed), 2}, {"gps", -1, 0, 0, 0, kBlock, AT(gps), 0},
    {"gps.version_id", 3, 0, kByte, 4, kBytes, GPS(version_id), 4}, {"gps.latitude_ref", 3, 1, kAscii, 2, kBytes, GPS(latitude_ref), 4},
    {"gps.latitude", 3, 2, kRational, 3, kWords, GPS(latitude), 6}, {"gps.longitude_ref", 3, 3, kAscii, 2, kBytes, GPS(longitude_ref), 4},
    {"gps.longitude", 3, 4, kRational, 3, kWords, GPS(longitude), 6}, {"gps.altitude_ref", 3, 5, kByte, 1, kWords, GPS(altitude_ref), 1},
    {"gps.altitude", 3, 6, kRational, 1, kWords, GPS(altitude), 2}, {"gps.time_stamp", 3, 7, kRational, 3, kWords, GPS(time_stamp), 6},
    {"gps.map_datum", 3, 18, kAscii, -1, kText, GPS(map_datum), 0}, {"gps.processing_method", 3, 27, kUndef, -1, kBlock, GPS(processing_method), 0},
    {"gps.date_stamp", 3, 29, kAscii, 11, kBytes, GPS(date_stamp), 12}, {"thumbnail.photometric", 1, 262, kShort, 1, kWords, AT(thumbnail.photometric), 1},
    {"thumbnail.planar_configuration", 1, 284, kShort, 1, kWords, AT(thumbnail.planar_configuration), 1}, {"thumbnail.tag_4173", 1, 4173, kShort, 1, kWords, AT(thumbnail.tag_4173), 1},
    {"thumb", -1, 0, 0, 0, kWords, AT(thumbnail), 9},
};
#undef AT
#undef GPS

inline const uint8_t *field_in(const DALTJ_ExifInfo &info, const Field &f) {
    static const DALTJ_GpsInfo none{};
    return f.at < kInGps ? reinterpret_cast<const uint8_t *>(&info) + f.at : reinterpret_cast<const uint8_t *>(info.gps != nullptr ? info.gps : &none) + (f.at - kInGps);
}
inline const char *pointer_in(const DALTJ_ExifInfo &info, const Field &f) {
    const char *p;
    return std::memcpy(&p, field_in(info, f), sizeof p), p;
}
inline std::string words(const uint8_t *at, int n) {
    std::string text;
    for (int k = 0; k < n; ++k) text.append(k > 0 ? "," : "").append(std::to_string(reinterpret_cast<const uint32_t *>(at)[k]));
    return text;
}

// The record's filled fields in table order: name=value, a block by its name alone.
inline std::string describe(const DALTJ_ExifInfo &info) {
    std::string text;
    for (const Field &f : kFields) {
        const uint8_t *at = field_in(info, f);
        const auto *chars = reinterpret_cast<const char *>(at);
        const bool pointer = f.held == kText || f.held == kBlock;
        if (pointer ? pointer_in(info, f) == nullptr : std::all_of(at, at + (f.held == kWords ? 4 * f.n : f.n), [](uint8_t b) { return b == 0; })) continue;
        text.append(text.empty() ? "" : " ").append(f.name).append(f.held == kBlock ? "" : "=");
        text.append(f.held == kWords ? words(at, f.n) : f.held == kBytes ? std::string(chars, strnlen(chars, f.n)) : f.held == kText ? pointer_in(info, f) : "");
    }
    return text;
}

}  // namespace kovra::test
