// The 0th IFD reader: image fields of the record (words 1..15) and the two pointers into the EXIF
// and GPS sub-IFDs, followed at their decoded value whatever their type.
//   258 BitsPerSample SHORT 3 (three shorts at the value offset)
//   259 Compression, 274 Orientation, 296 ResolutionUnit, 531 YCbCrPositioning   SHORT 1
//   282/283 X/YResolution RATIONAL 1
//   271 Make, 272 Model, 305 Software, 33432 rights notice   ASCII, any count: owned strings
//   34665 EXIF IFD pointer, 34853 GPS IFD pointer
// A sub-IFD that claims a successor (a non-zero next-IFD offset) ends this IFD at once with 0, so
// IFD1 is then not read: that is how this reader treats such a sub-IFD. Whether one does is known
// from its next-IFD offset alone, so the sub-IFDs are read after IFD0's entries, each once:
//   - the last entry of each IFD0 tag wins (its string is copied once);
//   - every GPS pointer makes a fresh GPS record, so only the last one's IFD is read: the record
//     is made for it (failure ends IFD0 with 0) even when its IFD turns out not to fit;
//   - the EXIF IFDs are read as if walked one after another in pointer order (read_exif_ifds).
// A string that cannot be copied for lack of memory ends IFD0 with 0; fields already stored stay.

#include "exif/growing_array.h"
#include "exif/ifd_readers.h"
#include "exif/ifd_walk.h"
#include "exif/latest_entries.h"
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

// Numbers first, copies last: running out of memory then loses only copies.
constexpr TagRule kIfd0Rules[] = {
    {kBitsPerSample, DALTJ_TIFF_SHORT, 3},    {kCompression, DALTJ_TIFF_SHORT, 1},
    {kOrientation, DALTJ_TIFF_SHORT, 1},      {kResolutionUnit, DALTJ_TIFF_SHORT, 1},
    {kYCbCrPositioning, DALTJ_TIFF_SHORT, 1}, {kXResolution, DALTJ_TIFF_RATIONAL, 1},
    {kYResolution, DALTJ_TIFF_RATIONAL, 1},   {kMake, DALTJ_TIFF_ASCII, kAnyCount},
    {kModel, DALTJ_TIFF_ASCII, kAnyCount},    {kSoftware, DALTJ_TIFF_ASCII, kAnyCount},
    {kRightsNotice, DALTJ_TIFF_ASCII, kAnyCount},
};
constexpr uint32_t kIfd0Rows = sizeof kIfd0Rules / sizeof kIfd0Rules[0];

// Stores one field that met its rule; false only when an allocation failed.
bool store_ifd0_field(const TiffBytes &data, const DALTJ_ExifField &f, DALTJ_ExifInfo *info) {
    switch (f.tag) {
        case kBitsPerSample:
            for (uint32_t i = 0; i < 3; ++i) info->bits_per_sample[i] = data.u16(static_cast<uint64_t>(f.value) + 2 * i);
            return true;
        case kCompression: info->compression = f.value; return true;
        case kOrientation: info->orientation = f.value; return true;
        case kResolutionUnit: info->resolution_unit = f.value; return true;
        case kYCbCrPositioning: info->ycbcr_positioning = f.value; return true;
        case kXResolution: info->x_resolution = read_rational(data, f.value); return true;
        case kYResolution: info->y_resolution = read_rational(data, f.value); return true;
        case kMake: return store_string(data, f, &info->make);
        case kModel: return store_string(data, f, &info->model);
        case kSoftware: return store_string(data, f, &info->software);
        case kRightsNotice: return store_string(data, f, &info->rights_notice);
        default: return true;
    }
}

// What IFD0's entries leave to be done once they were all seen.
struct SubIfds {
    GrowingArray<IfdRun, 2> exif;  // EXIF IFDs with entries, in pointer order
    bool gps_met = false;
    uint32_t gps_offset = 0;

    // Notes one pointer; false when its IFD claims a successor (IFD0 ends) or memory ran out.
    bool note(const TiffBytes &data, const DALTJ_ExifField &pointer) {
        const IfdSpan span = ifd_span(data, pointer.value);
        if (pointer.tag == kGpsIfdPointer) {
            gps_met = true;
            gps_offset = pointer.value;
        } else if (span.count > 0 && !exif.push(IfdRun{span.first_entry, span.count, exif.size()})) {
            return false;
        }
        return ifd_successor(data, span) == 0;
    }

    // Reads them; false when the GPS record could not be made.
    bool read(const TiffBytes &data, DALTJ_ExifInfo *info) {
        read_exif_ifds(data, exif.data(), exif.size(), info);
        if (!gps_met) return true;
        auto *gps = static_cast<DALTJ_GpsInfo *>(KOVRADALT_OsMalloc(sizeof(DALTJ_GpsInfo)));
        if (gps == nullptr) return false;
        *gps = DALTJ_GpsInfo{};
        info->gps = gps;
        read_gps_ifd(data, gps_offset, gps);
        return true;
    }
};

}  // namespace

uint32_t read_ifd0(const TiffBytes &data, uint32_t offset, DALTJ_ExifInfo *info) {
    LatestEntries<kIfd0Rows> latest;
    SubIfds sub_ifds;
    const auto wants = [](uint32_t tag) {
        return tag == kExifIfdPointer || tag == kGpsIfdPointer || tag_row<kIfd0Rules>(tag) >= 0;
    };
    const IfdWalk walk = walk_ifd(data, offset, wants, [&](const DALTJ_ExifField &f, uint32_t at) {
        if (f.tag == kExifIfdPointer || f.tag == kGpsIfdPointer) return sub_ifds.note(data, f);
        latest.offer(rule_row<kIfd0Rules>(f), f, 0, at);
        return true;
    });
    const bool stored = latest.store_each([&](const DALTJ_ExifField &f) { return store_ifd0_field(data, f, info); });
    return sub_ifds.read(data, info) && stored ? walk.next : 0;
}

}  // namespace kovra::exif

extern "C" KOVRA_API uint32_t DALTJ_Read0thIFDInfo(const uint8_t *base, uint32_t offset, uint32_t length,
                                                  int32_t little_endian, DALTJ_ExifInfo *info) {
    if (base == nullptr || info == nullptr) return 0;
    return kovra::exif::read_ifd0(kovra::exif::trusted_bytes(base, length, little_endian != 0), offset, info);
}
