#include "FleetReading.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(FleetReading, HasOneNameForEachColumn) {
    const auto& columns = FleetReading_columns();
    EXPECT_EQ(columns.size(), std::set(columns.begin(), columns.end()).size());
    EXPECT_EQ("forward_W", FleetReading_name(fleetForward));
    EXPECT_EQ("vswr", FleetReading_name(fleetVswr));
    EXPECT_EQ("gate_min_W", FleetReading_name(fleetGateMin));
    EXPECT_EQ("state1_mean_W", FleetReading_name(fleetState1Mean));
    EXPECT_EQ("state4_min_W", FleetReading_name(fleetValueCount - 1));
}

TEST(FleetReading, MatchIsWhatTheMeterShows) {
    EXPECT_DOUBLE_EQ(1, FleetReading_vswr(25, 0));
    EXPECT_DOUBLE_EQ(3, FleetReading_vswr(4, 1));
    EXPECT_DOUBLE_EQ(199, FleetReading_vswr(10, 10));
    EXPECT_DOUBLE_EQ(199, FleetReading_vswr(10, 11));
    EXPECT_DOUBLE_EQ(1, FleetReading_vswr(10, -0.001));
}

TEST(FleetReading, WithoutForwardPowerThereIsNoMatch) {
    EXPECT_TRUE(std::isnan(FleetReading_vswr(0, 0)));
    EXPECT_TRUE(std::isnan(FleetReading_vswr(-1, 0)));
    EXPECT_TRUE(std::isnan(FleetReading_vswr(nan, 1)));
    EXPECT_TRUE(std::isnan(FleetReading_vswr(1, nan)));
}

} // namespace
