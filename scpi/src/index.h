/*
 * The command index: from a header to its row without going through the table.
 */
#ifndef SCPI_INDEX_H
#define SCPI_INDEX_H

#include "match.h"

#ifdef __cplusplus
extern "C" {
#endif

/* First row of the context's table that matches the header, NULL if there is none. */
const scpi_command_t* scpiFindCommand(scpi_t* context, const scpi_header_t* header);

#ifdef __cplusplus
}
#endif

#endif
