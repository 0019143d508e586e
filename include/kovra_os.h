/* Platform services: memory, files, threads, mutexes, clock and sleep, and small integer helpers.
 * Every allocation the library makes goes through KOVRADALT_OsMalloc / KOVRADALT_OsFree. */
#ifndef KOVRA_OS_H
#define KOVRA_OS_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "kovra_export.h"

KOVRA_BEGIN_C

/* Memory */
KOVRA_API void *KOVRADALT_OsMalloc(uint32_t size);
KOVRA_API void *KOVRADALT_OsRealloc(void *pointer, uint32_t size);
KOVRA_API void KOVRADALT_OsFree(void *pointer);
KOVRA_API void *KOVRADALT_OsMemset(void *destination, int32_t value, uint32_t count);
/* Safe for overlapping ranges (behaves as memmove). */
KOVRA_API void *KOVRADALT_OsMemcpy(void *destination, const void *source, uint32_t count);

/* 16-byte-aligned allocation; the word below each block records the underlying allocation. */
KOVRA_API void *DALT_FakeMalloc(uint32_t ignored, uint32_t size);
KOVRA_API void DALT_FakeFree(void *pointer);

/* Files. KOVRADALT_OpenFile gives (FILE *)-1 on failure, KOVRADALT_OsFopen gives NULL. Both refuse
 * directories. */
#define KOVRADALT_FILE_FAILED ((FILE *)(intptr_t)-1)
KOVRA_API FILE *KOVRADALT_OpenFile(const char *path);
KOVRA_API FILE *KOVRADALT_OsFopen(const char *path, const char *mode);
KOVRA_API int32_t KOVRADALT_CloseFile(FILE *file);
KOVRA_API int32_t KOVRADALT_OsFclose(FILE *file);
KOVRA_API uint32_t KOVRADALT_ReadFile(FILE *file, void *buffer, uint32_t count);
KOVRA_API uint32_t KOVRADALT_OsFread(void *buffer, uint32_t element_size, uint32_t element_count, FILE *file);
/* Moves the file, then reports the absolute position (ftell), or -1. */
KOVRA_API int32_t KOVRADALT_SeekFile(FILE *file, int32_t offset, int32_t whence);
KOVRA_API int32_t KOVRADALT_OsFseek(FILE *file, int32_t offset, int32_t whence);
KOVRA_API int32_t KOVRADALT_OsFtell(FILE *file);
KOVRA_API int32_t KOVRADALT_OsFwrite(const void *buffer, uint32_t element_size, uint32_t element_count, FILE *file);

/* Threads, mutexes, time */
typedef void *(*KOVRADALT_ThreadStart)(void *argument);
/* Returns 1 and stores the thread id, or 0 leaving *thread untouched. */
KOVRA_API int32_t KOVRADALT_OsThreadCreate(KOVRADALT_ThreadStart start, void *argument, pthread_t *thread);
/* Joins the thread; its exit value is discarded. */
KOVRA_API int32_t KOVRADALT_OsThreadWait(pthread_t thread, void *value);
KOVRA_API int32_t KOVRADALT_OsThreadMutex_Init(pthread_mutex_t *mutex, const pthread_mutexattr_t *attributes);
KOVRA_API int32_t KOVRADALT_OsThreadMutex_Lock(pthread_mutex_t *mutex);
KOVRA_API int32_t KOVRADALT_OsThreadMutex_Unlock(pthread_mutex_t *mutex);
KOVRA_API int32_t KOVRADALT_OsClock(void);
KOVRA_API int32_t KOVRADALT_OsSleep(uint32_t microseconds);
/* External status hook: negative means stop, positive means sleep that many microseconds.
 * This build always reports 0. */
KOVRA_API void KOVRADALT_CheckExStatus(int32_t *status);

/* Integer helpers */
KOVRA_API int32_t GCD(int32_t a, int32_t b);
KOVRA_API int32_t DALTJ_GetGCD(int32_t a, int32_t b);
KOVRA_API int32_t LCM(int32_t a, int32_t b);
KOVRA_API uint32_t round_up_pow2(uint32_t x, uint32_t alignment);

/* Library-wide words kept for hosts; the library never touches them. */
KOVRA_API extern int32_t gTestCount;
KOVRA_API extern int32_t total_mem_size;

KOVRA_END_C

#endif
