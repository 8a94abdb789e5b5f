#ifndef FLEET_WEB_FLEET_SITE_H
#define FLEET_WEB_FLEET_SITE_H

#include "FleetLoop.h"
#include "FleetView.h"
#include "MeterAddress.h"

#include <functional>
#include <memory>
#include <string>

/// What the service shows to others over HTTP: the page, /api and /metrics.
struct FleetSite;

struct FleetSiteOptions {
    MeterAddress address; ///< where it listens
    std::string token;    ///< "" for none
    std::string database;
    std::function<FleetView()> view; ///< called on the loop
    /// Fetches the screen of the meter with this address as a PNG file, "" where there is none.
    std::function<void(const std::string& address, std::function<void(const std::string&)>)> screen;
};

/// Nothing, with the reason, if it cannot be served there.
std::shared_ptr<FleetSite> FleetSite_start(const std::shared_ptr<FleetLoop>& loop,
                                           FleetSiteOptions options, std::string& error);

/// As in "http://127.0.0.1:8830/".
std::string FleetSite_url(const FleetSite& site);

void FleetSite_stop(FleetSite& site);

#endif
