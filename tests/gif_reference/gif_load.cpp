// Reads a GIF with giflib's record-level calls, keeping every frame and row delivered before a
// failure.
#include <gif_lib.h>

#include "gif_reference.h"
#include "memory_reader.h"

namespace kovra::gifref {
namespace {

std::vector<Rgb> palette_of(const ColorMapObject *map) {
    std::vector<Rgb> colors;
    for (int i = 0; map != nullptr && i < map->ColorCount; ++i) {
        colors.push_back({map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue});
    }
    return colors;
}

// Folds an extension (its label and first sub-block) into what the next frame will see.
void note_extension(int label, const uint8_t *block, Frame &next) {
    if (label == GRAPHICS_EXT_FUNC_CODE && block != nullptr) {
        next.control = {true, block[0], (block[1] >> 2) & 7, (block[1] & 1) && block[0] >= 4 ? block[4] : -1};
    } else if (label != COMMENT_EXT_FUNC_CODE && label != APPLICATION_EXT_FUNC_CODE &&
               label != PLAINTEXT_EXT_FUNC_CODE) {
        next.has_unknown_extension = true;
    }
}

// Reads the frame's rows (in the file's pass order) into `frame`; false when giflib fails.
bool read_rows(GifFileType *file, Frame &frame) {
    static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
    frame.indexes.assign(static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height), 0);
    for (int pass = 0; pass < (frame.interlaced ? 4 : 1); ++pass) {
        for (int y = frame.interlaced ? kStart[pass] : 0; y < frame.height; y += frame.interlaced ? kStep[pass] : 1) {
            if (DGifGetLine(file, frame.indexes.data() + static_cast<size_t>(y) * frame.width, frame.width) == GIF_ERROR)
                return false;
            ++frame.rows_decoded;
        }
    }
    return true;
}

bool walk(GifFileType *file, Gif &gif) {
    Frame pending;
    for (;;) {
        GifRecordType type;
        if (DGifGetRecordType(file, &type) == GIF_ERROR) return false;
        if (type == TERMINATE_RECORD_TYPE) return true;
        if (type == EXTENSION_RECORD_TYPE) {
            int label = 0;
            GifByteType *block = nullptr;
            if (DGifGetExtension(file, &label, &block) == GIF_ERROR) return false;
            note_extension(label, block, pending);
            while (block != nullptr) {
                if (DGifGetExtensionNext(file, &block) == GIF_ERROR) return false;
            }
            continue;
        }
        if (type != IMAGE_DESC_RECORD_TYPE || DGifGetImageDesc(file) == GIF_ERROR) return false;
        const GifImageDesc &d = file->Image;
        Frame &frame = gif.frames.emplace_back(std::move(pending));
        pending = Frame{};
        frame.left = d.Left;
        frame.top = d.Top;
        frame.width = d.Width;
        frame.height = d.Height;
        frame.interlaced = d.Interlace;
        frame.has_local_palette = d.ColorMap != nullptr;
        frame.local_palette = palette_of(d.ColorMap);
        if (frame.width > 0 && frame.height > 0) {
            if (!read_rows(file, frame)) return false;
        } else {
            gif.frames.pop_back();
            return false;
        }
    }
}

}  // namespace

Gif load_gif_memory(const uint8_t *data, size_t size) {
    Gif gif;
    MemoryReader reader{data, size, 0};
    int error = 0;
    GifFileType *file = DGifOpen(&reader, read_memory, &error);
    if (file == nullptr) return gif;
    gif.screen_width = file->SWidth;
    gif.screen_height = file->SHeight;
    gif.background_index = file->SBackGroundColor;
    gif.has_global_palette = file->SColorMap != nullptr;
    gif.global_palette = palette_of(file->SColorMap);
    gif.ok = walk(file, gif);
    DGifCloseFile(file, &error);
    return gif;
}

}  // namespace kovra::gifref
