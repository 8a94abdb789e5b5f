// What the meter costs, as ratios against a reference of the same run.

#include "BenchText.h"
#include "CGraphData.h"
#include "ChildProcess.h"
#include "Measure.h"
#include "Report.h"
#include "WorldFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <thread>

namespace fs = std::filesystem;

namespace {

class Perf : public testing::Test {
protected:
    void TearDown() override {
        Bench_stop(bench);
    }

    void start(const std::vector<std::string>& commands = {}) {
        ASSERT_TRUE(Bench_start(bench, {.commands = commands}));
    }

    Bench bench;
};

/// The value that a tenth of all stays below: what the meter needs when the machine does not make
/// it wait.
double lowerTenth(std::vector<double> values) {
    if (values.empty()) {
        return -1;
    }
    std::ranges::sort(values);
    return values[values.size() / 10];
}

/// Times from one message to a sensor that begins like this to the next one: the measuring cycles.
std::vector<double> cycleTimes_ms(const std::string& log, std::string_view beginning) {
    std::vector<double> times;
    double last_s = -1;
    for (const std::string_view line : BenchText_split(log, '\n')) {
        const auto words = BenchText_words(line);
        if (words.size() > 3 && words[2] == "->" && words[3].starts_with(beginning)) {
            const double time_s = BenchText_number(words[1]).value_or(0);
            if (last_s >= 0) {
                times.push_back((time_s - last_s) * 1000);
            }
            last_s = time_s;
        }
    }
    return times;
}

/// Resident memory once start-up is over: it has not changed for a second.
double settledMemory_kB(const Bench& bench) {
    long last_kB = 0;
    for (int second = 0; second < 10; ++second) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const long now_kB = Bench_programUse(bench).resident_kB;
        if (now_kB == last_kB) {
            break;
        }
        last_kB = now_kB;
    }
    return static_cast<double>(last_kB);
}

std::string ownFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

} // namespace

TEST_F(Perf, ASerialMeasuringCycleTakesLittleMoreThanItsBytes) {
    start();
    ASSERT_TRUE(Measure_plugAndMeasure(bench, "serial1 5132 fwd=25", "single.fwd.value"));
    std::string log;
    std::vector<double> times;
    const auto isEnough = [&] {
        Bench_do(bench, "log serial1", &log);
        times = cycleTimes_ms(log, "46"); // the letter that asks for the forward power
        return times.size() >= 200;
    };
    ASSERT_TRUE(Bench_waitUntil(isEnough, 30000));
    // One letter and four bytes for each of four readings, and the synchronisation.
    constexpr double bytes = 4 * 5 + 2;
    constexpr double wire_ms = bytes * 10 / 9600 * 1000;
    const double cycle_ms = lowerTenth(times);
    PerfResult_report({"serial measuring cycle", cycle_ms, "ms", "its bytes at 9600 baud", wire_ms,
                       PerfGoal::ratioAtMost, 1.05});
}

TEST_F(Perf, AUsbMeasuringCycleAddsLittleToItsExchanges) {
    // A sensor that has measured at once: what is left of a cycle are the exchanges and the waits.
    constexpr const char* sensor = "plug usb1 3164 fwd=25 period=1ms width=250us measuring=0s";
    // After the trigger, after its completion, and at the cycle's end.
    constexpr double waits_ms = 10 + 50 + 20;
    constexpr size_t enough = 50;
    std::string log;
    std::vector<double> times;
    const auto hasEnough = [&] {
        Bench_do(bench, "log usb1", &log);
        times = cycleTimes_ms(log, "INIT");
        return times.size() >= enough;
    };
    // The reference first: its program ends by itself, so what the bench noted is read at once.
    ASSERT_TRUE(Bench_start(bench, {.commands = {sensor},
                                    .program = ownFolder() + "/perf_bare_exchanges",
                                    .waitsForScreen = false}));
    ASSERT_TRUE(Bench_waitUntil(hasEnough, 10000));
    const double bare_ms = lowerTenth(times) - waits_ms;
    Bench_stop(bench);

    start();
    ASSERT_TRUE(Measure_plugAndMeasure(bench, std::string(sensor).substr(5), "single.fwd.value"));
    ASSERT_TRUE(Bench_waitUntil(hasEnough, 30000));
    const double meter_ms = lowerTenth(times) - waits_ms;
    PerfResult_report({"USB measuring cycle, its waits apart", meter_ms, "ms",
                       "the same exchanges with nothing in between", bare_ms, PerfGoal::ratioAtMost,
                       1.2});
}

