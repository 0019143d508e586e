/* Input sources (path, caller memory, caller's open file, caller stream, library-owned memory) and
 * the buffered byte window that the parsers read through. */
#ifndef KOVRA_IO_H
#define KOVRA_IO_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "kovra_export.h"

KOVRA_BEGIN_C

enum {
    IO_KIND_PATH = 0,
    IO_KIND_MEMORY = 1,
    IO_KIND_FILE = 2,
    IO_KIND_STREAM = 4,
    IO_KIND_OWNED_MEMORY = 5
};

enum { KOVRADALT_WINDOW_CAPACITY = 16384 };

/* Caller stream callbacks: read(handle, buffer, count), skip(handle, NULL, count),
 * rewind(handle, NULL, 0). Each returns a count or a position. */
typedef uint32_t (*KOVRADALT_StreamFn)(void *handle, void *buffer, uint32_t count);

typedef struct KOVRADALT_IO {
    int32_t kind;              /* IO_KIND_* */
    void *source;              /* path (not owned), memory base, or stream handle */
    FILE *file;                /* path and file kinds */
    int32_t size;              /* total bytes of the image; 0 when unknown */
    int32_t position;          /* offset of the next byte from the start of the image */
    int32_t start_offset;      /* file kind: position when opened (recorded only) */
    int32_t buffer_size;       /* always KOVRADALT_WINDOW_CAPACITY */
    KOVRADALT_StreamFn read_fn;
    KOVRADALT_StreamFn skip_fn;
    KOVRADALT_StreamFn rewind_fn; /* may be NULL */
    char *path_copy;           /* path kind: owned copy of the path */
} KOVRADALT_IO;

KOVRA_ASSERT_WORD(KOVRADALT_IO, kind, 0);
KOVRA_ASSERT_WORD(KOVRADALT_IO, source, 1);
KOVRA_ASSERT_WORD(KOVRADALT_IO, file, 2);
KOVRA_ASSERT_WORD(KOVRADALT_IO, size, 3);
KOVRA_ASSERT_WORD(KOVRADALT_IO, position, 4);
KOVRA_ASSERT_WORD(KOVRADALT_IO, start_offset, 5);
KOVRA_ASSERT_WORD(KOVRADALT_IO, buffer_size, 6);
KOVRA_ASSERT_WORD(KOVRADALT_IO, read_fn, 7);
KOVRA_ASSERT_WORD(KOVRADALT_IO, skip_fn, 8);
KOVRA_ASSERT_WORD(KOVRADALT_IO, rewind_fn, 9);
KOVRA_ASSERT_WORD(KOVRADALT_IO, path_copy, 10);
KOVRA_ASSERT_WORDS(KOVRADALT_IO, 11);

/* Opens a path (kind 0), memory (kinds 1 and 5) or an open FILE * (kind 2). size 0 measures a file. */
KOVRA_API KOVRADALT_IO *KOVRADALT_Open_IO(int32_t kind, void *source, int32_t size);
KOVRA_API KOVRADALT_IO *KOVRADALT_Open_Stream(void *handle, KOVRADALT_StreamFn read_fn,
                                               KOVRADALT_StreamFn skip_fn, KOVRADALT_StreamFn rewind_fn,
                                               int32_t size);
KOVRA_API int32_t KOVRADALT_Seek_IO(KOVRADALT_IO *io, int32_t offset, int32_t whence);
KOVRA_API int32_t KOVRADALT_Read_IO(KOVRADALT_IO *io, void *destination, int32_t count);
/* For memory kinds, points *buffer into the source instead of copying. */
KOVRA_API int32_t KOVRADALT_Read_IO2(KOVRADALT_IO *io, uint8_t **buffer, int32_t count);
KOVRA_API int32_t KOVRADALT_Close_IO(KOVRADALT_IO *io);

/* A sliding view of up to 16384 bytes of a source; lives on the caller's stack. */
typedef struct DALTJ_ByteWindow {
    KOVRADALT_IO *io;
    int32_t consumed_total; /* bytes brought into the window since set-up */
    int32_t size;           /* the source's size at set-up */
    int32_t pos;            /* index in data of the next unread byte */
    int32_t avail;          /* unread bytes from data[pos] */
    uint8_t *data;          /* window memory, or a view into a memory source */
} DALTJ_ByteWindow;

KOVRA_ASSERT_WORD(DALTJ_ByteWindow, io, 0);
KOVRA_ASSERT_WORD(DALTJ_ByteWindow, consumed_total, 1);
KOVRA_ASSERT_WORD(DALTJ_ByteWindow, size, 2);
KOVRA_ASSERT_WORD(DALTJ_ByteWindow, pos, 3);
KOVRA_ASSERT_WORD(DALTJ_ByteWindow, avail, 4);
KOVRA_ASSERT_WORD(DALTJ_ByteWindow, data, 5);
KOVRA_ASSERT_WORDS(DALTJ_ByteWindow, 6);

enum {
    DALTJ_WINDOW_FAILED = 0,
    DALTJ_WINDOW_REFILLED = 1,
    DALTJ_WINDOW_ENOUGH = 2
};

/* Makes `need` bytes available if it can: 2 already there, 1 refilled (avail may still be short),
 * 0 failed. */
KOVRA_API int32_t DALTJ_CheckBuffer(DALTJ_ByteWindow *window, int32_t need);
/* Window memory for a source: the memory itself for kind 1, else a new 16384-byte buffer. */
KOVRA_API uint8_t *DALTJ_AllocateStreamBuffer(KOVRADALT_IO *io);
KOVRA_API void DALTJ_ReleaseStreamBuffer(KOVRADALT_IO *io, uint8_t *buffer);

KOVRA_END_C

#endif
