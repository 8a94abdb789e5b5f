#ifndef FLEET_CORE_CHANNEL_LIMITS_H
#define FLEET_CORE_CHANNEL_LIMITS_H

#include "FleetReading.h"

#include <cstdint>
#include <limits>
#include <optional>

/// Limits of one channel, and what is known of them.

struct ChannelLimits {
    std::optional<double> forwardLow_W;
    std::optional<double> forwardHigh_W;
    std::optional<double> vswrHigh;
    int64_t hold_ms = 0; ///< how long a reading must be beyond before it counts
};

enum LimitKind : size_t { limitForwardLow, limitForwardHigh, limitVswrHigh, limitKindCount };

struct LimitState {
    bool isBeyond = false;      ///< the last reading was
    bool isExceeded = false;    ///< for the hold time
    int64_t beyondSince_ms = 0; ///< UTC
};

struct ChannelLimitStates {
    std::array<LimitState, limitKindCount> states;
};

/// "forward_low_W", as in the configuration.
const char* ChannelLimits_name(LimitKind kind);

/// Nothing where there is no such limit.
std::optional<double> ChannelLimits_limit(const ChannelLimits& limits, LimitKind kind);

/// Compares a reading, offsets applied. Bit N of the result is set where the limit of kind N has
/// just become exceeded or is so no more; `states` tells which. A missing value changes nothing.
unsigned ChannelLimits_check(const ChannelLimits& limits, ChannelLimitStates& states,
                             const FleetReading& reading);

/// A power behind a coupler or an attenuator of so many dB; states and gates as well. VSWR and all
/// else stay.
void ChannelLimits_applyOffset(FleetValues& values, double offset_dB);

#endif
