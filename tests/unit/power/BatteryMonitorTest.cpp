#include "BatteryMonitor.h"

#include "InstrumentIdentity.h"
#include "LogManager.h"
#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <functional>

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

    /// What the steps write to the trace.
    static std::string traceOf(const std::function<void()>& steps) {
        LogManager_create();
        World_writeFile("/tmp/debug", "");
        World_writeFile("/tmp/logConfig", "BatteryMonitor\n");
        LogManager_route();
        testing::internal::CaptureStdout();
        steps();
        LogManager_flush();
        std::string trace = testing::internal::GetCapturedStdout();
        World_removeFile("/tmp/debug");
        LogManager_route();
        return trace;
    }

    bool present = false;
    int charging = -1;
};

using Battery = BatteryMonitorTest;

} // namespace

TEST_F(Battery, InitialisationSetsTheChargerUp) {
    EXPECT_EQ(World_readFile(charger + "armShipMode_raw"), record("0"));
    EXPECT_EQ(World_readFile(charger + "configBits_raw"), record("12"));
    EXPECT_EQ(World_readFile(charger + "inputCurrentLimit_raw"), record("39"));
    EXPECT_EQ(World_readFile(charger + "cOverXTerm_enable"), record("enable"));
    EXPECT_EQ(getLastInputCurrentLimit(), 39);
}

TEST_F(Battery, InitialisationAnswersOneWhateverHappens) {
    EXPECT_EQ(initBatteryMonitor(), 1);
    World_removeFile(charger + "armShipMode_raw");
    EXPECT_EQ(initBatteryMonitor(), 1);
}

TEST_F(Battery, InitialisationEndsAtTheFirstFileThatCannotBeOpened) {
    World_writeFile(charger + "inputCurrentLimit_raw", "7");
    World_writeFile(calibrationMark, "");
    World_removeFile(charger + "configBits_raw");
    initBatteryMonitor();
    EXPECT_EQ(World_readFile(charger + "inputCurrentLimit_raw"), "7");
    EXPECT_FALSE(battMon.accumChargeWasSet);
}

TEST_F(Battery, StartFileThatCannotBeOpenedIsTraced) {
    for (const std::string name : {"cOverXTerm_enable", "configBits_raw", "armShipMode_raw"}) {
        World_removeFile(charger + name);
        EXPECT_EQ(traceOf([] { initBatteryMonitor(); }),
                  "initBatteryMonitor: Failed to open battery charger file: " + name + "\n");
    }
}

TEST_F(Battery, InputCurrentLimitThatCannotBeSetDoesNotEndTheInitialisation) {
    World_removeFile(charger + "inputCurrentLimit_raw");
    EXPECT_EQ(traceOf([] { initBatteryMonitor(); }), "initBatteryMonitor: cellCount 4\n");
    EXPECT_EQ(World_readFile(charger + "cOverXTerm_enable"), record("enable"));
}

TEST_F(Battery, CellCountStaysAtThreeWhateverTheChargerCounts) {
    EXPECT_EQ(getBatteryCellCount(), 4);
    EXPECT_EQ(battMon.cellCount, 3);
}

TEST_F(Battery, CalibrationSurvivesARestartThroughItsMark) {
    EXPECT_FALSE(battMon.accumChargeWasSet);
    World_writeFile(calibrationMark, "");
    initBatteryMonitor();
    EXPECT_TRUE(battMon.accumChargeWasSet);
}

