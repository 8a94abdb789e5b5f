/*
 * The way to the program's write callback.
 */
#ifndef SCPI_OUTPUT_H
#define SCPI_OUTPUT_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bytes as they are; nothing is called for none. Returns what the callback returns. */
size_t scpiWrite(scpi_t* context, const char* data, size_t len);

/* A text that ends in NUL. */
size_t scpiWriteText(scpi_t* context, const char* text);

#ifdef __cplusplus
}
#endif

#endif
