#include "gif_reference.h"

#include <algorithm>

#include "memory_reader.h"

namespace kovra::gifref {
namespace {

struct Control {
    bool present = false, unknown_extension = false;
    int size = 0, disposal = 0, transparent = -1;  // -1: no transparency
};

// The frame's own control block (the last one before it) and whether an unknown extension came.
Control control_of(const SavedImage &image) {
    Control c;
    for (int i = 0; i < image.ExtensionBlockCount; ++i) {
        const ExtensionBlock &e = image.ExtensionBlocks[i];
        if (e.Function == GRAPHICS_EXT_FUNC_CODE) {
            c = {true, c.unknown_extension, e.ByteCount, 0, -1};
            if (e.ByteCount >= 4) c.disposal = (e.Bytes[0] >> 2) & 7, c.transparent = (e.Bytes[0] & 1) ? e.Bytes[3] : -1;
        } else if (e.Function != CONTINUE_EXT_FUNC_CODE && e.Function != COMMENT_EXT_FUNC_CODE &&
                   e.Function != APPLICATION_EXT_FUNC_CODE && e.Function != PLAINTEXT_EXT_FUNC_CODE) {
            c.unknown_extension = true;
        }
    }
    return c;
}

const ColorMapObject *palette(const GifFileType *gif, const SavedImage &image) {
    return image.ImageDesc.ColorMap != nullptr ? image.ImageDesc.ColorMap : gif->SColorMap;
}

// The transparent index (-1 for none) and disposal in force for `image`.
void advance(const GifFileType *gif, const SavedImage &image, int &transparent, int &disposal) {
    const Control c = control_of(image);
    if (c.present) transparent = c.transparent, disposal = c.disposal;
    const ColorMapObject *map = palette(gif, image);
    if (transparent > (map != nullptr ? map->ColorCount : 0)) transparent = -1;
}

// Screen coordinate that output coordinate k samples.
int source(int k, int screen, int out) { return static_cast<int>((int64_t{k} * screen + screen / 2) / out); }

void put_pixel(uint32_t word, int format, bool frame_row, uint8_t *out) {
    const bool unset = word == kColorUnset;
    if (format == 8 && frame_row) {
        *out++ = word & 0xFF;
        *out++ = (word >> 10) & 0xFF;
        *out++ = (word >> 20) & 0xFF;
    } else {
        for (int shift : {format == 8 ? 16 : 0, 8, format == 8 ? 0 : 16}) *out++ = unset ? 0 : (word >> shift) & 0xFF;
    }
    *out = unset && !(format == 8 && frame_row) ? 0 : 255;
}

// Frame rows the decoder delivers: all on the screen, but an interlaced frame stops at its first
// row (in pass order) below the screen.
std::vector<bool> reached_rows(const GifImageDesc &f, int screen_height) {
    static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    std::vector<bool> reached(static_cast<size_t>(f.Height), false);
    for (int pass = 0; pass < (f.Interlace ? 4 : 1); ++pass) {
        for (int y = f.Interlace ? kStart[pass] : 0; y < f.Height; y += f.Interlace ? kStep[pass] : 1) {
            if (f.Top + y >= screen_height) return reached;
            reached[static_cast<size_t>(y)] = true;
        }
    }
    return reached;
}

}  // namespace

Reference::Reference(const uint8_t *data, size_t size) {
    MemoryReader reader{data, size, 0};
    int error = 0;
    gif_ = DGifOpen(&reader, read_memory, &error);
    if (gif_ == nullptr) return;
    // A failed read leaves its last frame unfinished: it is not predicted.
    const int complete = DGifSlurp(gif_) == GIF_OK ? gif_->ImageCount : gif_->ImageCount - 1;
    const int W = gif_->SWidth, H = gif_->SHeight;
    if (W <= 0 || H <= 0 || std::max(W, H) > 10000) return;
    for (; static_cast<int>(predictable_) < complete; ++predictable_) {
        const SavedImage &image = gif_->SavedImages[predictable_];
        const GifImageDesc &f = image.ImageDesc;
        const Control c = control_of(image);
        if ((c.present && c.size != 4) || c.unknown_extension || std::max({f.Left, f.Top, f.Width, f.Height}) > 10000 ||
            f.Width <= 0 || f.Height <= 0 || int64_t{f.Width} >= int64_t{W} + 4096)
            break;
    }
}

Reference::~Reference() {
    int error = 0;
    if (gif_ != nullptr) DGifCloseFile(gif_, &error);
}

std::vector<std::vector<uint8_t>> Reference::compose(int sample_size, int format) const {
    std::vector<std::vector<uint8_t>> frames;
    if (predictable_ == 0) return frames;
    const int W = gif_->SWidth, H = gif_->SHeight, ow = std::max(W / sample_size, 1), oh = std::max(H / sample_size, 1);
    std::vector<uint32_t> canvas;
    std::vector<uint8_t> output(static_cast<size_t>(ow) * oh * 4, 0);
    int transparent = -1, disposal = 0;
    for (size_t n = 0; n < predictable_; ++n) {
        const SavedImage &image = gif_->SavedImages[n];
        const GifImageDesc &f = image.ImageDesc;
        advance(gif_, image, transparent, disposal);
        const ColorMapObject *map = palette(gif_, image);
        std::vector<uint32_t> colors(256, map != nullptr ? kColorUnset : 0u);
        for (int i = 0; map != nullptr && i < map->ColorCount && i < 256; ++i) {
            const GifColorType &c = map->Colors[i];
            colors[static_cast<size_t>(i)] = 0xFF000000u | (uint32_t{c.Blue} << 16) | (uint32_t{c.Green} << 8) | (c.Red & 0xFEu);
        }
        if (canvas.empty()) canvas.assign(output.size() / 4, transparent >= 0 ? kColorUnset : kColorWhite);
        const std::vector<bool> reached = reached_rows(f, H);
        // Below the rows above the frame (and the next one, unless the frame's first row gives
        // it), an interlaced frame reaching the screen's bottom leaves what it does not draw as
        // the caller's buffer held it.
        const bool keeps_old = f.Interlace && f.Top + f.Height >= H;
        int rows_above = static_cast<int>((int64_t{oh} * f.Top + H / 2) / H);
        if (rows_above > 0 && rows_above < oh && source(rows_above, H, oh) != f.Top) ++rows_above;
        for (int j = 0; j < oh; ++j) {
            const int fy = source(j, H, oh) - f.Top;
            const bool drawn = f.Left < W && fy >= 0 && fy < f.Height && reached[static_cast<size_t>(fy)];
            if (!drawn && keeps_old && j >= rows_above) continue;
            for (int k = 0; k < ow; ++k) {
                const int fx = source(k, W, ow) - f.Left;
                uint32_t &kept = canvas[static_cast<size_t>(j) * ow + k];
                uint32_t shown = kept;
                if (drawn && fx >= 0 && fx < f.Width) {
                    const int i = image.RasterBits[static_cast<size_t>(fy) * f.Width + fx];
                    if (i != transparent) shown = colors[static_cast<size_t>(i)];
                    if (disposal == 2) kept = transparent >= 0 ? kColorUnset : kColorWhite;
                    else if (disposal != 3) kept = shown;
                }
                put_pixel(shown, format, drawn, &output[(static_cast<size_t>(j) * ow + k) * 4]);
            }
        }
        frames.push_back(output);
    }
    return frames;
}

std::vector<uint8_t> Reference::first_indexes() const {
    if (predictable_ == 0 || gif_->ImageCount != 1) return {};
    const SavedImage &image = gif_->SavedImages[0];
    const GifImageDesc &f = image.ImageDesc;
    const int W = gif_->SWidth, H = gif_->SHeight;
    int transparent = -1, disposal = 0;
    advance(gif_, image, transparent, disposal);
    const bool covers = f.Left == 0 && f.Top == 0 && f.Width >= W && f.Height >= H;
    std::vector<uint8_t> out(static_cast<size_t>(W) * H, covers ? 0 : transparent >= 0 ? transparent : gif_->SBackGroundColor);
    for (int y = std::max(f.Top, 0); y < std::min(H, f.Top + f.Height); ++y) {
        for (int x = f.Left; x < std::min(W, f.Left + f.Width); ++x) out[static_cast<size_t>(y) * W + x] = image.RasterBits[static_cast<size_t>(y - f.Top) * f.Width + x - f.Left];
    }
    return out;
}

}  // namespace kovra::gifref
