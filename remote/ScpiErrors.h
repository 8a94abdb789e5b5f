#ifndef REMOTE_SCPI_ERRORS_H
#define REMOTE_SCPI_ERRORS_H

#include "scpi/scpi.h"

#include <cstdint>

/// The instrument's own errors: each is reported as a standard one with a text of its own.

enum scpiCustomError : int16_t {
    scpiErrorChannel = 101,
    scpiErrorNoSensor = 102,
    scpiErrorState = 103,
    scpiErrorCwMode = 104,
    scpiErrorNot3163 = 105,
    scpiErrorFromSensor = 106, ///< its text comes from the caller
    scpiErrorPulseModel = 107,
    scpiErrorPulseGateModel = 108,
    scpiErrorTriggeredGateModel = 109,
    scpiErrorNotPulseSensor = 110
};

struct scpi_user_error_t {
    int16_t customCode; ///< 0 ends the table
    int16_t scpiCode;
    const char* text; ///< may be null
};
extern const scpi_user_error_t scpi_user_errors[];

/// Queues a standard error; returns SCPI_RES_ERR.
scpi_result_t ScpiErrors_refuse(scpi_t* context, int16_t code);

/// Queues a custom error with its text; a code that is not in the table is queued as it is.
void pushCustomScpiError(scpi_t* context, int16_t code);

/// The same with the caller's text.
void pushCustomScpiErrorWithMsg(scpi_t* context, int16_t code, const char* text);

#endif
