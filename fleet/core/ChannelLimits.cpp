#include "ChannelLimits.h"

#include <cmath>

namespace {

constexpr std::array<const char*, limitKindCount> names{"forward_low_W", "forward_high_W",
                                                        "vswr_high"};

/// Whether the value is beyond the limit; nothing where there is no limit or no value.
std::optional<bool> isBeyond(const ChannelLimits& limits, size_t kind, const FleetValues& values) {
    const double forward_W = values[fleetForward];
    const double vswr = values[fleetVswr];
    switch (kind) {
    case limitForwardLow:
        return limits.forwardLow_W && !std::isnan(forward_W)
                   ? std::optional(values[fleetForwardMin] < *limits.forwardLow_W)
                   : std::nullopt;
    case limitForwardHigh:
        return limits.forwardHigh_W && !std::isnan(forward_W)
                   ? std::optional(values[fleetForwardMax] > *limits.forwardHigh_W)
                   : std::nullopt;
    default:
        return limits.vswrHigh && !std::isnan(vswr) ? std::optional(vswr > *limits.vswrHigh)
                                                    : std::nullopt;
    }
}

/// True when it has become exceeded or is so no more.
bool update(LimitState& state, bool beyond, int64_t time_ms, int64_t hold_ms) {
    if (beyond && !state.isBeyond) {
        state.beyondSince_ms = time_ms;
    }
    state.isBeyond = beyond;
    const bool wasExceeded = state.isExceeded;
    state.isExceeded = beyond && (wasExceeded || time_ms - state.beyondSince_ms >= hold_ms);
    return state.isExceeded != wasExceeded;
}

} // namespace

const char* ChannelLimits_name(LimitKind kind) {
    return names[kind];
}

std::optional<double> ChannelLimits_limit(const ChannelLimits& limits, LimitKind kind) {
    return kind == limitForwardLow    ? limits.forwardLow_W
           : kind == limitForwardHigh ? limits.forwardHigh_W
                                      : limits.vswrHigh;
}

unsigned ChannelLimits_check(const ChannelLimits& limits, ChannelLimitStates& states,
                             const FleetReading& reading) {
    unsigned changed = 0;
    for (size_t kind = 0; kind < limitKindCount; ++kind) {
        const std::optional<bool> beyond = isBeyond(limits, kind, reading.values);
        if (beyond && update(states.states[kind], *beyond, reading.time_ms, limits.hold_ms)) {
            changed |= 1U << kind;
        }
    }
    return changed;
}

void ChannelLimits_applyOffset(FleetValues& values, double offset_dB) {
    if (offset_dB == 0) {
        return; // the digits stay as they are
    }
    const double factor = std::pow(10, offset_dB / 10);
    for (size_t value = fleetForward; value <= fleetReflectedMax; ++value) {
        values[value] *= factor;
    }
    for (size_t value = fleetGateMean; value < fleetValueCount; ++value) {
        values[value] *= factor;
    }
}
