#ifndef SENSORS_PULSE_CONFIG_TEXT_H
#define SENSORS_PULSE_CONFIG_TEXT_H

#include "SensorTypes.h"

#include <optional>
#include <string>
#include <string_view>

/// The stored pulse configuration as JSON text. Capability flags have no place in it.

/// Takes a text apart: a missing key, or one of another type, reads as 0, and so does a number that
/// its field cannot hold; there are at most four states. Nothing for a text that is not JSON.
std::optional<SENSOR_CONFIGS> PulseConfigText_parse(std::string_view text);

/// The text of a record; empty when it has a value that JSON cannot hold (NaN).
std::string PulseConfigText_compose(const SENSOR_CONFIGS& configs);

#endif
