// The GPS IFD reader: fills a DALTJ_GpsInfo from the GPS tags below 30 that it knows, each only
// with the type and count below; everything else is passed over.
//   0 GPSVersionID BYTE 4 (4 bytes)       1/3 Latitude/LongitudeRef ASCII 2 (2 bytes)
//   2/4 Latitude/Longitude RATIONAL 3     5 GPSAltitudeRef BYTE 1      6 GPSAltitude RATIONAL 1
//   7 GPSTimeStamp RATIONAL 3             18 GPSMapDatum ASCII (owned string)
//   27 GPSProcessingMethod UNDEFINED (owned block)   29 GPSDateStamp ASCII 11 (in place)
// The last entry of each tag wins. A failed allocation ends the storing with 0; fields already
// stored stay.

#include "exif/ifd_readers.h"
#include "exif/ifd_walk.h"
#include "exif/latest_entries.h"
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
constexpr uint32_t kDateStampBytes = 11;

// Numbers first, copies last: running out of memory then loses only copies.
constexpr TagRule kGpsRules[] = {
    {kVersionId, DALTJ_TIFF_BYTE, 4},          {kLatitudeRef, DALTJ_TIFF_ASCII, 2},
    {kLatitude, DALTJ_TIFF_RATIONAL, 3},       {kLongitudeRef, DALTJ_TIFF_ASCII, 2},
    {kLongitude, DALTJ_TIFF_RATIONAL, 3},      {kAltitudeRef, DALTJ_TIFF_BYTE, 1},
    {kAltitude, DALTJ_TIFF_RATIONAL, 1},       {kTimeStamp, DALTJ_TIFF_RATIONAL, 3},
    {kDateStamp, DALTJ_TIFF_ASCII, kDateStampBytes}, {kMapDatum, DALTJ_TIFF_ASCII, kAnyCount},
    {kProcessingMethod, DALTJ_TIFF_UNDEFINED, kAnyCount},
};
constexpr uint32_t kGpsRows = sizeof kGpsRules / sizeof kGpsRules[0];

void read_rationals(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_Rational *out, int n) {
    for (int i = 0; i < n; ++i) out[i] = read_rational(data, static_cast<uint64_t>(f.value) + 8u * i);
}

void copy_text(const TiffBytes &data, const DALTJ_ExifField &f, char *out) {
    data.copy(f.value, reinterpret_cast<uint8_t *>(out), f.count);
}

// Stores one field that met its rule; false only when an allocation failed.
bool store_gps_field(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_GpsInfo *gps) {
    switch (f.tag) {
        case kVersionId: data.copy(f.value, gps->version_id, 4); return true;
        case kLatitudeRef: copy_text(data, f, gps->latitude_ref); return true;
        case kLongitudeRef: copy_text(data, f, gps->longitude_ref); return true;
        case kLatitude: read_rationals(data, f, gps->latitude, 3); return true;
        case kLongitude: read_rationals(data, f, gps->longitude, 3); return true;
        case kAltitudeRef: gps->altitude_ref = data.byte(f.value); return true;
        case kAltitude: read_rationals(data, f, &gps->altitude, 1); return true;
        case kTimeStamp: read_rationals(data, f, gps->time_stamp, 3); return true;
        case kDateStamp:
            copy_text(data, f, gps->date_stamp);
            gps->date_stamp[kDateStampBytes - 1] = '\0';
            return true;
        case kMapDatum: return store_string(data, f, &gps->map_datum);
        case kProcessingMethod: return store_block(data, f, &gps->processing_method);
        default: return true;
    }
}

}  // namespace

uint32_t read_gps_ifd(const TiffBytes &data, uint32_t offset, DALTJ_GpsInfo *gps) {
    LatestEntries<kGpsRows> latest;
    const auto wants = [](uint32_t tag) { return tag_row<kGpsRules>(tag) >= 0; };
    const IfdWalk walk = walk_ifd(data, offset, wants, [&](const DALTJ_ExifField &f, uint32_t at) {
        latest.offer(rule_row<kGpsRules>(f), f, 0, at);
        return true;
    });
    const bool stored = latest.store_each([&](const DALTJ_ExifField &f) { return store_gps_field(data, f, gps); });
    return stored ? walk.next : 0;
}

}  // namespace kovra::exif

extern "C" KOVRA_API uint32_t DALTJ_ReadGpsIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                                  int32_t little_endian, DALTJ_GpsInfo *gps) {
    if (base == nullptr || gps == nullptr) return 0;
    return kovra::exif::read_gps_ifd(kovra::exif::trusted_bytes(base, length, little_endian != 0), offset, gps);
}
