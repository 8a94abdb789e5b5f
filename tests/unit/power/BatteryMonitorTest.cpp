#include "BatteryMonitor.h"

#include "InstrumentIdentity.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>

namespace {

const std::string charger = "/sys/devices/virtual/battery_charger/ltc4162/";
const std::string gauge = "/sys/class/power_supply/fuel_gauge/";
const std::string calibrationMark = "/root/.battcharged";
const std::string identityFile = "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf";

std::string record(const std::string& text) {
    std::string padded = text;
    padded.resize(16, '\0');
    return padded;
}

/// A charger and a gauge whose files all can be read, and a monitor just initialised.
class BatteryMonitorTest : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name :
             {"armShipMode_raw", "configBits_raw", "cOverXTerm_enable", "inputCurrentLimit_raw"}) {
            World_writeFile(charger + name, "0");
        }
        World_writeFile(charger + "cellCount", "4\n");
        World_writeFile(charger + "chargerState_raw", "256\n");
        World_writeFile(gauge + "charge_now", "9000000\n");
        World_writeFile(gauge + "voltage_now", "11400000\n");
        World_writeFile(gauge + "temp", "251\n");
        World_writeFile(gauge + "current_now", "-1250000\n");
        World_removeFile(calibrationMark);
        World_removeFile(identityFile);
        InstrumentIdentity_read();
        initBatteryMonitor();
    }

    void setChargerState(unsigned word) {
        World_writeFile(charger + "chargerState_raw", std::to_string(word) + "\n");
    }

    void poll() {
        pollI2CBatteryMonitor(&present, &charging);
    }

    bool present = false;
    int charging = -1;
};

using BatteryMonitor = BatteryMonitorTest;

} // namespace

TEST_F(BatteryMonitor, InitialisationSetsTheChargerUp) {
    EXPECT_EQ(World_readFile(charger + "armShipMode_raw"), record("0"));
    EXPECT_EQ(World_readFile(charger + "configBits_raw"), record("12"));
    EXPECT_EQ(World_readFile(charger + "inputCurrentLimit_raw"), record("39"));
    EXPECT_EQ(World_readFile(charger + "cOverXTerm_enable"), record("enable"));
    EXPECT_EQ(getLastInputCurrentLimit(), 39);
}

TEST_F(BatteryMonitor, InitialisationAnswersOneWhateverHappens) {
    EXPECT_EQ(initBatteryMonitor(), 1);
    World_removeFile(charger + "armShipMode_raw");
    EXPECT_EQ(initBatteryMonitor(), 1);
}

TEST_F(BatteryMonitor, InitialisationEndsAtTheFirstFileThatCannotBeOpened) {
    World_writeFile(charger + "inputCurrentLimit_raw", "7");
    World_writeFile(calibrationMark, "");
    World_removeFile(charger + "configBits_raw");
    initBatteryMonitor();
    EXPECT_EQ(World_readFile(charger + "inputCurrentLimit_raw"), "7");
    EXPECT_FALSE(battMon.accumChargeWasSet);
}

TEST_F(BatteryMonitor, CellCountStaysAtThreeWhateverTheChargerCounts) {
    EXPECT_EQ(getBatteryCellCount(), 4);
    EXPECT_EQ(battMon.cellCount, 3);
}

TEST_F(BatteryMonitor, CalibrationSurvivesARestartThroughItsMark) {
    EXPECT_FALSE(battMon.accumChargeWasSet);
    World_writeFile(calibrationMark, "");
    initBatteryMonitor();
    EXPECT_TRUE(battMon.accumChargeWasSet);
}

TEST_F(BatteryMonitor, ModelsThatBeginWith8830K8HaveNoBattery) {
    struct Case {
        const char* model;
        bool hasBattery;
    };
    constexpr std::array<Case, 4> cases = {
        {{"8830K", true}, {"8830K8", false}, {"8830K8-2", false}, {"8830K7", true}}};
    for (const Case& row : cases) {
        World_writeFile(identityFile, std::string("modelNumber ") + row.model + "\n");
        InstrumentIdentity_read();
        checkModelForBattery();
        EXPECT_EQ(modelHasBattery(), row.hasBattery) << row.model;
    }
}

TEST_F(BatteryMonitor, ReleasedMonitorCountsAsAModelWithoutBattery) {
    EXPECT_TRUE(modelHasBattery());
    disableBatteryMonitor();
    EXPECT_FALSE(modelHasBattery());
    disableBatteryMonitor();
    EXPECT_FALSE(modelHasBattery());
}

TEST_F(BatteryMonitor, FirstPollReportsPresenceAndChargeState) {
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_NOT_CHARGING);
    EXPECT_EQ(battMon.state, BATT_MON_STATE_CHARGE);
    EXPECT_EQ(battMon.lastState, BATT_MON_STATE_POWERUP);
}

TEST_F(BatteryMonitor, BatteryInsertedAfterTheFirstPollIsNotDetected) {
    setChargerState(0x2);
    poll();
    EXPECT_FALSE(present);
    EXPECT_EQ(charging, BATT_MISSING);
    EXPECT_EQ(battMon.state, BATT_MON_STATE_DISCHARGE);
    setChargerState(0x40);
    poll();
    EXPECT_FALSE(present);
    EXPECT_EQ(charging, BATT_MISSING);
}