TEST_F(Perf, WaitingCostsNoProcessorTime) {
    constexpr double watched_s = 5;
    constexpr double goal_percent = 1;
    const struct {
        const char* what;
        const char* missing;
    } cases[] = {
        {"processor time without a sensor", nullptr},
        {"the same, /dev/ttyS1 missing", "/dev/ttyS1"},
        {"the same, /dev/ttyS2 missing", "/dev/ttyS2"},
        {"the same, /dev/ttyS4 missing", "/dev/ttyS4"},
        {"the same, /dev/input/event0 missing", "/dev/input/event0"},
        {"the same, current monitors missing", "/sys/class/hwmon"},
        {"the same, charger missing", "/sys/devices/virtual/battery_charger"},
        {"the same, fuel gauge missing", "/sys/class/power_supply"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> commands;
        if (c.missing != nullptr) {
            commands.push_back(std::string("remove ") + c.missing);
        }
        // A meter that serves SCPI does not start without its command port.
        ASSERT_TRUE(Bench_start(
            bench, {.commands = commands, .prepare = [](const std::string& world) {
                        WorldFolder_write(
                            world, "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf",
                            "useLegacyRS232Commands 1\n");
                    }}));
        const double share = Measure_processorShare(bench, watched_s);
        PerfResult_report(
            {c.what, share, "%", "one core", 100, PerfGoal::figureBelow, goal_percent});
        Bench_stop(bench);
    }
}

TEST_F(Perf, TwoSensorsWithAFluctuatingSignalCostLittle) {
    constexpr double goal_percent = 3;
    start();
    ASSERT_TRUE(Measure_plugAndMeasure(bench, "serial1 5134 fwd=walk:0.1:3000:2s rfl=walk:0:2:1s",
                                       "single.fwd.value"));
    ASSERT_TRUE(Measure_plugAndMeasure(bench, "serial2 5134 fwd=walk:1:900:1s rfl=walk:0:50:2s",
                                       "lower.fwd.value"));
    const double share = Measure_processorShare(bench, 10);
    PerfResult_report({"processor time with two sensors, fluctuating", share, "%", "one core", 100,
                       PerfGoal::figureBelow, goal_percent});
}

TEST_F(Perf, NoGuiPassIsLong) {
    constexpr double goal_ms = 15;
    constexpr double period_ms = 300;
    start();
    ASSERT_TRUE(Measure_plugAndMeasure(bench, "serial1 5134 fwd=walk:0.1:3000:2s rfl=walk:0:2:1s",
                                       "single.fwd.value"));
    ASSERT_TRUE(Measure_plugAndMeasure(bench, "serial2 5134 fwd=walk:1:900:1s rfl=walk:0:50:2s",
                                       "lower.fwd.value"));
    // The thread sleeps 300 ms after each pass: processor time that comes in one burst is one pass.
    int64_t last_ns = Measure_threadTime_ns(bench, "gtkThread");
    ASSERT_GE(last_ns, 0) << "no thread of that name";
    int64_t burst_ns = 0;
    int64_t longest_ns = 0;
    int quiet = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const int64_t now_ns = Measure_threadTime_ns(bench, "gtkThread");
        quiet = now_ns == last_ns ? quiet + 1 : 0;
        burst_ns = quiet >= 5 ? 0 : burst_ns + now_ns - last_ns;
        longest_ns = std::max(longest_ns, burst_ns);
        last_ns = now_ns;
    }
    const double longest_ms = static_cast<double>(longest_ns) / 1e6;
    PerfResult_report({"longest pass of the screens", longest_ms, "ms", "its period", period_ms,
                       PerfGoal::figureBelow, goal_ms});
}

