// Row writers of output paths whose pixel work this library does not carry out: each only
// counts the row in the context, so the drivers' row accounting and cancel checks still run.

#include "color/output_rows.h"

using kovra::color::count_row;

extern "C" {
KOVRA_API void DALTJ_FastYcbcrWriteOutput(DALTJ_DecoderInfo *ctx) { count_row(ctx); }
KOVRA_API void DALTJ_FastYcbcrUpscaleWriteOutput(DALTJ_DecoderInfo *ctx) { count_row(ctx); }
KOVRA_API void DALTJ_RGBWriteOutput1to1(DALTJ_DecoderInfo *ctx) { count_row(ctx); }
KOVRA_API void DALTJ_RGBWriteOutput(DALTJ_DecoderInfo *ctx) { count_row(ctx); }
KOVRA_API void DALTJ_CMYKWriteOutput1to1(DALTJ_DecoderInfo *ctx) { count_row(ctx); }
KOVRA_API void DALTJ_YCCKWriteOutput1to1(DALTJ_DecoderInfo *ctx) { count_row(ctx); }
}  // extern "C"
