// What the machine under the meter can do to it.

#include "BenchFaults.h"
#include "MeterTest.h"
#include "ScpiClient.h"
#include "WorldFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/resource.h>

namespace {

using testing::HasSubstr;

constexpr const char* settingsFolder = "/etc/QuorvelPowerMeterApp";
constexpr const char* settingsFile = "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";

class SystemFaults : public MeterTest {
protected:
    void startMeasuring() {
        start({.commands = {"clock speed 2"}});
        plugFirst("serial1", "5132 fwd=25 rfl=0.5");
    }
    /// Steps the kind of match that is shown, which is a setting.
    void stepMatch(const char* caption) {
        ASSERT_TRUE(Bench_tap(bench, "single.match.captionButton"));
        EXPECT_TRUE(shows("single.match.caption", caption));
    }
    bool settingsSay(const std::string& line) {
        return Bench_readFile(bench, settingsFile).find(line) != std::string::npos;
    }
    /// The lowest number that the program's next descriptor can have, whatever it opens and closes
    /// now and then.
    rlim_t lowestFreeDescriptor() {
        const std::string folder = "/proc/" + std::to_string(Bench_programId(bench)) + "/fd/";
        constexpr double several_ms = 2000; // of its polls of its files
        const Stopwatch watch;
        rlim_t lowest = RLIM_INFINITY;
        const auto isSeenOften = [&] {
            rlim_t fd = 0;
            while (std::filesystem::is_symlink(folder + std::to_string(fd))) {
                ++fd;
            }
            lowest = std::min(lowest, fd);
            return watch.elapsed_ms() > several_ms;
        };
        EXPECT_TRUE(Bench_waitUntil(isSeenOften, screenLimit_ms));
        return lowest;
    }
    /// The program can open nothing more. Returns what it could have before.
    rlimit takeFreeDescriptors() {
        rlimit before{};
        EXPECT_EQ(prlimit(Bench_programId(bench), RLIMIT_NOFILE, nullptr, &before), 0);
        const rlimit tight{lowestFreeDescriptor(), before.rlim_max};
        EXPECT_EQ(prlimit(Bench_programId(bench), RLIMIT_NOFILE, &tight, nullptr), 0);
        return before;
    }
    void giveDescriptors(const rlimit& limit) {
        EXPECT_EQ(prlimit(Bench_programId(bench), RLIMIT_NOFILE, &limit, nullptr), 0);
    }
    static std::string program() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path() /
               "QuorvelPowerMeterApp";
    }
    /// How often the meter said that it could not save.
    size_t timesTold() {
        return Bench_countInSyslog(bench, std::string("Unable to open settings file ") +
                                              settingsFile + " for writing");
    }
    /// The virtual X server, a child of the bench.
    pid_t screenServer() {
        const std::string tool = std::to_string(bench.tool);
        const std::string children =
            WorldFolder_readFile("/proc/" + tool + "/task/" + tool + "/children");
        std::istringstream list(children);
        for (pid_t child = 0; list >> child;) {
            if (WorldFolder_readFile("/proc/" + std::to_string(child) + "/comm") == "Xvfb\n") {
                return child;
            }
        }
        return 0;
    }
    /// How often the first sensor has been identified: more than once if a step of its protocol
    /// failed.
    size_t identifications() {
        const std::string log = logOf("serial1", 0);
        size_t found = 0;
        for (size_t at = log.find("-> 49  I"); at != std::string::npos;
             at = log.find("-> 49  I", at + 1)) {
            ++found;
        }
        return found;
    }
    /// How far the meter's clock has come beyond the last beginning of its 32-bit count.
    double sinceWrap_ms() {
        std::string status;
        EXPECT_TRUE(Bench_do(bench, "status", &status));
        const char* const label = "ahead=";
        const size_t at = status.find(label);
        EXPECT_NE(at, std::string::npos);
        const double ahead_ms =
            std::strtod(status.c_str() + at + std::strlen(label), nullptr) * 1000;
        return std::fmod(realWallClock_ms() + ahead_ms, wrap_ms);
    }
    static double realWallClock_ms() {
        return std::chrono::duration<double, std::milli>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    static constexpr double wrap_ms = 4294967296.0;
};

} // namespace

