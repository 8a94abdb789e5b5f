// A pulse sensor with triggered gates under remote control, in a test.
#pragma once

#include "RemoteInstrument.h"

/// What the sensor has of its own.
SENSOR_CONFIGS PulseMeter_config();

/// The sensor on USB1 as channel 1, in pulse mode.
struct PulseMeter : RemoteInstrument {
    explicit PulseMeter(const SENSOR_CONFIGS& config = PulseMeter_config());
};
