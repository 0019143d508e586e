// The framework's frame cache in front of KOVRADALTI_DecodeAGIF: one buffer per frame, filled the
// first time a frame is decoded and copied out (without reading the stream) when the frame is
// asked for again. The cache array and its entries belong to the host, which releases them with
// KOVRADALTI_DeleteGIFInfo_SKIA; entries are allocated here with the platform allocator.

#include <cstring>

#include "gif/gif_alloc.h"
#include "kovra_gif.h"
#include "kovra_os.h"

extern "C" {

KOVRA_API int32_t KOVRADALTI_DecodeAGIF_SKIA(KOVRADALT_DecInfo *dec, uint8_t *out, int32_t width, int32_t height,
                                             int32_t frame_index, uint8_t **frame_cache, uint32_t, uint32_t,
                                             uint32_t, int32_t frame_count, uint32_t, uint32_t, uint32_t, uint32_t,
                                             uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                             const uint32_t *frame_delays) {
    // Only frames the cache has a slot for are cached.
    const bool cached = frame_cache != nullptr && frame_index >= 0 && frame_index < frame_count;
    if (!cached) return KOVRADALTI_DecodeAGIF(dec, out, width, height);
    if (dec == nullptr || out == nullptr || width < 1 || height < 1) return 0;
    const uint64_t size = static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 4u;

    uint8_t *&entry = frame_cache[frame_index];
    if (entry == nullptr) {
        auto *copy = static_cast<uint8_t *>(kovra::gif::alloc_zeroed(size));
        if (copy == nullptr) return 0;
        const int32_t result = KOVRADALTI_DecodeAGIF(dec, out, 0, height);
        std::memcpy(copy, out, static_cast<size_t>(size));
        entry = copy;
        return result;
    }

    uint32_t delay = 0;
    if (frame_index + 1 < frame_count) {
        if (frame_delays == nullptr) return KOVRADALTI_DecodeAGIF(dec, out, width, height);
        delay = frame_delays[frame_index + 1];
    }
    dec->gif_total_delay = delay;
    std::memcpy(out, entry, static_cast<size_t>(size));
    return 1;
}

KOVRA_API void KOVRADALTI_DeleteGIFInfo_SKIA(uint8_t **cache, int32_t count) {
    if (cache == nullptr) return;
    for (int32_t i = 0; i < count; ++i) {
        KOVRADALT_OsFree(cache[i]);
        cache[i] = nullptr;
    }
    KOVRADALT_OsFree(cache);
}

}  // extern "C"
