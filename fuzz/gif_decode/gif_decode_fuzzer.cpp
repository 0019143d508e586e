// Fuzzes the framework road of the GIF decoder: KOVRADALTI_ParseGIFHeader_SKIA, then
// KOVRADALTI_DecodeAGIF_SKIA frame after frame (with and without the frame cache), or
// KOVRADALTI_DecodeGIF in direct mode.
//
// The last two input bytes choose the road (they are also part of the GIF, which rarely
// matters): byte[-1] bits 0-1 sample size 1..4, bits 2-3 output format (7, 8, 13, 13), bit 4
// frame mode, bit 5 a caller stream instead of caller memory, bit 6 the frame cache; byte[-2],
// when its top bit is set, makes every allocation after the first (byte & 0x7F) fail. Every output
// byte is summed so that the sanitizers see each one read.
//
// Cost is capped the way the kovra tool caps it, so that a screen of 65535 x 65535 costs no more
// than a small one: the sample size is raised until the output has at most 64K pixels (big
// screens are decoded downscaled instead of refused, so their frames still reach every writer),
// and frame mode stops once half a megapixel of output has been written (every frame writes the whole
// output), after at most 64 frames. Inputs come from the structure-aware GIF generator through
// the custom mutator (fuzz/generators).

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "kovra_gif.h"
#include "kovra_os.h"
#include "os/alloc_failure.h"

namespace {

constexpr int64_t kMaxOutputPixels = 1 << 16;
constexpr int64_t kFramePixelBudget = 1 << 19;
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

struct Stream {
    const uint8_t *data;
    size_t size;
    size_t cursor;
};

uint32_t stream_read(void *handle, void *buffer, uint32_t count) {
    auto *s = static_cast<Stream *>(handle);
    const size_t n = std::min<size_t>(count, s->size - s->cursor);
    std::memcpy(buffer, s->data + s->cursor, n);
    s->cursor += n;
    return static_cast<uint32_t>(n);
}

uint32_t stream_skip(void *handle, void *, uint32_t count) {
    auto *s = static_cast<Stream *>(handle);
    s->cursor = std::min<size_t>(s->size, s->cursor + count);
    return static_cast<uint32_t>(s->cursor);
}

uint32_t stream_rewind(void *handle, void *, uint32_t) {
    static_cast<Stream *>(handle)->cursor = 0;
    return 0;
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

void decode_frames(KOVRADALT_DecInfo *dec, bool frame_mode, bool use_cache) {
    const DALTI_GIFDecoderInfo *rec = dec->gif_info;
    const int32_t w = rec->out_width, h = rec->out_height;
    const int64_t area = static_cast<int64_t>(w) * h;
    if (area > kMaxOutputPixels) return;
    const int max_frames = static_cast<int>(std::clamp<int64_t>(kFramePixelBudget / area, 1, kMaxFrames));
    std::vector<uint8_t> out(static_cast<size_t>(area) * 4, 0);
    if (!frame_mode && !use_cache) {
        KOVRADALTI_DecodeGIF(dec, out.data(), w, h);
        consume(out);
        return;
    }
    uint8_t *cache[kMaxFrames] = {};
    uint32_t delays[kMaxFrames] = {};
    int frames = 0;
    for (; frames < max_frames; ++frames) {
        const int32_t result =
            KOVRADALTI_DecodeAGIF_SKIA(dec, out.data(), w, h, frames, use_cache ? cache : nullptr, 0, 0, 0, kMaxFrames,
                                       0, 0, 0, 0, 0, 0, 0, 0, 0, 0, delays);
        consume(out);
        delays[frames] = dec->gif_total_delay;
        if (result != 1 || dec->gif_info == nullptr) break;
    }
    if (use_cache && frames > 0 && dec->gif_info != nullptr) {
        KOVRADALTI_DecodeAGIF_SKIA(dec, out.data(), w, h, 0, cache, 0, 0, 0, kMaxFrames, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                   delays);
        consume(out);
    }
    auto **owned = static_cast<uint8_t **>(KOVRADALT_OsMalloc(sizeof cache));
    if (owned != nullptr) {
        std::memcpy(owned, cache, sizeof cache);
        KOVRADALTI_DeleteGIFInfo_SKIA(owned, kMaxFrames);
    } else {
        for (uint8_t *entry : cache) KOVRADALT_OsFree(entry);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 3 || size > (1u << 24)) return 0;
    const uint8_t options = data[size - 1];
    const uint8_t failure = data[size - 2];
    const int32_t sample = capped_sample(data, size, 1 + (options & 3));
    const int32_t format_codes[4] = {KOVRADALT_FORMAT_RGBA32, KOVRADALT_FORMAT_BGRA32, KOVRADALT_FORMAT_INDEX8,
                                     KOVRADALT_FORMAT_INDEX8};
    const int32_t format = format_codes[(options >> 2) & 3];
    const bool frame_mode = (options & 0x10) != 0;
    const bool use_stream = (options & 0x20) != 0;
    const bool use_cache = (options & 0x40) != 0;

    std::vector<uint8_t> copy(data, data + size);
    Stream stream{copy.data(), copy.size(), 0};
    KOVRADALT_DecInfo *dec =
        use_stream ? KOVRADALT_CreateDecInfoWithStream(&stream, static_cast<int32_t>(size), stream_read, stream_skip,
                                                       stream_rewind, format, 0)
                   : KOVRADALT_CreateDecInfo(IO_KIND_MEMORY, copy.data(), static_cast<int32_t>(size), format, 0);
    if (dec == nullptr) return 0;
    if ((failure & 0x80) != 0) kovra::os::fail_allocations_after(failure & 0x7F);
    int marker = 0;
    if (KOVRADALTI_ParseGIFHeader_SKIA(dec->io, dec, sample, frame_mode ? &marker : nullptr) == 1) {
        decode_frames(dec, frame_mode, use_cache);
    }
    kovra::os::stop_failing_allocations();
    if (dec->gif_info != nullptr) KOVRADALTI_DeleteGIFInfo(dec);
    KOVRADALT_DestroyDecInfo(dec);
    return 0;
}
