// Fuzzes the framework road of the GIF decoder: KOVRADALTI_ParseGIFHeader_SKIA, then
// KOVRADALTI_DecodeAGIF_SKIA frame after frame (with and without the frame cache), or
// KOVRADALTI_DecodeGIF in direct mode.
//
// The last two input bytes choose the road (they are also part of the GIF, which rarely
// matters): byte[-1] bits 0-1 sample size 1..4, bits 2-3 output format (7, 8, 13, 13), bit 4
// frame mode, bits 5 and 7 the source kind (memory, a caller stream, a caller's FILE, a path),
// bit 6 the frame cache; byte[-2],
// when its top bit is set, makes every allocation after the first (byte & 0x7F) fail, when its
// top two bits are 01 asks for another output size through KOVRADALTI_SetGIF_SKIA (from half to
// twice the size, see decode_frames), and when its top three bits are 001 hands frame mode a
// buffer of half the output rows. The caller's buffer is never larger than the library may write.
// The colour queries run after the parse. Every output byte is summed so that the sanitizers see
// each one read.
//
// Cost is capped the way the kovra tool caps it, so that a screen of 65535 x 65535 costs no more
// than a small one: the sample size is raised until the output has at most 16K pixels (big
// screens are decoded downscaled instead of refused, so their frames still reach every writer),
// and frame mode stops once 256K output pixels have been written (every frame writes the whole
// output), after at most 64 frames. Inputs come from the structure-aware GIF generator through
// the custom mutator (fuzz/generators).

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/input_source.h"
#include "kovra_gif.h"
#include "kovra_os.h"
#include "os/alloc_failure.h"