TEST_F(Perf, MemoryStaysSmallAndDoesNotGrow) {
    constexpr double goal_kB = 40 * 1024;
    constexpr double buffers_kB = 2 * sizeof(CGraphData) / 1024.0;
    // Nobody asks for the screen's content here: that would take memory of its own.
    ASSERT_TRUE(Bench_start(
        bench, {.program = ownFolder() + "/perf_bare_window", .waitsForScreen = false}));
    const double bare_kB = settledMemory_kB(bench);
    Bench_stop(bench);

    ASSERT_TRUE(Bench_start(bench, {.waitsForScreen = false}));
    const double start_kB = settledMemory_kB(bench) - buffers_kB;
    PerfResult_report({"resident memory after start, samples apart", start_kB, "kB",
                       "a bare GTK window", bare_kB, PerfGoal::figureBelow, goal_kB});

    // At 20 times the speed, ten minutes pass in half one; with QUORVEL_PERF_HOUR a whole hour
    // does.
    ASSERT_TRUE(Measure_plugAndMeasure(bench,
                                       "serial1 5134 fwd=walk:0.1:3000:2s rfl=walk:0:2:1s "
                                       "baud=unlimited",
                                       "single.fwd.value"));
    ASSERT_TRUE(Bench_do(bench, "clock speed 20"));
    std::this_thread::sleep_for(std::chrono::seconds(15));
    const double before_kB = static_cast<double>(Bench_programUse(bench).resident_kB);
    const bool isWholeHour = getenv("QUORVEL_PERF_HOUR") != nullptr;
    std::this_thread::sleep_for(std::chrono::seconds(isWholeHour ? 180 : 30));
    const double after_kB = static_cast<double>(Bench_programUse(bench).resident_kB);
    // Half a megabyte is what the allocator's own pages come and go by.
    PerfResult_report({isWholeHour ? "resident memory after an hour at 20 times the speed"
                                   : "resident memory after ten minutes at 20 times the speed",
                       after_kB, "kB", "before", before_kB, PerfGoal::excessAtMost, 512});
}

TEST_F(Perf, TheFirstScreenIsThereAtOnce) {
    constexpr double goal_ms = 300;
    constexpr int rounds = 5;
    // The bench gives screen and hardware; the programs are started one after the other.
    ASSERT_TRUE(Bench_start(
        bench, {.program = "/bin/sleep", .programArguments = {"1000"}, .waitsForScreen = false}));
    std::string display = WorldFolder_readFile(bench.world + "/display");
    display = display.substr(0, display.find('\n'));
    const auto paintTime_ms = [&](const std::string& program) {
        const pid_t child =
            ChildProcess_start({ownFolder() + "/" + program},
                               {{"LD_PRELOAD", ownFolder() + "/../lib/libquorvelbench.so"},
                                {"QUORVEL_BENCH", bench.world},
                                {"GDK_BACKEND", "x11"},
                                {"DISPLAY", display}});
        const double time_ms = Measure_untilPainted_ms(display);
        ChildProcess_kill(child, SIGKILL);
        return time_ms;
    };
    std::vector<double> meter_ms;
    std::vector<double> bare_ms;
    for (int round = 0; round < rounds; ++round) {
        meter_ms.push_back(paintTime_ms("QuorvelPowerMeterApp"));
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        bare_ms.push_back(paintTime_ms("perf_bare_window"));
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    ASSERT_GT(*std::ranges::min_element(meter_ms), 0);
    PerfResult_report({"start to the first painted screen", lowerTenth(meter_ms), "ms",
                       "a bare GTK window", lowerTenth(bare_ms), PerfGoal::figureBelow, goal_ms});
}

TEST(PerfGraph, ChangingTheFilterOfAFullBufferIsQuick) {
    constexpr double goal_ms = 10;
    const auto graph = std::make_unique<CGraphData>();
    CGraphData_create(graph.get(), graphMaxFilterWidth);
    for (uint32_t sample = 0; sample < graphRawCapacity; ++sample) {
        CGraphData_addItem(graph.get(), static_cast<float>(std::sin(sample * 0.01) + 2));
    }
    std::vector<double> times_ms;
    std::vector<double> copies_ms;
    for (const uint32_t width : {2U, 63U, 5U, 64U, 2U}) {
        const auto start = std::chrono::steady_clock::now();
        CGraphData_setFilterWidth(graph.get(), width);
        const auto middle = std::chrono::steady_clock::now();
        const auto copy = std::make_unique<CGraphData>(*graph);
        const auto end = std::chrono::steady_clock::now();
        times_ms.push_back(std::chrono::duration<double, std::milli>(middle - start).count());
        copies_ms.push_back(std::chrono::duration<double, std::milli>(end - middle).count());
        EXPECT_EQ(copy->filterWidth, width);
    }
    PerfResult_report({"new filter width on a full buffer", lowerTenth(times_ms), "ms",
                       "copying the buffer", lowerTenth(copies_ms), PerfGoal::figureBelow,
                       goal_ms});
}
