/*
 * What *CLS needs of the status registers.
 */
#ifndef SCPI_STATUS_H
#define SCPI_STATUS_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Sets every event register but the status byte to 0. */
void scpiClearEvents(scpi_t* context);

#ifdef __cplusplus
}
#endif

#endif
