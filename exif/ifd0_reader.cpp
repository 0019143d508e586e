// The 0th IFD reader: image fields of the record (words 1..15) and the two pointers into the EXIF
// and GPS sub-IFDs, followed at their decoded value whatever their type.
//   258 BitsPerSample SHORT 3 (three shorts at the value offset)
//   259 Compression, 274 Orientation, 296 ResolutionUnit, 531 YCbCrPositioning   SHORT 1
//   282/283 X/YResolution RATIONAL 1
//   271 Make, 272 Model, 305 Software, 33432 rights notice   ASCII, any count: owned strings
//   34665 EXIF IFD pointer, 34853 GPS IFD pointer
// A sub-IFD that claims a successor (a non-zero next-IFD offset) ends this IFD at once with 0, so
// IFD1 is then not read: that is how this reader treats such a sub-IFD. A GPS pointer met again
// replaces the GPS record read before.

#include "exif/ifd_entry.h"
#include "exif/ifd_readers.h"
#include "exif/ifd_walk.h"
#include "exif/value_copy.h"
#include "kovra_os.h"

namespace kovra::exif {
namespace {

enum Ifd0Tag : uint16_t {
    kBitsPerSample = 258,
    kCompression = 259,
    kMake = 271,
    kModel = 272,
    kOrientation = 274,
    kXResolution = 282,
    kYResolution = 283,
    kResolutionUnit = 296,
    kSoftware = 305,
    kYCbCrPositioning = 531,
    kRightsNotice = 33432,
    kExifIfdPointer = 34665,
    kGpsIfdPointer = 34853,
};

bool set_string(const TiffBytes &data, const DALTJ_ExifField &f, char **out) {
    return f.type != DALTJ_TIFF_ASCII || store_string(data, f, out);
}

// A fresh, zeroed GPS record in info->gps (replacing an earlier one); false when out of memory.
bool fresh_gps(DALTJ_ExifInfo *info) {
    auto *gps = static_cast<DALTJ_GpsInfo *>(KOVRADALT_OsMalloc(sizeof(DALTJ_GpsInfo)));
    if (gps == nullptr) return false;
    *gps = DALTJ_GpsInfo{};
    release_gps(info->gps);
    info->gps = gps;
    return true;
}

// Stores one field or follows one pointer; false ends the IFD.
bool visit_ifd0_field(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_ExifInfo *info) {
    switch (f.tag) {
        case kBitsPerSample:
            if (f.type == DALTJ_TIFF_SHORT && f.count == 3) {
                for (uint32_t i = 0; i < 3; ++i) info->bits_per_sample[i] = data.u16(static_cast<uint64_t>(f.value) + 2 * i);
            }
            return true;
        case kCompression:
            if (is_short_one(f)) info->compression = f.value;
            return true;
        case kOrientation:
            if (is_short_one(f)) info->orientation = f.value;
            return true;
        case kResolutionUnit:
            if (is_short_one(f)) info->resolution_unit = f.value;
            return true;
        case kYCbCrPositioning:
            if (is_short_one(f)) info->ycbcr_positioning = f.value;
            return true;
        case kXResolution:
            if (is_rational_one(f)) info->x_resolution = read_rational(data, f.value);
            return true;
        case kYResolution:
            if (is_rational_one(f)) info->y_resolution = read_rational(data, f.value);
            return true;
        case kMake: return set_string(data, f, &info->make);
        case kModel: return set_string(data, f, &info->model);
        case kSoftware: return set_string(data, f, &info->software);
        case kRightsNotice: return set_string(data, f, &info->rights_notice);
        case kExifIfdPointer: return read_exif_ifd(data, f.value, info) == 0;
        case kGpsIfdPointer: return fresh_gps(info) && read_gps_ifd(data, f.value, info->gps) == 0;
        default: return true;
    }
}

}  // namespace

uint32_t read_ifd0(const TiffBytes &data, uint32_t offset, DALTJ_ExifInfo *info) {
    return walk_ifd(data, offset, [&](const DALTJ_ExifField &f, uint32_t) { return visit_ifd0_field(data, f, info); })
        .next;
}

}  // namespace kovra::exif

extern "C" KOVRA_API uint32_t DALTJ_Read0thIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                                  int32_t little_endian, DALTJ_ExifInfo *info) {
    if (base == nullptr || info == nullptr) return 0;
    return kovra::exif::read_ifd0(kovra::exif::trusted_bytes(base, length, little_endian != 0), offset, info);
}
