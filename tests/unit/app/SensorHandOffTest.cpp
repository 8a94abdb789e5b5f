#include "SensorHandOff.h"

#include "World.h"

#include <gtest/gtest.h>

#include <array>

namespace {

CONNECTED_SENSORS record(uint32_t detected, uint32_t changed) {
    return {detected, changed, false};
}

/// Nothing pending, nothing detected.
class SensorHandOffTest : public testing::Test {
protected:
    void SetUp() override {
        PowerSensors = {};
        sensorConnectionsChanged = false;
        multipleUpdateCount = 0;
        World_clearSyslog();
    }
};

using SensorHandOff = SensorHandOffTest;

} // namespace

TEST_F(SensorHandOff, ChangeIsHandedOverOnce) {
    gtkThread_SensorChanged({0x11, 0x01, true});
    CONNECTED_SENSORS taken{};
    ASSERT_TRUE(SensorHandOff_take(&taken));
    EXPECT_EQ(taken.detectedSensors, 0x11U);
    EXPECT_EQ(taken.detectedSensorsChanged, 0x01U);
    EXPECT_TRUE(taken.promptForlogicalChannel);
    EXPECT_FALSE(SensorHandOff_take(&taken));
    EXPECT_EQ(SensorHandOff_getDetectedSensors(), 0x11U);
}

TEST_F(SensorHandOff, RecordWithoutChangeLeavesTheLastOneInPlace) {
    gtkThread_SensorChanged(record(0x01, 0x01));
    gtkThread_SensorChanged(record(0x30, 0));
    EXPECT_EQ(SensorHandOff_getDetectedSensors(), 0x01U);
    EXPECT_TRUE(sensorConnectionsChanged);
}

TEST_F(SensorHandOff, SensorRemovedAndInsertedBetweenTwoPassesLeavesNoEvent) {
    gtkThread_SensorChanged(record(0x01, 0x01));
    CONNECTED_SENSORS taken{};
    ASSERT_TRUE(SensorHandOff_take(&taken));
    gtkThread_SensorChanged(record(0x00, 0x01));
    gtkThread_SensorChanged(record(0x01, 0x01));
    EXPECT_FALSE(SensorHandOff_take(&taken));
    EXPECT_EQ(SensorHandOff_getDetectedSensors(), 0x01U);
}

TEST_F(SensorHandOff, ChangesThatComeBeforeThePassAreMergedAndCounted) {
    gtkThread_SensorChanged(record(0x01, 0x01));
    gtkThread_SensorChanged(record(0x03, 0x02));
    EXPECT_EQ(multipleUpdateCount, 1U);
    gtkThread_SensorChanged(record(0x12, 0x11));
    EXPECT_EQ(multipleUpdateCount, 2U);
    EXPECT_TRUE(World_syslogContains("DetectSensors: Mulitple detection cycles occurred "
                                     "(multipleUpdateCount = 2)!"));
    CONNECTED_SENSORS taken{};
    ASSERT_TRUE(SensorHandOff_take(&taken));
    EXPECT_EQ(taken.detectedSensors, 0x12U);
    EXPECT_EQ(taken.detectedSensorsChanged, 0x12U) << "Serial1 came and went unseen";
    gtkThread_SensorChanged(record(0x10, 0x02));
    EXPECT_EQ(multipleUpdateCount, 0U);
}

TEST_F(SensorHandOff, ConsumerAlwaysEndsUpWithThePresenceOfTheProducer) {
    // Whatever the producer sees in three cycles and wherever the consumer looks in between, the
    // changes that the consumer has taken add up to the presence.
    constexpr std::array<uint32_t, 4> presences = {0x00, 0x01, 0x03, 0x30};
    for (unsigned cycle = 0; cycle < 4 * 4 * 4 * 8; ++cycle) {
        SetUp();
        uint32_t previous = 0;
        uint32_t consumed = 0;
        unsigned choice = cycle / 8;
        for (unsigned step = 0; step < 3; ++step, choice /= 4) {
            const uint32_t detected = presences[choice % 4];
            gtkThread_SensorChanged(record(detected, previous ^ detected));
            previous = detected;
            CONNECTED_SENSORS taken{};
            if ((cycle >> step & 1U) != 0 && SensorHandOff_take(&taken)) {
                EXPECT_NE(taken.detectedSensorsChanged, 0U);
                consumed ^= taken.detectedSensorsChanged;
                EXPECT_EQ(consumed, previous) << "cycle " << cycle;
            }
        }
        CONNECTED_SENSORS last{};
        if (SensorHandOff_take(&last)) {
            consumed ^= last.detectedSensorsChanged;
        }
        EXPECT_EQ(consumed, previous) << "cycle " << cycle;
    }
}
