#ifndef FLEET_CORE_FLEET_SHARE_H
#define FLEET_CORE_FLEET_SHARE_H

#include <cstdint>
#include <string_view>

/// Whether a meter belongs to share `share` (from 1 on) of `count`: by its serial number alone, so
/// that every process and every version decides alike.
bool FleetShare_has(int64_t share, int64_t count, std::string_view serial);

#endif
