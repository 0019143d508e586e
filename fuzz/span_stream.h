// A caller stream over the fuzz input, served through the library's read/skip/rewind callbacks,
// so every fuzz target can drive the stream source kind the same way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kovra::fuzz {

struct SpanStream {
    const uint8_t *data;
    size_t size, cursor;

    static uint32_t read(void *handle, void *buffer, uint32_t count) {
        auto *s = static_cast<SpanStream *>(handle);
        const size_t left = s->cursor < s->size ? s->size - s->cursor : 0;
        const size_t n = left < count ? left : count;
        if (n > 0) std::memcpy(buffer, s->data + s->cursor, n);
        s->cursor += n;
        return static_cast<uint32_t>(n);
    }

    // A negative skip arrives as a wrapped count and moves the cursor back.
    static uint32_t skip(void *handle, void *, uint32_t count) {
        auto *s = static_cast<SpanStream *>(handle);
        s->cursor += static_cast<int32_t>(count);
        return static_cast<uint32_t>(s->cursor);
    }

    static uint32_t rewind(void *handle, void *, uint32_t) {
        static_cast<SpanStream *>(handle)->cursor = 0;
        return 0;
    }
};

}  // namespace kovra::fuzz
