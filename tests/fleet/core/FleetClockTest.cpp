#include "FleetClock.h"

#include <gtest/gtest.h>

namespace {

constexpr int64_t second_ns = 1'000'000'000;
constexpr int64_t start_ns = 1'700'000'000 * second_ns;

TEST(FleetClock, RunsWithTheMonotonicClock) {
    const FleetClock clock = FleetClock_start(5 * second_ns, start_ns);
    EXPECT_EQ(start_ns, FleetClock_utc_ns(clock, 5 * second_ns));
    EXPECT_EQ(start_ns + 3600 * second_ns, FleetClock_utc_ns(clock, 3605 * second_ns));
}

TEST(FleetClock, FollowsAWallClockThatIsFarAheadAtOnce) {
    FleetClock clock = FleetClock_start(0, start_ns);
    FleetClock_follow(clock, second_ns, start_ns + 7200 * second_ns);
    EXPECT_EQ(start_ns + 7200 * second_ns, FleetClock_utc_ns(clock, second_ns));
}

TEST(FleetClock, CatchesUpASmallDifferenceWithoutAJump) {
    FleetClock clock = FleetClock_start(0, start_ns);
    FleetClock_follow(clock, 0, start_ns + second_ns / 2);
    EXPECT_EQ(start_ns, FleetClock_utc_ns(clock, 0));
    EXPECT_EQ(start_ns + 10 * second_ns + second_ns / 2, FleetClock_utc_ns(clock, 10 * second_ns));
    EXPECT_EQ(start_ns + 20 * second_ns + second_ns / 2, FleetClock_utc_ns(clock, 20 * second_ns));
}

TEST(FleetClock, AWallClockSteppedBackGivesNoTimeTwiceAndNoneOutOfOrder) {
    FleetClock clock = FleetClock_start(0, start_ns);
    int64_t last_ns = start_ns;
    for (int64_t now_ns = second_ns / 10; now_ns < 20 * 3600 * second_ns; now_ns += second_ns * 7) {
        FleetClock_follow(clock, now_ns, start_ns + now_ns - 3600 * second_ns);
        const int64_t before_ns = FleetClock_utc_ns(clock, now_ns);
        const int64_t after_ns = FleetClock_utc_ns(clock, now_ns + second_ns / 1000);
        ASSERT_GT(before_ns, last_ns);
        ASSERT_GT(after_ns, before_ns);
        last_ns = after_ns;
    }
    const int64_t end_ns = 20 * 3600 * second_ns;
    EXPECT_NEAR(static_cast<double>(start_ns + end_ns - 3600 * second_ns),
                static_cast<double>(FleetClock_utc_ns(clock, end_ns)), 0.05 * second_ns);
}

} // namespace
