#include "FleetClock.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int64_t step_ns = 1'000'000'000;       ///< being further behind is caught up at once
constexpr double slewTime_ns = 10'000'000'000.0; ///< in which a small difference goes
constexpr double largestSlewRate = 0.1;

} // namespace

FleetClock FleetClock_start(int64_t monotonic_ns, int64_t wall_ns) {
    return {.anchorMonotonic_ns = monotonic_ns,
            .anchorUtc_ns = wall_ns,
            .slewLength_ns = 0,
            .slewRate = 0};
}

int64_t FleetClock_utc_ns(const FleetClock& clock, int64_t monotonic_ns) {
    const int64_t elapsed_ns = monotonic_ns - clock.anchorMonotonic_ns;
    const auto slewed_ns = static_cast<double>(std::min(elapsed_ns, clock.slewLength_ns));
    return clock.anchorUtc_ns + elapsed_ns + std::llround(slewed_ns * clock.slewRate);
}

void FleetClock_follow(FleetClock& clock, int64_t monotonic_ns, int64_t wall_ns) {
    const int64_t utc_ns = FleetClock_utc_ns(clock, monotonic_ns);
    const int64_t behind_ns = wall_ns - utc_ns;
    if (behind_ns > step_ns) {
        clock = FleetClock_start(monotonic_ns, wall_ns);
        return;
    }
    clock = FleetClock_start(monotonic_ns, utc_ns);
    clock.slewRate =
        std::clamp(static_cast<double>(behind_ns) / slewTime_ns, -largestSlewRate, largestSlewRate);
    if (clock.slewRate != 0) {
        clock.slewLength_ns = std::llround(static_cast<double>(behind_ns) / clock.slewRate);
    }
}
