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

// The sets that commands use.
constexpr PulseSensorConditions noConditions{};
constexpr PulseSensorConditions forPulseSensor{.bPulseMode = false,
                                               .bPulseSensor = true,
                                               .b3164 = false,
                                               .bPulseGate = false,
                                               .bTriggeredGate = false};
constexpr PulseSensorConditions for3164{.bPulseMode = false,
                                        .bPulseSensor = true,
                                        .b3164 = true,
                                        .bPulseGate = false,
                                        .bTriggeredGate = false};
constexpr PulseSensorConditions inPulseMode{.bPulseMode = true,
                                            .bPulseSensor = true,
                                            .b3164 = false,
                                            .bPulseGate = false,
                                            .bTriggeredGate = false};
constexpr PulseSensorConditions inPulseMode3164{.bPulseMode = true,
                                                .bPulseSensor = true,
                                                .b3164 = true,
                                                .bPulseGate = false,
                                                .bTriggeredGate = false};
constexpr PulseSensorConditions inPulseGate{.bPulseMode = true,
                                            .bPulseSensor = true,
                                            .b3164 = false,
                                            .bPulseGate = true,
                                            .bTriggeredGate = false};
constexpr PulseSensorConditions inPulseGate3164{.bPulseMode = true,
                                                .bPulseSensor = true,
                                                .b3164 = true,
                                                .bPulseGate = true,
                                                .bTriggeredGate = false};
constexpr PulseSensorConditions inTriggeredGate{.bPulseMode = true,
                                                .bPulseSensor = true,
                                                .b3164 = true,
                                                .bPulseGate = false,
                                                .bTriggeredGate = true};

/// Tests them in a fixed order and queues the error of the first that fails.
scpi_result_t SCPI_CheckConditions(scpi_t* context, const PulseSensorConditions& conditions,
                                   size_t channel);

/// Reads the channel, then checks the conditions.
scpi_result_t ScpiConditions_readChannel(scpi_t* context, const PulseSensorConditions& conditions,
                                         size_t* channel);

#endif
