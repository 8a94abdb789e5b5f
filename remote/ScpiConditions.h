#ifndef REMOTE_SCPI_CONDITIONS_H
#define REMOTE_SCPI_CONDITIONS_H

#include "scpi/scpi.h"

#include <cstddef>

/// What a command asks of the instrument and of the channel's sensor.

struct PulseSensorConditions {
    bool bPulseMode;     ///< the instrument's pulse mode is on
    bool bPulseSensor;   ///< the sensor is pulse-capable
    bool b3164;          ///< the sensor supports triggered gates
    bool bPulseGate;     ///< the pulse model is not the triggered-gate one
    bool bTriggeredGate; ///< the pulse model is the triggered-gate one
};

/// Tests them in a fixed order and queues the error of the first that fails.
scpi_result_t SCPI_CheckConditions(scpi_t* context, const PulseSensorConditions& conditions,
                                   size_t channel);

/// Reads the channel, then checks the conditions.
scpi_result_t SCPI_ReadCheckedChannel(scpi_t* context, const PulseSensorConditions& conditions,
                                      size_t* channel);

#endif