TEST_F(Battery, ModelsThatBeginWith8830K8HaveNoBattery) {
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

TEST_F(Battery, ReleasedMonitorCountsAsAModelWithoutBattery) {
    EXPECT_TRUE(modelHasBattery());
    disableBatteryMonitor();
    EXPECT_FALSE(modelHasBattery());
    disableBatteryMonitor();
    EXPECT_FALSE(modelHasBattery());
}

TEST_F(Battery, MayBeReleasedTwiceWhileThreadsUseIt) {
    std::atomic<bool> isOver{false};
    const auto use = [](void* end) -> void* {
        bool isPresent = false;
        int chargeState = 0;
        int percent = 0;
        while (!*static_cast<std::atomic<bool>*>(end)) {
            if (modelHasBattery()) {
                pollI2CBatteryMonitor(&isPresent, &chargeState);
                pollI2CFuelGauge();
                pollBatteryPercent(&percent);
            }
        }
        return nullptr;
    };
    std::array<pthread_t, 2> users{};
    for (pthread_t& user : users) {
        ASSERT_EQ(Thread_startJoinable(&user, "battery", use, &isOver), 0);
    }
    EXPECT_TRUE(World_waitUntil([] { return battMon.lipoBattVoltage > 0; }, 30000));
    disableBatteryMonitor();
    disableBatteryMonitor();
    isOver = true;
    for (const pthread_t user : users) {
        pthread_join(user, nullptr);
    }
    EXPECT_FALSE(modelHasBattery());
}

TEST_F(Battery, FirstPollReportsPresenceAndChargeState) {
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_NOT_CHARGING);
    EXPECT_EQ(battMon.state, BATT_MON_STATE_CHARGE);
    EXPECT_EQ(battMon.lastState, BATT_MON_STATE_POWERUP);
}

TEST_F(Battery, BatteryInsertedAfterTheFirstPollIsNotDetected) {
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

TEST_F(Battery, BatteryRemovedAfterTheFirstPollStillCountsAsPresent) {
    poll();
    setChargerState(0x2);
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_NOT_CHARGING);
}

TEST_F(Battery, UnreadableChargerLeavesPresenceUndecided) {
    World_removeFile(charger + "chargerState_raw");
    poll();
    EXPECT_EQ(charging, -1);
    EXPECT_EQ(battMon.state, BATT_MON_STATE_POWERUP);
    setChargerState(0x40);
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_CHARGING_VOLTAGE);
}

TEST_F(Battery, UnreadableChargerLeavesTheLastChargeState) {
    setChargerState(0x40);
    poll();
    World_writeFile(charger + "chargerState_raw", "");
    poll();
    EXPECT_TRUE(present);
    EXPECT_EQ(charging, BATT_CHARGING_VOLTAGE);
}

