// Refilling the GIF input record from its source. The buffer always has DALTI_GIF_INPUT_CAPACITY
// bytes; unread bytes are moved to its start before new ones are appended behind them.

#include "gif/gif_input.h"

#include <cstring>

namespace kovra::gif {

int32_t read_source(KOVRADALT_IO *io, uint8_t *destination, int32_t count) {
    if (io == nullptr || count <= 0) return 0;
    const int32_t got = KOVRADALT_Read_IO(io, destination, count);
    if (got <= 0) return 0;
    return got > count ? count : got;
}

bool input_is_sound(const DALTI_GIFInput *input) {
    if (input == nullptr || input->buffer == nullptr) return false;
    if (input->avail < 0 || input->avail > DALTI_GIF_INPUT_CAPACITY) return false;
    if (input->avail == 0) return true;  // next is not read while nothing is unread
    const auto begin = reinterpret_cast<uintptr_t>(input->buffer);
    const auto next = reinterpret_cast<uintptr_t>(input->next);
    return next >= begin && next - begin <= static_cast<uintptr_t>(DALTI_GIF_INPUT_CAPACITY - input->avail);
}

int32_t refill_input(uint8_t *buffer, KOVRADALT_IO *io, int32_t *avail, uint8_t **next) {
    int32_t unread = *avail;
    if (unread < 0) unread = 0;
    if (unread > 0 && *next != buffer) std::memmove(buffer, *next, static_cast<size_t>(unread));
    const int32_t got = read_source(io, buffer + unread, DALTI_GIF_INPUT_CAPACITY - unread);
    *avail = unread + got;
    *next = buffer;
    return got;
}

bool ensure_input(DALTI_GIFInput *input, int32_t need) {
    if (input->avail >= need) return true;
    refill_input(input->buffer, input->source, &input->avail, &input->next);
    return input->avail >= need;
}

}  // namespace kovra::gif
