#include "PulseConfigValidation.h"

#include "Numbers.h"
#include "PulseConfigUnits.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr double largestGateDelay_s = 0.0009;
constexpr double microsecondsPerSecond = 1000000.0;
constexpr uint32_t mostStates = 4;
constexpr float unusedStateEnd_s = 0.001F;

[[gnu::format(printf, 2, 0)]] void writeMessage(PulseConfigFailure* failure, const char* format,
                                                va_list arguments) {
    const ScopedNumberLocale locale;
    vsnprintf(failure->message, sizeof failure->message, format, arguments);
}

/// Notes the failure; always false, so that a rule can end with it.
[[gnu::format(printf, 4, 5)]] bool fail(PulseConfigFailure* failure, PulseConfigField field,
                                        uint32_t state, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    writeMessage(failure, format, arguments);
    va_end(arguments);
    failure->field = field;
    failure->state = state;
    return false;
}

bool isWithin(double value, double min, double max) {
    return !less(value, min) && !greater(value, max);
}

bool checkFrequency(const SENSOR_CONFIGS& config, const PULSE_RANGES& range,
                    PulseConfigFailure* failure) {
    const double min = range.min;
    const double max = range.max;
    return config.bAutoFrequency || isWithin(config.freqVal, min, max) ||
           fail(failure, PulseConfigField::frequency, 0,
                "The frequency value must be between %f and %f Hz.", min, max);
}

bool checkPeriod(const SENSOR_CONFIGS& config, const PULSE_RANGES& range,
                 PulseConfigFailure* failure) {
    const double min = range.min;
    const double max = range.max;
    return config.bAutoPeriod || isWithin(config.prdVal, min, max) ||
           fail(failure, PulseConfigField::period, 0,
                "The pulse period value must be between %f and %f s.", min, max);
}

bool checkLevel(const SENSOR_CONFIGS& config, const PULSE_RANGES& range,
                PulseConfigFailure* failure) {
    const double max = range.max;
    return config.bAutoTriggerLevel || isWithin(config.trigLevelVal, 0.0, max) ||
           fail(failure, PulseConfigField::level, 0,
                "The trigger level value must be between %f and %f W.", 0.0, max);
}

bool checkDelay(const SENSOR_CONFIGS& config, const PULSE_RANGES& range,
                PulseConfigFailure* failure) {
    const double min = range.min;
    const double max = range.max;
    return isWithin(config.trigDelayVal, min, max) ||
           fail(failure, PulseConfigField::delay, 0,
                "The trigger delay value must be between %f and %f s.", min, max);
}

bool checkGate(const SENSOR_CONFIGS& config, PulseConfigFailure* failure) {
    constexpr double largest_us = largestGateDelay_s * microsecondsPerSecond;
    if (!isWithin(config.gateBegin, 0.0, largestGateDelay_s)) {
        return fail(failure, PulseConfigField::gateBegin, 0,
                    "The gate begin delay value must be between %f and %f us.", 0.0, largest_us);
    }
    return isWithin(config.gateEnd, -largestGateDelay_s, 0.0) ||
           fail(failure, PulseConfigField::gateEnd, 0,
                "The gate end delay value must be between %f and %f us.", -largest_us, 0.0);
}

/// One state against the longest period.
bool checkState(const PULSE_STATE_INTVL& state, uint32_t index, double longest_s,
                PulseConfigFailure* failure) {
    const int number = static_cast<int>(index) + 1;
    const double begin = state.begin;
    const double end = state.end;
    if (!isWithin(begin, -longest_s, longest_s)) {
        return fail(failure, PulseConfigField::stateBegin, index,
                    "The begin value of state %d must\nbe between %f and %f s.", number, -longest_s,
                    longest_s);
    }
    if (!less(begin, end)) {
        return fail(failure, PulseConfigField::stateEnd, index,
                    "The ending value of state %d must\nbe greater than the beginning value.",
                    number);
    }
    return !greater(end - begin, longest_s) ||
           fail(failure, PulseConfigField::stateEnd, index,
                "The state width of state %d may not\nbe greater than %f s.", number, longest_s);
}

