/* GIF decoding: the decoder record with its input and LZW tables, colour tables and header, the
 * LZW decoder and its step functions, the row writers, frame driving for single images and
 * animations, and the framework-facing entry points with their frame cache.
 *
 * A GIF colour word is 0xFF in bits 24-31, blue in 16-23, green in 8-15 and red with its lowest
 * bit cleared in 0-7. GIF_COLOR_UNSET marks a palette slot beyond the file's table (and a
 * transparent canvas pixel); no real colour can equal it because red's lowest bit is cleared.
 *
 * Results: 1 success, 0 failure, unless a function says otherwise. */
#ifndef KOVRA_GIF_H
#define KOVRA_GIF_H

#include <stddef.h>
#include <stdint.h>

#include "kovra_decinfo.h"
#include "kovra_export.h"
#include "kovra_io.h"

KOVRA_BEGIN_C

#define GIF_COLOR_UNSET 0xFFFFFFFFu

enum {
    DALTI_GIF_INPUT_CAPACITY = 4096, /* bytes of the input record's buffer */
    DALTI_GIF_PALETTE_SLOTS = 256,   /* colour words in each colour table */
    DALTI_LZW_TABLE_SIZE = 4096,     /* entries of the LZW translation table */
    DALTI_GIF_LINE_SLACK = 4096,     /* line buffer bytes beyond the screen width */
    DALTI_GIF_LINE_SPARE = 8,        /* allocated line buffer bytes beyond line_buffer_size */
    DALTI_GIF_MAX_FRAME_SIDE = 10000 /* larger descriptors are skipped */
};

/* Compressed bytes on their way from the source to the LZW decoder. Unread bytes always lie at
 * `next`; a refill moves them to the start of `buffer` and tops the buffer up from `source`. */
typedef struct DALTI_GIFInput {
    int32_t avail;         /* unread bytes at next */
    uint8_t *next;         /* next unread byte, inside buffer */
    uint8_t *buffer;       /* DALTI_GIF_INPUT_CAPACITY bytes, owned */
    KOVRADALT_IO *source;  /* not owned */
} DALTI_GIFInput;

/* The LZW translation table of the step functions: a code's string is its prefix's string
 * followed by its suffix. */
typedef struct DALTI_LZWTables {
    uint32_t *prefix;  /* 4096 codes, owned */
    uint8_t *suffix;   /* 4096 bytes, owned */
    uint32_t *length;  /* 4096 string lengths, owned */
} DALTI_LZWTables;

/* The state of one GIF decode, zero-filled at creation. Reached through a decoder record's
 * gif_info. Rows are "screen rows" (logical screen coordinates) unless called output rows. */
typedef struct DALTI_GIFDecoderInfo {
    int32_t screen_width;          /* logical screen, 1..65535 */
    int32_t screen_height;
    uint32_t color_resolution;     /* bits 4-6 of the screen's packed byte */
    uint32_t background_index;
    uint32_t aspect_ratio;         /* kept, not used */
    uint32_t *global_colors;       /* 256 colour words, owned */
    uint32_t global_color_count;   /* 0 without a global table */

    int32_t frame_left;            /* current image descriptor, each 0..10000 */
    int32_t frame_top;
    int32_t frame_width;
    int32_t frame_height;
    uint32_t interlace_pass;       /* 0 progressive, else the current pass 1..4 */
    uint32_t interlaced;           /* the descriptor's interlace flag, 0 or 1 */
    uint32_t *local_colors;        /* 256 colour words, owned */
    uint32_t local_color_count;
    int32_t lzw_min_code_size;     /* 0..11 decodable */

    uint32_t disposal_method;      /* graphic control, 0..7 */
    uint32_t has_transparency;
    int32_t transparent_index;     /* -1 for none */
    uint32_t frame_delay;          /* milliseconds */
    uint32_t *active_colors;       /* local_colors or global_colors, not owned */
    uint32_t active_color_count;

    DALTI_LZWTables *lzw;          /* owned */
    int32_t output_format;         /* 7 RGBA, 8 BGRA, 13 palette index */
    int32_t line_start;            /* where a decoded line starts in line_buffer (0) */
    uint8_t *line_buffer;          /* screen_width + 4096 palette indexes (plus 8 spare bytes), owned */
    DALTI_GIFInput *input;         /* owned */

    int32_t out_width;             /* output size after reduction */
    int32_t row_out_width;         /* second copy of out_width; the row loops read this one */
    int32_t out_height;
    uint32_t one_to_one;           /* 1 when the sample size is 1 */
    uint32_t out_stride;           /* bytes per output row */
    uint32_t out_pixel_size;       /* 4 for formats 7 and 8, 1 for 13 */
    int32_t out_row;               /* where the next decoded line goes */
    uint8_t *frame_out;            /* the caller's output buffer of the decode in progress */
    void *aux_buffer;              /* owned, released at destruction */

    uint32_t *canvas;              /* frame mode: the composed image at output size, owned */
    uint32_t *canvas_row;          /* the row being composed or converted */
    uint32_t *row_colors;          /* frame mode: a row of screen_width colour words, owned (the composer
                                      writes composed rows straight into the output instead) */
    uint32_t frame_mode;           /* 1: lines are composed into canvas; 0: written directly */
    int32_t interlace_high_row;    /* interlaced frame: highest output row written + 1 */
    int32_t first_out_row;         /* subtracted from out_row in the caller's buffer (0) */
    uint32_t rows_written;
    int32_t next_out_row;          /* frame path: output row after the last one written */

    /* Sizes of the owned buffers above, kept so that no row loop can step outside them. */
    int32_t line_buffer_size;      /* bytes the LZW decoder may fill: screen_width + 4096 */
    int32_t row_colors_capacity;   /* colour words in row_colors */
    int32_t canvas_width;          /* canvas geometry when it was allocated */
    int32_t canvas_height;
    struct DALTI_LZWTable *lzw_table; /* the frame decoder's own table, allocated and released with
                                         line_buffer (the same block) */
    uint32_t lzw_table_used;       /* entries an earlier decode may have filled */
    int32_t lzw_roots_ready;       /* code size + 1 whose roots the table holds, 0 for none */
    struct DALTI_CachedFrame *cached_frames; /* the frame cache entries made through this record and
                                                their sizes, by frame index, owned */
    int32_t cached_frame_slots;    /* entries in cached_frames */
    int32_t frame_out_rows;        /* rows of frame_out the writers may touch: KOVRADALTI_DecodeAGIF's
                                      out_rows, -1 for none; 0 (other roads): out_height */
    int32_t canvas_deferred;       /* 1 while a first frame that fills the canvas is composed into
                                      frame_out alone (the canvas is written from it when a frame
                                      follows); 2 when no frame followed and the canvas was never
                                      written */
} DALTI_GIFDecoderInfo;

