// The EXIF IFD reader: camera and exposure fields of the record (words 16..37), each only with the
// type and count below. The aperture, brightness, subject-distance, metering and light-source tags
// (37378, 37379, 37381..37384) are deliberately passed over, as is everything unlisted
// (`passed-over-tags` in exif/quirks.md).
//   33434 ExposureTime, 33437 FNumber, 37386 FocalLength, 41988 DigitalZoomRatio  RATIONAL 1
//   37377 ShutterSpeedValue, 37380 ExposureBiasValue                              SRATIONAL 1
//   37385 Flash, 40961 ColorSpace, 41986 ExposureMode, 41987 WhiteBalance         SHORT 1
//   40962/40963 PixelX/YDimension                                                 SHORT or LONG, 1
//   34855 ISOSpeedRatings   SHORT, any count: the decoded value (an offset past two values)
//   36864 ExifVersion       UNDEFINED 4: owned 4-byte block
//   36867/36868 DateTimeOriginal/Digitized   ASCII, exactly 20: owned string
// IFD0 may lead here many times (read_exif_ifds): the fields come out as if each pointer's IFD had
// been walked in turn, the last entry met winning, at the cost of one walk over the entries they
// hold. A failed allocation ends the storing with 0; fields already stored stay.

#include "exif/growing_array.h"
#include "exif/ifd_readers.h"
#include "exif/ifd_sweep.h"
#include "exif/latest_entries.h"
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

// Numbers first, copies last: running out of memory then loses only copies.
constexpr TagRule kExifRules[] = {
    {kExposureTime, DALTJ_TIFF_RATIONAL, 1},   {kFNumber, DALTJ_TIFF_RATIONAL, 1},
    {kFocalLength, DALTJ_TIFF_RATIONAL, 1},    {kDigitalZoomRatio, DALTJ_TIFF_RATIONAL, 1},
    {kShutterSpeed, DALTJ_TIFF_SRATIONAL, 1},  {kExposureBias, DALTJ_TIFF_SRATIONAL, 1},
    {kFlash, DALTJ_TIFF_SHORT, 1},             {kColorSpace, DALTJ_TIFF_SHORT, 1},
    {kExposureMode, DALTJ_TIFF_SHORT, 1},      {kWhiteBalance, DALTJ_TIFF_SHORT, 1},
    {kPixelXDimension, kShortOrLong, 1},       {kPixelYDimension, kShortOrLong, 1},
    {kIsoSpeed, DALTJ_TIFF_SHORT, kAnyCount},  {kExifVersion, DALTJ_TIFF_UNDEFINED, kVersionBytes},
    {kDateTimeOriginal, DALTJ_TIFF_ASCII, kDateTimeBytes}, {kDateTimeDigitized, DALTJ_TIFF_ASCII, kDateTimeBytes},
};
constexpr uint32_t kExifRows = sizeof kExifRules / sizeof kExifRules[0];

// Stores one field that met its rule; false only when an allocation failed.
bool store_exif_field(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_ExifInfo *info) {
    switch (f.tag) {
        case kExposureTime: info->exposure_time = read_rational(data, f.value); return true;
        case kFNumber: info->f_number = read_rational(data, f.value); return true;
        case kFocalLength: info->focal_length = read_rational(data, f.value); return true;
        case kDigitalZoomRatio: info->digital_zoom_ratio = read_rational(data, f.value); return true;
        case kShutterSpeed: info->shutter_speed = read_srational(data, f.value); return true;
        case kExposureBias: info->exposure_bias = read_srational(data, f.value); return true;
        case kFlash: info->flash = f.value; return true;
        case kColorSpace: info->color_space = f.value; return true;
        case kExposureMode: info->exposure_mode = f.value; return true;
        case kWhiteBalance: info->white_balance = f.value; return true;
        case kPixelXDimension: info->pixel_x_dimension = f.value; return true;
        case kPixelYDimension: info->pixel_y_dimension = f.value; return true;
        case kIsoSpeed: info->iso_speed = f.value; return true;
        case kExifVersion: return store_block(data, f, &info->exif_version);
        case kDateTimeOriginal: return store_string(data, f, &info->date_time_original);
        case kDateTimeDigitized: return store_string(data, f, &info->date_time_digitized);
        default: return true;
    }
}

}  // namespace

bool read_exif_ifds(const TiffBytes &data, IfdRun *runs, uint32_t n, DALTJ_ExifInfo *info) {
    GrowingArray<uint32_t, 4> heap;
    if (!heap.resize(n)) return false;
    LatestEntries<kExifRows> latest;
    visit_latest_entries(runs, n, heap.data(), [&](uint64_t at, uint32_t walk) {
        const int row = tag_row<kExifRules>(data.u16(at));
        if (row < 0) return;
        DALTJ_ExifField field;
        if (decode_entry(data, static_cast<uint32_t>(at), &field) && meets_rule(kExifRules[row], field)) {
            latest.offer(row, field, walk, at);
        }
    });
    return latest.store_each([&](const DALTJ_ExifField &f) { return store_exif_field(data, f, info); });
}

uint32_t read_exif_ifd(const TiffBytes &data, uint32_t offset, DALTJ_ExifInfo *info) {
    const IfdSpan span = ifd_span(data, offset);
    if (!span.fits) return 0;
    IfdRun run{span.first_entry, span.count, 0};
    const bool stored = span.count == 0 || read_exif_ifds(data, &run, 1, info);
    return stored ? ifd_successor(data, span) : 0;
}

}  // namespace kovra::exif

extern "C" KOVRA_API uint32_t DALTJ_ReadExifIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                                   int32_t little_endian, DALTJ_ExifInfo *info) {
    if (base == nullptr || info == nullptr) return 0;
    return kovra::exif::read_exif_ifd(kovra::exif::trusted_bytes(base, length, little_endian != 0), offset, info);
}
