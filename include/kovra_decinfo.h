/* The decoder information record: one per image. It owns the input source, carries the caller's
 * output settings, receives what parsing finds, and holds the progress check. Also the library's
 * global error word and the shared type and format codes. */
#ifndef KOVRA_DECINFO_H
#define KOVRA_DECINFO_H

#include <stddef.h>
#include <stdint.h>

#include "kovra_export.h"
#include "kovra_io.h"

KOVRA_BEGIN_C

/* Values of gKOVRADALT_Error. Public entry points clear it to 0 on entry. */
enum {
    KOVRADALT_ERR_NONE = 0,
    KOVRADALT_ERR_NULL_ARGUMENT = 1,
    KOVRADALT_ERR_NO_MEMORY = 4,
    KOVRADALT_ERR_READ_OR_PARSE = 5,
    KOVRADALT_ERR_SOURCE_KIND = 11,
    KOVRADALT_ERR_EMPTY_MEMORY = 12,
    KOVRADALT_ERR_CANNOT_OPEN = 13
};

KOVRA_API extern int32_t gKOVRADALT_Error;

/* Image type codes. */
enum {
    KOVRADALT_TYPE_UNKNOWN = 0,
    KOVRADALT_TYPE_JPEG = 1,
    KOVRADALT_TYPE_BMP = 2,
    KOVRADALT_TYPE_PNG = 3,
    KOVRADALT_TYPE_GIF = 4,
    KOVRADALT_TYPE_WBMP = 5,
    KOVRADALT_TYPE_ANIMATED_GIF = 6
};

/* Output pixel format codes (the caller's output_format). */
enum {
    KOVRADALT_FORMAT_GREY8 = 4,      /* one grey byte per pixel */
    KOVRADALT_FORMAT_XRGB32 = 5,     /* bytes 255, R, G, B */
    KOVRADALT_FORMAT_RGBA32 = 7,     /* bytes R, G, B, A */
    KOVRADALT_FORMAT_BGRA32 = 8,     /* bytes B, G, R, A */
    KOVRADALT_FORMAT_INDEX8 = 13,    /* one palette index per pixel */
    KOVRADALT_FORMAT_YUV420P = 14,   /* Y every row, Cb and Cr on even rows */
    KOVRADALT_FORMAT_YUV444P = 15    /* three full planes */
};

/* The caller's progress callback: returns 0 to cancel, non-zero to go on. */
typedef int32_t (*KOVRADALT_ProgressFn)(void *context, uint32_t percent);
typedef struct KOVRADALT_Progress {
    void *context;
    KOVRADALT_ProgressFn callback; /* may be NULL */
} KOVRADALT_Progress;

KOVRA_ASSERT_WORD(KOVRADALT_Progress, context, 0);
KOVRA_ASSERT_WORD(KOVRADALT_Progress, callback, 1);
KOVRA_ASSERT_WORDS(KOVRADALT_Progress, 2);

/* Progress / cancel check: (record, units done) -> 1 go on, 0 stop. */
typedef uint32_t (*KOVRADALT_CheckFunc)(void *context, uint32_t units_done);

struct DALTI_GIFDecoderInfo;

