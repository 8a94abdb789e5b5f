#ifndef FLEET_DISCOVER_METER_BROWSER_H
#define FLEET_DISCOVER_METER_BROWSER_H

#include "MeterAddress.h"

#include <cstdint>
#include <string>
#include <vector>

/// A meter that the local network's mDNS service knows.
struct AnnouncedMeter {
    std::string name;     ///< of the announcement
    MeterAddress address; ///< numeric
    std::string model;

    bool operator==(const AnnouncedMeter&) const = default;
};

/// Asks the Avahi daemon of this computer. Returns when it has told all that it knows for now,
/// after `limit_ms` at the latest; each meter once, with its IPv4 address if it has one. False with
/// the reason when the daemon cannot be asked.
bool MeterBrowser_find(int64_t limit_ms, std::vector<AnnouncedMeter>& meters, std::string& error);

#endif
