#ifndef FLEET_WEB_FLEET_JSON_H
#define FLEET_WEB_FLEET_JSON_H

#include "FleetHistory.h"
#include "FleetView.h"

#include <string>
#include <vector>

/// The answers of the HTTP interface as JSON, in one line each. Values that are not there are left
/// out; docs/fleet.md tells the keys.

/// All meters.
std::string FleetJson_fleet(const FleetView& view);

/// One meter.
std::string FleetJson_meter(const MeterView& meter, int64_t now_ms);

/// Readings as one array for each column that holds anything.
std::string FleetJson_readings(const HistoryQuery& query,
                               const std::vector<FleetReading>& readings);

std::string FleetJson_events(const std::vector<FleetEvent>& events);

/// Why there is no answer.
std::string FleetJson_error(const std::string& why);

#endif
