#include "MeterTest.h"
#include "WorldFolder.h"

#include <algorithm>
#include <array>
#include <climits>
#include <filesystem>
#include <map>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

/// What a step of start-up is seen by: the first time that something happens to a file.
struct Trace {
    const char* step;
    const char* folder; ///< in the world
    const char* file;   ///< in the folder; empty for the folder itself
    uint32_t events;
};

/// In the order of the steps.
constexpr std::array traces = {
    Trace{"crash log", "root/tmp", "crashlog.txt", IN_CREATE},
    Trace{"mark of the start", "root/var/run", "Quorvel_autorun", IN_CREATE},
    Trace{"charger", "root/sys/devices/virtual/battery_charger/ltc4162", "configBits_raw",
          IN_MODIFY | IN_CREATE},
    Trace{"keep-on output", "root/sys/class/leds/quorvel8830k:KeepOn", "brightness", IN_MODIFY},
    Trace{"command port", "tty", "ttyS4", IN_CREATE},
    Trace{"settings", "root/etc/QuorvelPowerMeterApp", "QuorvelApplicationSettings.conf", IN_OPEN},
    Trace{"current monitors", "root/sys/class/hwmon", "", IN_OPEN},
    Trace{"identity", "root/etc/QuorvelPowerMeterApp", "QuorvelIdentity.conf", IN_OPEN},
    Trace{"remote control", "", "port.bound", IN_CREATE},
};

/// The queue of a world's events, in which they stand in their order.
class WorldEvents {
public:
    ~WorldEvents() {
        close(queue);
    }

    void watch(const std::string& world) {
        for (size_t at = 0; at < traces.size(); ++at) {
            const std::string folder = world + "/" + traces[at].folder;
            watches[at] = inotify_add_watch(queue, folder.c_str(), IN_OPEN | IN_CREATE | IN_MODIFY);
            EXPECT_GE(watches[at], 0) << folder;
        }
    }

    /// Takes what has happened. True once every trace was seen.
    bool take() {
        alignas(inotify_event) std::array<char, 16 * (sizeof(inotify_event) + NAME_MAX + 1)> piece;
        pollfd waiting{queue, POLLIN, 0};
        while (poll(&waiting, 1, 0) > 0) {
            const ssize_t count = read(queue, piece.data(), piece.size());
            for (ssize_t at = 0; at < count;) {
                const auto* event = reinterpret_cast<const inotify_event*>(piece.data() + at);
                note(*event);
                at += static_cast<ssize_t>(sizeof *event + event->len);
            }
        }
        return steps.size() == traces.size();
    }

    std::vector<std::string> steps; ///< in the order in which they were seen first

private:
    void note(const inotify_event& event) {
        const std::string file = event.len > 0 ? event.name : "";
        for (size_t at = 0; at < traces.size(); ++at) {
            if (watches[at] == event.wd && file == traces[at].file &&
                (event.mask & traces[at].events) != 0 &&
                !testing::Value(steps, testing::Contains(traces[at].step))) {
                steps.emplace_back(traces[at].step);
            }
        }
    }

    int queue = inotify_init1(IN_CLOEXEC);
    std::array<int, traces.size()> watches{};
};

/// In the order in which they are started.
constexpr std::array threadNames = {
    "gtkThread",   "sensorSerial1", "sensorSerial2", "sensorUsb1", "sensorUsb2",
    "focusThread", "batteryThread", "graphUpdate",   "hwPolling",  "powerSwitch",
    "debugPrintf", "scpiTcp",       "scpiSerial",
};

/// Those of the program's threads that have such a name, the oldest first: the system numbers
/// threads upwards, and begins anew behind its greatest number.
std::vector<std::string> threadsOf(pid_t program) {
    constexpr pid_t wrap = 1 << 22;
    std::map<pid_t, std::string> threads;
    const std::string folder = "/proc/" + std::to_string(program) + "/task";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::string name = WorldFolder_readFile(entry.path() / "comm");
        name = name.substr(0, name.find('\n'));
        const pid_t id = std::stoi(entry.path().filename());
        if (testing::Value(threadNames, testing::Contains(name))) {
            threads[id < program ? id + wrap : id] = name;
        }
    }
    std::vector<std::string> names;
    for (const auto& [id, name] : threads) {
        names.push_back(name);
    }
    return names;
}

using StartUpOrder = MeterTest;

} // namespace

TEST_F(StartUpOrder, EveryStepThatLeavesATraceComesInItsPlace) {
    WorldEvents events;
    start({.prepare = [&](const std::string& world) {
        WorldFolder_write(world, instrumentFile::settings, "powerUnitsIsdBm 0\n");
        WorldFolder_write(world, "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf",
                          "modelNumber 8830K\n");
        events.watch(world);
    }});
    EXPECT_TRUE(Bench_waitUntil([&] { return events.take(); }, readingLimit_ms));
    std::vector<std::string> expected;
    for (const Trace& trace : traces) {
        expected.emplace_back(trace.step);
    }
    EXPECT_EQ(events.steps, expected);
}

TEST_F(StartUpOrder, StepsThatAreLoggedComeInTheirPlace) {
    constexpr std::array lines = {
        "initI2CDevices",  "Using defaults",   "Application directory = ",
        "Model number = ", "Serial number = ", "GTK Displays (Initialize)",
        "Starting..."};
    start();
    std::vector<size_t> places;
    for (const char* line : lines) {
        EXPECT_TRUE(
            Bench_waitUntil([&] { return Bench_countInSyslog(bench, line) > 0; }, readingLimit_ms))
            << line;
        const std::vector<std::string> log = Bench_syslog(bench);
        places.push_back(static_cast<size_t>(std::ranges::find_if(log,
                                                                  [&](const std::string& text) {
                                                                      return text.find(line) !=
                                                                             std::string::npos;
                                                                  }) -
                                             log.begin()));
    }
    EXPECT_TRUE(std::ranges::is_sorted(places)) << testing::PrintToString(places);
}

TEST_F(StartUpOrder, ThreadsStartInTheirOrder) {
    start();
    std::vector<std::string> threads;
    EXPECT_TRUE(Bench_waitUntil(
        [&] {
            threads = threadsOf(Bench_programId(bench));
            return threads.size() == threadNames.size();
        },
        readingLimit_ms));
    EXPECT_EQ(threads, std::vector<std::string>(threadNames.begin(), threadNames.end()));
}
