#include "Shutdown.h"

#include "AppFlags.h"
#include "BatteryMonitor.h"
#include "CSimpleTimer.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(Shutdown, RunsTheCommandOnceHoweverOftenItIsCalled) {
    World_clearCommands();
    World_clearSyslog();
    World_setSpeed(1000);
    initBatteryMonitor();
    EXPECT_FALSE(Shutdown_waitForCommand(10));

    shutDownPower();
    shutDownPower();
    World_setSpeed(1);

    EXPECT_EQ(World_commands(), std::vector<std::string>{"shutdown"});
    EXPECT_TRUE(Shutdown_waitForCommand(0));
    EXPECT_FALSE(modelHasBattery());
    EXPECT_TRUE(World_syslogContains("**************** shutDownPower Attempting to issue ARM SHIP "
                                     "MODE ****************"));
    EXPECT_TRUE(
        World_syslogContains("**************** shutDownPower Turning off the power by writing a "
                             "zero to the KeepOn GPIO pin ****************"));
}

TEST(Shutdown, RunsTheCommandAgainOnlyAfterItHasFailed) {
    World_clearCommands();
    World_clearSyslog();
    World_setSpeed(1000);
    WrappedCalls_fail(Call::startProgram, ENOMEM);
    shutDownPower();
    EXPECT_TRUE(World_commands().empty());
    EXPECT_TRUE(World_syslogContains("shutDownPower: shutdown returned -1"));
    EXPECT_FALSE(Shutdown_waitForCommand(10));

    shutDownPower();
    shutDownPower();
    World_setSpeed(1);
    WrappedCalls_reset();
    EXPECT_EQ(World_commands(), std::vector<std::string>{"shutdown"});
    EXPECT_TRUE(Shutdown_waitForCommand(0));
}

TEST(Shutdown, WaitsThreeSecondsBeforeTheCommand) {
    World_setSpeed(20);
    const uint32_t start_ms = getTime_ms();
    shutDownPower();
    const uint32_t taken_ms = getTime_ms() - start_ms;
    World_setSpeed(1);
    EXPECT_GE(taken_ms, 3000U);
    EXPECT_LT(taken_ms, 60000U);
}

TEST(Shutdown, ResetMakesAllSensorsLookNew) {
    resetSensorDetect = false;
    resetDetectedSensors();
    EXPECT_TRUE(resetSensorDetect);
}
