#include "Heartbeat.h"

#include <gtest/gtest.h>

namespace {

TEST(Heartbeat, IsDueOncePerPeriodFromTheLastOneOn) {
    SimpleTimerData timer = {threadHeartbeat_ms, 1000};
    EXPECT_FALSE(Heartbeat_isDue(&timer, 999 + threadHeartbeat_ms));
    EXPECT_TRUE(Heartbeat_isDue(&timer, 1700 + threadHeartbeat_ms));
    EXPECT_FALSE(Heartbeat_isDue(&timer, 1699 + 2 * threadHeartbeat_ms));
    EXPECT_TRUE(Heartbeat_isDue(&timer, 1701 + 2 * threadHeartbeat_ms));
}

TEST(Heartbeat, ComesEachTimeToAThreadThatSleepsForJustItsInterval) {
    SimpleTimerData timer = {threadHeartbeat_ms, 1000};
    for (uint32_t beat = 1; beat <= 3; ++beat) {
        EXPECT_TRUE(Heartbeat_isDue(&timer, 1000 + beat * threadHeartbeat_ms)) << beat;
    }
}

TEST(Heartbeat, GoesOnAcrossTheClocksWrap) {
    SimpleTimerData timer = {threadHeartbeat_ms, UINT32_MAX - 10};
    EXPECT_FALSE(Heartbeat_isDue(&timer, 100));
    EXPECT_TRUE(Heartbeat_isDue(&timer, threadHeartbeat_ms));
}

} // namespace
