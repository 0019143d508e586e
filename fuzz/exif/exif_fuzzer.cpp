// Arbitrary bytes through the EXIF and TIFF readers: as a JPEG source searched for its EXIF block
// (DALTJ_GetExifInfo, or its second name DALTJ_GetTiffInfo), as an APP1 segment from the first
// 0xFF 0xE1 (DALTJ_CreatExifInfoUseExifBuffer), as a TIFF file (DALTJ_ReadTiffInfo), and to the
// frame-header search. The last byte picks the source kind (bits 0 and 2) and, with bit 1 set,
// makes the search's allocations fail after the number in bits 3..7 (bit 1 clear: bit 3 picks the
// second name). Every string is read to its end and every record freed, so a missing terminator
// or a leak shows.

#include <algorithm>
#include <cstring>

#include "fuzz/input_source.h"
#include "kovra_exif.h"
#include "os/alloc_failure.h"
#include "tools/common/exif_info_release.h"

namespace {

volatile uint32_t g_sink;

void consume_and_release(DALTJ_ExifInfo *info) {
    const DALTJ_GpsInfo gps = info->gps != nullptr ? *info->gps : DALTJ_GpsInfo{};
    uint32_t sum = (info->exif_version != nullptr ? info->exif_version[3] : 0) + (gps.processing_method != nullptr ? gps.processing_method[0] : 0);
    for (const char *text : {info->make, info->model, info->software, info->rights_notice, info->date_time_original, info->date_time_digitized, gps.map_datum}) {
        sum += text != nullptr ? static_cast<uint32_t>(std::strlen(text)) : 0;
    }
    g_sink = g_sink + sum;
    kovra::exif::release_exif_fields(info);
}

// Runs read(window) on a byte window over the input served as the source kind the options pick.
template <typename Read>
void with_window(const uint8_t *data, size_t size, uint8_t options, Read read) {
    const kovra::fuzz::InputSource source(data, size, static_cast<kovra::fuzz::InputKind>((options & 1) | (options >> 1 & 2)));
    if (source.dec() != nullptr) kovra::fuzz::with_window(source.dec(), read);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 0x7FFFFFFF) return 0;
    const uint8_t options = data[size - 1];
    with_window(data, size, options, [options](DALTJ_ByteWindow &window) {
        DALTJ_ExifInfo info{};
        if (options & 2) kovra::os::fail_allocations_after(options >> 3);
        const int32_t result = (options & 10) == 8 ? DALTJ_GetTiffInfo(&window, &info) : DALTJ_GetExifInfo(&window, &info);
        kovra::os::stop_failing_allocations();
        g_sink = g_sink + static_cast<uint32_t>(result), consume_and_release(&info);
    });
    static const uint8_t kApp1[] = {0xFF, 0xE1};
    const uint8_t *app1 = std::search(data, data + size, kApp1, kApp1 + 2);
    app1 = app1 == data + size ? data : app1;
    if (DALTJ_ExifInfo *info = DALTJ_CreatExifInfoUseExifBuffer(app1, static_cast<uint32_t>(data + size - app1))) {
        consume_and_release(info), KOVRADALT_OsFree(info);
    }
    with_window(data, size, options, [size](DALTJ_ByteWindow &window) {
        DALTJ_TiffInfo info{};
        g_sink = g_sink + static_cast<uint32_t>(DALTJ_ReadTiffInfo(&info, &window, 0, static_cast<uint32_t>(size), 0)) + info.jpeg_offset;
    });
    uint32_t width = 0, height = 0;
    g_sink = g_sink + static_cast<uint32_t>(DALTJ_GetJPEGResolution(data, static_cast<uint32_t>(size), &width, &height));
    return 0;
}
