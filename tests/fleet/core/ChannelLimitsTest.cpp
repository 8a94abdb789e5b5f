#include "ChannelLimits.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

FleetReading reading(int64_t time_ms, double forward_W, double vswr) {
    FleetReading made{time_ms, "1", 1, "5132", "77", FleetReading_noValues()};
    made.values[fleetForward] = made.values[fleetForwardMin] = made.values[fleetForwardMax] =
        forward_W;
    made.values[fleetVswr] = vswr;
    return made;
}

struct ChannelLimitsTest : testing::Test {
    ChannelLimits limits{.forwardLow_W = 10, .forwardHigh_W = 20, .vswrHigh = 1.5, .hold_ms = 0};
    ChannelLimitStates states;

    unsigned check(const FleetReading& value) {
        return ChannelLimits_check(limits, states, value);
    }
    bool isExceeded(LimitKind kind) {
        return states.states[kind].isExceeded;
    }
};

TEST_F(ChannelLimitsTest, EachLimitIsToldWhenItIsCrossedAndWhenItIsKeptAgain) {
    EXPECT_EQ(0U, check(reading(1, 10, 1.5)));
    EXPECT_EQ(1U << limitForwardLow, check(reading(2, 9.99, 1)));
    EXPECT_TRUE(isExceeded(limitForwardLow));
    EXPECT_EQ(0U, check(reading(3, 9, 1)));
    EXPECT_EQ(1U << limitForwardLow | 1U << limitForwardHigh, check(reading(4, 21, 1)));
    EXPECT_FALSE(isExceeded(limitForwardLow));
    EXPECT_TRUE(isExceeded(limitForwardHigh));
    EXPECT_EQ(1U << limitForwardHigh | 1U << limitVswrHigh, check(reading(5, 15, 1.6)));
}

TEST_F(ChannelLimitsTest, HoldTimeLetsShortExcursionsPass) {
    limits.hold_ms = 1000;
    EXPECT_EQ(0U, check(reading(0, 25, 1)));
    EXPECT_EQ(0U, check(reading(900, 25, 1)));
    EXPECT_EQ(0U, check(reading(950, 15, 1)));
    EXPECT_EQ(0U, check(reading(1100, 25, 1)));
    EXPECT_EQ(0U, check(reading(2099, 25, 1)));
    EXPECT_EQ(1U << limitForwardHigh, check(reading(2100, 25, 1)));
    EXPECT_EQ(1U << limitForwardHigh, check(reading(2200, 15, 1)));
}

TEST_F(ChannelLimitsTest, APeakBetweenTwoRowsCounts) {
    FleetReading peak = reading(1, 15, 1);
    peak.values[fleetForwardMax] = 21;
    EXPECT_EQ(1U << limitForwardHigh, check(peak));
}

TEST_F(ChannelLimitsTest, AMissingValueChangesNothing) {
    check(reading(1, 25, 2));
    EXPECT_EQ(0U, check(reading(2, std::nan(""), std::nan(""))));
    EXPECT_TRUE(isExceeded(limitForwardHigh));
    EXPECT_TRUE(isExceeded(limitVswrHigh));
}

TEST_F(ChannelLimitsTest, WithoutLimitsNothingIsExceeded) {
    limits = {};
    EXPECT_EQ(0U, check(reading(1, 0, 199)));
}

TEST_F(ChannelLimitsTest, AnOffsetAppliesToPowersOnly) {
    FleetValues values = FleetReading_noValues();
    values.fill(2);
    ChannelLimits_applyOffset(values, 30);
    EXPECT_DOUBLE_EQ(2000, values[fleetForward]);
    EXPECT_DOUBLE_EQ(2000, values[fleetReflectedMax]);
    EXPECT_DOUBLE_EQ(2, values[fleetVswr]);
    EXPECT_DOUBLE_EQ(2, values[fleetWidth]);
    EXPECT_DOUBLE_EQ(2000, values[fleetGateMean]);
    EXPECT_DOUBLE_EQ(2000, values[fleetValueCount - 1]);
}

TEST_F(ChannelLimitsTest, NoOffsetLeavesEveryDigit) {
    FleetValues values = FleetReading_noValues();
    values[fleetForward] = 9.99999974737875e-05;
    ChannelLimits_applyOffset(values, 0);
    EXPECT_EQ(9.99999974737875e-05, values[fleetForward]);
}

} // namespace
