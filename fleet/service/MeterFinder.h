#ifndef FLEET_SERVICE_METER_FINDER_H
#define FLEET_SERVICE_METER_FINDER_H

#include "FleetLoop.h"
#include "MeterBrowser.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Looks for announced meters once a minute, on a thread of its own: the daemon may take its time.
struct MeterFinder;

/// `found` is called on the loop, with the meters or with the reason why there are none to be
/// known.
std::shared_ptr<MeterFinder> MeterFinder_start(
    const std::shared_ptr<FleetLoop>& loop,
    std::function<void(const std::vector<AnnouncedMeter>&, const std::string&)> found);

/// Ends the thread, within a few seconds.
void MeterFinder_stop(MeterFinder& finder);

#endif
