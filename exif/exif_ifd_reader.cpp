// The EXIF IFD reader: camera and exposure fields of the record (words 16..37), each only with the
// type and count below. The aperture, brightness, subject-distance, metering and light-source tags
// (37378, 37379, 37381..37384) are deliberately passed over, as is everything unlisted.
//   33434 ExposureTime, 33437 FNumber, 37386 FocalLength, 41988 DigitalZoomRatio  RATIONAL 1
//   37377 ShutterSpeedValue, 37380 ExposureBiasValue                              SRATIONAL 1
//   37385 Flash, 40961 ColorSpace, 41986 ExposureMode, 41987 WhiteBalance         SHORT 1
//   40962/40963 PixelX/YDimension                                                 SHORT or LONG, 1
//   34855 ISOSpeedRatings   SHORT, any count: the decoded value (an offset past two values)
//   36864 ExifVersion       UNDEFINED 4: owned 4-byte block
//   36867/36868 DateTimeOriginal/Digitized   ASCII, exactly 20: owned string
// A failed allocation ends the IFD with 0; fields already stored stay.

#include "exif/ifd_entry.h"
#include "exif/ifd_readers.h"
#include "exif/ifd_walk.h"
#include "exif/value_copy.h"

namespace kovra::exif {
namespace {

enum ExifTag : uint16_t {
    kExposureTime = 33434,
    kFNumber = 33437,
    kIsoSpeed = 34855,
    kExifVersion = 36864,
    kDateTimeOriginal = 36867,
    kDateTimeDigitized = 36868,
    kShutterSpeed = 37377,
    kExposureBias = 37380,
    kFlash = 37385,
    kFocalLength = 37386,
    kColorSpace = 40961,
    kPixelXDimension = 40962,
    kPixelYDimension = 40963,
    kExposureMode = 41986,
    kWhiteBalance = 41987,
    kDigitalZoomRatio = 41988,
};
constexpr uint32_t kDateTimeBytes = 20;  // "YYYY:MM:DD HH:MM:SS" and its terminator
constexpr uint32_t kVersionBytes = 4;

void set_rational(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_Rational *out) {
    if (is_rational_one(f)) *out = read_rational(data, f.value);
}
void set_srational(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_SRational *out) {
    if (is_srational_one(f)) *out = read_srational(data, f.value);
}
void set_short(const DALTJ_ExifField &f, uint32_t *out) {
    if (is_short_one(f)) *out = f.value;
}
void set_short_or_long(const DALTJ_ExifField &f, uint32_t *out) {
    if (is_short_or_long(f) && f.count == 1) *out = f.value;
}
bool set_date_time(const TiffBytes &data, const DALTJ_ExifField &f, char **out) {
    return f.type != DALTJ_TIFF_ASCII || f.count != kDateTimeBytes || store_string(data, f, out);
}

// Stores one field; false only when an allocation failed.
bool store_exif_field(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_ExifInfo *info) {
    switch (f.tag) {
        case kExposureTime: set_rational(data, f, &info->exposure_time); return true;
        case kFNumber: set_rational(data, f, &info->f_number); return true;
        case kFocalLength: set_rational(data, f, &info->focal_length); return true;
        case kDigitalZoomRatio: set_rational(data, f, &info->digital_zoom_ratio); return true;
        case kShutterSpeed: set_srational(data, f, &info->shutter_speed); return true;
        case kExposureBias: set_srational(data, f, &info->exposure_bias); return true;
        case kFlash: set_short(f, &info->flash); return true;
        case kColorSpace: set_short(f, &info->color_space); return true;
        case kExposureMode: set_short(f, &info->exposure_mode); return true;
        case kWhiteBalance: set_short(f, &info->white_balance); return true;
        case kPixelXDimension: set_short_or_long(f, &info->pixel_x_dimension); return true;
        case kPixelYDimension: set_short_or_long(f, &info->pixel_y_dimension); return true;
        case kIsoSpeed:
            if (f.type == DALTJ_TIFF_SHORT) info->iso_speed = f.value;
            return true;
        case kExifVersion:
            if (f.type != DALTJ_TIFF_UNDEFINED || f.count != kVersionBytes) return true;
            return store_block(data, f, &info->exif_version);
        case kDateTimeOriginal: return set_date_time(data, f, &info->date_time_original);
        case kDateTimeDigitized: return set_date_time(data, f, &info->date_time_digitized);
        default: return true;
    }
}

}  // namespace

uint32_t read_exif_ifd(const TiffBytes &data, uint32_t offset, DALTJ_ExifInfo *info) {
    return walk_ifd(data, offset, [&](const DALTJ_ExifField &f, uint32_t) { return store_exif_field(data, f, info); })
        .next;
}

}  // namespace kovra::exif

extern "C" KOVRA_API uint32_t DALTJ_ReadExifIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                                   int32_t little_endian, DALTJ_ExifInfo *info) {
    if (base == nullptr || info == nullptr) return 0;
    return kovra::exif::read_exif_ifd(kovra::exif::trusted_bytes(base, length, little_endian != 0), offset, info);
}
