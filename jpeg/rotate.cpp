// Rotation by a quarter turn is not carried out by this library: the entry point keeps its
// results for the codes a caller may pass (1 for 0, 1 and 9, 0 otherwise) and moves no pixels.
// Its free of a null pointer does nothing.

#include "kovra_jpeg.h"

extern "C" KOVRA_API uint32_t DALTJ_RotateImage90(uint32_t, uint32_t, uint32_t, uint32_t code) {
    if (code != 0 && code != 1 && code != 9) return 0;
    KOVRADALT_OsFree(nullptr);
    return 1;
}
