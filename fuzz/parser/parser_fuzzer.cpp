// Arbitrary bytes through every header parse driver and type detection, over caller memory, a
// caller stream, a caller's FILE and a path serving the same bytes; the last byte picks the GIF
// driver's default delay. Every field of each result is read and the delay tables are freed.

#include <cstring>

#include "fuzz/input_source.h"
#include "kovra_parse.h"

namespace {

volatile uint32_t g_sink;

void take(const KOVRADALT_ImageInfo &info) {
    uint32_t sum = info.width + info.height + info.file_size + info.image_count + info.frame_count;
    for (uint32_t i = 0; info.frame_delays != nullptr && info.frame_count > 1 && i < info.frame_count; ++i)
        sum += info.frame_delays[i];
    g_sink = g_sink + sum;
    KOVRADALT_OsFree(info.frame_delays);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 0x7FFFFFFF) return 0;
    using kovra::fuzz::InputKind;
    for (InputKind kind : {InputKind::kMemory, InputKind::kStream, InputKind::kFile, InputKind::kPath}) {
        const kovra::fuzz::InputSource source(data, size, kind);
        KOVRADALT_DecInfo *dec = source.dec();
        if (dec == nullptr) continue;
        KOVRADALT_ImageInfo info{};
        take((KOVRADALT_Parser(dec, &info), info));
        take((info = {}, KOVRADALT_SimpleParserGIF(dec, &info, data[size - 1] * 10u), info));
        take((info = {}, KOVRADALT_JpgParser(dec, &info), info));
        KOVRADALT_SimpleParserGIF(dec, nullptr, 0);
        uint32_t start = 0, end = 0;
        g_sink = g_sink + static_cast<uint32_t>(KOVRADALT_GetJpegOffset(dec, &start, &end) + KOVRADALT_GetImageType(dec));
        kovra::fuzz::with_window(dec, [dec](DALTJ_ByteWindow &window) {
            KOVRADALT_ImageInfo window_info{};
            g_sink = g_sink + static_cast<uint32_t>(DALT_ParseJPEGOffset(dec, &window, &window_info));
            take(window_info);
        });
    }
    return 0;
}
