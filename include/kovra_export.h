/* Export and linkage macros shared by every public header of libkovraimagecodec. */
#ifndef KOVRA_EXPORT_H
#define KOVRA_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define KOVRA_API __attribute__((visibility("default")))
#else
#define KOVRA_API
#endif

#ifdef __cplusplus
#define KOVRA_BEGIN_C extern "C" {
#define KOVRA_END_C }
#else
#define KOVRA_BEGIN_C
#define KOVRA_END_C
#endif

/* Compile-time layout checks: a record's field must sit at the given 32-bit word on ILP32 targets. */
#if defined(__cplusplus)
#define KOVRA_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define KOVRA_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#if defined(__ILP32__) || (defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4)
#define KOVRA_ILP32 1
#define KOVRA_ASSERT_WORD(type, field, word) \
    KOVRA_STATIC_ASSERT(offsetof(type, field) == (word) * 4, #type "." #field " must sit at word " #word)
#define KOVRA_ASSERT_WORDS(type, words) \
    KOVRA_STATIC_ASSERT(sizeof(type) == (words) * 4, #type " must be " #words " words long")
#else
/* Other targets lay records out by their own pointer size; the checks reduce to no-ops. */
#define KOVRA_ASSERT_WORD(type, field, word) KOVRA_STATIC_ASSERT(1, "layout checked on ILP32 only")
#define KOVRA_ASSERT_WORDS(type, words) KOVRA_STATIC_ASSERT(1, "layout checked on ILP32 only")
#endif

#endif
