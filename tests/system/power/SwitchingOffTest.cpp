#include "Bench.h"
#include "CloseRequest.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr uint32_t limit_ms = 60000;
const std::vector<std::string> oneShutdown = {"shutdown"};

/// Position of the first log line with the text; the number of lines when there is none.
size_t lineOf(const std::vector<std::string>& log, const std::string& text) {
    size_t line = 0;
    while (line < log.size() && log[line].find(text) == std::string::npos) {
        ++line;
    }
    return line;
}

class SwitchingOff : public testing::Test {
protected:
    void start(const std::vector<std::string>& commands) {
        BenchOptions options;
        options.commands = commands;
        ASSERT_TRUE(Bench_start(bench, options));
    }
    void TearDown() override {
        Bench_stop(bench);
    }

    Bench bench;
};

} // namespace

TEST_F(SwitchingOff, PressOfTheSwitchEndsInTheRecordedSequenceOnce) {
    start({"clock speed 10", "plug serial1 5132 fwd=25"});
    ASSERT_TRUE(Bench_do(bench, "switch"));
    ASSERT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, limit_ms));
    // The thread carries on polling while the operating system shuts down.
    ASSERT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "shutdown signal detected...") >= 5; }, limit_ms));
    EXPECT_EQ(Bench_commands(bench), oneShutdown);

    const std::vector<std::string> log = Bench_syslog(bench);
    const size_t detected = lineOf(log, "hwPollingThread: shutdown signal detected...");
    const size_t armed = lineOf(log, "shutDownPower Attempting to issue ARM SHIP MODE");
    const size_t off = lineOf(log, "shutDownPower Turning off the power by writing a zero");
    EXPECT_LT(detected, armed);
    EXPECT_LT(armed, off);
    EXPECT_LT(off, log.size());
    EXPECT_NE(Bench_programId(bench), 0) << "the operating system ends the program";
}

TEST_F(SwitchingOff, IsToldAboveEverythingAndTheBatteryKeepsItsPicture) {
    start({"ac off", "battery volts=11.2", "plug serial1 5132 fwd=25"});
    ASSERT_TRUE(Bench_waitForVisible(bench, "battery50", true, limit_ms));
    ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", true, limit_ms));
    ASSERT_TRUE(Bench_do(bench, "switch"));
    EXPECT_TRUE(Bench_waitForVisible(bench, "switchingOff", true, limit_ms));
    EXPECT_TRUE(Bench_waitForShown(bench, "Switching off...", limit_ms));
    // The monitor is released before the operating system is told.
    ASSERT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, limit_ms));
    EXPECT_TRUE(Bench_isVisible(bench, "switchingOff"));
    EXPECT_TRUE(Bench_isVisible(bench, "battery50"));
    EXPECT_FALSE(Bench_isVisible(bench, "batteryPlug"));
}

TEST_F(SwitchingOff, TakesAwayTheBoxThatAsksForExternalPower) {
    start({"ac off", "battery volts=10.0"});
    ASSERT_TRUE(Bench_waitForVisible(bench, "warningDialog", true, limit_ms));
    ASSERT_TRUE(Bench_do(bench, "clock speed 10"));
    EXPECT_TRUE(Bench_waitForVisible(bench, "switchingOff", true, limit_ms)) << "after 25 s";
    EXPECT_TRUE(Bench_waitForVisible(bench, "warningDialog", false, limit_ms));
    EXPECT_TRUE(Bench_isVisible(bench, "switchingOff"));
    EXPECT_TRUE(Bench_isVisible(bench, "battery5"));
}

TEST_F(SwitchingOff, ClosedWindowWithoutSensorSwitchesOffAndLeavesWithZero) {
    start({"clock speed 10"});
    ASSERT_TRUE(CloseRequest_send(bench));
    EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0);
    EXPECT_EQ(Bench_commands(bench), oneShutdown);
}

TEST_F(SwitchingOff, ClosedWindowWithSensorsSwitchesOffAndLeavesWithZero) {
    start({"clock speed 10", "plug serial1 5132 fwd=25", "plug serial2 5132 fwd=1"});
    ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", true, limit_ms));
    ASSERT_TRUE(Bench_tap(bench, "sensorSettingsDialog_ok"));
    ASSERT_TRUE(Bench_waitForVisible(bench, "upper.fwd.value", true, limit_ms));
    ASSERT_TRUE(CloseRequest_send(bench));
    EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0);
    EXPECT_EQ(Bench_commands(bench), oneShutdown);
}

TEST_F(SwitchingOff, WindowClosedBehindADialogSwitchesOffAndLeavesWithZero) {
    const struct {
        std::vector<std::string> commands;
        const char* dialog;
    } cases[] = {
        {{"clock speed 10", "plug serial1 5132 fwd=25"}, "sensorSettingsDialog"},
        {{"ac off", "battery volts=10.0"}, "warningDialog"},
    };
    for (const auto& test : cases) {
        start(test.commands);
        ASSERT_TRUE(Bench_waitForVisible(bench, test.dialog, true, limit_ms));
        ASSERT_TRUE(CloseRequest_send(bench));
        EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0) << test.dialog;
        EXPECT_EQ(Bench_commands(bench), oneShutdown) << test.dialog;
        Bench_stop(bench);
    }
}

TEST_F(SwitchingOff, PressBehindTheChannelDialogSwitchesOffOnce) {
    start({"clock speed 10", "plug serial1 5132 fwd=25"});
    ASSERT_TRUE(Bench_waitForVisible(bench, "sensorSettingsDialog", true, limit_ms));
    ASSERT_TRUE(Bench_do(bench, "switch"));
    ASSERT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "shutdown signal detected...") >= 5; }, limit_ms));
    EXPECT_EQ(Bench_commands(bench), oneShutdown);
}

TEST_F(SwitchingOff, TheEndOfTheSwitchsDeviceIsNoPress) {
    start({"clock speed 10", "remove /dev/input/event0"});
    ASSERT_TRUE(Bench_writeFile(bench, "/dev/input/event0", ""));
    const size_t before = Bench_countInSyslog(bench, "hwPollingThread: Thread is alive");
    ASSERT_TRUE(Bench_waitUntil(
        [&] {
            return Bench_countInSyslog(bench, "hwPollingThread: Thread is alive") >= before + 3;
        },
        limit_ms));
    EXPECT_TRUE(Bench_commands(bench).empty());
    EXPECT_EQ(Bench_countInSyslog(bench, "shutdown signal detected..."), 0U);
}

TEST_F(SwitchingOff, WindowClosedManyTimesEndsOnce) {
    start({"clock speed 10"});
    for (int time = 0; time < 5; ++time) {
        ASSERT_TRUE(CloseRequest_send(bench, "0.25")); // it is not over before the last one
    }
    EXPECT_EQ(Bench_waitForEnd(bench, limit_ms), 0);
    EXPECT_EQ(Bench_commands(bench), oneShutdown);
}
