// The inverse-DCT choices handed to the header side per output scale, and the log2 helper used
// with the scale codes.

#include "kovra_jpeg.h"

extern "C" {

KOVRA_API DALTJ_IdctFn DALTJ_GetDctMethod2to1(DALTJ_DecoderInfo *) { return DALTJ_DoIdct_4x4; }
KOVRA_API DALTJ_IdctFn DALTJ_GetDctMethod4to1(DALTJ_DecoderInfo *) { return DALTJ_DoIdct_2x2; }
KOVRA_API DALTJ_IdctFn DALTJ_GetDctMethod8to1(DALTJ_DecoderInfo *) { return DALTJ_DoIdct_1x1; }

// -1 for 0; otherwise the halvings (towards zero) that bring n to a magnitude below 2:
// floor(log2 n) for positive n, and the same for -n when n is negative.
KOVRA_API int32_t DALTJ_LOGN(int32_t n) {
    if (n == 0) return -1;
    int32_t halvings = 0;
    while (n >= 2 || n <= -2) {
        n /= 2;
        ++halvings;
    }
    return halvings;
}

}  // extern "C"