TEST_F(SystemFaults, ASettingThatCannotBeSavedIsKeptAndTheNextOneIsSaved) {
    startMeasuring();
    const struct {
        BenchFault fault;
        const char* path;
        int error;
    } cases[] = {{BenchFault::full, settingsFolder, ENOSPC},
                 {BenchFault::change, settingsFolder, EROFS},
                 {BenchFault::change, "/etc", EACCES},
                 {BenchFault::sync, settingsFile, EIO}};
    // VSWR, return loss, reflection coefficient, and round again.
    const struct {
        const char* caption;
        const char* line;
    } kinds[] = {{"VSWR:", "matchMeasurementType 0"},
                 {"RL:", "matchMeasurementType 1"},
                 {"RHO:", "matchMeasurementType 2"}};
    size_t kind = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.path) + ": " + strerror(c.error));
        const std::string before = Bench_readFile(bench, settingsFile);
        const size_t told = timesTold();
        ASSERT_TRUE(BenchFaults_add(bench.world.c_str(), c.fault, c.path, c.error));
        kind = (kind + 1) % std::size(kinds);
        ASSERT_NO_FATAL_FAILURE(stepMatch(kinds[kind].caption));
        EXPECT_TRUE(Bench_waitUntil([&] { return timesTold() == told + 1; }, screenLimit_ms));
        EXPECT_EQ(Bench_readFile(bench, settingsFile), before);
        EXPECT_TRUE(BenchFaults_clear(bench.world.c_str()));
        kind = (kind + 1) % std::size(kinds);
        ASSERT_NO_FATAL_FAILURE(stepMatch(kinds[kind].caption));
        EXPECT_TRUE(Bench_waitUntil([&] { return settingsSay(kinds[kind].line); }, screenLimit_ms));
    }
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
}

TEST_F(SystemFaults, AFolderThatWasLostIsMadeAgain) {
    startMeasuring();
    std::filesystem::remove_all(WorldFolder_path(bench.world, settingsFolder));
    ASSERT_NO_FATAL_FAILURE(stepMatch("RL:"));
    EXPECT_TRUE(
        Bench_waitUntil([&] { return settingsSay("matchMeasurementType 1"); }, screenLimit_ms));
    EXPECT_EQ(timesTold(), 0U);
}

TEST_F(SystemFaults, AClientIsServedOnceThereAreFreeDescriptors) {
    start();
    const rlimit before = takeFreeDescriptors();
    const double processorTime_s = Bench_programUse(bench).processorTime_s;
    const Stopwatch watch;
    ScpiClient client(bench);
    ASSERT_TRUE(client.isConnected());
    EXPECT_EQ(client.ask("*IDN?"), "");
    // Whoever has to wait does not ask without pause.
    EXPECT_LT(Bench_programUse(bench).processorTime_s - processorTime_s,
              0.8 * watch.elapsed_ms() / 1000);
    giveDescriptors(before);
    EXPECT_THAT(client.ask("*OPC?"), HasSubstr("8830K"));
}

TEST_F(SystemFaults, SensorsAreFoundOnceThereAreFreeDescriptors) {
    start({.commands = {"clock speed 2"}});
    const rlimit before = takeFreeDescriptors();
    const pid_t program = Bench_programId(bench);
    plug("serial1", "5132 fwd=25");
    plug("usb1", "3164 fwd=9");
    // Several polls for sensors, of which nobody can be told: the bench's own channel to the screen
    // needs a descriptor, too.
    const Stopwatch watch;
    Bench_waitUntil([&] { return watch.elapsed_ms() > 2000; }, 3000);
    giveDescriptors(before);
    ASSERT_TRUE(chooseChannel(1));
    EXPECT_TRUE(waitForReading("upper.fwd.value"));
    EXPECT_TRUE(waitForReading("lower.fwd.value"));
    EXPECT_EQ(Bench_programId(bench), program);
}

TEST_F(SystemFaults, AScreenServerThatEndsTakesTheMeterAlong) {
    startMeasuring();
    const pid_t server = screenServer();
    ASSERT_GT(server, 0);
    ASSERT_EQ(kill(server, SIGKILL), 0);
    const auto status = Bench_waitForEnd(bench, readingLimit_ms);
    ASSERT_TRUE(status.has_value());
    EXPECT_NE(*status, 0) << "what starts it again looks at the status";
}

TEST_F(SystemFaults, AClockThatIsSteppedByHoursIsNotNoticed) {
    startMeasuring();
    setSpeed(slowly); // a raced clock lets a busy machine's replies come too late
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    const size_t before = identifications();
    ScpiClient client(bench);
    for (const char* step : {"3h", "-26h", "48h"}) {
        ASSERT_TRUE(Bench_do(bench, std::string("clock step ") + step));
        EXPECT_TRUE(measures("serial1", "single.fwd.value")) << step;
        EXPECT_EQ(client.ask("*OPC?"), "1") << step;
    }
    EXPECT_EQ(identifications(), before);
    EXPECT_EQ(Bench_countInSyslog(bench, "USER_WARNING"), 0U);
}

