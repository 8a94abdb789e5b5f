#ifndef REMOTE_SERIAL_COMMAND_HANDLER_H
#define REMOTE_SERIAL_COMMAND_HANDLER_H

#include "SerialCommandInterpreter.h"

#include <cstddef>
#include <cstdint>

/// What the older meter's commands do, and the readings that answer them. The settings are guarded
/// by a lock of their own, since the input thread changes what the output thread answers from.

enum trigger_mode_t : int { TRIGGER_MODE_1 = 0, TRIGGER_MODE_5 = 1 };
enum measure_select_t : int { MEASURE_SELECT_FORWARD = 0, MEASURE_SELECT_REFLECTED = 1 };

struct SerialCommandSettings {
    trigger_mode_t trigger_mode;
    measure_select_t measure_select;
    bool measurement_selected; ///< a selection waits to be answered in trigger mode 5
    int forward_range;         ///< 0 to 17
    int reflected_range;       ///< 0 to 17
    bool autoscale;
};

/// Mode 1, forward, ranges 0, automatic. A selection that waits is left waiting. Any thread.
void serial_command_handler_reset();

/// Copies of the settings. Any thread.
SerialCommandSettings serial_command_handler_getSettings();
trigger_mode_t serial_command_handler_get_triggerMode();

/// Sets both ranges by hand: forward to `range`, at most 17, reflected one finer.
void SerialRange_Setrange(int range);
void setAutoScale(bool on);

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
