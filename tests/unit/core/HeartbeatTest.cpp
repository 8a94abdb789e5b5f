#include "Heartbeat.h"

#include <gtest/gtest.h>

namespace {

TEST(Heartbeat, IsDueOncePerPeriodFromTheLastOneOn) {
    SimpleTimerData timer = {threadHeartbeat_ms, 1000};
    EXPECT_FALSE(Heartbeat_isDue(&timer, 1000 + threadHeartbeat_ms));
    EXPECT_TRUE(Heartbeat_isDue(&timer, 1700 + threadHeartbeat_ms));
    EXPECT_FALSE(Heartbeat_isDue(&timer, 1700 + 2 * threadHeartbeat_ms));
    EXPECT_TRUE(Heartbeat_isDue(&timer, 1701 + 2 * threadHeartbeat_ms));
}

TEST(Heartbeat, GoesOnAcrossTheClocksWrap) {
    SimpleTimerData timer = {threadHeartbeat_ms, UINT32_MAX - 10};
    EXPECT_FALSE(Heartbeat_isDue(&timer, 100));
    EXPECT_TRUE(Heartbeat_isDue(&timer, threadHeartbeat_ms));
}

} // namespace
