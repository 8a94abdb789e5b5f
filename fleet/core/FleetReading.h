#ifndef FLEET_CORE_FLEET_READING_H
#define FLEET_CORE_FLEET_READING_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// One row of a log: what one channel of one meter has measured at a time.

enum FleetValue : size_t {
    fleetForward,
    fleetForwardMin,
    fleetForwardMax,
    fleetReflected,
    fleetReflectedMin,
    fleetReflectedMax,
    fleetVswr,
    fleetFrequency,
    fleetTemperature,
    fleetDuty,
    fleetPeriod,
    fleetPrf,
    fleetWidth,
    fleetGateMean,
    fleetGateMax,
    fleetGateMin,
    fleetState1Mean, ///< mean, max and min of states 1 to 4 follow one another
    fleetValueCount = fleetState1Mean + 12
};

using FleetValues = std::array<double, fleetValueCount>; ///< NaN where there is no value

struct FleetReading {
    int64_t time_ms = 0; ///< UTC, milliseconds since 1970: when the answer came
    std::string meter;   ///< serial number
    int channel = 0;     ///< 1 or 2
    std::string sensor;  ///< model
    std::string sensorSerial;
    FleetValues values{}; ///< in the units of their names
};

constexpr size_t fleetTextCount = 5;
constexpr size_t fleetColumnCount = fleetTextCount + fleetValueCount;

/// Names of all columns in their order, units included: five texts, then the values in the order of
/// FleetValue. CSV, SQLite and JSON use the same.
const std::array<std::string_view, fleetColumnCount>& FleetReading_columns();

/// The name of a value's column.
std::string_view FleetReading_name(size_t value);

/// All of them NaN.
FleetValues FleetReading_noValues();

/// Standing-wave ratio as the meter shows it, 199 at most. NaN where either power is, and without
/// forward power.
double FleetReading_vswr(double forward_W, double reflected_W);

#endif
