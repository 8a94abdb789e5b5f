/*
 * Numbers of an everyday size to text.
 */
#ifndef SCPI_DECIMAL_H
#define SCPI_DECIMAL_H

#include "scpi/types.h"

/* Room for the longest text, without a NUL. */
#define SCPI_DECIMAL_SIZE 24

/*
 * Writes what "%.15g" does, in a fraction of its time, without a NUL. Returns the length, or 0
 * where the value is none of those that it knows: 0, and those from 1e-4 to 1e14 that are
 * multiples of 2^-52, which every float in that range is.
 */
size_t scpiDecimalText(double val, char text[SCPI_DECIMAL_SIZE]);

#endif
