#ifndef SENSORS_PULSE_CONFIG_VALIDATION_H
#define SENSORS_PULSE_CONFIG_VALIDATION_H

#include "SensorTypes.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// The rules of a pulse configuration that is typed in, and the texts that tell which one it
/// breaks. Pure functions.

enum class PulseConfigField : uint32_t {
    frequency,
    period,
    level,
    delay,
    gateBegin,
    gateEnd,
    stateBegin,
    stateEnd
};

/// The first rule that failed.
struct PulseConfigFailure {
    PulseConfigField field;
    uint32_t state;    ///< of stateBegin and stateEnd, from 0
    char message[129]; ///< at most 128 characters
};

/// For sensors without triggered states: true when valid, else `failure` is filled. The limits are
/// those of the connected sensor.
bool PulseConfigValidation_check3163(const SENSOR_CONFIGS& config, const SENSOR_IDENTITY& limits,
                                     PulseConfigFailure* failure);

/// For sensors with triggered states. `typedPeriod_s` is the period entry's, which counts even
/// while the period is automatic. In triggered-states mode the states beyond `numStates` are reset,
/// whether the configuration is valid or not.
bool PulseConfigValidation_check3164(SENSOR_CONFIGS* config, const SENSOR_IDENTITY& limits,
                                     double typedPeriod_s, PulseConfigFailure* failure);

/// Frequency and period never; the level in dBm only; delays and state times always.
bool PulseConfigValidation_canBeNegative(PulseConfigField field, bool levelIsdBm);

constexpr size_t parameterErrorsTextSize = 321;

/// What is told of the errors that the sensor returned, as many of their lines as 320 characters
/// hold.
void PulseConfigValidation_parameterErrors(std::span<const char[32]> errors,
                                           char (&text)[parameterErrorsTextSize]);

#endif
