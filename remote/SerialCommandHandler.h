#ifndef REMOTE_SERIAL_COMMAND_HANDLER_H
#define REMOTE_SERIAL_COMMAND_HANDLER_H

#include "SerialCommandInterpreter.h"

#include <cstddef>
#include <cstdint>

/// What the older meter's commands do, and the readings that answer them.

/// Carries out a command; status replies are sent at once. Input thread.
void serial_command_handle_command(command_t command);

/// The sensor whose readings are sent: the first display's that shows a connected one, else
/// sensorPort_None. Any thread.
uint32_t serial_command_handler_choosePort();

/// Writes the answer to COMMAND_ENTER, a reading of the chosen sensor as it is now, and returns its
/// length. 0 and an empty text for any other command, without a sensor, and in trigger mode 5 when
/// no selection waits. Output thread.
size_t serial_command_handle_response(command_t command, char* buffer, size_t capacity);

#endif
