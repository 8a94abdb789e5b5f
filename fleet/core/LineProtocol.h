#ifndef FLEET_CORE_LINE_PROTOCOL_H
#define FLEET_CORE_LINE_PROTOCOL_H

#include "FleetReading.h"

#include <string>

/// Readings in the InfluxDB line protocol, which several time-series databases take.

/// What the configuration said of a channel when it was read.
struct ReadingLabels {
    std::string name;
    std::string place;
    double offset_dB = 0;

    bool operator==(const ReadingLabels&) const = default;
};

enum class LineTime { milliseconds, nanoseconds };

/// Appends one line with its line feed: `quorvel` with meter, channel, sensor, name and place as
/// tags, values under the names of their columns, the offset applied, and the reading's own time.
/// Nothing for a reading without a value. Backslashes in tags become slashes, because receivers
/// read them differently.
void LineProtocol_append(std::string& text, const FleetReading& reading,
                         const ReadingLabels& labels, LineTime time);

#endif
