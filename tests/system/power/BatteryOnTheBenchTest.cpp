#include "Bench.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>

namespace {

constexpr uint32_t limit_ms = 60000;

/// A meter on the bench, with its clock as fast as a test wants it.
class BatteryOnTheBench : public testing::Test {
protected:
    void start(const std::vector<std::string>& commands, const std::string& identity = "") {
        BenchOptions options;
        options.commands = commands;
        options.prepare = [&](const std::string& world) {
            if (!identity.empty()) {
                Bench prepared;
                prepared.world = world;
                Bench_writeFile(prepared, "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf",
                                identity);
            }
        };
        ASSERT_TRUE(Bench_start(bench, options));
    }
    void TearDown() override {
        Bench_stop(bench);
    }

    void setSpeed(const char* speed) {
        ASSERT_TRUE(Bench_do(bench, std::string("clock speed ") + speed));
    }
    /// Stretches the 25 s that are left when the warning appears.
    void waitForWarning() {
        ASSERT_TRUE(Bench_waitForVisible(bench, "warningDialog", true, limit_ms));
        setSpeed("0.25");
    }
    /// Touches the warning's OK until it has gone. A touch reaches what is on top: the warning
    /// takes that place within a pass.
    bool answerWarning() {
        return Bench_waitUntil(
            [&] {
                return !Bench_isVisible(bench, "warningDialog") ||
                       (Bench_tap(bench, "warningDialog.ok") &&
                        Bench_waitForVisible(bench, "warningDialog", false, 1000));
            },
            limit_ms);
    }
    bool waitForImage(const std::string& image) {
        return Bench_waitForVisible(bench, image, true, limit_ms);
    }
    size_t watchedPasses(int state) {
        return Bench_countInSyslog(bench, "state = " + std::to_string(state) + ",");
    }

    Bench bench;
};

} // namespace

TEST_F(BatteryOnTheBench, EveryStateHasItsPictureAndText) {
    struct Case {
        const char* speed;
        const char* command;
        const char* image;
        const char* text;
    };
    // An empty battery switches the meter off after 25 s.
    constexpr std::array<Case, 7> cases = {{
        {"20", "battery volts=12.3", "battery100", "96%"},
        {"20", "battery volts=11.4", "battery75", "54%"},
        {"20", "battery volts=11.2", "battery50", "45%"},
        {"20", "battery volts=10.7", "battery25", "11%"},
        {"1", "battery volts=10.0", "battery5", "0%"},
        {"1", "battery state=full", "batteryPlug", "100%"},
        {"20", "ac on", "batteryPlug", "100%"},
    }};
    start({"ac off"});
    for (const Case& row : cases) {
        setSpeed(row.speed);
        ASSERT_TRUE(Bench_do(bench, row.command));
        EXPECT_TRUE(waitForImage(row.image)) << row.command;
        EXPECT_TRUE(Bench_waitForText(bench, "batteryPercent", row.text, limit_ms)) << row.command;
    }
}

TEST_F(BatteryOnTheBench, ChargingBeforeTheFirstCalibrationShowsNoPercentage) {
    start({"ac on"});
    EXPECT_TRUE(waitForImage("batteryCharging"));
    EXPECT_TRUE(Bench_waitForText(bench, "batteryPercent", "---%", limit_ms));
}

TEST_F(BatteryOnTheBench, AFullChargeIsWhatTheGaugeCountsOfIt) {
    start({"clock speed 4", "ac off"});
    EXPECT_TRUE(waitForImage("battery75"));
    ASSERT_TRUE(Bench_do(bench, "battery state=full"));
    const auto isCalibrated = [&] {
        return Bench_readFile(bench, "/sys/class/power_supply/fuel_gauge/charge_now") ==
               "11140614\n";
    };
    EXPECT_TRUE(Bench_waitUntil(isCalibrated, limit_ms));
    EXPECT_TRUE(Bench_waitForText(bench, "batteryPercent", "100%", limit_ms));
    ASSERT_TRUE(Bench_do(bench, "ac off"));
    EXPECT_TRUE(Bench_waitForText(bench, "batteryPercent", "99%", limit_ms));
}

TEST_F(BatteryOnTheBench, ASwitchThatIsHeldWhenTheMeterOpensItSwitchesItOff) {
    start({"clock speed 4", "switch down"});
    EXPECT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, limit_ms));
}

TEST_F(BatteryOnTheBench, MissingBatteryIsShown) {
    start({"battery remove"});
    EXPECT_TRUE(waitForImage("batteryNC"));
    EXPECT_FALSE(Bench_isVisible(bench, "batteryPercent"));
}

TEST_F(BatteryOnTheBench, NothingIsShownBeforeTheChargerHasAnswered) {
    start({"remove /sys/devices/virtual/battery_charger/ltc4162/chargerState_raw"});
    ASSERT_TRUE(Bench_waitUntil([&] { return watchedPasses(0) >= 1; }, limit_ms));
    for (const char* image : {"batteryNC", "batteryPlug", "batteryCharging", "battery5"}) {
        EXPECT_FALSE(Bench_isVisible(bench, image)) << image;
    }
    ASSERT_TRUE(Bench_do(bench, "battery state=missing"));
    EXPECT_TRUE(waitForImage("batteryNC"));
}

