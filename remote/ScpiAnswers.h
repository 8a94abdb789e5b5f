#ifndef REMOTE_SCPI_ANSWERS_H
#define REMOTE_SCPI_ANSWERS_H

#include "scpi/scpi.h"

/// How results are written; each returns SCPI_RES_OK.

/// 7 decimal places in 32-bit floating point.
float ScpiAnswers_rounded(float value);

/// A number, rounded as above.
scpi_result_t ScpiAnswers_number(scpi_t* context, float value);

scpi_result_t ScpiAnswers_integer(scpi_t* context, int32_t value);

/// A text as it is, without quotes.
scpi_result_t ScpiAnswers_text(scpi_t* context, const char* text);

#endif