/* The frame decoder's translation table. A code's string is kept twice: byte by byte (its last
 * byte, and `prefix`, the code of the string without it) and in chunks of eight bytes counted from
 * the string's start (`chunk`, the last one, holding one to eight bytes with the first lowest, and
 * the chunk prefix, the code of the string before it). The last byte is byte (length - 1) % 8 of
 * `chunk`; bytes above it are zero. `link` holds the length in bits 0-31 and the chunk prefix in
 * bits 32-47. */
typedef struct DALTI_LZWTable {
    uint64_t chunk[DALTI_LZW_TABLE_SIZE];
    uint64_t link[DALTI_LZW_TABLE_SIZE];
    uint16_t prefix[DALTI_LZW_TABLE_SIZE];
} DALTI_LZWTable;

/* ---- Record, header and colour tables ---- */

/* Allocates the input record and buffer, both colour tables and the LZW tables into a zero-filled
 * record; stops at the first failure, leaving what it allocated for the destructor. */
KOVRA_API int32_t DALTI_CreateGIFDecoderInfo(DALTI_GIFDecoderInfo *rec);
/* Reads the header and global table from offset 0 of rec's input source. A zero screen size
 * also destroys rec. */
KOVRA_API int32_t DALTI_ParseGIFHeader(void *ignored, DALTI_GIFDecoderInfo *rec);
/* Colour words for `count` RGB triples; the remaining of the 256 slots become GIF_COLOR_UNSET. */
KOVRA_API void DALTI_MakeColorTable(const uint8_t *rgb, uint32_t count, uint32_t *table);
/* Releases everything rec owns and rec itself; nothing for NULL. */
KOVRA_API void DALTI_DelGIFDecoderInfo(DALTI_GIFDecoderInfo *rec);
/* Destroys dec's gif_info (without clearing the field); returns 1. */
KOVRA_API int32_t KOVRADALTI_DeleteGIFInfo(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALTI_GetColorInfo(KOVRADALT_DecInfo *dec, uint32_t *count_out, int32_t *transparent_out,
                                          uint32_t *delay_out);
/* The active colour table. With output format 8 every call first swaps red and blue of each
 * active entry in place, so two calls give the original order back. */
KOVRA_API uint32_t *KOVRADALTI_GetColorMap(KOVRADALT_DecInfo *dec);

/* ---- LZW ---- */

/* Decodes the current frame's LZW data row by row into rec's line buffer, handing each row to the
 * row writer (frame mode: DALTI_MakeFrameLineBuffer, else DALTI_WriteTheLine with `out`). */
KOVRA_API int32_t DALTI_DecodeGIFImage(KOVRADALT_IO *io, DALTI_GIFDecoderInfo *rec, uint8_t *out);
/* The decoder's steps as separate functions (the decoder does the same work in line). */
KOVRA_API int32_t DALTI_InitializeTransTBL(int32_t min_code_size, DALTI_LZWTables *tables);
/* Writes code's string into line at pos, last byte first; returns its first byte. Sets
 * *status_out to -1 (and returns 0) if the string would end before 1 or beyond limit. */
KOVRA_API uint8_t DALTI_TranslateCode(uint32_t code, DALTI_LZWTables *tables, int32_t pos, uint8_t *line,
                                      int32_t *status_out, int32_t limit);
/* Sets entry new_code; returns its length. */
KOVRA_API uint32_t DALTI_AddToTranslationTable(uint32_t prefix_code, uint8_t suffix_byte, uint32_t new_code,
                                               DALTI_LZWTables *tables);
KOVRA_API void DALTI_WriteCharacter(uint32_t value, int32_t index, uint8_t *buffer);
/* 1 if at least `needed` bytes are unread, refilling the 4096-byte buffer from source if not. */
KOVRA_API int32_t DALTI_CheckBuffer(int32_t needed, KOVRADALT_IO *source, uint8_t *buffer, int32_t *avail_ptr,
                                    uint8_t **next_ptr);

/* ---- Row writers ---- */

/* Direct path and canvas rows: writes the row at out_row, then steps out_row (interlace aware).
 * 0 for an inconsistent interlace pass. */
KOVRA_API int32_t DALTI_WriteTheLine(DALTI_GIFDecoderInfo *rec, uint8_t *out);
KOVRA_API int32_t DALTI_WriteAGIFOneToOneRow(DALTI_GIFDecoderInfo *rec, uint8_t *out);
KOVRA_API int32_t DALTI_WriteGIFOneToOneRow(DALTI_GIFDecoderInfo *rec, uint8_t *out);
KOVRA_API int32_t DALTI_DownsizeAGIFRow(DALTI_GIFDecoderInfo *rec, uint8_t *out);
KOVRA_API int32_t DALTI_DownsizeGIFRow(DALTI_GIFDecoderInfo *rec, uint8_t *out);
/* Frame path: composes the decoded row with the canvas and writes it into frame_out. */
KOVRA_API int32_t DALTI_MakeFrameLineBuffer(DALTI_GIFDecoderInfo *rec);

/* ---- Frames ---- */

/* Finds the next image descriptor (taking graphic control data on the way) and leaves the input
 * on its LZW data. */
KOVRA_API int32_t DALTI_SeekImageData(void *ignored, DALTI_GIFDecoderInfo *rec);
/* Decodes a single image into `out` as palette indexes (width * height bytes). */
KOVRA_API int32_t KOVRADALTI_DecodeGIF(KOVRADALT_DecInfo *dec, uint8_t *out, int32_t width, int32_t height);
/* Decodes the next animation frame: 1 decoded and another follows (gif_total_delay = its delay),
 * 3 decoded and it was the last (gif_total_delay = 0), 0 failure. */
KOVRA_API int32_t KOVRADALTI_DecodeAGIF(KOVRADALT_DecInfo *dec, uint8_t *out, int32_t ignored, int32_t out_rows);
/* A new zero-filled block of `count` words (count 0..4), owned by the caller; NULL otherwise. */
KOVRA_API uint32_t *KOVRADALTI_SetDecodeAGIFBuffer(void *ignored_1, void *ignored_2, int32_t count);
/* Iterative entry points kept for hosts; they do nothing and return 0. */
KOVRA_API int32_t KOVRADALTI_DecodeGIFIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALTI_DecodeGIFLine(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALTI_DecodeAGIFIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALTI_AbortGIFIter(KOVRADALT_DecInfo *dec);
KOVRA_API int32_t KOVRADALTI_AborAGIF(KOVRADALT_DecInfo *dec);

/* ---- Graphics framework entry points ---- */

/* Creates the GIF record on dec for a sample size >= 1 and seeks the first frame. A non-NULL
 * `animated` selects frame mode (32-bit output through a canvas); NULL selects direct mode. */
KOVRA_API int32_t KOVRADALTI_ParseGIFHeader_SKIA(KOVRADALT_IO *io, KOVRADALT_DecInfo *dec, int32_t sample_size,
                                                 void *animated);
/* Changes the output size (clears one_to_one) and renews the line buffer. */
KOVRA_API int32_t KOVRADALTI_SetGIF_SKIA(KOVRADALT_DecInfo *dec, int32_t out_width, int32_t out_height);
KOVRA_API int32_t DALTI_InitializeGIF_SKIA(DALTI_GIFDecoderInfo *rec, int32_t out_width, int32_t out_height);
/* KOVRADALTI_DecodeAGIF behind a per-frame cache. Of the seventeen trailing words only the frame
 * index, the cache (one pointer per frame, or NULL), the frame count and the delay table (ms per
 * frame, or NULL) are read. A cached frame is copied out without reading the stream. */
KOVRA_API int32_t KOVRADALTI_DecodeAGIF_SKIA(KOVRADALT_DecInfo *dec, uint8_t *out, int32_t width, int32_t height,
                                             int32_t frame_index, uint8_t **frame_cache, uint32_t word_3,
                                             uint32_t word_4, uint32_t word_5, int32_t frame_count,
                                             uint32_t word_7, uint32_t word_8, uint32_t word_9, uint32_t word_10,
                                             uint32_t word_11, uint32_t word_12, uint32_t word_13,
                                             uint32_t word_14, uint32_t word_15, uint32_t word_16,
                                             const uint32_t *frame_delays);
/* Releases the first `count` cache entries and then the array (which must come from
 * KOVRADALT_OsMalloc). */
KOVRA_API void KOVRADALTI_DeleteGIFInfo_SKIA(uint8_t **cache, int32_t count);

KOVRA_END_C

#endif
