// Reference composition: the frames giflib decoded, drawn onto a canvas by this library's rules
// (see gif_reference.h for the rules). Written for clarity, pixel by pixel; the fast version used
// as the benchmark baseline is giflib_rgba.cpp.
#include "gif_reference.h"

#include <algorithm>

namespace kovra::gifref {
namespace {

constexpr int kMaxDescriptorField = 10000;

uint32_t color_word(const Rgb &c) {
    return 0xFF000000u | (uint32_t{c.b} << 16) | (uint32_t{c.g} << 8) | (c.r & 0xFEu);
}

void put_rgba(uint32_t word, uint8_t *out) {
    if (word == kColorUnset) {
        out[0] = out[1] = out[2] = out[3] = 0;
        return;
    }
    out[0] = word & 0xFF;
    out[1] = (word >> 8) & 0xFF;
    out[2] = (word >> 16) & 0xFF;
    out[3] = 255;
}

// Transparency as the library holds it while walking frames: the control block's values, with the
// "index above the table size switches it off" rule applied to the state that carries over.
struct ControlState {
    int disposal = 0;
    bool has_transparency = false;
    int transparent_index = -1;
};

int active_count(const Gif &gif, const Frame &frame) {
    if (frame.has_local_palette) return static_cast<int>(frame.local_palette.size());
    return gif.has_global_palette ? static_cast<int>(gif.global_palette.size()) : 0;
}

void advance_control(const Gif &gif, const Frame &frame, ControlState &state) {
    // A frame's own control block replaces the state (a transparency switched off earlier
    // included); without one the state carries over as it stands.
    if (frame.has_own_control) {
        state.disposal = frame.control.disposal;
        state.has_transparency = frame.control.has_transparency;
        state.transparent_index = frame.control.transparent_index;
    }
    if (state.transparent_index > active_count(gif, frame)) {
        state.has_transparency = false;
        state.transparent_index = -1;
    }
}

ControlState control_at(const Gif &gif, size_t index) {
    ControlState state;
    for (size_t i = 0; i <= index && i < gif.frames.size(); ++i)
        advance_control(gif, gif.frames[i], state);
    return state;
}

// Output rows a screen row lands on: the phase rule, at most one row when downscaling.
template <typename Fn>
void for_each_output_row(int64_t y, const OutSize &out, int screen_height, Fn fn) {
    const int64_t H = screen_height, h = out.height;
    int64_t j = y * h / H;
    int64_t phase = H / 2 - (y * h) % H;
    if (phase < 0) {
        ++j;
        phase += H;
    }
    for (; phase >= 0 && phase < h && j < h; phase += H, ++j) fn(static_cast<int>(j));
}

std::vector<int> source_columns(const Gif &gif, const OutSize &out) {
    std::vector<int> columns(static_cast<size_t>(out.width));
    const int64_t W = gif.screen_width, w = out.width;
    for (int64_t k = 0; k < w; ++k) columns[static_cast<size_t>(k)] = static_cast<int>((k * W + W / 2) / w);
    return columns;
}

// Frame rows in the order the decoder delivers them.
std::vector<int> decoding_order(const Frame &frame) {
    std::vector<int> rows;
    if (!frame.interlaced) {
        for (int y = 0; y < frame.height; ++y) rows.push_back(y);
        return rows;
    }
    static constexpr int kStart[4] = {0, 4, 2, 1};
    static constexpr int kStep[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass)
        for (int y = kStart[pass]; y < frame.height; y += kStep[pass]) rows.push_back(y);
    return rows;
}

}  // namespace

std::vector<uint32_t> color_words(const Gif &gif, size_t index) {
    const Frame &frame = gif.frames.at(index);
    const std::vector<Rgb> *palette = frame.has_local_palette ? &frame.local_palette
                                      : gif.has_global_palette ? &gif.global_palette
                                                               : nullptr;
    if (palette == nullptr) return std::vector<uint32_t>(256, 0u);
    std::vector<uint32_t> words(256, kColorUnset);
    for (size_t i = 0; i < palette->size() && i < 256; ++i) words[i] = color_word((*palette)[i]);
    return words;
}

OutSize output_size(const Gif &gif, int sample_size) {
    int s = std::max(sample_size, 1);
    return {gif.screen_width < s ? 1 : gif.screen_width / s, gif.screen_height < s ? 1 : gif.screen_height / s};
}

std::vector<Limit> unmodelled(const Gif &gif) {
    std::vector<Limit> limits;
    for (size_t i = 0; i < gif.frames.size(); ++i) {
        const Frame &f = gif.frames[i];
        if (f.control.present && f.control.block_size != 4)
            limits.push_back({i, "graphic control block of size " + std::to_string(f.control.block_size)});
        if (std::max({f.left, f.top, f.width, f.height}) > kMaxDescriptorField)
            limits.push_back({i, "image descriptor field above 10000"});
        if (f.has_unknown_extension) limits.push_back({i, "unknown extension label before the frame"});
        if (f.rows_decoded < f.height) limits.push_back({i, "giflib stopped inside the frame"});
        if (static_cast<int64_t>(f.width) >= static_cast<int64_t>(gif.screen_width) + 4096)
            limits.push_back({i, "frame wider than the decoder's line buffer"});
    }
    return limits;
}

std::vector<std::vector<uint8_t>> compose_frames(const Gif &gif, int sample_size) {
    std::vector<std::vector<uint8_t>> frames;
    if (gif.screen_width <= 0 || gif.screen_height <= 0 || sample_size < 1) return frames;
    std::vector<Limit> limits = unmodelled(gif);
    size_t frame_count = limits.empty() ? gif.frames.size() : limits.front().frame;
    if (frame_count == 0) return frames;

    const OutSize out = output_size(gif, sample_size);
    const int W = gif.screen_width, H = gif.screen_height;
    const size_t pixels = static_cast<size_t>(out.width) * static_cast<size_t>(out.height);
    const std::vector<int> columns = source_columns(gif, out);
    std::vector<uint32_t> canvas;
    std::vector<uint8_t> output(pixels * 4, 0);  // the caller's buffer, reused frame after frame
    ControlState control;

    for (size_t n = 0; n < frame_count; ++n) {
        const Frame &frame = gif.frames[n];
        advance_control(gif, frame, control);
        const std::vector<uint32_t> colors = color_words(gif, n);
        if (canvas.empty()) canvas.assign(pixels, control.has_transparency ? kColorUnset : kColorWhite);

        std::vector<bool> drawn(static_cast<size_t>(out.height), false);
        std::vector<uint32_t> row(static_cast<size_t>(out.width));
        // The decoder stops (without advancing) at the first frame row below the screen, and
        // draws nothing for a frame that starts at or right of the screen's right edge.
        if (frame.left < W) {
            for (int fy : decoding_order(frame)) {
                const int y = frame.top + fy;
                if (y >= H) break;
                const uint8_t *line = frame.indexes.data() + static_cast<size_t>(fy) * frame.width;
                for_each_output_row(y, out, H, [&](int j) {
                    uint32_t *canvas_row = canvas.data() + static_cast<size_t>(j) * out.width;
                    for (int k = 0; k < out.width; ++k) {
                        const int x = columns[static_cast<size_t>(k)];
                        uint32_t &kept = canvas_row[k];
                        if (x < frame.left || x >= frame.left + frame.width) {
                            row[static_cast<size_t>(k)] = kept;
                            continue;
                        }
                        const int i = line[x - frame.left];
                        const uint32_t c = colors[static_cast<size_t>(i)];
                        const bool transparent = control.has_transparency && i == control.transparent_index;
                        row[static_cast<size_t>(k)] = transparent ? kept : c;
                        if (control.disposal == 2)
                            kept = control.has_transparency ? kColorUnset : kColorWhite;
                        else if (control.disposal != 3 && !transparent)
                            kept = c;
                    }
                    uint8_t *dst = output.data() + static_cast<size_t>(j) * out.width * 4;
                    for (int k = 0; k < out.width; ++k) put_rgba(row[static_cast<size_t>(k)], dst + 4 * k);
                    drawn[static_cast<size_t>(j)] = true;
                });
            }
        }
        // Rows the frame did not draw show the canvas, but for an interlaced frame that reaches
        // the screen's bottom, rows inside it below the ones written above it keep the old output.
        const int64_t rows_above =
            (static_cast<int64_t>(out.height) * frame.top + H / 2) / H;
        const bool keeps_old = frame.interlaced && static_cast<int64_t>(frame.top) + frame.height >= H;
        for (int j = 0; j < out.height; ++j) {
            if (drawn[static_cast<size_t>(j)]) continue;
            if (keeps_old && j >= rows_above) continue;
            const uint32_t *src = canvas.data() + static_cast<size_t>(j) * out.width;
            uint8_t *dst = output.data() + static_cast<size_t>(j) * out.width * 4;
            for (int k = 0; k < out.width; ++k) put_rgba(src[k], dst + 4 * k);
        }
        frames.push_back(output);
    }
    return frames;
}

std::vector<uint8_t> frame_indexes(const Gif &gif, size_t index, int sample_size) {
    const OutSize out = output_size(gif, sample_size);
    std::vector<uint8_t> result;
    if (index >= gif.frames.size() || gif.screen_width <= 0 || gif.screen_height <= 0) return result;
    const Frame &frame = gif.frames[index];
    const ControlState control = control_at(gif, index);
    const int W = gif.screen_width, H = gif.screen_height;
    const bool covers = frame.left == 0 && frame.top == 0 && frame.width >= W && frame.height >= H;
    const uint8_t fill = static_cast<uint8_t>(control.has_transparency ? control.transparent_index & 0xFF
                                                                       : gif.background_index);
    result.assign(static_cast<size_t>(out.width) * static_cast<size_t>(out.height), covers ? 0 : fill);
    const std::vector<int> columns = source_columns(gif, out);
    for (int fy = 0; fy < frame.height; ++fy) {
        const int y = frame.top + fy;
        if (y >= H) break;
        const uint8_t *line = frame.indexes.data() + static_cast<size_t>(fy) * frame.width;
        for_each_output_row(y, out, H, [&](int j) {
            uint8_t *dst = result.data() + static_cast<size_t>(j) * out.width;
            for (int k = 0; k < out.width; ++k) {
                const int x = columns[static_cast<size_t>(k)];
                if (x >= frame.left && x < frame.left + frame.width) dst[k] = line[x - frame.left];
            }
        });
    }
    return result;
}

}  // namespace kovra::gifref
