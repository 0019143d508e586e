// Header parse: "GIF", two digits and a letter, the logical screen size, the packed byte, the
// background index and aspect ratio, then the global colour table of 2 << (packed & 7) entries.
// The version is not checked beyond its shape; a zero screen dimension is refused.

#include "gif/header.h"

#include <cstring>

#include "gif/gif_input.h"
#include "kovra_gif.h"

namespace kovra::gif {
namespace {

bool is_digit(uint8_t c) { return c >= '0' && c <= '9'; }

bool signature_ok(const uint8_t *h) {
    return h[0] == 'G' && h[1] == 'I' && h[2] == 'F' && is_digit(h[3]) && is_digit(h[4]) && h[5] >= 0x41 &&
           h[5] <= 0x7A;
}

}  // namespace

ScreenResult read_logical_screen(DALTI_GIFDecoderInfo *rec) {
    DALTI_GIFInput *input = rec->input;
    const uint8_t *h = input->next;
    if (!signature_ok(h)) return ScreenResult::kBadSignature;
    rec->screen_width = static_cast<int32_t>(peek_u16le(input, 6));
    rec->screen_height = static_cast<int32_t>(peek_u16le(input, 8));
    if (rec->screen_width == 0 || rec->screen_height == 0) return ScreenResult::kZeroSize;
    const uint8_t packed = h[10];
    rec->color_resolution = (packed >> 4) & 7u;
    rec->background_index = h[11];
    rec->aspect_ratio = h[12];
    skip_bytes(input, kHeaderBytes);
    rec->global_color_count = 0;
    if ((packed & 0x80u) == 0) {
        // Frames without a table of their own read it: no colour, fully transparent.
        std::memset(rec->global_colors, 0, DALTI_GIF_PALETTE_SLOTS * sizeof(uint32_t));
        return ScreenResult::kOk;
    }

    const uint32_t entries = 2u << (packed & 7u);
    const auto table_bytes = static_cast<int32_t>(3 * entries);
    if (!ensure_input(input, table_bytes)) return ScreenResult::kTableShort;
    DALTI_MakeColorTable(input->next, entries, rec->global_colors);
    rec->global_color_count = entries;
    skip_bytes(input, table_bytes);
    return ScreenResult::kOk;
}

}  // namespace kovra::gif

extern "C" KOVRA_API int32_t DALTI_ParseGIFHeader(void *ignored, DALTI_GIFDecoderInfo *rec) {
    (void)ignored;
    if (rec == nullptr || !kovra::gif::input_is_sound(rec->input) || rec->input->source == nullptr) return 0;
    if (rec->global_colors == nullptr) return 0;
    KOVRADALT_Seek_IO(rec->input->source, 0, 0);
    if (!kovra::gif::ensure_input(rec->input, kovra::gif::kHeaderBytes)) return 0;
    switch (kovra::gif::read_logical_screen(rec)) {
        case kovra::gif::ScreenResult::kOk:
            return 1;
        case kovra::gif::ScreenResult::kZeroSize:
            DALTI_DelGIFDecoderInfo(rec);
            return 0;
        default:
            return 0;
    }
}
