#ifndef TESTS_UNIT_SENSORS_STILL_CLOCK_H
#define TESTS_UNIT_SENSORS_STILL_CLOCK_H

#include "World.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>

/// While it lives, the bench's clocks all but stand still and pauses let them jump: what a pause
/// takes is measured exactly, in no time, however busy the machine is.
class StillClock {
public:
    StillClock() {
        World_setSpeed(1 / slowness);
        World_skipSleeps(true);
    }
    ~StillClock() {
        World_skipSleeps(false);
        World_setSpeed(1);
    }
    StillClock(const StillClock&) = delete;
    StillClock& operator=(const StillClock&) = delete;

    static double now_ms() {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
    }

    /// What runs takes so long. A machine that stands still for five seconds meanwhile does not
    /// change that; nothing makes it shorter.
    testing::AssertionResult takes(double time_ms, const std::function<void()>& run) const {
        constexpr double tolerance_ms = 5000 / slowness;
        constexpr double resolution_ms = 1; // of the program's clock
        const double start_ms = now_ms();
        run();
        const double gone_ms = now_ms() - start_ms;
        return gone_ms >= time_ms - resolution_ms && gone_ms <= time_ms + tolerance_ms
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure()
                         << "took " << gone_ms << " ms, not " << time_ms << " ms";
    }

private:
    static constexpr double slowness = 100;
};

#endif
