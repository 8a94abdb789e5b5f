/*
 * Extensions of the standard's language, off unless a program switches them on for a context.
 */
#ifndef SCPI_OPTIONS_H
#define SCPI_OPTIONS_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A header that was completed from its predecessor and is not found is tried as it was written. */
#define SCPI_OPTION_RETRY_AS_WRITTEN 0x01u
/* A dotted address such as 10.0.0.5 is one parameter, read like a keyword. */
#define SCPI_OPTION_DOTTED_ADDRESS 0x02u
/* A node of a header may begin with a digit. */
#define SCPI_OPTION_DIGIT_NODES 0x04u

/* Replaces the options of a context; behind SCPI_Init, which switches them all off. */
void SCPI_SetOptions(scpi_t* context, uint32_t options);

#ifdef __cplusplus
}
#endif

#endif
