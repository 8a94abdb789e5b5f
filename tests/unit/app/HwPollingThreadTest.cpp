#include "HwPollingThread.h"

#include "AppFlags.h"
#include "BatteryMonitor.h"
#include "SensorHandOff.h"
#include "SensorManager.h"
#include "SensorPolling.h"
#include "SensorPortSignals.h"
#include "World.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string monitorFolder = "/sys/class/hwmon/hwmon7/";
const std::string chargerState = "/sys/devices/virtual/battery_charger/ltc4162/chargerState_raw";
const std::string gaugeVoltage = "/sys/class/power_supply/fuel_gauge/voltage_now";

/// One current monitor, on Serial1, without a sensor.
class HwPollingTest : public testing::Test {
protected:
    void SetUp() override {
        World_writeFile(monitorFolder + "name", "ina219\n");
        World_writeFile(monitorFolder + "device/of_node/reg", std::string("\0\0\0\x40", 4));
        setCurrent_mA(3);
        findINA219Devices();
        SensorManager_Create();
        quit = false;
        resetSensorDetect = false;
        PowerSensors = {};
        sensorConnectionsChanged = false;
        World_clearSyslog();
    }
    void TearDown() override {
        quit = false;
        SensorManager_Destroy();
    }

    static void setCurrent_mA(int current) {
        World_writeFile(monitorFolder + "curr1_input", std::to_string(current) + "\n");
    }

    HwPollingState state{};
};

using HwPolling = HwPollingTest;

} // namespace

TEST_F(HwPolling, SensorThatAppearsIsHandedOver) {
    HwPolling_pass(&state);
    EXPECT_FALSE(sensorConnectionsChanged);
    setCurrent_mA(251);
    HwPolling_pass(&state);
    CONNECTED_SENSORS record{};
    ASSERT_TRUE(SensorHandOff_take(&record));
    EXPECT_EQ(record.detectedSensors, sensorPortBit_Serial1);
    EXPECT_EQ(record.detectedSensorsChanged, sensorPortBit_Serial1);
    HwPolling_pass(&state);
    EXPECT_FALSE(sensorConnectionsChanged) << "nothing new";
}

TEST_F(HwPolling, ResetReportsSensorsAsRemovedAndFindsThemAgain) {
    setCurrent_mA(300);
    HwPolling_pass(&state);
    CONNECTED_SENSORS record{};
    ASSERT_TRUE(SensorHandOff_take(&record));
    resetSensorDetect = true;
    HwPolling_pass(&state);
    EXPECT_FALSE(resetSensorDetect);
    ASSERT_TRUE(SensorHandOff_take(&record));
    EXPECT_EQ(record.detectedSensors, 0U);
    EXPECT_EQ(record.detectedSensorsChanged, sensorPortBit_Serial1);
    HwPolling_pass(&state);
    ASSERT_TRUE(SensorHandOff_take(&record));
    EXPECT_EQ(record.detectedSensors, sensorPortBit_Serial1);
    EXPECT_EQ(record.detectedSensorsChanged, sensorPortBit_Serial1);
}

TEST_F(HwPolling, QuitDisconnectsThePortsAndSwitchesOffOnce) {
    World_clearCommands();
    setCurrent_mA(300);
    HwPolling_pass(&state);
    ASSERT_TRUE(sensorPortHandler_getIsConnected(sensorPort_Serial1));
    quit = true;
    World_setSpeed(1000);
    HwPolling_pass(&state);
    HwPolling_pass(&state);
    World_setSpeed(1);
    EXPECT_FALSE(sensorPortHandler_getIsConnected(sensorPort_Serial1));
    EXPECT_EQ(World_commands(), std::vector<std::string>{"shutdown"});
    EXPECT_TRUE(World_syslogContains("hwPollingThread: shutdown signal detected..."));
}

TEST_F(HwPolling, BatteryIsPublished) {
    initBatteryMonitor();
    World_writeFile(chargerState, "256\n");
    World_writeFile(gaugeVoltage, "11400000\n");
    HwPolling_pass(&state);
    EXPECT_TRUE(batteryPresent);
    EXPECT_EQ(batteryCharging, BATT_NOT_CHARGING);
    EXPECT_FLOAT_EQ(battMon.lipoBattVoltage, 11.4F);
}

TEST_F(HwPolling, BatteryIsNotKnownBeforeTheChargerHasAnswered) {
    initBatteryMonitor();
    batteryIsPolled = false;
    World_removeFile(chargerState);
    HwPolling_pass(&state);
    EXPECT_FALSE(batteryIsPolled);
    World_writeFile(chargerState, "256\n");
    HwPolling_pass(&state);
    EXPECT_TRUE(batteryIsPolled);
    World_removeFile(chargerState);
    HwPolling_pass(&state);
    EXPECT_TRUE(batteryIsPolled) << "what is known stays known";
}

TEST_F(HwPolling, ReleasedBatteryMonitorIsNotPolled) {
    initBatteryMonitor();
    disableBatteryMonitor();
    World_writeFile(chargerState, "256\n");
    HwPolling_pass(&state);
    EXPECT_EQ(battMon.state, BATT_MON_STATE_POWERUP);
}
