// Arbitrary bytes through the EXIF and TIFF readers, four roads a run: the bytes as a JPEG
// source searched by DALTJ_GetExifInfo (or DALTJ_GetTiffInfo); an APP1 segment (from the first
// 0xFF 0xE1, else the bytes as they are) for DALTJ_CreatExifInfoUseExifBuffer; the bytes as a TIFF
// file for DALTJ_ReadTiffInfo; and the exported IFD readers, entry decoder and frame-header search
// over the TIFF data after the first "Exif" 0 0 (else the whole input). The last byte picks the
// source kind (bits 0 and 3, see source_kind), and with bit 1 set makes road 1's allocations fail
// after the number in bits 2..7 (bit 1 clear: bit 2 picks DALTJ_GetTiffInfo). Every string and
// block is read to its end and freed, so a missing terminator or a leak shows.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "fuzz/input_source.h"
#include "kovra_decinfo.h"
#include "kovra_exif.h"
#include "kovra_os.h"
#include "os/alloc_failure.h"
#include "tools/common/exif_info_release.h"

namespace {

volatile uint32_t g_sink;

uint32_t touch(const char *text) { return text != nullptr ? static_cast<uint32_t>(std::strlen(text)) : 0; }

// Reads every field of the record and frees what it owns.
void consume_and_release(DALTJ_ExifInfo *info) {
    uint32_t sum = touch(info->make) + touch(info->model) + touch(info->software) + touch(info->rights_notice) +
                   touch(info->date_time_original) + touch(info->date_time_digitized);
    if (info->exif_version != nullptr) sum += info->exif_version[0] + info->exif_version[3];
    const auto *words = reinterpret_cast<const uint32_t *>(&info->thumbnail);
    for (size_t i = 0; i < sizeof info->thumbnail / 4; ++i) sum += words[i];
    sum += info->x_resolution.numerator + info->shutter_speed.denominator + info->iso_speed;
    if (info->gps != nullptr) {
        sum += touch(info->gps->map_datum) + info->gps->latitude[2].denominator + info->gps->date_stamp[9];
        if (info->gps->processing_method != nullptr) sum += info->gps->processing_method[0];
    }
    kovra::exif::release_exif_fields(info);
    g_sink = g_sink + sum;
}

// Bits 0 and 3 of the option byte pick the source kind (memory, stream, FILE, path); bit 3 only
// while bit 1 is clear, as it belongs to the allocation failure count otherwise.
kovra::fuzz::InputKind source_kind(uint8_t options) {
    const uint32_t bit3 = (options & 2) == 0 ? (options >> 2) & 2 : 0;
    return static_cast<kovra::fuzz::InputKind>((options & 1) | bit3);
}

// Opens the input as a source of the kind the options pick, sets up a byte window at its start
// as the library's users do, runs `read` on it, and releases everything.
template <typename Read>
void with_window(const uint8_t *data, size_t size, uint8_t options, Read read) {
    const kovra::fuzz::InputSource source(data, size, source_kind(options));
    if (source.dec() != nullptr) kovra::fuzz::with_window(source.dec(), read);
}

void jpeg_road(const uint8_t *data, size_t size, uint8_t options) {
    with_window(data, size, options, [options](DALTJ_ByteWindow &window) {
        DALTJ_ExifInfo info;
        std::memset(&info, 0, sizeof info);
        if (options & 2) kovra::os::fail_allocations_after(options >> 2);
        const bool second_name = (options & 6) == 4;  // the same procedure under DALTJ_GetTiffInfo
        g_sink = g_sink + static_cast<uint32_t>(second_name ? DALTJ_GetTiffInfo(&window, &info)
                                                            : DALTJ_GetExifInfo(&window, &info));
        kovra::os::stop_failing_allocations();
        consume_and_release(&info);
    });
}

void app1_road(const uint8_t *data, size_t size) {
    size_t start = 0;
    for (size_t i = 0; i + 1 < size; ++i) {
        if (data[i] == 0xFF && data[i + 1] == 0xE1) {
            start = i;
            break;
        }
    }
    DALTJ_ExifInfo *info = DALTJ_CreatExifInfoUseExifBuffer(data + start, static_cast<uint32_t>(size - start));
    if (info == nullptr) return;
    consume_and_release(info);
    KOVRADALT_OsFree(info);
}

void tiff_road(const uint8_t *data, size_t size, uint8_t options) {
    with_window(data, size, options, [size](DALTJ_ByteWindow &window) {
        DALTJ_TiffInfo info;
        std::memset(&info, 0, sizeof info);
        g_sink = g_sink + static_cast<uint32_t>(DALTJ_ReadTiffInfo(&info, &window, 0, static_cast<uint32_t>(size), 0));
        g_sink = g_sink + info.jpeg_offset;
    });
}

// Each reader gets a fresh record of its own, released after it.
void reader_road(const uint8_t *data, size_t size) {
    static const uint8_t kExif[] = {'E', 'x', 'i', 'f', 0, 0};
    const uint8_t *found = std::search(data, data + size, std::begin(kExif), std::end(kExif));
    const uint8_t *tiff = found == data + size ? data : found + sizeof kExif;
    const auto length = static_cast<uint32_t>(data + size - tiff);
    if (length < 8) return;
    const bool little = tiff[0] == 'I';
    const uint32_t offset = little
                                ? tiff[4] | (tiff[5] << 8) | (tiff[6] << 16) | (static_cast<uint32_t>(tiff[7]) << 24)
                                : (static_cast<uint32_t>(tiff[4]) << 24) | (tiff[5] << 16) | (tiff[6] << 8) | tiff[7];
    DALTJ_ExifInfo info{};
    g_sink = g_sink + DALTJ_Read0thIFDInfo(tiff, offset, length, little, &info);
    consume_and_release(&info);
    g_sink = g_sink + DALTJ_ReadExifIFDInfo(tiff, offset, length, little, &info);
    consume_and_release(&info);
    info.gps = static_cast<DALTJ_GpsInfo *>(KOVRADALT_OsMalloc(sizeof(DALTJ_GpsInfo)));
    if (info.gps != nullptr) {
        std::memset(info.gps, 0, sizeof(DALTJ_GpsInfo));
        g_sink = g_sink + DALTJ_ReadGpsIFDInfo(tiff, offset, length, little, info.gps);
        consume_and_release(&info);
    }
    DALTJ_ExifField field;
    g_sink = g_sink + static_cast<uint32_t>(DALTJ_ReadExifField(tiff, offset + 2, length, little, &field));
    uint32_t width = 0, height = 0;
    g_sink =
        g_sink + static_cast<uint32_t>(DALTJ_GetJPEGResolution(data, static_cast<uint32_t>(size), &width, &height));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 0x7FFFFFFF) return 0;
    const uint8_t options = data[size - 1];
    jpeg_road(data, size, options);
    app1_road(data, size);
    tiff_road(data, size, options);
    reader_road(data, size);
    return 0;
}