TEST_F(SystemFaults, TheWrapOfThe32BitClockIsNotNoticed) {
    // The meter comes up before its clock of milliseconds begins at zero again. The last seconds
    // and the first ones pass slowly: replies that a busy machine keeps must not come too late.
    constexpr double early_ms = 120'000;
    constexpr double slow_ms = 4000;
    constexpr double late_ms = 2000;
    const double before_ms = wrap_ms - std::fmod(realWallClock_ms(), wrap_ms) - early_ms;
    start({.commands = {"clock step " + std::to_string(std::lround(before_ms / 1000)) + "s",
                        "clock speed 2"}});
    plugFirst("serial1", "5132 fwd=25");
    double left_ms = wrap_ms - sinceWrap_ms();
    ASSERT_LE(left_ms, early_ms) << "the meter was measuring too late";
    while (left_ms > slow_ms && !HasFailure()) {
        setSpeed(left_ms / slow_ms); // it would take a real four seconds to pass the wrap unseen
        left_ms = wrap_ms - sinceWrap_ms();
    }
    setSpeed(slowly);
    EXPECT_TRUE(measures("serial1", "single.fwd.value")); // and has got over the race
    const size_t before = identifications();
    ASSERT_LT(wrap_ms - sinceWrap_ms(), slow_ms) << "the wrap is over";
    bool isOver = false;
    while (!isOver && !HasFailure()) {
        EXPECT_TRUE(measures("serial1", "single.fwd.value"));
        isOver = sinceWrap_ms() > late_ms && sinceWrap_ms() < early_ms;
    }
    EXPECT_EQ(identifications(), before);
    EXPECT_EQ(Bench_countInSyslog(bench, "USER_WARNING"), 0U);
}

TEST_F(SystemFaults, AnIgnoredSigchldDoesNotRepeatTheSwitchingOff) {
    start({.commands = {"clock speed 10"},
           .program = "/usr/bin/env",
           .programArguments = {"--ignore-signal=CHLD", program()}});
    ASSERT_TRUE(Bench_do(bench, "switch"));
    // The thread carries on polling; a command that seems to have failed would be repeated.
    ASSERT_TRUE(Bench_waitUntil(
        [&] { return Bench_countInSyslog(bench, "shutdown signal detected...") >= 12; },
        readingLimit_ms));
    EXPECT_EQ(Bench_commands(bench), std::vector<std::string>{"shutdown"});
}

TEST_F(SystemFaults, WhatIsMeantForClosedStandardDescriptorsGoesToNoPort) {
    start(
        {.program = "/bin/sh", .programArguments = {"-c", "exec \"$0\" <&- >&- 2>&-", program()}});
    plugFirst("serial1", "5132 fwd=25");
    const std::string folder = "/proc/" + std::to_string(Bench_programId(bench)) + "/fd/";
    for (const char* descriptor : {"0", "1", "2"}) {
        EXPECT_EQ(std::filesystem::read_symlink(folder + descriptor), "/dev/null") << descriptor;
    }
    EXPECT_TRUE(shows("single.fwd.value", "  25.00"));
}

TEST_F(SystemFaults, ATraceThatNobodyReadsHoldsNothingUp) {
    start({.commands = {"clock speed 2"}, .prepare = [](const std::string& world) {
               WorldFolder_write(world, "/tmp/debug", "");
               WorldFolder_write(world, "/tmp/logConfig",
                                 "None\nThreadMonitor\nSensorCommunications\nSensorDetection\n"
                                 "BatteryMonitor\n");
           }});
    constexpr int smallPipe = 4096;
    fcntl(bench.output, F_SETPIPE_SZ, smallPipe);
    plugFirst("serial1", "5132 fwd=25");
    const auto isPipeFull = [&] {
        constexpr int longestLine = 256;
        int waiting = 0;
        return ioctl(bench.output, FIONREAD, &waiting) == 0 && waiting > smallPipe - longestLine;
    };
    ASSERT_TRUE(Bench_waitUntil(isPipeFull, readingLimit_ms));
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    ASSERT_TRUE(Bench_do(bench, "switch"));
    EXPECT_TRUE(Bench_waitUntil([&] { return !Bench_commands(bench).empty(); }, readingLimit_ms));
}