uint32_t stateCountOf(const SENSOR_CONFIGS& config) {
    return std::min<uint32_t>(config.numStates, mostStates);
}

bool checkEachState(const SENSOR_CONFIGS& config, double longest_s, PulseConfigFailure* failure) {
    for (uint32_t i = 0; i < stateCountOf(config); ++i) {
        if (!checkState(config.pulseStates[i], i, longest_s, failure)) {
            return false;
        }
    }
    return true;
}

void resetUnusedStates(SENSOR_CONFIGS* config) {
    for (uint32_t i = stateCountOf(*config); i < mostStates; ++i) {
        config->pulseStates[i].begin = 0.0F;
        config->pulseStates[i].end = unusedStateEnd_s;
    }
}

/// From the earliest beginning to the latest end.
bool checkSpan(const SENSOR_CONFIGS& config, double period_s, PulseConfigFailure* failure) {
    const uint32_t count = stateCountOf(config);
    if (count == 0) {
        return true;
    }
    double earliest = config.pulseStates[0].begin;
    double latest = config.pulseStates[0].end;
    for (uint32_t i = 1; i < count; ++i) {
        earliest = std::min(earliest, static_cast<double>(config.pulseStates[i].begin));
        latest = std::max(latest, static_cast<double>(config.pulseStates[i].end));
    }
    return !greater(latest - earliest, period_s) ||
           fail(failure, PulseConfigField::period, 0,
                "The aggregate width of all the states must\nbe less than %f s.", period_s);
}

bool checkStates(SENSOR_CONFIGS* config, double longest_s, double typedPeriod_s,
                 PulseConfigFailure* failure) {
    const bool areValid = checkEachState(*config, longest_s, failure);
    resetUnusedStates(config);
    return areValid && checkSpan(*config, typedPeriod_s, failure);
}

} // namespace

bool PulseConfigValidation_check3163(const SENSOR_CONFIGS& config, const SENSOR_IDENTITY& limits,
                                     PulseConfigFailure* failure) {
    return checkFrequency(config, limits.sensorFrequency, failure) && checkGate(config, failure);
}

bool PulseConfigValidation_check3164(SENSOR_CONFIGS* config, const SENSOR_IDENTITY& limits,
                                     double typedPeriod_s, PulseConfigFailure* failure) {
    if (!checkFrequency(*config, limits.sensorFrequency, failure) ||
        !checkPeriod(*config, limits.sensorPulsePeriod, failure) ||
        !checkLevel(*config, limits.sensorPower, failure) ||
        !checkDelay(*config, limits.sensorTriggerDelay, failure)) {
        return false;
    }
    if (!config->bModelIsTriggeredGates) {
        return checkGate(*config, failure);
    }
    return checkStates(config, limits.sensorPulsePeriod.max, typedPeriod_s, failure);
}

bool PulseConfigValidation_canBeNegative(PulseConfigField field, bool levelIsdBm) {
    switch (field) {
    case PulseConfigField::frequency:
    case PulseConfigField::period:
        return false;
    case PulseConfigField::level:
        return levelIsdBm;
    default:
        return true;
    }
}

void PulseConfigValidation_parameterErrors(std::span<const char[32]> errors,
                                           char (&text)[parameterErrorsTextSize]) {
    // The spelling is deliberately kept.
    std::snprintf(text, sizeof text,
                  "Parameter Errors occured in the sensor.\n\r"
                  "See the manual for valid parmaeter ranges:\n\r");
    size_t length = strlen(text);
    for (const auto& error : errors) {
        char line[40];
        std::snprintf(line, sizeof line, "  %s\n\r", error);
        const size_t lineLength = strlen(line);
        if (length + lineLength >= sizeof text) {
            return;
        }
        memcpy(text + length, line, lineLength + 1);
        length += lineLength;
    }
}