/* 81 words on ILP32, zero-filled at creation; reserved words stay zero. */
typedef struct KOVRADALT_DecInfo {
    KOVRADALT_IO *io;                   /* 0: owned source */
    int32_t output_format;              /* 1 */
    uint32_t option;                    /* 2 */
    uint32_t reserved_3;
    int32_t mode;                       /* 4: 0..4 */
    uint32_t width;                     /* 5 */
    uint32_t height;                    /* 6 */
    uint32_t scaled_width;              /* 7 */
    uint32_t progress_total;            /* 8: also the scaled height on the framework GIF path */
    uint32_t reserved_9;
    int32_t image_type;                 /* 10 */
    KOVRADALT_CheckFunc check_fn;       /* 11 */
    uint32_t reserved_12;
    KOVRADALT_Progress *progress;       /* 13: owned */
    uint32_t reserved_14;
    struct DALTI_GIFDecoderInfo *gif_info; /* 15 */
    uint32_t reserved_16[2];
    uint32_t gif_total_delay;           /* 18: milliseconds */
    uint32_t reserved_19;
    void *aux_buffer_1;                 /* 20: owned */
    void *aux_buffer_2;                 /* 21: owned */
    int32_t region_scale;               /* 22: 1, 2, 4 or 8 */
    void *aux_buffer_3;                 /* 23: owned */
    int32_t region_enabled;             /* 24 */
    int32_t region_left;                /* 25 */
    int32_t region_top;                 /* 26 */
    int32_t region_width;               /* 27 */
    int32_t region_height;              /* 28 */
    uint32_t reserved_29[4];
    struct KOVRADALT_DecInfo *chain_state[8]; /* 33..40: child slot table */
    struct KOVRADALT_DecInfo *chain_parent;   /* 41 */
    uint32_t chain_flag;                /* 42 */
    int32_t chain_slot;                 /* 43: index in the parent's chain_state */
    uint32_t reserved_44[2];
    int32_t region_ready;               /* 46 */
    void *aux_buffer_4;                 /* 47: owned */
    uint32_t reserved_48[24];
    void *aux_buffer_5;                 /* 72: owned */
    uint32_t reserved_73[4];
    uint32_t interlaced;                /* 77 */
    uint32_t header_extra_5;            /* 78 */
    uint32_t header_extra_7;            /* 79 */
    uint32_t header_extra_6;            /* 80 */
} KOVRADALT_DecInfo;

KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, io, 0);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, output_format, 1);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, option, 2);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, mode, 4);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, width, 5);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, height, 6);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, scaled_width, 7);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, progress_total, 8);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, image_type, 10);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, check_fn, 11);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, progress, 13);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, gif_info, 15);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, gif_total_delay, 18);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, aux_buffer_1, 20);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, aux_buffer_2, 21);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_scale, 22);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, aux_buffer_3, 23);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_enabled, 24);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_left, 25);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_top, 26);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_width, 27);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_height, 28);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, chain_state, 33);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, chain_parent, 41);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, chain_flag, 42);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, chain_slot, 43);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, region_ready, 46);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, aux_buffer_4, 47);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, aux_buffer_5, 72);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, interlaced, 77);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, header_extra_5, 78);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, header_extra_7, 79);
KOVRA_ASSERT_WORD(KOVRADALT_DecInfo, header_extra_6, 80);
KOVRA_ASSERT_WORDS(KOVRADALT_DecInfo, 81);

KOVRA_API KOVRADALT_DecInfo *KOVRADALT_CreateDecInfo(int32_t kind, void *source, int32_t size,
                                                      int32_t output_format, uint32_t option);
KOVRA_API KOVRADALT_DecInfo *KOVRADALT_CreateDecInfoWithStream(void *handle, int32_t size,
                                                                KOVRADALT_StreamFn read_fn,
                                                                KOVRADALT_StreamFn skip_fn,
                                                                KOVRADALT_StreamFn rewind_fn,
                                                                int32_t output_format, uint32_t option);
KOVRA_API int32_t KOVRADALT_DestroyDecInfo(KOVRADALT_DecInfo *dec);
/* Frees a caller memory source's buffer (it must come from KOVRADALT_OsMalloc). */
KOVRA_API int32_t KOVRADALT_DestroyInputBuffer(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_DestroyJpegInfo(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALT_SetDecOption(KOVRADALT_DecInfo *dec, uint32_t option);
/* Stores the mode clamped to 0..4. */
KOVRA_API int32_t KOVRADALT_SetDecMode(KOVRADALT_DecInfo *dec, int32_t mode);
/* The progress check installed as check_fn: the callback runs on the 4th, 7th, 10th ... call. */
KOVRA_API uint32_t KOVRADALT_CheckFn(void *dec, uint32_t units_done);

KOVRA_END_C

#endif
