#ifndef FLEET_SERVICE_FLEET_SERVICE_H
#define FLEET_SERVICE_FLEET_SERVICE_H

#include "FleetConfig.h"

/// Polls the meters, stores their readings and events and watches their limits, until SIGINT or
/// SIGTERM comes. Returns the exit status.
int FleetService_run(const FleetConfig& config);

#endif
