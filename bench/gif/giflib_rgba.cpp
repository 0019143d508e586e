// Benchmark baseline: giflib decodes from memory (DGifOpen + DGifSlurp), then every frame is
// expanded through its palette and composed onto a canvas by this library's rules at sample size
// 1, into one RGBA buffer reused from frame to frame. Same results as compose_frames(gif, 1) for
// files unmodelled() has nothing to say about, but written for speed: one palette lookup per
// pixel, the disposal and transparency cases chosen once per frame, whole rows converted with a
// single branch per pixel.
#include "gif_bench_support.h"
#include "gif_reference.h"
#include "memory_reader.h"

#include <gif_lib.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace kovra::bench {
using namespace kovra::gifref;
namespace {

static_assert(std::endian::native == std::endian::little, "RGBA words are stored little-endian");

// Colour word to the RGBA bytes of output format 7, read as a little-endian word: a colour word
// already is R | G << 8 | B << 16 | 0xFF << 24; unset becomes 0, canvas white gains its alpha.
inline uint32_t to_rgba(uint32_t word) { return word == kColorUnset ? 0u : (word | 0xFF000000u); }

void convert_row(const uint32_t *words, uint32_t *out, int count) {
    for (int i = 0; i < count; ++i) out[i] = to_rgba(words[i]);
}

void build_colors(const ColorMapObject *map, uint32_t *colors) {
    if (map == nullptr) {
        std::fill(colors, colors + 256, 0u);
        return;
    }
    std::fill(colors, colors + 256, kColorUnset);
    const int count = std::min(map->ColorCount, 256);
    for (int i = 0; i < count; ++i) {
        const GifColorType &c = map->Colors[i];
        colors[i] = 0xFF000000u | (uint32_t{c.Blue} << 16) | (uint32_t{c.Green} << 8) | (c.Red & 0xFEu);
    }
}

struct Control {
    int disposal = 0;
    bool transparency = false;
    int index = -1;
};

// One frame row composed into the canvas row and the output row.
template <int Disposal, bool Transparency>
void compose_span(const uint8_t *line, int count, const uint32_t *colors, int transparent, uint32_t clear,
                  uint32_t *canvas, uint32_t *out) {
    for (int x = 0; x < count; ++x) {
        const uint8_t i = line[x];
        const uint32_t c = colors[i];
        const bool hidden = Transparency && i == transparent;
        out[x] = to_rgba(hidden ? canvas[x] : c);
        if constexpr (Disposal == 2) {
            canvas[x] = clear;
        } else if constexpr (Disposal != 3) {
            if (!hidden) canvas[x] = c;
        }
    }
}

using SpanFn = void (*)(const uint8_t *, int, const uint32_t *, int, uint32_t, uint32_t *, uint32_t *);

SpanFn pick_span(const Control &control) {
    const int kind = control.disposal == 2 ? 2 : control.disposal == 3 ? 3 : 0;
    if (control.transparency) return kind == 2 ? compose_span<2, true> : kind == 3 ? compose_span<3, true> : compose_span<0, true>;
    return kind == 2 ? compose_span<2, false> : kind == 3 ? compose_span<3, false> : compose_span<0, false>;
}

void read_control(const SavedImage &image, Control &control) {
    for (int e = 0; e < image.ExtensionBlockCount; ++e) {
        const ExtensionBlock &block = image.ExtensionBlocks[e];
        if (block.Function != GRAPHICS_EXT_FUNC_CODE || block.ByteCount < 4) continue;
        control.disposal = (block.Bytes[0] >> 2) & 7;
        control.transparency = (block.Bytes[0] & 1) != 0;
        control.index = control.transparency ? block.Bytes[3] : -1;
    }
}

}  // namespace

int giflib_decode_rgba(const uint8_t *data, size_t size) {
    MemoryReader reader{data, size, 0};
    int error = 0;
    GifFileType *file = DGifOpen(&reader, read_memory, &error);
    if (file == nullptr) return -1;
    if (DGifSlurp(file) != GIF_OK || file->SWidth <= 0 || file->SHeight <= 0) {
        DGifCloseFile(file, &error);
        return -1;
    }
    const int W = file->SWidth, H = file->SHeight;
    const size_t pixels = static_cast<size_t>(W) * static_cast<size_t>(H);
    std::vector<uint32_t> canvas;
    std::vector<uint32_t> output(pixels, 0u);
    uint32_t colors[256];
    Control control;

    for (int n = 0; n < file->ImageCount; ++n) {
        const SavedImage &image = file->SavedImages[n];
        const GifImageDesc &d = image.ImageDesc;
        const ColorMapObject *map = d.ColorMap != nullptr ? d.ColorMap : file->SColorMap;
        read_control(image, control);
        const int count = map != nullptr ? map->ColorCount : 0;
        if (control.index > count) control = {control.disposal, false, -1};
        build_colors(map, colors);
        if (canvas.empty()) canvas.assign(pixels, control.transparency ? kColorUnset : kColorWhite);

        const uint32_t clear = control.transparency ? kColorUnset : kColorWhite;
        const SpanFn span = pick_span(control);
        const int left = d.Left, width = std::max(0, std::min(d.Width, W - d.Left));
        const int top = d.Top, bottom = std::min(d.Top + d.Height, H);
        // An interlaced frame that runs past the bottom is drawn only down to its first pass's
        // first row below the screen; its other rows keep the previous output.
        const bool cut = d.Interlace && d.Top + d.Height > H;
        for (int y = 0; y < H; ++y) {
            uint32_t *out_row = output.data() + static_cast<size_t>(y) * W;
            uint32_t *canvas_row = canvas.data() + static_cast<size_t>(y) * W;
            const bool inside = y >= top && y < bottom;
            if (inside && cut && (y - top) % 8 != 0) continue;
            if (!inside || left >= W) {
                if (!(cut && y >= top)) convert_row(canvas_row, out_row, W);
                continue;
            }
            convert_row(canvas_row, out_row, left);
            const uint8_t *line = image.RasterBits + static_cast<size_t>(y - top) * d.Width;
            span(line, width, colors, control.index, clear, canvas_row + left, out_row + left);
            convert_row(canvas_row + left + width, out_row + left + width, W - left - width);
        }
    }
    const int frames = file->ImageCount;
    DGifCloseFile(file, &error);
    return frames;
}

}  // namespace kovra::bench