TEST_F(BatteryMonitor, BatteryRemovedAfterTheFirstPollStillCountsAsPresent) {
    poll();
    setChargerState(0x2);
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_NOT_CHARGING);
}

TEST_F(BatteryMonitor, UnreadableChargerLeavesPresenceUndecided) {
    World_removeFile(charger + "chargerState_raw");
    poll();
    EXPECT_EQ(charging, -1);
    EXPECT_EQ(battMon.state, BATT_MON_STATE_POWERUP);
    setChargerState(0x40);
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_CHARGING_VOLTAGE);
}

TEST_F(BatteryMonitor, UnreadableChargerLeavesTheLastChargeState) {
    setChargerState(0x40);
    poll();
    World_writeFile(charger + "chargerState_raw", "");
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_CHARGING_VOLTAGE);
}

TEST_F(BatteryMonitor, FullChargeCalibratesTheGaugeAtEveryPollAfterTheFirst) {
    setChargerState(0x10);
    poll();
    EXPECT_FALSE(battMon.accumChargeWasSet);
    EXPECT_TRUE(battMon.setAccumCharge);
    for (int pass = 0; pass < 2; ++pass) {
        World_writeFile(gauge + "charge_now", "9000000\n");
        poll();
        EXPECT_EQ(World_readFile(gauge + "charge_now"), record("11140951"));
        EXPECT_TRUE(battMon.accumChargeWasSet);
        EXPECT_FALSE(battMon.setAccumCharge);
        EXPECT_TRUE(readBattFile());
    }
}

TEST_F(BatteryMonitor, ExistingCalibrationMarkIsNotTouched) {
    World_writeFile(calibrationMark, "kept");
    writeBattFile();
    EXPECT_EQ(World_readFile(calibrationMark), "kept");
}

TEST_F(BatteryMonitor, GaugeThatCannotBeWrittenLeavesTheCalibrationDue) {
    setChargerState(0x10);
    poll();
    World_removeFile(gauge + "charge_now");
    poll();
    EXPECT_FALSE(battMon.accumChargeWasSet);
    EXPECT_TRUE(battMon.setAccumCharge);
    EXPECT_FALSE(readBattFile());
}

TEST_F(BatteryMonitor, NoPercentageBeforeTheFirstPoll) {
    int percent = 77;
    EXPECT_FALSE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 77);
}

TEST_F(BatteryMonitor, NoPercentageWithoutOneValidVoltage) {
    int percent = 77;
    poll();
    World_writeFile(gauge + "voltage_now", "");
    pollI2CFuelGauge();
    EXPECT_FALSE(pollBatteryPercent(&percent));
    World_writeFile(gauge + "voltage_now", "0\n");
    pollI2CFuelGauge();
    EXPECT_FALSE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 77);
}

TEST_F(BatteryMonitor, VoltageGivesThePercentageBeforeTheCalibration) {
    int percent = 0;
    poll();
    pollI2CFuelGauge();
    EXPECT_TRUE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 54);
}

TEST_F(BatteryMonitor, UnreadableGaugeLeavesTheLastVoltage) {
    int percent = 0;
    poll();
    pollI2CFuelGauge();
    World_removeFile(gauge + "voltage_now");
    pollI2CFuelGauge();
    EXPECT_TRUE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 54);
}

TEST_F(BatteryMonitor, ChargeCountGivesThePercentageOnceCalibrated) {
    int percent = 0;
    poll();
    pollI2CFuelGauge();
    battMon.accumChargeWasSet = true;
    World_writeFile(gauge + "charge_now", "8540950\n");
    EXPECT_TRUE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 50);
    World_removeFile(gauge + "charge_now");
    EXPECT_FALSE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 50);
}

TEST_F(BatteryMonitor, GaugeReadingsAreInVoltsDegreesAndAmperes) {
    EXPECT_FLOAT_EQ(getFuelGaugeVoltage().value_or(0), 11.4F);
    EXPECT_FLOAT_EQ(getFuelGaugeTemperature().value_or(0), 25.1F);
    EXPECT_FLOAT_EQ(getFuelGaugeCurrent().value_or(0), -1.25F);
    EXPECT_EQ(getFuelGaugeAccumCharge(), 9000000);
}

TEST_F(BatteryMonitor, InputCurrentLimitIsWrittenAndReadBack) {
    EXPECT_EQ(setInputCurrentLimit(24), 24);
    EXPECT_EQ(getInputCurrentLimit(), 24);
    EXPECT_EQ(getLastInputCurrentLimit(), 24);
}

TEST_F(BatteryMonitor, InputCurrentLimitThatCannotBeWrittenIsNotRemembered) {
    World_removeFile(charger + "inputCurrentLimit_raw");
    EXPECT_EQ(setInputCurrentLimit(24), std::nullopt);
    EXPECT_EQ(getInputCurrentLimit(), std::nullopt);
    EXPECT_EQ(getLastInputCurrentLimit(), 39);
}
