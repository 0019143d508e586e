// Encoder side of the test GIFs: giflib writes into a byte vector through its output callback.
#include "gif_builder.h"

#include <gif_lib.h>

#include <stdexcept>

namespace kovra::gifref::test {
namespace {

int write_vector(GifFileType *file, const GifByteType *bytes, int count) {
    auto *out = static_cast<std::vector<uint8_t> *>(file->UserData);
    out->insert(out->end(), bytes, bytes + count);
    return count;
}

ColorMapObject *make_map(const std::vector<Rgb> &palette) {
    if (palette.empty()) return nullptr;
    std::vector<GifColorType> colors;
    for (const Rgb &c : palette) colors.push_back({c.r, c.g, c.b});
    return GifMakeMapObject(static_cast<int>(colors.size()), colors.data());
}

void check(int result, const char *what) {
    if (result != GIF_OK) throw std::runtime_error(what);
}

}  // namespace

std::vector<uint8_t> build_gif(int width, int height, const std::vector<Rgb> &global_palette,
                               const std::vector<FrameSpec> &frames, int background) {
    std::vector<uint8_t> bytes;
    int error = 0;
    GifFileType *file = EGifOpen(&bytes, write_vector, &error);
    if (file == nullptr) throw std::runtime_error("EGifOpen");
    EGifSetGifVersion(file, true);
    ColorMapObject *global = make_map(global_palette);
    check(EGifPutScreenDesc(file, width, height, 8, background, global), "screen");
    GifFreeMapObject(global);
    for (const FrameSpec &f : frames) {
        if (f.control) {
            GraphicsControlBlock gcb{f.disposal, false, 10, f.transparent_index};
            GifByteType block[4];
            EGifGCBToExtension(&gcb, block);
            check(EGifPutExtension(file, GRAPHICS_EXT_FUNC_CODE, 4, block), "control");
        }
        ColorMapObject *local = make_map(f.local_palette);
        check(EGifPutImageDesc(file, f.left, f.top, f.width, f.height, f.interlaced, local), "descriptor");
        GifFreeMapObject(local);
        std::vector<int> order;
        if (f.interlaced) {
            static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
            for (int pass = 0; pass < 4; ++pass)
                for (int y = kStart[pass]; y < f.height; y += kStep[pass]) order.push_back(y);
        } else {
            for (int y = 0; y < f.height; ++y) order.push_back(y);
        }
        for (int y : order) {
            std::vector<GifPixelType> row(f.indexes.begin() + y * f.width, f.indexes.begin() + (y + 1) * f.width);
            check(EGifPutLine(file, row.data(), f.width), "line");
        }
    }
    check(EGifCloseFile(file, &error), "close");
    return bytes;
}

}  // namespace kovra::gifref::test
