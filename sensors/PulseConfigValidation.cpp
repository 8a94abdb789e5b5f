#include "PulseConfigValidation.h"

#include "Numbers.h"
#include "PulseConfigUnits.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr double largestGateDelay_s = 0.0009;
constexpr double microsecondsPerSecond = 1000000.0;
constexpr float unusedStateEnd_s = 0.001F;

/// Notes the failure; always false, so that a rule can end with it.
[[gnu::format(printf, 4, 5)]] bool fail(PulseConfigFailure* failure, PulseConfigField field,
                                        uint32_t state, const char* format, ...) {
    failure->field = field;
    failure->state = state;
    const ScopedNumberLocale locale;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(failure->message, sizeof failure->message, format, arguments);
    va_end(arguments);
    return false;
}

bool isWithin(double value, double min, double max) {
    return !less(value, min) && !greater(value, max);
}

/// A number that has to be within the sensor's limits.
struct LimitRow {
    PulseConfigField field;
    const char* words;
    const char* unit;
    bool SENSOR_CONFIGS::*isAutomatic; ///< then the number does not count; null: it always does
    float SENSOR_CONFIGS::*value;
    PULSE_RANGES SENSOR_IDENTITY::*range;
    bool isFromZero; ///< instead of the range's minimum
};

/// In the order of their checks.
constexpr std::array<LimitRow, 4> limitRows = {{
    {PulseConfigField::frequency, "frequency", "Hz", &SENSOR_CONFIGS::bAutoFrequency,
     &SENSOR_CONFIGS::freqVal, &SENSOR_IDENTITY::sensorFrequency, false},
    {PulseConfigField::period, "pulse period", "s", &SENSOR_CONFIGS::bAutoPeriod,
     &SENSOR_CONFIGS::prdVal, &SENSOR_IDENTITY::sensorPulsePeriod, false},
    {PulseConfigField::level, "trigger level", "W", &SENSOR_CONFIGS::bAutoTriggerLevel,
     &SENSOR_CONFIGS::trigLevelVal, &SENSOR_IDENTITY::sensorPower, true},
    {PulseConfigField::delay, "trigger delay", "s", nullptr, &SENSOR_CONFIGS::trigDelayVal,
     &SENSOR_IDENTITY::sensorTriggerDelay, false},
}};
constexpr const LimitRow& frequencyRow = limitRows[0];

bool failLimits(PulseConfigFailure* failure, PulseConfigField field, const char* words, double min,
                double max, const char* unit) {
    return fail(failure, field, 0, "The %s value must be between %f and %f %s.", words, min, max,
                unit);
}

bool checkLimits(const LimitRow& row, const SENSOR_CONFIGS& config, const SENSOR_IDENTITY& limits,
                 PulseConfigFailure* failure) {
    const PULSE_RANGES& range = limits.*row.range;
    const double min = row.isFromZero ? 0.0 : static_cast<double>(range.min);
    const double max = range.max;
    const bool isAutomatic = row.isAutomatic != nullptr && config.*row.isAutomatic;
    return isAutomatic || isWithin(config.*row.value, min, max) ||
           failLimits(failure, row.field, row.words, min, max, row.unit);
}

bool checkGate(const SENSOR_CONFIGS& config, PulseConfigFailure* failure) {
    constexpr double largest_us = largestGateDelay_s * microsecondsPerSecond;
    if (!isWithin(config.gateBegin, 0.0, largestGateDelay_s)) {
        return failLimits(failure, PulseConfigField::gateBegin, "gate begin delay", 0.0, largest_us,
                          "us");
    }
    return isWithin(config.gateEnd, -largestGateDelay_s, 0.0) ||
           failLimits(failure, PulseConfigField::gateEnd, "gate end delay", -largest_us, 0.0, "us");
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
    return std::min<uint32_t>(config.numStates, pulseStateCount);
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
    for (uint32_t i = stateCountOf(*config); i < pulseStateCount; ++i) {
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
    // Even after a failure, which existing test programs rely on
    // (docs/compatibility.md: unused-states-reset).
    resetUnusedStates(config);
    return areValid && checkSpan(*config, typedPeriod_s, failure);
}

} // namespace

bool PulseConfigValidation_check3163(const SENSOR_CONFIGS& config, const SENSOR_IDENTITY& limits,
                                     PulseConfigFailure* failure) {
    return checkLimits(frequencyRow, config, limits, failure) && checkGate(config, failure);
}

bool PulseConfigValidation_check3164(SENSOR_CONFIGS* config, const SENSOR_IDENTITY& limits,
                                     double typedPeriod_s, PulseConfigFailure* failure) {
    const auto isWithinLimits = [&](const LimitRow& row) {
        return checkLimits(row, *config, limits, failure);
    };
    if (!std::all_of(limitRows.begin(), limitRows.end(), isWithinLimits)) {
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
    // Existing test programs know the text so, its slips of spelling and its order of line feed and
    // carriage return included (docs/compatibility.md: occured, parmaeter).
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
