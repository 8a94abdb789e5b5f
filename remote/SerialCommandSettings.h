#ifndef REMOTE_SERIAL_COMMAND_SETTINGS_H
#define REMOTE_SERIAL_COMMAND_SETTINGS_H

#include <cstdint>

/// What the older meter's commands set, under a lock of its own, since the input thread changes
/// what the output thread answers from. Any thread.

constexpr int lastSerialRange = 17; ///< the coarsest

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
SerialCommandSettings SerialCommandSettings_get();
trigger_mode_t serial_command_handler_get_triggerMode();

/// Sets both ranges by hand: forward to `range`, at most 17, reflected one finer.
void SerialRange_Setrange(int range);
void setAutoScale(bool on);

/// Sets the trigger mode; mode 5 forgets a selection that waits.
void SerialCommandSettings_setTriggerMode(trigger_mode_t mode);

/// Selects what the next readings tell.
void SerialCommandSettings_select(measure_select_t selection);

/// What to answer with. False when trigger mode 5 has nothing to answer; a waiting selection is
/// used up.
bool SerialCommandSettings_takeSelection(measure_select_t* selection);

/// The range to answer in, 0 to 17; an automatic one moves with the power, but never below the
/// sensor's minimum, and stays where it has moved to.
uint32_t SerialCommandSettings_moveRange(measure_select_t selection, float power_W,
                                         float minPower_W);

#endif
