// The GIF decoder's framework road: KOVRADALTI_ParseGIFHeader_SKIA and the colour queries, then
// KOVRADALTI_DecodeAGIF_SKIA frame after frame (with or without the frame cache) or
// KOVRADALTI_DecodeGIF. The last byte picks the road: bits 0-1 sample size 1..4, 2-3 format (7, 8,
// 13, 13), 4 frame mode, 5 and 7 the source kind, 6 the frame cache. The byte before it: top bit
// set, every allocation after the first (byte & 0x7F) fails; top bits 01, KOVRADALTI_SetGIF_SKIA
// asks for half to twice the size (in frame mode with bit 5 set, after the first frame); top bits
// 001, frame mode gets a buffer of half the rows. Buffers hold no more than the library may write.
// The sample size grows until the output has at most 16K pixels; frame mode stops after 256K
// pixels written or 64 frames.

#include <algorithm>
#include <vector>

#include "fuzz/input_source.h"
#include "kovra_gif.h"
#include "kovra_os.h"
#include "os/alloc_failure.h"

namespace {

constexpr int64_t kMaxPixels = 1 << 14;
constexpr int kMaxFrames = 64;
volatile uint32_t g_sink;  // what the colour queries hand out is read

struct Road {
    int32_t format;
    bool frame_mode, cache, short_buffer;
    uint8_t resize;  // bits 0-1 and 2-3: each side times (1 + bits) / 2
};

int64_t area(int32_t w, int32_t h) { return int64_t{w} * h; }

std::vector<uint8_t> buffer(const Road &road, int32_t width, int32_t rows) {
    const size_t pixel = road.format == KOVRADALT_FORMAT_INDEX8 && !road.cache ? 1 : 4;
    return std::vector<uint8_t>(static_cast<size_t>(width) * static_cast<size_t>(rows) * pixel);
}

void query_colors(KOVRADALT_DecInfo *dec) {
    uint32_t count = 0, delay = 0, sum = 0;
    int32_t transparent = 0;
    if (KOVRADALTI_GetColorInfo(dec, &count, &transparent, &delay) == 0) return;
    for (int call = 0; call < 2; ++call) {
        const uint32_t *map = KOVRADALTI_GetColorMap(dec);
        for (uint32_t i = 0; map != nullptr && i < std::min(count, 256u); ++i) sum += map[i];
    }
    g_sink = g_sink + sum;
}

void decode(KOVRADALT_DecInfo *dec, const Road &road) {
    int32_t w = dec->gif_info->out_width, h = dec->gif_info->out_height;
    const int32_t rw = std::max(1, w * (1 + (road.resize & 3)) / 2), rh = std::max(1, h * (1 + ((road.resize >> 2) & 3)) / 2);
    if (area(w, h) > kMaxPixels || area(rw, rh) > kMaxPixels) return;
    const bool late = road.frame_mode && (road.resize & 0x20) != 0;
    auto resize = [&] { return KOVRADALTI_SetGIF_SKIA(dec, rw, rh) == 1 && (w = rw, h = rh, true); };
    if (road.resize != 0 && !late && !resize()) return;
    if (!road.frame_mode && !road.cache) {
        std::vector<uint8_t> out = buffer(road, w, h);
        KOVRADALTI_DecodeGIF(dec, out.data(), w, h);
        return;
    }
    auto rows = [&] { return road.short_buffer ? std::max(1, h / 2) : h; };
    const int frames = static_cast<int>(std::clamp<int64_t>((1 << 18) / std::max(area(w, h), area(rw, rh)), 1, kMaxFrames));
    std::vector<uint8_t> out = buffer(road, w, rows());
    uint8_t *cache[kMaxFrames] = {};
    uint32_t delays[kMaxFrames] = {};
    auto frame = [&](int index) {
        return KOVRADALTI_DecodeAGIF_SKIA(dec, out.data(), w, rows(), index, road.cache ? cache : nullptr, 0, 0, 0,
                                          kMaxFrames, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, delays);
    };
    int n = 0;
    for (; n < frames; ++n) {
        const int32_t result = frame(n);
        delays[n] = dec->gif_total_delay;
        if (result != 1 || dec->gif_info == nullptr) break;
        if (late && n == 0) {
            if (!resize()) break;
            out = buffer(road, w, rows());
        }
    }
    if (road.cache && n > 0 && dec->gif_info != nullptr) frame(0);
    for (uint8_t *entry : cache) KOVRADALT_OsFree(entry);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3 || size > (1u << 24)) return 0;
    const uint8_t options = data[size - 1], extra = data[size - 2];
    const int32_t formats[4] = {KOVRADALT_FORMAT_RGBA32, KOVRADALT_FORMAT_BGRA32, KOVRADALT_FORMAT_INDEX8,
                                KOVRADALT_FORMAT_INDEX8};
    const Road road{formats[(options >> 2) & 3], (options & 0x10) != 0, (options & 0x40) != 0,
                    (extra & 0xE0) == 0x20, static_cast<uint8_t>((extra & 0xC0) == 0x40 ? extra : 0)};
    const int64_t w = size >= 10 ? data[6] | (data[7] << 8) : 1, h = size >= 10 ? data[8] | (data[9] << 8) : 1;
    int32_t sample = 1 + (options & 3);
    while (std::max<int64_t>(w / sample, 1) * std::max<int64_t>(h / sample, 1) > kMaxPixels) sample += 1 + sample / 4;
    const kovra::fuzz::InputSource source(
        data, size, static_cast<kovra::fuzz::InputKind>(((options >> 5) & 1) | ((options >> 6) & 2)), road.format);
    KOVRADALT_DecInfo *dec = source.dec();
    if (dec == nullptr) return 0;
    if ((extra & 0x80) != 0) kovra::os::fail_allocations_after(extra & 0x7F);
    int marker = 0;
    if (KOVRADALTI_ParseGIFHeader_SKIA(dec->io, dec, sample, road.frame_mode ? &marker : nullptr) == 1) {
        query_colors(dec);
        decode(dec, road);
    }
    kovra::os::stop_failing_allocations();
    if (dec->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(dec);
    return 0;
}
