#include "composition_model.h"

#include "kovra_gif.h"

namespace kovra::test {

namespace {
constexpr uint32_t kWhite = 0x00FFFFFFu;

// Entries the file's table has: the palette padded to a power of two.
int table_entries(const ModelFrame &f) { return 2 << size_bits_for(f.palette.size()); }

uint32_t color_of(const ModelFrame &f, uint8_t i) {
    if (i >= table_entries(f)) return GIF_COLOR_UNSET;
    return i < f.palette.size() ? color_word(f.palette[i]) : color_word(Rgb{0, 0, 0});
}
}  // namespace

uint32_t color_word(const Rgb &c) {
    return 0xFF000000u | (uint32_t{c.b} << 16) | (uint32_t{c.g} << 8) | (c.r & 0xFEu);
}

std::vector<std::vector<uint32_t>> compose_frames(int screen_w, int screen_h, const std::vector<ModelFrame> &frames) {
    std::vector<std::vector<uint32_t>> out;
    if (frames.empty()) return out;
    const bool first_transparent =
        frames[0].transparency && frames[0].transparent_index <= table_entries(frames[0]);
    std::vector<uint32_t> canvas(static_cast<size_t>(screen_w) * screen_h, first_transparent ? GIF_COLOR_UNSET : kWhite);
    for (const ModelFrame &f : frames) {
        const bool transparency = f.transparency && f.transparent_index <= table_entries(f);
        std::vector<uint32_t> shown = canvas;
        for (int y = 0; y < f.height; ++y) {
            for (int x = 0; x < f.width; ++x) {
                const int sx = f.left + x, sy = f.top + y;
                if (sx >= screen_w || sy >= screen_h) continue;
                const uint8_t i = f.indexes[static_cast<size_t>(y) * f.width + x];
                const size_t at = static_cast<size_t>(sy) * screen_w + sx;
                const uint32_t c = color_of(f, i);
                const uint32_t pixel = (transparency && i == f.transparent_index) ? canvas[at] : c;
                shown[at] = pixel;
                if (f.disposal == 2) {
                    canvas[at] = transparency ? GIF_COLOR_UNSET : kWhite;
                } else if (f.disposal != 3) {
                    canvas[at] = pixel;
                }
            }
        }
        out.push_back(shown);
    }
    return out;
}

Bytes encode_animation(int screen_w, int screen_h, const std::vector<ModelFrame> &frames, bool interlaced) {
    GifBuilder gif(screen_w, screen_h);
    for (const ModelFrame &f : frames) {
        gif.graphic_control(f.disposal, f.transparency, 10, f.transparent_index);
        ImageSpec spec = frame_spec(f.left, f.top, f.width, f.height, f.indexes, interlaced);
        spec.local = f.palette;
        spec.min_code_size = 8;
        gif.image(spec);
    }
    return gif.trailer().bytes();
}

int sampled_source(int k, int screen, int out) {
    return static_cast<int>((static_cast<int64_t>(k) * screen + screen / 2) / out);
}

Bytes to_rgba(const std::vector<uint32_t> &words, int screen_w, int screen_h, int out_w, int out_h) {
    Bytes out;
    for (int j = 0; j < out_h; ++j) {
        for (int k = 0; k < out_w; ++k) {
            const uint32_t w = words[static_cast<size_t>(sampled_source(j, screen_h, out_h)) * screen_w +
                                     sampled_source(k, screen_w, out_w)];
            if (w == GIF_COLOR_UNSET) {
                out.insert(out.end(), {0, 0, 0, 0});
            } else {
                out.insert(out.end(), {static_cast<uint8_t>(w), static_cast<uint8_t>(w >> 8),
                                       static_cast<uint8_t>(w >> 16), 255});
            }
        }
    }
    return out;
}

Bytes sample_indexes(const Bytes &indexes, int screen_w, int screen_h, int out_w, int out_h) {
    Bytes out;
    for (int j = 0; j < out_h; ++j) {
        for (int k = 0; k < out_w; ++k) {
            out.push_back(indexes[static_cast<size_t>(sampled_source(j, screen_h, out_h)) * screen_w +
                                  sampled_source(k, screen_w, out_w)]);
        }
    }
    return out;
}

}  // namespace kovra::test
