// How the owner of a DALTJ_ExifInfo releases it. The library hands the record's strings and GPS
// block to the caller and exports no release function, so every host (the tool, tests, fuzz
// targets, benchmarks) frees them the same way: with KOVRADALT_OsFree, through this header.
// Header-only on purpose, and kept out of the library folders: it uses nothing but the public
// interface.
#pragma once

#include "kovra_exif.h"
#include "kovra_os.h"

namespace kovra::exif {

// Frees every string and the GPS block the record owns, then zeroes it (the record itself stays).
inline void release_exif_fields(DALTJ_ExifInfo *info) {
    if (info == nullptr) return;
    void *owned[] = {info->make,          info->model,
                     info->software,      info->rights_notice,
                     info->exif_version,  info->date_time_original,
                     info->date_time_digitized};
    for (void *pointer : owned) KOVRADALT_OsFree(pointer);
    if (info->gps != nullptr) {
        KOVRADALT_OsFree(info->gps->map_datum);
        KOVRADALT_OsFree(info->gps->processing_method);
        KOVRADALT_OsFree(info->gps);
    }
    *info = DALTJ_ExifInfo{};
}

// release_exif_fields, then the record itself (as DALTJ_CreatExifInfoUseExifBuffer returns it).
inline void release_exif_info(DALTJ_ExifInfo *info) {
    release_exif_fields(info);
    KOVRADALT_OsFree(info);
}

}  // namespace kovra::exif
