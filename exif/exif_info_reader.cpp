// The EXIF record from TIFF data in memory: header, IFD0 (with the EXIF and GPS sub-IFDs), then
// IFD1 into the thumbnail fields. Once IFD0 was walked the result is 1 whatever was found; only a
// bad header (or an IFD0 offset outside the data) gives 0. IFD1 is read only when IFD0 names a
// successor inside the data and neither sub-IFD claimed a successor of its own.
//
// DALTJ_CreatExifInfoUseExifBuffer takes a whole APP1 segment (marker, length, "Exif" 0 0, TIFF
// data) and returns a new record; a segment whose TIFF header is refused returns NULL and frees
// the record it made (nothing else was allocated by then).

#include <cstring>

#include "exif/ifd_readers.h"
#include "exif/tiff_header.h"
#include "kovra_os.h"

namespace kovra::exif {

int32_t read_exif_info(const TiffBytes &bytes, uint32_t base_offset, DALTJ_ExifInfo *info) {
    const TiffHeader header = check_tiff_header(bytes);
    if (!header.valid) return 0;
    TiffBytes data = bytes;
    data.little_endian = header.little_endian;
    const uint32_t next = read_ifd0(data, header.ifd0_offset, info);
    if (next == 0 || next >= data.length) return 1;
    DALTJ_ThumbnailInfo thumbnail{};
    if (!read_thumbnail_ifd(data, next, base_offset, &thumbnail)) return 1;
    thumbnail.present = thumbnail.byte_count != 0 ? 1 : 0;
    info->thumbnail = thumbnail;
    return 1;
}

}  // namespace kovra::exif

namespace {
constexpr uint32_t kApp1HeaderBytes = 10;  // 0xFF 0xE1, length, "Exif" 0 0
constexpr uint32_t kSegmentOverhead = 8;   // the length field and "Exif" 0 0, counted in the length
constexpr uint8_t kExifId[6] = {'E', 'x', 'i', 'f', 0, 0};
}  // namespace

extern "C" {

KOVRA_API int32_t DALTJ_ReadExifInfo(const uint8_t *base, uint32_t base_offset, uint32_t length,
                                     DALTJ_ExifInfo *info) {
    if (base == nullptr || info == nullptr) return 0;
    return kovra::exif::read_exif_info(kovra::exif::trusted_bytes(base, length, false), base_offset, info);
}

KOVRA_API DALTJ_ExifInfo *DALTJ_CreatExifInfoUseExifBuffer(const uint8_t *segment, uint32_t length) {
    if (segment == nullptr || length < 4 || segment[0] != 0xFF || segment[1] != 0xE1) return nullptr;
    const uint32_t segment_length = static_cast<uint32_t>(segment[2]) << 8 | segment[3];
    if (segment_length < kSegmentOverhead || segment_length + 2 > length) return nullptr;
    if (std::memcmp(segment + 4, kExifId, sizeof kExifId) != 0) return nullptr;
    auto *info = static_cast<DALTJ_ExifInfo *>(KOVRADALT_OsMalloc(sizeof(DALTJ_ExifInfo)));
    if (info == nullptr) return nullptr;
    *info = DALTJ_ExifInfo{};
    if (DALTJ_ReadExifInfo(segment + kApp1HeaderBytes, kApp1HeaderBytes, segment_length - kSegmentOverhead, info) == 0) {
        KOVRADALT_OsFree(info);
        return nullptr;
    }
    return info;
}

}  // extern "C"
