#ifndef FLEET_DISCOVER_DISCOVER_REPORT_H
#define FLEET_DISCOVER_DISCOVER_REPORT_H

#include "MeterBrowser.h"
#include "MeterDialogue.h"

#include <optional>
#include <string>
#include <vector>

/// What was found on the network, for people and for programs.
struct DiscoveredMeter {
    AnnouncedMeter announced;
    std::optional<MeterDialogue> dialogue; ///< its answers; none if it gave none
    std::string trouble;                   ///< why it gave none
};

/// A table with a heading, a line for each meter.
std::string DiscoverReport_table(const std::vector<DiscoveredMeter>& meters);

/// An array of objects, with its line feed.
std::string DiscoverReport_json(const std::vector<DiscoveredMeter>& meters);

#endif
