#include "BatteryThread.h"

#include "AppFlags.h"
#include "BatteryMonitor.h"
#include "ShutDownWarning.h"
#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

const std::string charger = "/sys/devices/virtual/battery_charger/ltc4162/";
const std::string gauge = "/sys/class/power_supply/fuel_gauge/";

/// A file that takes whatever is written to it and answers one text: a terminal, on whose far side
/// the text was typed.
class StubbornFile {
public:
    StubbornFile(const std::string& instrumentPath, const std::string& text)
        : path(instrumentPath), master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        grantpt(master);
        unlockpt(master);
        slave = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
        World_removeFile(path);
        EXPECT_EQ(symlink(ptsname(master), World_realPath(path).c_str()), 0);
        EXPECT_EQ(write(master, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    ~StubbornFile() {
        close(slave);
        close(master);
        World_removeFile(path);
    }
    StubbornFile(const StubbornFile&) = delete;
    StubbornFile& operator=(const StubbornFile&) = delete;

private:
    std::string path;
    int master;
    int slave = -1;
};

} // namespace

TEST(BatteryThread, WarnsOnlyAtOnePercentOrLessWithoutExternalPower) {
    struct Case {
        int percent;
        int charging;
        bool isPercentKnown;
        BatteryAction action;
    };
    constexpr std::array<Case, 9> cases = {{
        {2, BATT_NOT_CHARGING, true, BatteryAction::none},
        {1, BATT_NOT_CHARGING, true, BatteryAction::showWarning},
        {0, BATT_NOT_CHARGING, true, BatteryAction::showWarning},
        {0, BATT_NOT_CHARGING, false, BatteryAction::none},
        {1, BATT_MISSING, true, BatteryAction::none},
        {1, BATT_CHARGING_ACCUM, true, BatteryAction::none},
        {1, BATT_CHARGING_VOLTAGE, true, BatteryAction::none},
        {1, BATT_FULLY_CHARGED, true, BatteryAction::none},
        {100, BATT_NOT_CHARGING, true, BatteryAction::none},
    }};
    for (const Case& row : cases) {
        BatteryThreadState state{shutdownIdle, {}, row.isPercentKnown};
        EXPECT_EQ(BatteryThread_step(&state, row.percent, row.charging, 0), row.action)
            << row.percent << " percent, charge state " << row.charging;
        EXPECT_EQ(state.shutDown,
                  row.action == BatteryAction::none ? shutdownIdle : shutdownWarning);
    }
}

TEST(BatteryThread, SwitchesOffOnceMoreThanTwentyFiveSecondsAfterTheWarning) {
    BatteryThreadState state{shutdownIdle, {}, true};
    constexpr uint32_t start_ms = 0xFFFFF000; // the clock wraps on the way
    ASSERT_EQ(BatteryThread_step(&state, 1, BATT_NOT_CHARGING, start_ms),
              BatteryAction::showWarning);
    EXPECT_EQ(BatteryThread_step(&state, 1, BATT_NOT_CHARGING, start_ms + 25000),
              BatteryAction::none);
    EXPECT_EQ(BatteryThread_step(&state, 1, BATT_NOT_CHARGING, start_ms + 25001),
              BatteryAction::switchOff);
    EXPECT_EQ(state.shutDown, shutdownShuttingDown);
    EXPECT_EQ(BatteryThread_step(&state, 1, BATT_NOT_CHARGING, start_ms + 99999),
              BatteryAction::none);
    EXPECT_EQ(BatteryThread_step(&state, 1, BATT_CHARGING_ACCUM, start_ms + 99999),
              BatteryAction::none);
}

TEST(BatteryThread, ExternalPowerWithinTheWarningTakesItAway) {
    BatteryThreadState state{shutdownIdle, {}, true};
    ASSERT_EQ(BatteryThread_step(&state, 0, BATT_NOT_CHARGING, 0), BatteryAction::showWarning);
    EXPECT_EQ(BatteryThread_step(&state, 0, BATT_CHARGING_VOLTAGE, 25001),
              BatteryAction::closeWarning);
    EXPECT_EQ(state.shutDown, shutdownIdle);
}

TEST(BatteryThread, RecoveringPercentageAloneDoesNotTakeTheWarningAway) {
    BatteryThreadState state{shutdownIdle, {}, true};
    ASSERT_EQ(BatteryThread_step(&state, 1, BATT_NOT_CHARGING, 0), BatteryAction::showWarning);
    EXPECT_EQ(BatteryThread_step(&state, 50, BATT_NOT_CHARGING, 5000), BatteryAction::none);
    EXPECT_EQ(BatteryThread_step(&state, 50, BATT_NOT_CHARGING, 25001), BatteryAction::switchOff);
}

TEST(BatteryThread, HotBatteryLowersTheInputCurrentLimit) {
    initBatteryMonitor();
    World_writeFile(charger + "inputCurrentLimit_raw", "39");
    World_writeFile(gauge + "temp", "600\n");
    BatteryThread_limitInputCurrent();
    EXPECT_EQ(getLastInputCurrentLimit(), 24);
    EXPECT_EQ(getInputCurrentLimit(), 24);
    World_removeFile(gauge + "temp");
    BatteryThread_limitInputCurrent();
    EXPECT_EQ(getLastInputCurrentLimit(), 24) << "an unreadable temperature changes nothing";
    World_writeFile(gauge + "temp", "450\n");
    BatteryThread_limitInputCurrent();
    EXPECT_EQ(getLastInputCurrentLimit(), 39);
}

TEST(BatteryThread, LimitThatTheChargerChangesIsToldToTheUser) {
    initBatteryMonitor();
    World_writeFile(gauge + "temp", "600\n");
    const StubbornFile limit(charger + "inputCurrentLimit_raw", "20\n");
    World_clearSyslog();
    BatteryThread_limitInputCurrent();
    EXPECT_TRUE(
        World_syslogContains("<4> USER_WARNING:  input current limit is 20; should be 24\\n"));
    World_clearSyslog();
    BatteryThread_limitInputCurrent();
    EXPECT_FALSE(World_syslogContains("USER_WARNING")) << "set once, told once";
}

TEST(BatteryThread, UnreadableGaugeNeverLeadsToAWarning) {
    initBatteryMonitor();
    ShutDownWarning_create(nullptr);
    World_removeFile(gauge + "voltage_now");
    World_writeFile(charger + "chargerState_raw", "256\n");
    bool present = false;
    int charging = BATT_MISSING;
    pollI2CBatteryMonitor(&present, &charging);
    pollI2CFuelGauge();
    batteryCharging = charging;
    batteryPercent = 0;
    BatteryThreadState state{};
    BatteryThread_watch(&state, 0);
    EXPECT_EQ(state.shutDown, shutdownIdle);
    EXPECT_FALSE(shutDownWarningDlg.showSignal);

    World_writeFile(gauge + "voltage_now", "10200000\n");
    pollI2CFuelGauge();
    BatteryThread_watch(&state, 5000);
    EXPECT_EQ(state.shutDown, shutdownWarning);
    EXPECT_TRUE(shutDownWarningDlg.showSignal);
    EXPECT_TRUE(World_syslogContains("state = 0, batteryPercent = 0, threshold = 1."));
}
