/* The integer-handle way into the library: open an image by path, memory or caller stream, get
 * back a handle 1..255, ask for its decoder record (already parsed), decode, close. Handles are
 * slots in one process-wide table that is not locked: callers serialise opens and closes. */
#ifndef KOVRA_HANDLE_H
#define KOVRA_HANDLE_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "kovra_decinfo.h"
#include "kovra_export.h"
#include "kovra_io.h"

KOVRA_BEGIN_C

enum {
    KOVRADALT_HANDLE_SLOTS = 256, /* slot 0 is never used: handles are 1..255 */
    KOVRADALT_HANDLE_MAX = 255
};

/* Control codes of __dal_dec_handle_contorl. */
enum {
    DAL_HANDLE_CTRL_CREATE = 0, /* take a slot, store its index in the out-handle word */
    DAL_HANDLE_CTRL_GET = 1,    /* store the slot's content (possibly NULL) in the out-record word */
    DAL_HANDLE_CTRL_DESTROY = 2 /* free the handle record only, clear the slot */
};

/* Owns the decoder record behind a handle. */
typedef struct dal_dec_info_holder {
    uint32_t option;             /* 0: copied into the record's option; nothing in the library sets it */
    KOVRADALT_DecInfo *dec_info; /* 1 */
    uint32_t unused_2;
} dal_dec_info_holder;

KOVRA_ASSERT_WORD(dal_dec_info_holder, option, 0);
KOVRA_ASSERT_WORD(dal_dec_info_holder, dec_info, 1);
KOVRA_ASSERT_WORDS(dal_dec_info_holder, 3);

/* The record in a handle slot: fifteen words, zero-filled at creation. */
typedef struct dal_dec_handle {
    int32_t source_kind;          /* 0: IO_KIND_PATH, IO_KIND_MEMORY or IO_KIND_STREAM */
    uint32_t reserved_1;
    FILE *file;                   /* 2: path kind: the stream the handle opened */
    void *source;                 /* 3: the path, the memory, or the caller's stream handle */
    int32_t size;                 /* 4: byte count (measured for a path opened with size 0) */
    int32_t output_format;        /* 5: last given to KOVRADALT_SetDecInfoFromHandle */
    uint32_t width;               /* 6: from the handle's parse */
    uint32_t height;              /* 7 */
    int32_t parsed_type;          /* 8: the parse's type code; non-zero once parsed */
    dal_dec_info_holder *holder;  /* 9 */
    uint32_t reserved_10[2];
    KOVRADALT_StreamFn read_fn;   /* 12: stream kind */
    KOVRADALT_StreamFn skip_fn;   /* 13 */
    KOVRADALT_StreamFn rewind_fn; /* 14 */
} dal_dec_handle;

KOVRA_ASSERT_WORD(dal_dec_handle, source_kind, 0);
KOVRA_ASSERT_WORD(dal_dec_handle, file, 2);
KOVRA_ASSERT_WORD(dal_dec_handle, source, 3);
KOVRA_ASSERT_WORD(dal_dec_handle, size, 4);
KOVRA_ASSERT_WORD(dal_dec_handle, output_format, 5);
KOVRA_ASSERT_WORD(dal_dec_handle, width, 6);
KOVRA_ASSERT_WORD(dal_dec_handle, height, 7);
KOVRA_ASSERT_WORD(dal_dec_handle, parsed_type, 8);
KOVRA_ASSERT_WORD(dal_dec_handle, holder, 9);
KOVRA_ASSERT_WORD(dal_dec_handle, read_fn, 12);
KOVRA_ASSERT_WORD(dal_dec_handle, skip_fn, 13);
KOVRA_ASSERT_WORD(dal_dec_handle, rewind_fn, 14);
KOVRA_ASSERT_WORDS(dal_dec_handle, 15);

/* Public handle API. Handles are 1..255; 0 means failure. These functions do not write the error
 * word themselves (the parse they run may). */
KOVRA_API int32_t KOVRADALT_OpenDecHandle(void *source, int32_t size, int32_t kind);
KOVRA_API int32_t KOVRADALT_OpenDecHandle_Stream(void *source, int32_t size, int32_t kind,
                                                 KOVRADALT_StreamFn read_fn, KOVRADALT_StreamFn skip_fn,
                                                 KOVRADALT_StreamFn rewind_fn);
/* Copies the handle's source into its record, sets the output format and parses once (a stream
 * handle is never parsed here). */
KOVRA_API KOVRADALT_DecInfo *KOVRADALT_SetDecInfoFromHandle(int32_t handle, int32_t output_format);
KOVRA_API KOVRADALT_DecInfo *KOVRADALT_GetDecInfoFromHandle(int32_t handle);
/* Parses an unparsed image once, then releases the handle, its file, record and holder. */
KOVRA_API int32_t KOVRADALT_CloseDecHandle(int32_t handle);

/* Handle internals. */
KOVRA_API int32_t dal_dec_handle_open(void *source, int32_t size, int32_t kind);
KOVRA_API int32_t dal_dec_handle_open_stream(void *source, int32_t size, int32_t kind,
                                             KOVRADALT_StreamFn read_fn, KOVRADALT_StreamFn skip_fn,
                                             KOVRADALT_StreamFn rewind_fn);
KOVRA_API KOVRADALT_DecInfo *dal_get_decinfo_from_handle(dal_dec_handle *handle);
KOVRA_API KOVRADALT_DecInfo *dal_set_decinfo_from_handle(dal_dec_handle *handle, int32_t output_format);
KOVRA_API void __dal_codec_ctrl_set_dec_info(dal_dec_handle *handle, int32_t output_format, uint32_t option);
KOVRA_API int32_t dal_dec_handle_close(int32_t handle);
KOVRA_API int32_t dal_dec_handle_create(void);
KOVRA_API dal_dec_handle *dal_dec_handle_get_struct(int32_t handle);
/* Frees only the handle record (not its holder, record or file) and clears the slot. */
KOVRA_API int32_t dal_dec_handle_destory(int32_t handle);
KOVRA_API int32_t __dal_dec_handle_contorl(int32_t handle, int32_t *out_handle, dal_dec_handle **out_record,
                                           int32_t code);
KOVRA_API dal_dec_info_holder *dal_create_dec_info(void);
KOVRA_API void dal_destroy_dec_info(dal_dec_info_holder *holder);

KOVRA_END_C

#endif
