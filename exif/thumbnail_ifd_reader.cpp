// IFD1, the thumbnail IFD, into a DALTJ_ThumbnailInfo:
//   256/257 ImageWidth/Length    SHORT or LONG, 1
//   259 Compression, 262 PhotometricInterpretation, 284 PlanarConfiguration, 4173   SHORT 1
//   273 StripOffsets             SHORT or LONG, any count: data offset (the decoded value)
//   279 StripByteCounts          SHORT or LONG, any count: byte count; compression becomes 0
//   513 JPEGInterchangeFormat    LONG 1: data offset; width and height from the thumbnail's own
//                                frame header when it has one
//   514 JPEGInterchangeFormatLength  LONG 1: byte count; compression becomes 6
// Data offsets are made absolute by adding the TIFF data's position in the source. For strips
// with more than one entry the decoded value is where the offset table lies, not the first
// strip: only a single-strip thumbnail is located exactly.

#include "exif/ifd_entry.h"
#include "exif/ifd_readers.h"
#include "exif/ifd_walk.h"
#include "exif/jpeg_resolution.h"

namespace kovra::exif {
namespace {

enum ThumbnailTag : uint16_t {
    kImageWidth = 256,
    kImageLength = 257,
    kCompression = 259,
    kPhotometric = 262,
    kStripOffsets = 273,
    kStripByteCounts = 279,
    kPlanarConfiguration = 284,
    kJpegFormat = 513,
    kJpegFormatLength = 514,
    kTag4173 = 4173,
};
constexpr uint32_t kCompressionUncompressed = 0;  // as this record marks strip data
constexpr uint32_t kCompressionJpeg = 6;

// The embedded JPEG's frame header overrides the IFD's width and height; the look-up's result
// does not matter. Bytes past the data's length are not offered to it.
void look_up_frame_size(const TiffBytes &data, uint32_t value, DALTJ_ThumbnailInfo *thumbnail) {
    const uint32_t length = value <= data.length ? data.length - value : 0;
    const uint32_t readable = value < data.readable ? data.readable - value : 0;
    jpeg_resolution(readable > 0 ? data.base + value : nullptr, length, readable, &thumbnail->width,
                    &thumbnail->height);
}

void store_thumbnail_field(const TiffBytes &data, const DALTJ_ExifField &f, uint32_t base_offset,
                           DALTJ_ThumbnailInfo *thumbnail) {
    switch (f.tag) {
        case kImageWidth:
            if (is_short_or_long(f) && f.count == 1) thumbnail->width = f.value;
            break;
        case kImageLength:
            if (is_short_or_long(f) && f.count == 1) thumbnail->height = f.value;
            break;
        case kCompression:
            if (is_short_one(f)) thumbnail->compression = f.value;
            break;
        case kPhotometric:
            if (is_short_one(f)) thumbnail->photometric = f.value;
            break;
        case kPlanarConfiguration:
            if (is_short_one(f)) thumbnail->planar_configuration = f.value;
            break;
        case kTag4173:
            if (is_short_one(f)) thumbnail->tag_4173 = f.value;
            break;
        case kStripOffsets:
            if (is_short_or_long(f)) thumbnail->data_offset = f.value + base_offset;
            break;
        case kStripByteCounts:
            if (is_short_or_long(f)) {
                thumbnail->byte_count = f.value;
                thumbnail->compression = kCompressionUncompressed;
            }
            break;
        case kJpegFormat:
            if (is_long_one(f)) {
                thumbnail->data_offset = f.value + base_offset;
                look_up_frame_size(data, f.value, thumbnail);
            }
            break;
        case kJpegFormatLength:
            if (is_long_one(f)) {
                thumbnail->byte_count = f.value;
                thumbnail->compression = kCompressionJpeg;
            }
            break;
        default:
            break;
    }
}

}  // namespace

bool read_thumbnail_ifd(const TiffBytes &data, uint32_t offset, uint32_t base_offset,
                        DALTJ_ThumbnailInfo *thumbnail) {
    return walk_ifd(data, offset, [&](const DALTJ_ExifField &f, uint32_t) {
               store_thumbnail_field(data, f, base_offset, thumbnail);
               return true;
           })
        .walked;
}

}  // namespace kovra::exif
