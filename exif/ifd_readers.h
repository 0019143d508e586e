// The IFD readers of the EXIF record, over a bounded view of the TIFF data. Each returns its
// IFD's next-IFD offset, or 0 (IFD refused, walk stopped, memory ran out, or no successor).
#pragma once

#include <cstdint>

#include "exif/ifd_sweep.h"
#include "exif/tiff_bytes.h"
#include "kovra_exif.h"

namespace kovra::exif {

uint32_t read_ifd0(const TiffBytes &data, uint32_t offset, DALTJ_ExifInfo *info);
uint32_t read_exif_ifd(const TiffBytes &data, uint32_t offset, DALTJ_ExifInfo *info);
uint32_t read_gps_ifd(const TiffBytes &data, uint32_t offset, DALTJ_GpsInfo *gps);

// The EXIF fields from several EXIF IFDs, as walking them in `walk` order would leave them (see
// ifd_sweep.h). Reorders `runs`. False when memory ran out.
bool read_exif_ifds(const TiffBytes &data, IfdRun *runs, uint32_t n, DALTJ_ExifInfo *info);

// IFD1, the thumbnail IFD, into `thumbnail`. `base_offset` (the data's position in the source)
// is added to the thumbnail's data offset. False when IFD1 does not fit in the data.
bool read_thumbnail_ifd(const TiffBytes &data, uint32_t offset, uint32_t base_offset,
                        DALTJ_ThumbnailInfo *thumbnail);

// The whole TIFF structure: header, IFD0 and its sub-IFDs, IFD1. DALTJ_ReadExifInfo's result.
int32_t read_exif_info(const TiffBytes &data, uint32_t base_offset, DALTJ_ExifInfo *info);

}  // namespace kovra::exif
