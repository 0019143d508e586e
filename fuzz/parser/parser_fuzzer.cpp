// Arbitrary bytes through the header parse drivers (KOVRADALT_Parser, KOVRADALT_SimpleParserGIF,
// KOVRADALT_GetJpegOffset, KOVRADALT_JpgParser, KOVRADALT_GetImageType, and DALT_ParseJPEGOffset
// through a window), over a source of each kind: caller memory, a caller stream, a caller's FILE
// and a path, all serving the same bytes. The last input byte picks the default delay for the GIF-only driver; the
// delay tables every call hands out are freed each run.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz/input_source.h"
#include "kovra_decinfo.h"
#include "kovra_os.h"
#include "kovra_parse.h"

namespace {

// Sums what the parse reported, so every word of the result is read.
uint32_t touch(const KOVRADALT_ImageInfo &info) {
    uint32_t sum = info.width + info.height + info.file_size + info.image_count + info.frame_count;
    if (info.frame_delays != nullptr && info.frame_count > 1) {
        for (uint32_t i = 0; i < info.frame_count; ++i) sum += info.frame_delays[i];
    }
    return sum;
}

volatile uint32_t g_sink;

void parse_all(KOVRADALT_DecInfo *dec, uint32_t default_delay) {
    if (dec == nullptr) return;
    KOVRADALT_ImageInfo info;
    std::memset(&info, 0, sizeof info);
    KOVRADALT_Parser(dec, &info);
    g_sink = g_sink + touch(info);
    KOVRADALT_OsFree(info.frame_delays);

    std::memset(&info, 0, sizeof info);
    KOVRADALT_SimpleParserGIF(dec, &info, default_delay);
    g_sink = g_sink + touch(info);
    KOVRADALT_OsFree(info.frame_delays);

    KOVRADALT_SimpleParserGIF(dec, nullptr, default_delay);
    uint32_t start = 0, end = 0;
    KOVRADALT_GetJpegOffset(dec, &start, &end);

    std::memset(&info, 0, sizeof info);
    KOVRADALT_JpgParser(dec, &info);
    g_sink = g_sink + touch(info) + static_cast<uint32_t>(KOVRADALT_GetImageType(dec));
    kovra::fuzz::with_window(dec, [dec](DALTJ_ByteWindow &window) {
        KOVRADALT_ImageInfo window_info;
        std::memset(&window_info, 0, sizeof window_info);
        g_sink = g_sink + static_cast<uint32_t>(DALT_ParseJPEGOffset(dec, &window, &window_info)) + touch(window_info);
        KOVRADALT_OsFree(window_info.frame_delays);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 0x7FFFFFFF) return 0;
    const uint32_t default_delay = static_cast<uint32_t>(data[size - 1]) * 10u;
    using kovra::fuzz::InputKind;
    for (InputKind kind : {InputKind::kMemory, InputKind::kStream, InputKind::kFile, InputKind::kPath}) {
        const kovra::fuzz::InputSource source(data, size, kind);
        parse_all(source.dec(), default_delay);
    }
    return 0;
}
