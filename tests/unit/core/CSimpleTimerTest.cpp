#include "CSimpleTimer.h"

#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

constexpr int64_t hour_ns = 3600LL * 1'000'000'000;
constexpr int64_t millisecond_ns = 1'000'000;

class SimpleTimer : public testing::Test {
protected:
    ~SimpleTimer() override {
        WrappedCalls_reset();
    }

    /// Holds the clock at a moment of the monotonic clock and moves it on from there.
    void holdClock() {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        held_ns = now.tv_sec * 1'000'000'000LL + now.tv_nsec;
        WrappedCalls_holdMonotonicClock(held_ns);
    }
    void advance_ms(int64_t time_ms) {
        held_ns += time_ms * millisecond_ns;
        WrappedCalls_holdMonotonicClock(held_ns);
    }

    int64_t held_ns = 0;
};

TEST_F(SimpleTimer, ClockTellsTheTimeOfDayInMilliseconds) {
    const auto wall_ms = static_cast<int64_t>(time(nullptr)) * 1000;
    EXPECT_NEAR(static_cast<double>(getTime64_ms()), static_cast<double>(wall_ms), 5000.0);
}

TEST_F(SimpleTimer, ClockIsTruncatedTo32Bits) {
    holdClock();
    EXPECT_EQ(getTime_ms(), static_cast<uint32_t>(getTime64_ms() & 0xffffffffU));
}

TEST_F(SimpleTimer, ClockAdvancesWithTheMonotonicClock) {
    holdClock();
    const uint32_t before = getTime_ms();
    advance_ms(1234);
    EXPECT_EQ(getTime_ms() - before, 1234U);
}

TEST_F(SimpleTimer, IsNotExpiredAtExactlyItsIntervalAndIsOneMillisecondLater) {
    holdClock();
    SimpleTimerData timer{};
    CSimpleTimer_Reset(&timer, 5000);
    EXPECT_FALSE(CSimpleTimer_IsExpired(&timer));
    advance_ms(5000);
    EXPECT_FALSE(CSimpleTimer_IsExpired(&timer));
    advance_ms(1);
    EXPECT_TRUE(CSimpleTimer_IsExpired(&timer));
}

TEST_F(SimpleTimer, StaysExpiredUntilItIsArmedAgain) {
    holdClock();
    SimpleTimerData timer{};
    CSimpleTimer_Reset(&timer, 100);
    advance_ms(101);
    EXPECT_TRUE(CSimpleTimer_IsExpired(&timer));
    advance_ms(1000);
    EXPECT_TRUE(CSimpleTimer_IsExpired(&timer));
    CSimpleTimer_Reset(&timer, 100);
    EXPECT_FALSE(CSimpleTimer_IsExpired(&timer));
}

TEST_F(SimpleTimer, ArmedShortlyBeforeTheClockWrapsStillExpiresAfterItsInterval) {
    constexpr int64_t wrap = 1LL << 32;
    holdClock();
    advance_ms(wrap - static_cast<int64_t>(getTime_ms()) - 1000);
    SimpleTimerData timer{};
    CSimpleTimer_Reset(&timer, 5000);
    EXPECT_EQ(timer.start, 0xffffffffU - 999);
    advance_ms(5000);
    EXPECT_EQ(getTime_ms(), 4000U);
    EXPECT_FALSE(CSimpleTimer_IsExpired(&timer));
    advance_ms(1);
    EXPECT_TRUE(CSimpleTimer_IsExpired(&timer));
}

TEST_F(SimpleTimer, IsNeitherExpiredNorDelayedByAWallClockThatIsSteppedByAnHour) {
    for (const int64_t step_ns : {hour_ns, -hour_ns}) {
        holdClock();
        SimpleTimerData timer{};
        CSimpleTimer_Reset(&timer, 5000);
        WrappedCalls_shiftClocks(0, step_ns);
        advance_ms(4999);
        EXPECT_FALSE(CSimpleTimer_IsExpired(&timer)) << step_ns;
        advance_ms(2);
        EXPECT_TRUE(CSimpleTimer_IsExpired(&timer)) << step_ns;
    }
}

TEST_F(SimpleTimer, RuleHoldsForEveryDistanceAcrossTheWrap) {
    struct Case {
        const char* legend;
        SimpleTimerData timer;
        uint32_t now_ms;
        bool isExpired;
    };
    constexpr Case cases[] = {
        {"armed at once", {0, 7}, 7, false},
        {"interval of 0, a millisecond later", {0, 7}, 8, true},
        {"longest interval never expires", {0xffffffff, 7}, 6, false},
        {"just before the wrap", {10, 0xfffffff0}, 0xfffffffa, false},
        {"at the interval across the wrap", {32, 0xfffffff0}, 0x10, false},
        {"behind the interval across the wrap", {32, 0xfffffff0}, 0x11, true},
    };
    for (const Case& row : cases) {
        EXPECT_EQ(CSimpleTimer_isExpiredAt(row.timer, row.now_ms), row.isExpired) << row.legend;
    }
}

} // namespace
