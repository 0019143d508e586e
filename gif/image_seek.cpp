// Finding the next frame: scans the stream from the input's position for the next usable image
// descriptor, taking graphic control data on the way, and leaves the input on the frame's first
// data sub-block size byte with the frame's geometry, colour table and code size in the record.
//
// The scan is tolerant: any byte other than an extension (0x21) or image (0x2C) introducer is
// stepped over, the trailer included (the input then runs dry and the seek fails). Graphic
// control values stay in force until another graphic control block replaces them. A descriptor
// with a side above 10000 is passed over byte by byte after its separator. Comment, application
// and plain-text extensions are skipped sub-block by sub-block; when such an extension's first
// size byte is 0, the byte after it is consumed too if it is not 0 (kept as the stream reader
// has always behaved). A transparent index above the colour count switches transparency off; an
// index equal to the count is kept.

#include "gif/gif_input.h"
#include "kovra_gif.h"

namespace {

using namespace kovra::gif;

constexpr uint8_t kExtension = 0x21;
constexpr uint8_t kImage = 0x2C;
constexpr uint8_t kGraphicControl = 0xF9;

enum class Step { kGoOn, kFound, kFail };

Step read_graphic_control(DALTI_GIFDecoderInfo *rec, DALTI_GIFInput *input) {
    if (!ensure_input(input, 1) || take_byte(input) != 4) return Step::kFail;
    if (!ensure_input(input, 4)) return Step::kFail;
    const uint8_t packed = input->next[0];
    rec->disposal_method = (packed >> 2) & 7u;
    rec->has_transparency = packed & 1u;
    rec->frame_delay = peek_u16le(input, 1) * 10u;
    rec->transparent_index = rec->has_transparency != 0 ? input->next[3] : -1;
    skip_bytes(input, 4);
    return Step::kGoOn;
}

Step skip_sub_blocks(DALTI_GIFInput *input) {
    if (!ensure_input(input, 1)) return Step::kFail;
    int32_t size = take_byte(input);
    if (size == 0) {
        if (ensure_input(input, 1) && input->next[0] != 0) skip_bytes(input, 1);
        return Step::kGoOn;
    }
    while (size != 0) {
        if (!ensure_input(input, size + 1)) return Step::kFail;
        skip_bytes(input, size);
        size = take_byte(input);
    }
    return Step::kGoOn;
}

Step read_extension(DALTI_GIFDecoderInfo *rec, DALTI_GIFInput *input) {
    if (!ensure_input(input, 1)) return Step::kFail;
    const uint8_t label = take_byte(input);
    if (label == kGraphicControl) return read_graphic_control(rec, input);
    if (label == 0xFE || label == 0xFF || label == 0x01) return skip_sub_blocks(input);
    return Step::kGoOn;
}

void choose_colors(DALTI_GIFDecoderInfo *rec, DALTI_GIFInput *input, uint8_t packed) {
    if ((packed & 0x80u) != 0) {
        const uint32_t entries = 2u << (packed & 7u);
        DALTI_MakeColorTable(input->next, entries, rec->local_colors);
        skip_bytes(input, static_cast<int32_t>(3 * entries));
        rec->local_color_count = entries;
        rec->active_colors = rec->local_colors;
        rec->active_color_count = entries;
    } else {
        rec->active_colors = rec->global_colors;
        rec->active_color_count = rec->global_color_count;
    }
}

Step read_descriptor(DALTI_GIFDecoderInfo *rec, DALTI_GIFInput *input) {
    if (!ensure_input(input, 9)) return Step::kFail;
    const uint32_t left = peek_u16le(input, 0);
    const uint32_t top = peek_u16le(input, 2);
    const uint32_t width = peek_u16le(input, 4);
    const uint32_t height = peek_u16le(input, 6);
    if (left > DALTI_GIF_MAX_FRAME_SIDE || top > DALTI_GIF_MAX_FRAME_SIDE || width > DALTI_GIF_MAX_FRAME_SIDE ||
        height > DALTI_GIF_MAX_FRAME_SIDE) {
        return Step::kGoOn;  // scanning resumes right after the separator
    }
    const uint8_t packed = input->next[8];
    if ((packed & 0x80u) != 0 && !ensure_input(input, 9 + static_cast<int32_t>(3 * (2u << (packed & 7u))))) {
        return Step::kFail;
    }
    rec->frame_left = static_cast<int32_t>(left);
    rec->frame_top = static_cast<int32_t>(top);
    rec->frame_width = static_cast<int32_t>(width);
    rec->frame_height = static_cast<int32_t>(height);
    skip_bytes(input, 9);
    choose_colors(rec, input, packed);
    rec->interlace_pass = (packed >> 6) & 1u;
    rec->interlaced = (packed >> 6) & 1u;
    if (!ensure_input(input, 1)) return Step::kFail;
    rec->lzw_min_code_size = take_byte(input);
    return Step::kFound;
}

}  // namespace

extern "C" KOVRA_API int32_t DALTI_SeekImageData(void *ignored, DALTI_GIFDecoderInfo *rec) {
    (void)ignored;
    if (rec == nullptr || !input_is_sound(rec->input) || rec->local_colors == nullptr) return 0;
    DALTI_GIFInput *input = rec->input;
    for (;;) {
        if (!ensure_input(input, 1)) return 0;
        const uint8_t introducer = take_byte(input);
        Step step = Step::kGoOn;
        if (introducer == kExtension) {
            step = read_extension(rec, input);
        } else if (introducer == kImage) {
            step = read_descriptor(rec, input);
        }
        if (step == Step::kFail) return 0;
        if (step == Step::kFound) break;
    }
    if (rec->transparent_index > static_cast<int64_t>(rec->active_color_count)) {
        rec->has_transparency = 0;
        rec->transparent_index = -1;
    }
    rec->out_row = 0;
    return 1;
}
