/*
 * What the compiler and the C library offer, as macros of value 0 or 1.
 */
#ifndef SCPI_CC_H
#define SCPI_CC_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__STDC__)
#define C89 1
#if defined(__STDC_VERSION__)
#define C90 1
#if (__STDC_VERSION__ >= 199409L)
#define C94 1
#endif
#if (__STDC_VERSION__ >= 199901L)
#define C99 1
#endif
#endif
#endif

#if defined(__cplusplus)
#if (__cplusplus >= 199711L)
#define CXX98 1
#endif
#endif

#if defined(C99) || defined(CXX98)
#define HAVE_STDBOOL 1
#else
#define HAVE_STDBOOL 0
#endif

#if defined(C99) || (defined(__cplusplus) && (__cplusplus >= 201103L))
#define HAVE_SNPRINTF 1
#define HAVE_ISNAN 1
#define HAVE_ISFINITE 1
#define HAVE_SIGNBIT 1
#define HAVE_STRTOLL 1
#define HAVE_STRTOF 1
#else
#define HAVE_SNPRINTF 0
#define HAVE_ISNAN 0
#define HAVE_ISFINITE 0
#define HAVE_SIGNBIT 0
#define HAVE_STRTOLL 0
#define HAVE_STRTOF 0
#endif

#if defined(_POSIX_C_SOURCE) && (_POSIX_C_SOURCE >= 200809L)
#define HAVE_STRNLEN 1
#define HAVE_STRNDUP 1
#define HAVE_STRNCASECMP 1
#else
#define HAVE_STRNLEN 0
#define HAVE_STRNDUP 0
#define HAVE_STRNCASECMP 0
#endif

#define HAVE_STRDUP 0
#define HAVE_STRNICMP 0
#define HAVE_FINITE 0
#define HAVE_DTOSTRE 0

#ifdef __cplusplus
}
#endif

#endif
