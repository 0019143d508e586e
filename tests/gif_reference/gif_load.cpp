// Reads a GIF with giflib into the reference's plain records. The whole file goes through
// DGifSlurp; when that fails, the file is read again record by record with giflib's lower-level
// calls so that the frames (and rows) delivered before the failure are kept.
#include "gif_reference.h"
#include "memory_reader.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstring>

namespace kovra::gifref {
namespace {

std::vector<Rgb> palette_of(const ColorMapObject *map) {
    std::vector<Rgb> colors;
    if (map == nullptr) return colors;
    for (int i = 0; i < map->ColorCount; ++i) {
        const GifColorType &c = map->Colors[i];
        colors.push_back({c.Red, c.Green, c.Blue});
    }
    return colors;
}

std::string error_text(int code) {
    const char *text = GifErrorString(code);
    return text != nullptr ? text : "giflib error " + std::to_string(code);
}

// Folds one extension (its label and first sub-block) into what the next frame will see.
void note_extension(int function, const uint8_t *bytes, int count, Frame &next) {
    if (function == GRAPHICS_EXT_FUNC_CODE) {
        GraphicControl &gc = next.control;
        gc = GraphicControl{};
        gc.present = true;
        gc.block_size = count;
        if (count >= 4) {
            gc.disposal = (bytes[0] >> 2) & 7;
            gc.has_transparency = (bytes[0] & 1) != 0;
            gc.delay_ms = (bytes[1] | (bytes[2] << 8)) * 10;
            gc.transparent_index = gc.has_transparency ? bytes[3] : -1;
        }
    } else if (function != COMMENT_EXT_FUNC_CODE && function != APPLICATION_EXT_FUNC_CODE &&
               function != PLAINTEXT_EXT_FUNC_CODE) {
        next.has_unknown_extension = true;
    }
}

void read_screen(const GifFileType *file, Gif &gif) {
    gif.screen_width = file->SWidth;
    gif.screen_height = file->SHeight;
    gif.color_resolution = file->SColorResolution - 1;  // giflib adds 1 to bits 4-6
    gif.background_index = file->SBackGroundColor;
    gif.has_global_palette = file->SColorMap != nullptr;
    gif.global_palette = palette_of(file->SColorMap);
}

Frame frame_from_descriptor(const GifImageDesc &desc) {
    Frame frame;
    frame.left = desc.Left;
    frame.top = desc.Top;
    frame.width = desc.Width;
    frame.height = desc.Height;
    frame.interlaced = desc.Interlace;
    frame.has_local_palette = desc.ColorMap != nullptr;
    frame.local_palette = palette_of(desc.ColorMap);
    return frame;
}

void from_slurp(const GifFileType *file, Gif &gif) {
    read_screen(file, gif);
    for (int n = 0; n < file->ImageCount; ++n) {
        const SavedImage &image = file->SavedImages[n];
        Frame frame = frame_from_descriptor(image.ImageDesc);
        int function = -1;
        for (int e = 0; e < image.ExtensionBlockCount; ++e) {
            const ExtensionBlock &block = image.ExtensionBlocks[e];
            if (block.Function == CONTINUE_EXT_FUNC_CODE) continue;
            function = block.Function;
            note_extension(function, block.Bytes, block.ByteCount, frame);
        }
        // Control values carry over: a frame without its own block keeps the previous one's.
        frame.has_own_control = frame.control.present;
        if (!frame.control.present && !gif.frames.empty()) frame.control = gif.frames.back().control;
        size_t pixels = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
        frame.indexes.assign(image.RasterBits, image.RasterBits + pixels);
        frame.rows_decoded = frame.height;
        gif.frames.push_back(std::move(frame));
    }
}

// Record-by-record walk used after DGifSlurp failed: keeps every row giflib delivered.
void walk(GifFileType *file, Gif &gif) {
    read_screen(file, gif);
    Frame pending;
    for (;;) {
        GifRecordType type;
        if (DGifGetRecordType(file, &type) == GIF_ERROR) return;
        if (type == TERMINATE_RECORD_TYPE) return;
        if (type == EXTENSION_RECORD_TYPE) {
            int function = 0;
            GifByteType *block = nullptr;
            if (DGifGetExtension(file, &function, &block) == GIF_ERROR) return;
            if (block != nullptr) note_extension(function, block + 1, block[0], pending);
            while (block != nullptr) {
                if (DGifGetExtensionNext(file, &block) == GIF_ERROR) return;
            }
            continue;
        }
        if (type != IMAGE_DESC_RECORD_TYPE) return;
        if (DGifGetImageDesc(file) == GIF_ERROR) return;
        Frame frame = frame_from_descriptor(file->Image);
        frame.control = pending.control;
        frame.has_unknown_extension = pending.has_unknown_extension;
        frame.has_own_control = frame.control.present;
        if (!frame.control.present && !gif.frames.empty()) frame.control = gif.frames.back().control;
        pending = Frame{};
        if (frame.width <= 0 || frame.height <= 0) return;
        frame.indexes.assign(static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height), 0);
        static constexpr int kStart[4] = {0, 4, 2, 1};
        static constexpr int kStep[4] = {8, 8, 4, 2};
        int passes = frame.interlaced ? 4 : 1;
        gif.frames.push_back(frame);
        Frame &stored = gif.frames.back();
        for (int pass = 0; pass < passes; ++pass) {
            int start = frame.interlaced ? kStart[pass] : 0;
            int step = frame.interlaced ? kStep[pass] : 1;
            for (int y = start; y < frame.height; y += step) {
                uint8_t *row = stored.indexes.data() + static_cast<size_t>(y) * frame.width;
                if (DGifGetLine(file, row, frame.width) == GIF_ERROR) return;
                ++stored.rows_decoded;
            }
        }
    }
}

template <typename Open>
Gif load_with(Open open) {
    Gif gif;
    int error = 0;
    GifFileType *file = open(&error);
    if (file == nullptr) {
        gif.error = error_text(error);
        return gif;
    }
    if (DGifSlurp(file) == GIF_OK) {
        gif.ok = true;
        from_slurp(file, gif);
        DGifCloseFile(file, &error);
        return gif;
    }
    gif.error = error_text(file->Error);
    DGifCloseFile(file, &error);
    file = open(&error);
    if (file != nullptr) {
        walk(file, gif);
        DGifCloseFile(file, &error);
    }
    return gif;
}

}  // namespace

Gif load_gif_memory(const uint8_t *data, size_t size) {
    MemoryReader reader{data, size, 0};
    return load_with([&](int *error) {
        reader.position = 0;
        return DGifOpen(&reader, read_memory, error);
    });
}

}  // namespace kovra::gifref
