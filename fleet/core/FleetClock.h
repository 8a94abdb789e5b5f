#ifndef FLEET_CORE_FLEET_CLOCK_H
#define FLEET_CORE_FLEET_CLOCK_H

#include <cstdint>

/// UTC for readings: it runs with the monotonic clock, so that a wall clock that is stepped gives
/// no time twice and none before another. It follows the wall clock all the same: at once where
/// that is more than a second ahead, and else by running up to a tenth faster or slower. All times
/// are in nanoseconds; callers pass both clocks in.
struct FleetClock {
    int64_t anchorMonotonic_ns = 0;
    int64_t anchorUtc_ns = 0;
    int64_t slewLength_ns = 0; ///< of the monotonic clock, from the anchor on
    double slewRate = 0;       ///< nanoseconds for each of the monotonic clock's
};

FleetClock FleetClock_start(int64_t monotonic_ns, int64_t wall_ns);

/// UTC in nanoseconds; grows with the monotonic clock.
int64_t FleetClock_utc_ns(const FleetClock& clock, int64_t monotonic_ns);

/// Compares with the wall clock; to be called every few seconds.
void FleetClock_follow(FleetClock& clock, int64_t monotonic_ns, int64_t wall_ns);

#endif
