#ifndef REMOTE_SERIAL_STATUS_H
#define REMOTE_SERIAL_STATUS_H

#include <cstddef>

/// The older meter's status: three flags, and the replies that tell them and the settings.

/// Size of a status reply's buffer. What is longer is cut before its line end.
constexpr size_t serialStatusReplySize = 128;

/// Valid command, valid parameter, self test not passed. Any thread.
void SerialStatus_InitializeStatus();

/// The flags persist until the U1 reply tells them. Any thread.
void SerialStatus_SetCommandStatus(bool isValid);
void SerialStatus_SetParameterStatus(bool isValid);
void SerialStatus_SetSelfTestStatus(bool isPassed);

/// Each sends its reply to the command port, in one write. Input thread.
void SerialStatus_HandleCommand0(); ///< U0: selection, range, trigger mode
void SerialStatus_HandleCommand1(); ///< U1: the flags, which return to their initial values
void SerialStatus_HandleCommand2(); ///< U2: a constant
void SerialStatus_HandleCommandA(); ///< UA: addresses and build information

#endif
