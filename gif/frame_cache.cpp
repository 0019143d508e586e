// The framework's frame cache in front of KOVRADALTI_DecodeAGIF: one buffer per frame, filled the
// first time a frame is decoded and copied out (without reading the stream) when the frame is
// asked for again. The cache array and its entries belong to the host, which releases them with
// KOVRADALTI_DeleteGIFInfo_SKIA; entries are allocated here with the platform allocator. The GIF
// record remembers each entry it made and the frame size it was made at: an entry asked for at
// another size, or one the record did not make, is not copied out, and the call fails.

#include <algorithm>
#include <cstring>

#include "gif/gif_alloc.h"
#include "kovra_gif.h"
#include "kovra_os.h"

// An entry this record made, and its size: an entry is copied out only into a frame of the size
// it was made at.
struct DALTI_CachedFrame {
    const uint8_t *entry;
    uint64_t bytes;
};

namespace {

// The record's slot for `frame_index`, made when missing; null when there is no room for it.
// Slots live as long as the record.
DALTI_CachedFrame *slot_for(DALTI_GIFDecoderInfo *rec, int32_t frame_index) {
    if (frame_index < rec->cached_frame_slots) return &rec->cached_frames[frame_index];
    const int64_t slots = std::max<int64_t>(int64_t{frame_index} + 1, int64_t{rec->cached_frame_slots} * 2);
    auto *grown = static_cast<DALTI_CachedFrame *>(kovra::gif::alloc_array_zeroed(slots, sizeof(DALTI_CachedFrame)));
    if (grown == nullptr) return nullptr;
    if (rec->cached_frame_slots > 0) {
        std::memcpy(grown, rec->cached_frames, sizeof(DALTI_CachedFrame) * static_cast<size_t>(rec->cached_frame_slots));
    }
    KOVRADALT_OsFree(rec->cached_frames);
    rec->cached_frames = grown;
    rec->cached_frame_slots = static_cast<int32_t>(slots);
    return &grown[frame_index];
}

// True when `entry` is the one this record made for the frame, at `bytes`.
bool made_here_at(const DALTI_GIFDecoderInfo *rec, int32_t frame_index, const uint8_t *entry, uint64_t bytes) {
    if (rec == nullptr || frame_index >= rec->cached_frame_slots) return false;
    const DALTI_CachedFrame &made = rec->cached_frames[frame_index];
    return made.entry == entry && made.bytes == bytes;
}

}  // namespace

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
        if (dec->gif_info == nullptr || slot_for(dec->gif_info, frame_index) == nullptr) return 0;
        if (size > UINT32_MAX) return 0;
        // Not cleared: the frame's every byte is copied in.
        auto *copy = static_cast<uint8_t *>(KOVRADALT_OsMalloc(static_cast<uint32_t>(size)));
        if (copy == nullptr) return 0;
        const int32_t result = KOVRADALTI_DecodeAGIF(dec, out, 0, height);
        std::memcpy(copy, out, static_cast<size_t>(size));
        entry = copy;
        // (A decode that could not go on may have released the record.)
        if (dec->gif_info != nullptr) dec->gif_info->cached_frames[frame_index] = {copy, size};
        return result;
    }

    uint32_t delay = 0;
    if (frame_index + 1 < frame_count) {
        if (frame_delays == nullptr) return KOVRADALTI_DecodeAGIF(dec, out, width, height);
        delay = frame_delays[frame_index + 1];
    }
    // An entry of another size, or one this record did not make, cannot be copied out.
    if (!made_here_at(dec->gif_info, frame_index, entry, size)) return 0;
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
