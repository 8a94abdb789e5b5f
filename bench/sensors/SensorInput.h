#ifndef BENCH_SENSORS_SENSOR_INPUT_H
#define BENCH_SENSORS_SENSOR_INPUT_H

#include "Signal.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What both families have in common: the signal at a sensor's connector, its limits, and the
/// "KEY=VALUE" words that "plug" and "set" take.

struct SensorInput {
    Signal forward_W;
    Signal reflected_W;
    Signal frequency_Hz;
    Signal temperature_C;
    double maxPower_W;
    double minPower_W;
};

/// No power, 13.56 MHz.
SensorInput SensorInput_create(double maxPower_W, double minPower_W, double temperature_C);

/// The values of its keys, for "status".
std::string SensorInput_describe(SensorInput& input, int64_t now_ns);

/// A value as it was typed.
struct TypedValue {
    std::string_view text;
    int64_t now_ns;
    std::string* error; ///< why it was refused
};

// Setters: one per kind of value. Each changes nothing when it refuses, says in the error what is
// allowed, and returns false.

/// Refuses: the error is "'VALUE' is not WHAT".
bool TypedValue_refuse(const TypedValue& value, std::string_view what);

bool TypedValue_toSignal(const TypedValue& value, SignalUnit unit, Signal* signal);

/// At least 0.
bool TypedValue_toNumber(const TypedValue& value, SignalUnit unit, double* number);
bool TypedValue_toDuration(const TypedValue& value, double* duration_s);

constexpr size_t anyLength = std::string::npos;
bool TypedValue_toText(const TypedValue& value, size_t longest, std::string* text);

/// "on" or "off".
bool TypedValue_toFlag(const TypedValue& value, bool* flag);

template <typename Sensor> struct SensorKey {
    std::string_view name;
    bool (*set)(Sensor&, const TypedValue&);
};

/// The keys that both families have.
std::span<const SensorKey<SensorInput>> SensorInput_keys();

/// Lists the keys of a sensor, and refuses.
bool SensorInput_refuseKey(std::string_view key, const char* sensorKind,
                           const std::vector<std::string>& names, const TypedValue& value);

/// All keys of a sensor: `others`, which are not its own, then its own, then what both families
/// have.
template <typename Sensor, size_t count>
std::vector<std::string> SensorInput_keyNames(const std::array<SensorKey<Sensor>, count>& keys,
                                              const std::vector<std::string>& others) {
    std::vector<std::string> names = others;
    for (const SensorKey<Sensor>& known : keys) {
        names.emplace_back(known.name);
    }
    for (const SensorKey<SensorInput>& known : SensorInput_keys()) {
        names.emplace_back(known.name);
    }
    return names;
}

/// Sets one key of a sensor that has a SensorInput `input` and keys of its own. `others` are the
/// names of keys that are not the sensor's.
template <typename Sensor, size_t count>
bool SensorInput_set(Sensor& sensor, const std::array<SensorKey<Sensor>, count>& keys,
                     const char* sensorKind, const std::vector<std::string>& others,
                     std::string_view key, const TypedValue& value) {
    const auto common = SensorInput_keys();
    const auto commonRow = std::ranges::find(common, key, &SensorKey<SensorInput>::name);
    const auto* row = std::ranges::find(keys, key, &SensorKey<Sensor>::name);
    if (commonRow == common.end() && row == keys.end()) {
        return SensorInput_refuseKey(key, sensorKind, SensorInput_keyNames(keys, others), value);
    }
    if (row != keys.end() ? row->set(sensor, value) : commonRow->set(sensor.input, value)) {
        return true;
    }
    *value.error = std::string(key) + ": " + *value.error;
    return false;
}

#endif
