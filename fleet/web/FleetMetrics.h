#ifndef FLEET_WEB_FLEET_METRICS_H
#define FLEET_WEB_FLEET_METRICS_H

#include "FleetView.h"

#include <string>

/// All meters in Prometheus' text format. A channel that has no reading now has no measured values:
/// an old one would look like a new one there.
std::string FleetMetrics_text(const FleetView& view);

#endif
