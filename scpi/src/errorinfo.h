/*
 * Texts that errors carry: allocated copies, or stretches of a ring that the program provides.
 */
#ifndef SCPI_ERRORINFO_H
#define SCPI_ERRORINFO_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A text, in two pieces where it runs over the end of the ring. */
typedef struct {
    const char* first;
    size_t firstLen;
    const char* second;
    size_t secondLen;
} scpi_info_t;

/* The text of an error; FALSE if it has none. */
scpi_bool_t scpiErrorInfo(const scpi_t* context, const scpi_error_t* error, scpi_info_t* info);

/* Gives the error a copy of a text, none if there is no room for it. */
void scpiErrorInfoKeep(scpi_t* context, scpi_error_t* error, const char* text, size_t len);

/* Releases the text of the oldest, or of the newest error. */
void scpiErrorInfoRelease(scpi_t* context, scpi_error_t* error, scpi_bool_t newest);

/*
 * The oldest error leaves the queue with its text: an allocated one is its new owner's, one in the
 * ring stays readable until the next error is pushed.
 */
void scpiErrorInfoHandOver(scpi_t* context, scpi_error_t* error);

/* Frees a text that was handed over. */
void scpiErrorInfoFree(scpi_error_t* error);

#ifdef __cplusplus
}
#endif

#endif
