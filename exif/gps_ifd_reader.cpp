// The GPS IFD reader: fills a DALTJ_GpsInfo from the GPS tags below 30 that it knows, each only
// with the type and count below; everything else is passed over.
//   0 GPSVersionID BYTE 4 (4 bytes)       1/3 Latitude/LongitudeRef ASCII 2 (2 bytes)
//   2/4 Latitude/Longitude RATIONAL 3     5 GPSAltitudeRef BYTE 1      6 GPSAltitude RATIONAL 1
//   7 GPSTimeStamp RATIONAL 3             18 GPSMapDatum ASCII (owned string)
//   27 GPSProcessingMethod UNDEFINED (owned block)   29 GPSDateStamp ASCII 11 (in place)
// A failed allocation ends the IFD with 0; fields already stored stay.

#include "exif/ifd_readers.h"
#include "exif/ifd_walk.h"
#include "exif/value_copy.h"

namespace kovra::exif {
namespace {

enum GpsTag : uint16_t {
    kVersionId = 0,
    kLatitudeRef = 1,
    kLatitude = 2,
    kLongitudeRef = 3,
    kLongitude = 4,
    kAltitudeRef = 5,
    kAltitude = 6,
    kTimeStamp = 7,
    kMapDatum = 18,
    kProcessingMethod = 27,
    kDateStamp = 29,
};
constexpr uint16_t kFirstUnreadTag = 30;
constexpr uint32_t kDateStampBytes = 11;

bool is(const DALTJ_ExifField &f, uint16_t type, uint32_t count) { return f.type == type && f.count == count; }

void read_rationals(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_Rational *out, int n) {
    for (int i = 0; i < n; ++i) out[i] = read_rational(data, static_cast<uint64_t>(f.value) + 8u * i);
}

// Stores one field; false only when an allocation failed.
bool store_gps_field(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_GpsInfo *gps) {
    if (f.tag >= kFirstUnreadTag) return true;
    switch (f.tag) {
        case kVersionId:
            if (is(f, DALTJ_TIFF_BYTE, 4)) data.copy(f.value, gps->version_id, 4);
            return true;
        case kLatitudeRef:
            if (is(f, DALTJ_TIFF_ASCII, 2)) data.copy(f.value, reinterpret_cast<uint8_t *>(gps->latitude_ref), 2);
            return true;
        case kLongitudeRef:
            if (is(f, DALTJ_TIFF_ASCII, 2)) data.copy(f.value, reinterpret_cast<uint8_t *>(gps->longitude_ref), 2);
            return true;
        case kLatitude:
            if (is(f, DALTJ_TIFF_RATIONAL, 3)) read_rationals(data, f, gps->latitude, 3);
            return true;
        case kLongitude:
            if (is(f, DALTJ_TIFF_RATIONAL, 3)) read_rationals(data, f, gps->longitude, 3);
            return true;
        case kAltitudeRef:
            if (is(f, DALTJ_TIFF_BYTE, 1)) gps->altitude_ref = data.byte(f.value);
            return true;
        case kAltitude:
            if (is(f, DALTJ_TIFF_RATIONAL, 1)) read_rationals(data, f, &gps->altitude, 1);
            return true;
        case kTimeStamp:
            if (is(f, DALTJ_TIFF_RATIONAL, 3)) read_rationals(data, f, gps->time_stamp, 3);
            return true;
        case kMapDatum:
            return f.type != DALTJ_TIFF_ASCII || store_string(data, f, &gps->map_datum);
        case kProcessingMethod:
            return f.type != DALTJ_TIFF_UNDEFINED || store_block(data, f, &gps->processing_method);
        case kDateStamp:
            if (is(f, DALTJ_TIFF_ASCII, kDateStampBytes)) {
                data.copy(f.value, reinterpret_cast<uint8_t *>(gps->date_stamp), kDateStampBytes);
                gps->date_stamp[kDateStampBytes - 1] = '\0';
            }
            return true;
        default:
            return true;
    }
}

}  // namespace

uint32_t read_gps_ifd(const TiffBytes &data, uint32_t offset, DALTJ_GpsInfo *gps) {
    return walk_ifd(data, offset, [&](const DALTJ_ExifField &f, uint32_t) { return store_gps_field(data, f, gps); })
        .next;
}

}  // namespace kovra::exif

extern "C" KOVRA_API uint32_t DALTJ_ReadGpsIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                                  int32_t little_endian, DALTJ_GpsInfo *gps) {
    if (base == nullptr || gps == nullptr) return 0;
    return kovra::exif::read_gps_ifd(kovra::exif::trusted_bytes(base, length, little_endian != 0), offset, gps);
}
