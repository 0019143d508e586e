/* Format detection and header parsing: image type from the first bytes, the parse drivers that
 * fill the caller's KOVRADALT_ImageInfo, and the per-format header parsers. */
#ifndef KOVRA_PARSE_H
#define KOVRA_PARSE_H

#include <stddef.h>
#include <stdint.h>

#include "kovra_decinfo.h"
#include "kovra_export.h"
#include "kovra_io.h"

KOVRA_BEGIN_C

/* The caller's parse result: fifteen words, zero-filled by every driver before parsing. */
typedef struct KOVRADALT_ImageInfo {
    uint32_t width;          /* 0 */
    uint32_t height;         /* 1 */
    uint32_t file_size;      /* 2: the source's size */
    uint32_t image_count;    /* 3: 1, or the frames a GIF scan counted */
    uint32_t interlaced;     /* 4 */
    uint32_t header_extra_5; /* 5 */
    uint32_t header_extra_6; /* 6 */
    uint32_t header_extra_7; /* 7 */
    uint32_t reserved_8[4];
    uint32_t scan_flag;      /* 12 */
    uint32_t frame_count;    /* 13: GIF frames */
    uint32_t *frame_delays;  /* 14: GIF per-frame delays in ms, at least frame_count entries when set;
                                the caller frees it with KOVRADALT_OsFree */
} KOVRADALT_ImageInfo;

KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, width, 0);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, height, 1);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, file_size, 2);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, image_count, 3);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, interlaced, 4);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, header_extra_5, 5);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, header_extra_6, 6);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, header_extra_7, 7);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, scan_flag, 12);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, frame_count, 13);
KOVRA_ASSERT_WORD(KOVRADALT_ImageInfo, frame_delays, 14);
KOVRA_ASSERT_WORDS(KOVRADALT_ImageInfo, 15);

/* Type detection from the first eight bytes. The window must be set up at the image's start. */
KOVRA_API int32_t DALT_GetImageType(uint32_t ignored, DALTJ_ByteWindow *window);
/* Detects the type of the record's source and stores it in image_type. */
KOVRA_API int32_t KOVRADALT_GetImageType(KOVRADALT_DecInfo *dec);

/* Header parse drivers. Each zero-fills the caller's info first (free a delay table left in it
 * beforehand); the record's gif_total_delay is added to, never reset. */
KOVRA_API int32_t KOVRADALT_Parser(KOVRADALT_DecInfo *dec, KOVRADALT_ImageInfo *info);
KOVRA_API int32_t KOVRADALT_SimpleParserGIF(KOVRADALT_DecInfo *dec, KOVRADALT_ImageInfo *info,
                                            uint32_t default_delay);
KOVRA_API int32_t KOVRADALT_JpgParser(KOVRADALT_DecInfo *dec, KOVRADALT_ImageInfo *info);
KOVRA_API int32_t KOVRADALT_GetJpegOffset(KOVRADALT_DecInfo *dec, uint32_t *start, uint32_t *end);
KOVRA_API int32_t DALT_Parse(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window, KOVRADALT_ImageInfo *info);
KOVRA_API int32_t DALT_ParseJPEGOffset(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window,
                                       KOVRADALT_ImageInfo *info);

/* Per-format parsers called by the drivers. */
KOVRA_API int32_t __DALT_ParserWBMP(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window);
/* GIF stream scan: 0 unusable, 4 one frame, 6 animated. */
KOVRA_API uint32_t __DALT_ParserGIF(KOVRADALT_DecInfo *dec, DALTJ_ByteWindow *window,
                                    KOVRADALT_ImageInfo *info, uint32_t default_delay);

KOVRA_END_C

#endif