TEST_F(BatteryOnTheBench, ModelWithoutBatteryShowsThePlugAndNeverWarns) {
    start({"clock speed 20", "ac off", "battery volts=10.0"}, "modelNumber 8830K8-2\n");
    EXPECT_TRUE(waitForImage("batteryPlug"));
    // The charge limit goes on; nothing else of the battery does.
    ASSERT_TRUE(Bench_do(bench, "battery temp=60"));
    EXPECT_TRUE(Bench_waitUntil(
        [&] {
            return Bench_readFile(bench, "/sys/devices/virtual/battery_charger/ltc4162/"
                                         "inputCurrentLimit_raw")
                .starts_with("24");
        },
        limit_ms));
    EXPECT_EQ(watchedPasses(0), 0U);
    EXPECT_FALSE(Bench_isVisible(bench, "warningDialog"));
}

TEST_F(BatteryOnTheBench, DischargeWalksThroughAllPicturesToTheWarningAndTheShutdown) {
    start({"clock speed 20", "ac off", "battery volts=12.6 fail=0.3"});
    ASSERT_TRUE(waitForImage("battery100"));
    setSpeed("4"); // none of the pictures stays
    ASSERT_TRUE(Bench_do(bench, "battery drain 120s"));
    for (const char* image : {"battery75", "battery50", "battery25", "battery5"}) {
        EXPECT_TRUE(waitForImage(image)) << image;
        EXPECT_TRUE(Bench_commands(bench).empty());
    }
    ASSERT_TRUE(Bench_do(bench, "clock step 1h"));
    ASSERT_TRUE(Bench_waitForVisible(bench, "warningDialog", true, limit_ms));
    ASSERT_TRUE(Bench_do(bench, "clock step -2h"));
    ASSERT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, limit_ms));
    EXPECT_EQ(Bench_commands(bench), std::vector<std::string>{"shutdown"});
    // The thread polls every 5 s: 25 s have gone by at its fifth or sixth poll.
    EXPECT_GE(watchedPasses(1), 5U);
    EXPECT_LE(watchedPasses(1), 6U);
}

TEST_F(BatteryOnTheBench, ExternalPowerWithinTwentyFiveSecondsTakesTheWarningAway) {
    start({"ac off", "battery volts=10.0"});
    waitForWarning();
    ASSERT_TRUE(Bench_do(bench, "ac on"));
    setSpeed("1");
    EXPECT_TRUE(Bench_waitForVisible(bench, "warningDialog", false, limit_ms));
    setSpeed("10");
    const size_t before = watchedPasses(0);
    EXPECT_TRUE(Bench_waitUntil([&] { return watchedPasses(0) >= before + 7; }, limit_ms))
        << "more than 30 s without external power's absence";
    EXPECT_TRUE(Bench_commands(bench).empty());
}

TEST_F(BatteryOnTheBench, OkOnlyClosesTheWarning) {
    start({"ac off", "battery volts=10.0"});
    waitForWarning();
    EXPECT_TRUE(answerWarning());
    EXPECT_TRUE(Bench_commands(bench).empty());
    setSpeed("10");
    EXPECT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, limit_ms))
        << "the 25 s run on";
}

TEST_F(BatteryOnTheBench, WarningStandsAboveTheChannelDialog) {
    start({"ac off", "battery volts=10.0", "plug serial1 5132 fwd=25"});
    ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", true, limit_ms));
    waitForWarning();
    EXPECT_TRUE(answerWarning());
    EXPECT_TRUE(Bench_isVisible(bench, "sensorSettingsDialog"));
    ASSERT_TRUE(Bench_tap(bench, "sensorSettingsDialog_ok"));
    EXPECT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", false, limit_ms));
}

TEST_F(BatteryOnTheBench, ChannelDialogThatComesLaterStandsBelowTheWarning) {
    start({"ac off", "battery volts=10.0"});
    waitForWarning();
    ASSERT_TRUE(Bench_do(bench, "plug serial1 5132 fwd=25"));
    ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", true, limit_ms));
    EXPECT_TRUE(answerWarning());
    EXPECT_TRUE(Bench_isVisible(bench, "sensorSettingsDialog"));
    ASSERT_TRUE(Bench_tap(bench, "sensorSettingsDialog_ok"));
    EXPECT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", false, limit_ms));
}

TEST_F(BatteryOnTheBench, GaugeThatNeverAnswersNeverSwitchesTheMeterOff) {
    start({"clock speed 20", "ac off", "remove /sys/class/power_supply/fuel_gauge/voltage_now"});
    ASSERT_TRUE(Bench_waitUntil([&] { return watchedPasses(0) >= 8; }, limit_ms));
    EXPECT_FALSE(Bench_isVisible(bench, "warningDialog"));
    EXPECT_TRUE(Bench_commands(bench).empty());
    ASSERT_TRUE(Bench_do(bench, "battery volts=11.4"));
    EXPECT_TRUE(waitForImage("battery75"));
}
