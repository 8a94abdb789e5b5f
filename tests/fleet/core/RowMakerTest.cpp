#include "RowMaker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

FleetReading reading(int64_t time_ms, double forward_W, double reflected_W) {
    FleetReading made{time_ms, "1", 1, "5132", "77", FleetReading_noValues()};
    made.values[fleetForward] = forward_W;
    made.values[fleetReflected] = reflected_W;
    made.values[fleetTemperature] = static_cast<double>(time_ms);
    return made;
}

TEST(RowMaker, WithoutAReadingThereIsNoRow) {
    RowMaker maker;
    EXPECT_FALSE(RowMaker_take(maker));
    EXPECT_FALSE(RowMaker_isOther(maker, reading(1, 1, 1)));
}

TEST(RowMaker, OneReadingIsARowWithThreeEqualPowers) {
    RowMaker maker;
    RowMaker_add(maker, reading(5, 0.1, 0.3));
    const FleetReading row = *RowMaker_take(maker);
    EXPECT_EQ(5, row.time_ms);
    for (const FleetValue value : {fleetForward, fleetForwardMin, fleetForwardMax}) {
        EXPECT_EQ(0.1, row.values[value]);
    }
    for (const FleetValue value : {fleetReflected, fleetReflectedMin, fleetReflectedMax}) {
        EXPECT_EQ(0.3, row.values[value]);
    }
}

TEST(RowMaker, ARowHasMeanLeastAndGreatestAndElseTheLast) {
    RowMaker maker;
    RowMaker_add(maker, reading(1, 10, 1));
    RowMaker_add(maker, reading(2, 40, nan));
    RowMaker_add(maker, reading(3, 10, 2));
    const FleetReading row = *RowMaker_take(maker);
    EXPECT_EQ(3, row.time_ms);
    EXPECT_EQ(20, row.values[fleetForward]);
    EXPECT_EQ(10, row.values[fleetForwardMin]);
    EXPECT_EQ(40, row.values[fleetForwardMax]);
    EXPECT_EQ(1.5, row.values[fleetReflected]);
    EXPECT_EQ(1, row.values[fleetReflectedMin]);
    EXPECT_EQ(2, row.values[fleetReflectedMax]);
    EXPECT_EQ(3, row.values[fleetTemperature]);
}

TEST(RowMaker, EachRowBeginsAnew) {
    RowMaker maker;
    RowMaker_add(maker, reading(1, 1000, 0));
    RowMaker_take(maker);
    RowMaker_add(maker, reading(2, 1, nan));
    const FleetReading row = *RowMaker_take(maker);
    EXPECT_EQ(1, row.values[fleetForwardMax]);
    EXPECT_TRUE(std::isnan(row.values[fleetReflected]));
    EXPECT_TRUE(std::isnan(row.values[fleetReflectedMax]));
}

TEST(RowMaker, RowsKeepTheirPaceWhateverThePolls) {
    for (const int64_t poll_ms : {10, 70, 100, 300, 1000}) {
        int64_t rows = 0;
        for (int64_t poll = 0; poll * poll_ms < 60'000; ++poll) {
            rows += RowMaker_endsRow(poll_ms, 1000, poll) ? 1 : 0;
        }
        EXPECT_EQ(60, rows) << poll_ms;
    }
}

TEST(RowMaker, AnotherSensorIsNoPartOfTheRow) {
    RowMaker maker;
    RowMaker_add(maker, reading(1, 1, 1));
    FleetReading other = reading(2, 1, 1);
    EXPECT_FALSE(RowMaker_isOther(maker, other));
    other.sensorSerial = "78";
    EXPECT_TRUE(RowMaker_isOther(maker, other));
}

} // namespace
