// IFD1, the thumbnail IFD, into a DALTJ_ThumbnailInfo:
//   256/257 ImageWidth/Length    SHORT or LONG, 1
//   259 Compression, 262 PhotometricInterpretation, 284 PlanarConfiguration, 4173   SHORT 1
//   273 StripOffsets             SHORT or LONG, any count: data offset (the decoded value)
//   279 StripByteCounts          SHORT or LONG, any count: byte count; compression becomes 0
//   513 JPEGInterchangeFormat    LONG 1: data offset; width and height from the thumbnail's own
//                                frame header when it has one (looked up after the walk, see
//                                take_frame_size)
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

// Where the last ImageWidth and ImageLength entries taken lie (0: none; no entry lies at 0).
struct SizeEntries {
    uint64_t width_at = 0;
    uint64_t height_at = 0;
};

void store_thumbnail_field(const DALTJ_ExifField &f, uint32_t at, uint32_t base_offset, SizeEntries *sizes,
                           DALTJ_ThumbnailInfo *thumbnail) {
    switch (f.tag) {
        case kImageWidth:
            if (is_short_or_long(f) && f.count == 1) {
                thumbnail->width = f.value;
                sizes->width_at = at;
            }
            break;
        case kImageLength:
            if (is_short_or_long(f) && f.count == 1) {
                thumbnail->height = f.value;
                sizes->height_at = at;
            }
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
            if (is_long_one(f)) thumbnail->data_offset = f.value + base_offset;
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

// Width and height from the embedded JPEG's frame header. Each JPEGInterchangeFormat entry's
// look-up that finds one overwrites both, so the last such entry wins over earlier look-ups and over
// earlier ImageWidth/ImageLength entries. The entries are looked up from the last one back, and the
// search ends at the first that finds a frame header or once no earlier entry could still show.
void take_frame_size(const TiffBytes &data, const IfdSpan &span, const SizeEntries &sizes,
                     DALTJ_ThumbnailInfo *thumbnail) {
    FrameSearch search(data);
    for (uint32_t k = span.count; k-- > 0;) {
        const uint64_t at = span.entry(k);
        if (at < sizes.width_at && at < sizes.height_at) return;
        DALTJ_ExifField f;
        if (!decode_entry(data, static_cast<uint32_t>(at), &f) || f.tag != kJpegFormat || !is_long_one(f)) continue;
        FrameSize size;
        if (!search.find(f.value, &size)) continue;
        if (at > sizes.width_at) thumbnail->width = size.width;
        if (at > sizes.height_at) thumbnail->height = size.height;
        return;
    }
}

}  // namespace

bool read_thumbnail_ifd(const TiffBytes &data, uint32_t offset, uint32_t base_offset,
                        DALTJ_ThumbnailInfo *thumbnail) {
    SizeEntries sizes;
    const IfdWalk walk = walk_ifd(data, offset, [&](const DALTJ_ExifField &f, uint32_t at) {
        store_thumbnail_field(f, at, base_offset, &sizes, thumbnail);
        return true;
    });
    if (!walk.walked) return false;
    take_frame_size(data, ifd_span(data, offset), sizes, thumbnail);
    return true;
}

}  // namespace kovra::exif
