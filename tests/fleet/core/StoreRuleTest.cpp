#include "StoreRule.h"

#include <gtest/gtest.h>

namespace {

FleetReading reading(int64_t time_ms, double forward_W) {
    FleetReading made{time_ms, "1", 1, "5132", "77", FleetReading_noValues()};
    made.values[fleetForward] = forward_W;
    return made;
}

TEST(StoreRule, EqualReadingsAreStoredOnceASecond) {
    StoreRule rule;
    int stored = 0;
    for (int64_t time_ms = 0; time_ms < 3000; time_ms += 100) {
        stored += StoreRule_take(rule, reading(time_ms, 25)) ? 1 : 0;
    }
    EXPECT_EQ(3, stored);
}

TEST(StoreRule, EveryChangeIsStored) {
    StoreRule rule;
    EXPECT_TRUE(StoreRule_take(rule, reading(0, 25)));
    EXPECT_FALSE(StoreRule_take(rule, reading(1, 25)));
    EXPECT_TRUE(StoreRule_take(rule, reading(2, 25.1)));
    EXPECT_TRUE(StoreRule_take(rule, reading(3, 25)));
    FleetReading other = reading(4, 25);
    other.sensorSerial = "78";
    EXPECT_TRUE(StoreRule_take(rule, other));
}

} // namespace