TEST_F(Battery, FullChargeCalibratesTheGaugeAtEveryPollAfterTheFirst) {
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

TEST_F(Battery, ExistingCalibrationMarkIsNotTouched) {
    World_writeFile(calibrationMark, "kept");
    writeBattFile();
    EXPECT_EQ(World_readFile(calibrationMark), "kept");
}

TEST_F(Battery, CalibrationMarkThatCannotBeMadeIsTracedAndTheGaugeIsCalibratedAllTheSame) {
    ASSERT_TRUE(World_fail(WorldFault::change, calibrationMark, EROFS));
    EXPECT_EQ(traceOf([] { setFuelGaugeAccumCharge(); }),
              "Warning: Unable to open file /root/.battcharged for writing.\n");
    World_clearFaults();
    EXPECT_FALSE(readBattFile());
    EXPECT_TRUE(battMon.accumChargeWasSet);
    EXPECT_EQ(World_readFile(gauge + "charge_now"), record("11140951"));
}

TEST_F(Battery, EveryPollTracesTheStateItLeavesAndTheStateItEnters) {
    struct Case {
        int state;
        bool isPresent;
        const char* line;
    };
    constexpr std::array<Case, 6> cases = {{
        {BATT_MON_STATE_POWERUP, true, "BATT_MON_STATE_POWERUP (l) && BATT_MON_STATE_CHARGE (c)"},
        {BATT_MON_STATE_POWERUP, false,
         "BATT_MON_STATE_POWERUP (l) && BATT_MON_STATE_DISCHARGE (c)"},
        {BATT_MON_STATE_CHARGE, true, "BATT_MON_STATE_CHARGE (l) && BATT_MON_STATE_CHARGE (c)"},
        {BATT_MON_STATE_CHARGE, false, "BATT_MON_STATE_CHARGE (l) && BATT_MON_STATE_DISCHARGE (c)"},
        {BATT_MON_STATE_DISCHARGE, true,
         "BATT_MON_STATE_DISCHARGE (l) && BATT_MON_STATE_CHARGE (c)"},
        {BATT_MON_STATE_DISCHARGE, false,
         "BATT_MON_STATE_DISCHARGE (l) && BATT_MON_STATE_DISCHARGE (c)"},
    }};
    for (const Case& row : cases) {
        battMon.state = row.state;
        battMon.battPresent = row.isPresent;
        setChargerState(row.isPresent ? 0x100 : 0x2);
        EXPECT_EQ(traceOf([&] { poll(); }),
                  std::string("pollI2CBatteryMonitor: ") + row.line + "\n");
    }
}

TEST_F(Battery, VoltageAndPercentageAreTraced) {
    poll();
    EXPECT_EQ(traceOf([] { pollI2CFuelGauge(); }), "pollI2CFuelGauge: batteryVoltage 11.40\n");
    int percent = 0;
    EXPECT_EQ(traceOf([&] { pollBatteryPercent(&percent); }),
              "pollBatteryPercent: batteryPercent 54\n");
}

TEST_F(Battery, CalibrationThatIsStillDueIsMadeUpForWhenTheBatteryGoes) {
    setChargerState(0x10);
    poll();
    ASSERT_TRUE(battMon.setAccumCharge);
    battMon.battPresent = false;
    poll();
    EXPECT_EQ(battMon.state, BATT_MON_STATE_DISCHARGE);
    EXPECT_TRUE(battMon.accumChargeWasSet);
    EXPECT_EQ(World_readFile(gauge + "charge_now"), record("11140951"));
}

TEST_F(Battery, GaugeThatCannotBeWrittenLeavesTheCalibrationDue) {
    setChargerState(0x10);
    poll();
    World_removeFile(gauge + "charge_now");
    poll();
    EXPECT_FALSE(battMon.accumChargeWasSet);
    EXPECT_TRUE(battMon.setAccumCharge);
    EXPECT_FALSE(readBattFile());
}

TEST_F(Battery, NoPercentageBeforeTheFirstPoll) {
    int percent = 77;
    EXPECT_FALSE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 77);
}

TEST_F(Battery, NoPercentageWithoutOneValidVoltage) {
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

TEST_F(Battery, VoltageGivesThePercentageBeforeTheCalibration) {
    int percent = 0;
    poll();
    pollI2CFuelGauge();
    EXPECT_TRUE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 54);
}

TEST_F(Battery, UnreadableGaugeLeavesTheLastVoltage) {
    int percent = 0;
    poll();
    pollI2CFuelGauge();
    World_removeFile(gauge + "voltage_now");
    pollI2CFuelGauge();
    EXPECT_TRUE(pollBatteryPercent(&percent));
    EXPECT_EQ(percent, 54);
}

TEST_F(Battery, ChargeCountGivesThePercentageOnceCalibrated) {
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

TEST_F(Battery, GaugeReadingsAreInVoltsDegreesAndAmperes) {
    EXPECT_FLOAT_EQ(getFuelGaugeVoltage().value_or(0), 11.4F);
    EXPECT_FLOAT_EQ(getFuelGaugeTemperature().value_or(0), 25.1F);
    EXPECT_FLOAT_EQ(getFuelGaugeCurrent().value_or(0), -1.25F);
    EXPECT_EQ(getFuelGaugeAccumCharge(), 9000000);
}

TEST_F(Battery, InputCurrentLimitIsWrittenAndReadBack) {
    EXPECT_EQ(setInputCurrentLimit(24), 24);
    EXPECT_EQ(getInputCurrentLimit(), 24);
    EXPECT_EQ(getLastInputCurrentLimit(), 24);
}

TEST_F(Battery, InputCurrentLimitThatCannotBeWrittenIsNotRemembered) {
    World_removeFile(charger + "inputCurrentLimit_raw");
    EXPECT_EQ(setInputCurrentLimit(24), std::nullopt);
    EXPECT_EQ(getInputCurrentLimit(), std::nullopt);
    EXPECT_EQ(getLastInputCurrentLimit(), 39);
}
