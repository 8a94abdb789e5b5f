#include "StoreRule.h"

#include <cmath>

namespace {

constexpr int64_t repeatPause_ms = 1000;

bool isSame(const FleetReading& a, const FleetReading& b) {
    for (size_t value = 0; value < fleetValueCount; ++value) {
        const bool areMissing = std::isnan(a.values[value]) && std::isnan(b.values[value]);
        if (a.values[value] != b.values[value] && !areMissing) {
            return false;
        }
    }
    return a.meter == b.meter && a.sensor == b.sensor && a.sensorSerial == b.sensorSerial;
}

} // namespace

bool StoreRule_take(StoreRule& rule, const FleetReading& reading) {
    if (rule.hasLast && isSame(rule.last, reading) &&
        reading.time_ms - rule.last.time_ms < repeatPause_ms) {
        return false;
    }
    rule.hasLast = true;
    rule.last = reading;
    return true;
}
