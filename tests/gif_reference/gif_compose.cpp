// Reference composition: giflib's frames drawn pixel by pixel by the rules in gif_reference.h.
#include <algorithm>

#include "gif_reference.h"

namespace kovra::gifref {
namespace {

struct OutSize {
    int width, height;
};

OutSize output_size(const Gif &gif, int sample) {
    return {std::max(gif.screen_width / sample, 1), std::max(gif.screen_height / sample, 1)};
}

// Screen coordinate that output coordinate k samples.
int source(int k, int screen, int out) { return static_cast<int>((int64_t{k} * screen + screen / 2) / out); }

std::vector<uint32_t> color_words(const Gif &gif, const Frame &frame) {
    const std::vector<Rgb> &palette = frame.has_local_palette ? frame.local_palette : gif.global_palette;
    if (!frame.has_local_palette && !gif.has_global_palette) return std::vector<uint32_t>(256, 0u);
    std::vector<uint32_t> words(256, kColorUnset);
    for (size_t i = 0; i < palette.size() && i < 256; ++i) {
        words[i] = 0xFF000000u | (uint32_t{palette[i].b} << 16) | (uint32_t{palette[i].g} << 8) | (palette[i].r & 0xFEu);
    }
    return words;
}

// The transparent index in force (-1 for none) and the disposal after `frame`.
void advance_control(const Gif &gif, const Frame &frame, int &transparent, int &disposal) {
    if (frame.control.present) {
        transparent = frame.control.transparent_index;
        disposal = frame.control.disposal;
    }
    const size_t count = frame.has_local_palette ? frame.local_palette.size() : gif.global_palette.size();
    if (transparent > static_cast<int>(count)) transparent = -1;
}

void put_pixel(uint32_t word, int format, bool frame_row, uint8_t *out) {
    const bool unset = word == kColorUnset;
    if (format == 8 && frame_row) {
        *out++ = word & 0xFF;
        *out++ = (word >> 10) & 0xFF;
        *out++ = (word >> 20) & 0xFF;
    } else {
        const int shift[3] = {format == 8 ? 16 : 0, 8, format == 8 ? 0 : 16};
        for (int c : shift) *out++ = unset ? 0 : (word >> c) & 0xFF;
    }
    *out = unset && !(format == 8 && frame_row) ? 0 : 255;
}

// Frame rows the decoder delivers: all on the screen, but an interlaced frame stops at its first
// row (in pass order) below the screen.
std::vector<bool> reached_rows(const Frame &frame, int screen_height) {
    static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    std::vector<bool> reached(static_cast<size_t>(frame.height), false);
    for (int pass = 0; pass < (frame.interlaced ? 4 : 1); ++pass) {
        for (int y = frame.interlaced ? kStart[pass] : 0; y < frame.height; y += frame.interlaced ? kStep[pass] : 1) {
            if (frame.top + y >= screen_height) return reached;
            reached[static_cast<size_t>(y)] = true;
        }
    }
    return reached;
}

}  // namespace

size_t predictable_frames(const Gif &gif) {
    for (size_t i = 0; i < gif.frames.size(); ++i) {
        const Frame &f = gif.frames[i];
        if ((f.control.present && f.control.block_size != 4) || std::max({f.left, f.top, f.width, f.height}) > 10000 ||
            f.has_unknown_extension || f.rows_decoded < f.height || int64_t{f.width} >= int64_t{gif.screen_width} + 4096)
            return i;
    }
    return gif.frames.size();
}

std::vector<std::vector<uint8_t>> compose_frames(const Gif &gif, int sample_size, int format) {
    std::vector<std::vector<uint8_t>> frames;
    if (gif.screen_width <= 0 || gif.screen_height <= 0 || std::max(gif.screen_width, gif.screen_height) > 10000)
        return frames;
    const OutSize out = output_size(gif, sample_size);
    const int W = gif.screen_width, H = gif.screen_height;
    std::vector<uint32_t> canvas;
    std::vector<uint8_t> output(static_cast<size_t>(out.width) * out.height * 4, 0);
    int transparent = -1, disposal = 0;
    for (size_t n = 0; n < predictable_frames(gif); ++n) {
        const Frame &frame = gif.frames[n];
        advance_control(gif, frame, transparent, disposal);
        const std::vector<uint32_t> colors = color_words(gif, frame);
        if (canvas.empty()) canvas.assign(output.size() / 4, transparent >= 0 ? kColorUnset : kColorWhite);
        const std::vector<bool> reached = reached_rows(frame, H);
        // Below the rows above the frame (and the next one, unless the frame's first row gives
        // it), an interlaced frame reaching the screen's bottom leaves what it does not draw as
        // the caller's buffer held it.
        const bool keeps_old = frame.interlaced && frame.top + frame.height >= H;
        int rows_above = static_cast<int>((int64_t{out.height} * frame.top + H / 2) / H);
        if (rows_above > 0 && rows_above < out.height && source(rows_above, H, out.height) != frame.top) ++rows_above;
        for (int j = 0; j < out.height; ++j) {
            const int fy = source(j, H, out.height) - frame.top;
            const bool drawn = frame.left < W && fy >= 0 && fy < frame.height && reached[static_cast<size_t>(fy)];
            if (!drawn && keeps_old && j >= rows_above) continue;
            uint32_t *canvas_row = canvas.data() + static_cast<size_t>(j) * out.width;
            uint8_t *dst = output.data() + static_cast<size_t>(j) * out.width * 4;
            for (int k = 0; k < out.width; ++k) {
                const int fx = source(k, W, out.width) - frame.left;
                uint32_t &kept = canvas_row[k];
                uint32_t shown = kept;
                if (drawn && fx >= 0 && fx < frame.width) {
                    const int i = frame.indexes[static_cast<size_t>(fy) * frame.width + fx];
                    const bool hidden = i == transparent;
                    if (!hidden) shown = colors[static_cast<size_t>(i)];
                    if (disposal == 2) {
                        kept = transparent >= 0 ? kColorUnset : kColorWhite;
                    } else if (disposal != 3) {
                        kept = shown;
                    }
                }
                put_pixel(shown, format, drawn, dst + 4 * k);
            }
        }
        frames.push_back(output);
    }
    return frames;
}

std::vector<uint8_t> frame_indexes(const Gif &gif, int sample_size) {
    if (gif.frames.empty() || gif.screen_width <= 0 || gif.screen_height <= 0) return {};
    const OutSize out = output_size(gif, sample_size);
    const Frame &frame = gif.frames[0];
    int transparent = -1, disposal = 0;
    advance_control(gif, frame, transparent, disposal);
    const bool covers = frame.left == 0 && frame.top == 0 && frame.width >= gif.screen_width &&
                        frame.height >= gif.screen_height;
    const int fill = covers ? 0 : transparent >= 0 ? transparent : gif.background_index;
    std::vector<uint8_t> result(static_cast<size_t>(out.width) * out.height, static_cast<uint8_t>(fill));
    for (int j = 0; j < out.height; ++j) {
        const int fy = source(j, gif.screen_height, out.height) - frame.top;
        for (int k = 0; k < out.width && fy >= 0 && fy < frame.height; ++k) {
            const int fx = source(k, gif.screen_width, out.width) - frame.left;
            if (fx >= 0 && fx < frame.width) result[static_cast<size_t>(j) * out.width + k] = frame.indexes[fy * frame.width + fx];
        }
    }
    return result;
}

}  // namespace kovra::gifref