namespace {

constexpr int64_t kMaxOutputPixels = 1 << 14;
constexpr int64_t kFramePixelBudget = 1 << 18;
constexpr int kMaxFrames = 64;

int64_t reduced(int64_t side, int32_t sample) { return side < sample ? 1 : side / sample; }

// The smallest sample size from `wanted` up whose output fits kMaxOutputPixels, for the screen the
// header declares (the parse reads the header at the start of the input).
int32_t capped_sample(const uint8_t *data, size_t size, int32_t wanted) {
    if (size < 10) return wanted;
    const int64_t width = data[6] | (data[7] << 8), height = data[8] | (data[9] << 8);
    int32_t sample = wanted;
    while (reduced(width, sample) * reduced(height, sample) > kMaxOutputPixels) sample += 1 + sample / 4;
    return sample;
}

volatile uint32_t g_sink;

// Eight bytes a step: the loop's own comparisons are traced for the fuzzer, so a byte-wise loop
// would cost more than the decode.
void consume(const std::vector<uint8_t> &bytes) {
    uint64_t sum = 0;
    size_t i = 0;
    for (; i + 8 <= bytes.size(); i += 8) {
        uint64_t word;
        std::memcpy(&word, bytes.data() + i, 8);
        sum += word;
    }
    for (; i < bytes.size(); ++i) sum += bytes[i];
    g_sink = g_sink + static_cast<uint32_t>(sum ^ (sum >> 32));
}

struct Size {
    int32_t width, height;
    int64_t area() const { return static_cast<int64_t>(width) * height; }
};

// The output size a resize asks for: the current one times (1 + bits) / 2 per side, bits 0-1 for
// the width and 2-3 for the height (half to twice the size).
Size scaled(Size now, uint8_t how) {
    return {std::max(1, now.width * (1 + (how & 3)) / 2), std::max(1, now.height * (1 + ((how >> 2) & 3)) / 2)};
}

// Reads what the colour queries hand out (the second map call swaps red and blue back for
// format 8).
void query_colors(KOVRADALT_DecInfo *dec) {
    uint32_t count = 0, delay = 0;
    int32_t transparent = 0;
    if (KOVRADALTI_GetColorInfo(dec, &count, &transparent, &delay) == 0) return;
    for (int call = 0; call < 2; ++call) {
        const uint32_t *map = KOVRADALTI_GetColorMap(dec);
        uint32_t sum = 0;
        for (uint32_t i = 0; map != nullptr && i < std::min<uint32_t>(count, 256); ++i) sum += map[i];
        g_sink = g_sink + sum + delay + static_cast<uint32_t>(transparent);
    }
}

// What the option bytes ask for.
struct Road {
    int32_t format;
    kovra::fuzz::InputKind source;
    bool frame_mode, use_cache;
    uint8_t resize;     // 0, or how KOVRADALTI_SetGIF_SKIA changes the output size (see scaled)
    bool short_buffer;  // frame mode: the caller's buffer holds half the output rows
};

// The caller's buffer for `rows` rows of `size`, no larger than the library may write into (one
// byte a pixel for palette indexes, four otherwise and whenever the frame cache copies frames),
// so that a row or a pixel too many shows under ASan.
std::vector<uint8_t> caller_buffer(const Road &road, Size size, int32_t rows) {
    const size_t pixel_bytes = road.format == KOVRADALT_FORMAT_INDEX8 && !road.use_cache ? 1 : 4;
    return std::vector<uint8_t>(static_cast<size_t>(size.width) * static_cast<size_t>(rows) * pixel_bytes, 0);
}

void release_cache(uint8_t *(&cache)[kMaxFrames]) {
    auto **owned = static_cast<uint8_t **>(KOVRADALT_OsMalloc(sizeof cache));
    if (owned != nullptr) {
        std::memcpy(owned, cache, sizeof cache);
        KOVRADALTI_DeleteGIFInfo_SKIA(owned, kMaxFrames);
    } else {
        for (uint8_t *entry : cache) KOVRADALT_OsFree(entry);
    }
}

// A resize comes before the first frame, or in frame mode with bit 5 set after it (where the
// canvas made at the first size must refuse the next frame).
void decode_frames(KOVRADALT_DecInfo *dec, const Road &road) {
    Size size{dec->gif_info->out_width, dec->gif_info->out_height};
    const Size resized = road.resize != 0 ? scaled(size, road.resize) : size;
    if (size.area() > kMaxOutputPixels || resized.area() > kMaxOutputPixels) return;
    const bool resize_late = road.frame_mode && (road.resize & 0x20) != 0;
    if (road.resize != 0 && !resize_late) {
        if (KOVRADALTI_SetGIF_SKIA(dec, resized.width, resized.height) == 0) return;
        size = resized;
    }
    if (!road.frame_mode && !road.use_cache) {
        std::vector<uint8_t> out = caller_buffer(road, size, size.height);
        KOVRADALTI_DecodeGIF(dec, out.data(), size.width, size.height);
        consume(out);
        return;
    }
    const int64_t area = std::max(size.area(), resized.area());
    const int max_frames = static_cast<int>(std::clamp<int64_t>(kFramePixelBudget / area, 1, kMaxFrames));
    int32_t rows = road.short_buffer ? std::max(1, size.height / 2) : size.height;
    std::vector<uint8_t> out = caller_buffer(road, size, rows);
    uint8_t *cache[kMaxFrames] = {};
    uint32_t delays[kMaxFrames] = {};
    int frames = 0;
    for (; frames < max_frames; ++frames) {
        const int32_t result =
            KOVRADALTI_DecodeAGIF_SKIA(dec, out.data(), size.width, rows, frames, road.use_cache ? cache : nullptr, 0,
                                       0, 0, kMaxFrames, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, delays);
        consume(out);
        delays[frames] = dec->gif_total_delay;
        if (result != 1 || dec->gif_info == nullptr) break;
        if (resize_late && frames == 0) {
            if (KOVRADALTI_SetGIF_SKIA(dec, resized.width, resized.height) == 0) break;
            size = resized;
            rows = road.short_buffer ? std::max(1, size.height / 2) : size.height;
            out = caller_buffer(road, size, rows);
        }
    }
    if (road.use_cache && frames > 0 && dec->gif_info != nullptr) {
        KOVRADALTI_DecodeAGIF_SKIA(dec, out.data(), size.width, rows, 0, cache, 0, 0, 0, kMaxFrames, 0, 0, 0, 0, 0, 0,
                                   0, 0, 0, 0, delays);
        consume(out);
    }
    release_cache(cache);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3 || size > (1u << 24)) return 0;
    const uint8_t options = data[size - 1];
    const uint8_t failure = data[size - 2];
    const int32_t sample = capped_sample(data, size, 1 + (options & 3));
    const int32_t format_codes[4] = {KOVRADALT_FORMAT_RGBA32, KOVRADALT_FORMAT_BGRA32, KOVRADALT_FORMAT_INDEX8,
                                     KOVRADALT_FORMAT_INDEX8};
    const Road road{format_codes[(options >> 2) & 3],
                    static_cast<kovra::fuzz::InputKind>(((options >> 5) & 1) | ((options >> 6) & 2)),
                    (options & 0x10) != 0,
                    (options & 0x40) != 0,
                    static_cast<uint8_t>((failure & 0xC0) == 0x40 ? failure : 0),
                    (failure & 0xE0) == 0x20};
    const kovra::fuzz::InputSource source(data, size, road.source, road.format);
    KOVRADALT_DecInfo *dec = source.dec();
    if (dec == nullptr) return 0;
    if ((failure & 0x80) != 0) kovra::os::fail_allocations_after(failure & 0x7F);
    int marker = 0;
    if (KOVRADALTI_ParseGIFHeader_SKIA(dec->io, dec, sample, road.frame_mode ? &marker : nullptr) == 1) {
        query_colors(dec);
        decode_frames(dec, road);
    }
    kovra::os::stop_failing_allocations();
    if (dec->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(dec);
    return 0;
}
