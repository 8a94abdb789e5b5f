// A meter that hangs is started again and leaves its stack traces; one that waits is left alone.

#include "MeterTest.h"
#include "ScpiClient.h"
#include "WorldFolder.h"

#include <algorithm>
#include <csignal>
#include <filesystem>

using testing::HasSubstr;

namespace fs = std::filesystem;

namespace {

constexpr const char* crashLog = "/tmp/crashlog.txt";

// The checker of threads keeps a signal from a thread that waits until its wait is over.
#ifdef __SANITIZE_THREAD__
constexpr bool canBeTraced = false;
#else
constexpr bool canBeTraced = true;
#endif

class Watchdog : public MeterTest {
protected:
    void startWatched(double speed) {
        start({.commands = {"clock speed " + std::to_string(speed)}, .hasWatchdog = true});
        first = Bench_programId(bench);
    }

    /// A thread of the program waits in the kernel.
    bool isAsleep(const std::string& thread) const {
        const fs::path tasks = "/proc/" + std::to_string(first) + "/task";
        std::error_code ignored;
        return std::any_of(fs::directory_iterator(tasks, ignored), {}, [&](const auto& task) {
            const std::string status = WorldFolder_readFile(task.path() / "stat");
            return status.find("(" + thread + ") S") != std::string::npos;
        });
    }

    bool isStartedAgain() {
        const auto isAnother = [&] {
            const pid_t now = Bench_programId(bench);
            return now > 0 && now != first;
        };
        return Bench_waitUntil(isAnother, restartLimit_ms);
    }

    void expectAllTraces() {
        const std::string log = Bench_readFile(bench, crashLog);
        EXPECT_THAT(traceOf(log, "hwPolling"), HasSubstr("hwPollingThread")) << log;
        for (const char* thread :
             {"QuorvelPowerMet", "gtkThread", "focusThread", "batteryThread", "graphUpdate",
              "powerSwitch", "debugPrintf", "sensorSerial1", "sensorUsb2", "scpiTcp", "watchdog"}) {
            EXPECT_NE(traceOf(log, thread), "") << thread << "\n" << log;
        }
    }

    /// The trace of one thread: what stands below its name.
    static std::string traceOf(const std::string& log, const std::string& thread) {
        const size_t begin = log.find(thread + " (");
        if (begin == std::string::npos) {
            return "";
        }
        const size_t end = log.find("):\n", log.find('\n', begin) + 1);
        return log.substr(begin, end - begin);
    }

    pid_t first = 0;
    static constexpr uint32_t restartLimit_ms = 60000;
};

} // namespace

TEST_F(Watchdog, AThreadThatHangsLeavesAllTracesAndTheMeterStartsAgain) {
    startWatched(4);
    ASSERT_TRUE(Bench_do(bench, "freeze hwPolling"));
    ASSERT_TRUE(isStartedAgain());
    if (canBeTraced) {
        expectAllTraces();
    }
    EXPECT_EQ(Bench_countInSyslog(bench, "Thread hwPolling gives no sign of life"), 1U);
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    plugFirst("serial1", "5132 fwd=25");
}

TEST_F(Watchdog, ALockThatIsNeverGivenBackIsFoundByTheThreadsThatWaitForIt) {
    startWatched(4);
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_tap(bench, "single.configButton"));
    ASSERT_TRUE(becomesVisible("appSettings", true));
    // The touch keeps the screen's lock until the disk has its setting.
    ASSERT_TRUE(Bench_do(bench, "disk slow=1h"));
    ASSERT_TRUE(Bench_tap(bench, "checkBoxReflected"));
    ASSERT_TRUE(isStartedAgain());
    if (canBeTraced) {
        const std::string log = Bench_readFile(bench, crashLog);
        EXPECT_THAT(traceOf(log, "QuorvelPowerMet"), HasSubstr("File_")) << log;
        EXPECT_THAT(traceOf(log, "gtkThread"), HasSubstr("GdkLock")) << log;
    }
}

TEST_F(Watchdog, AProgramThatStandsStillAsAWholeIsStartedAgain) {
    startWatched(4);
    ASSERT_EQ(kill(first, SIGSTOP), 0);
    EXPECT_TRUE(isStartedAgain());
}

TEST_F(Watchdog, ARemoteLinkThatHangsIsFoundToo) {
    startWatched(4);
    ScpiClient terminal(bench, ScpiClient::Wire::commandPort);
    ASSERT_NE(terminal.ask("*IDN?"), "");
    // Where it stands still it must be at work, not about to wait.
    ASSERT_TRUE(Bench_waitUntil([this] { return isAsleep("scpiSerial"); }, screenLimit_ms));
    ASSERT_TRUE(Bench_do(bench, "freeze scpiSerial"));
    ASSERT_TRUE(terminal.send("\x04")); // an end of file, after which it pauses
    ASSERT_TRUE(isStartedAgain());
    EXPECT_EQ(Bench_countInSyslog(bench, "Thread scpiSerial gives no sign of life"), 1U);
}

TEST_F(Watchdog, ACommitThatWaitsForItsSensorIsLeftAlone) {
    startWatched(4);
    ScpiClient client(bench);
    ASSERT_EQ(client.ask("SYST:PULS ON;PULS?"), "1");
    plug("usb1", "3164 fwd=25");
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(waitForReading("pulse.valueFwd"));
    ASSERT_TRUE(Bench_do(bench, "fault usb1 silence"));
    ASSERT_TRUE(client.send("SENS:FREQ:AUTO OFF;:SENS:FREQ 15;:SYST:PULS:CONF:COMM"));
    std::string error;
    EXPECT_TRUE(Bench_waitUntil([&] { return !(error = client.ask("SYST:ERR?")).empty(); },
                                restartLimit_ms));
    EXPECT_THAT(error, HasSubstr("-220"));
    EXPECT_EQ(Bench_programId(bench), first);
    EXPECT_EQ(Bench_readFile(bench, crashLog), "");
}

TEST_F(Watchdog, WhatWaitsAsItShouldIsLeftAlone) {
    startWatched(4);
    plugFirst("usb1", "3164 fwd=25");
    plug("serial1", "5132 fwd=4");
    ASSERT_TRUE(waitForReading("lower.fwd.value"));
    ScpiClient client(bench); // which then says nothing
    ASSERT_NE(client.ask("*IDN?"), "");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 deaf"));
    ASSERT_TRUE(Bench_do(bench, "fault serial1 silence"));
    // Longer than any thread may be silent: two ports are empty, and two sensors answer nothing.
    const size_t before = Bench_countInSyslog(bench, "Thread is alive");
    constexpr size_t beats = 2 * 8; // of two threads, one each in five seconds
    ASSERT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "Thread is alive") >= before + beats; },
        restartLimit_ms));
    EXPECT_EQ(Bench_programId(bench), first);
    EXPECT_EQ(Bench_readFile(bench, crashLog), "");
    EXPECT_NE(client.ask("*IDN?"), "");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 none"));
    EXPECT_TRUE(measures("usb1", "upper.fwd.value"));
}
