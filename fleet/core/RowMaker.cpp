#include "RowMaker.h"

#include <cmath>
#include <utility>

namespace {

// fmin and fmax leave out a NaN on either side.
void addExtremes(FleetValues& extremes, const FleetValues& values, FleetValue value,
                 FleetValue least, FleetValue greatest) {
    extremes[least] = std::fmin(extremes[least], values[value]);
    extremes[greatest] = std::fmax(extremes[greatest], values[value]);
}

void addToMean(double value, double& sum, size_t& count) {
    if (!std::isnan(value)) {
        sum += value;
        ++count;
    }
}

/// A single reading stays as it is, to the last digit.
double mean(double single, double sum, size_t count) {
    return count <= 1 ? single : sum / static_cast<double>(count);
}

} // namespace

bool RowMaker_endsRow(int64_t poll_ms, int64_t every_ms, int64_t poll) {
    return (poll + 1) * poll_ms / every_ms > poll * poll_ms / every_ms;
}

bool RowMaker_isOther(const RowMaker& maker, const FleetReading& reading) {
    return maker.count > 0 &&
           (maker.last.sensorSerial != reading.sensorSerial ||
            maker.last.sensor != reading.sensor || maker.last.meter != reading.meter);
}

void RowMaker_add(RowMaker& maker, const FleetReading& reading) {
    const FleetValues& values = reading.values;
    maker.last = reading;
    ++maker.count;
    addToMean(values[fleetForward], maker.forwardSum, maker.forwardCount);
    addToMean(values[fleetReflected], maker.reflectedSum, maker.reflectedCount);
    addExtremes(maker.extremes, values, fleetForward, fleetForwardMin, fleetForwardMax);
    addExtremes(maker.extremes, values, fleetReflected, fleetReflectedMin, fleetReflectedMax);
}

std::optional<FleetReading> RowMaker_take(RowMaker& maker) {
    if (maker.count == 0) {
        return {};
    }
    FleetReading row = std::move(maker.last);
    FleetValues& values = row.values;
    if (maker.forwardCount > 0) {
        values[fleetForward] =
            mean(maker.extremes[fleetForwardMin], maker.forwardSum, maker.forwardCount);
    }
    if (maker.reflectedCount > 0) {
        values[fleetReflected] =
            mean(maker.extremes[fleetReflectedMin], maker.reflectedSum, maker.reflectedCount);
    }
    for (const FleetValue extreme :
         {fleetForwardMin, fleetForwardMax, fleetReflectedMin, fleetReflectedMax}) {
        values[extreme] = maker.extremes[extreme];
    }
    maker = {};
    return row;
}
