// Colour tables: 256 colour words built from a file's RGB triples. Red loses its lowest bit so
// that no real colour equals GIF_COLOR_UNSET, which fills every slot beyond the file's table and
// is drawn transparent.

#include "gif/color_words.h"
#include "kovra_gif.h"

extern "C" KOVRA_API void DALTI_MakeColorTable(const uint8_t *rgb, uint32_t count, uint32_t *table) {
    if (table == nullptr) return;
    if (count > DALTI_GIF_PALETTE_SLOTS) count = DALTI_GIF_PALETTE_SLOTS;
    if (rgb == nullptr) count = 0;
    for (uint32_t i = 0; i < count; ++i) {
        table[i] = kovra::gif::make_color_word(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
    }
    for (uint32_t i = count; i < DALTI_GIF_PALETTE_SLOTS; ++i) table[i] = GIF_COLOR_UNSET;
}
