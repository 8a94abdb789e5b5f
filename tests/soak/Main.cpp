// Runs the real meter on the bench for a chosen time with everything at once, and compares all that
// it says with what the bench knows to be true.

#include "Actions.h"
#include "BenchText.h"
#include "Growth.h"
#include "LegacyCheck.h"
#include "RemoteCheck.h"
#include "ScreenCheck.h"
#include "WorldFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char* usage =
    "usage: soak [--minutes N] [--protocol scpi|legacy] [--seed N] [--speed N] [--pause MS]\n"
    "  --minutes N      how long, 5 without it\n"
    "  --protocol NAME  what the command port speaks; SCPI over TCP is there in both cases\n"
    "  --seed N         the same seed gives the same actions\n"
    "  --speed N        the meter's time runs N times as fast\n"
    "  --pause MS       real time between two actions, 700 without it\n";

struct Options {
    double minutes = 5;
    SoakProtocol protocol = SoakProtocol::scpi;
    uint64_t seed = 8830;
    double speed = 1;
    int pause_ms = 700;
};

bool parse(int count, char** words, Options& options) {
    for (int at = 1; at + 1 < count; at += 2) {
        const std::string_view name = words[at];
        const std::string value = words[at + 1];
        const double number = BenchText_number(value).value_or(-1);
        if (name == "--minutes" && number > 0) {
            options.minutes = number;
        } else if (name == "--protocol" && (value == "scpi" || value == "legacy")) {
            options.protocol = value == "scpi" ? SoakProtocol::scpi : SoakProtocol::legacy;
        } else if (name == "--seed" && number >= 0) {
            options.seed = static_cast<uint64_t>(number);
        } else if (name == "--speed" && number > 0) {
            options.speed = number;
        } else if (name == "--pause" && number >= 0) {
            options.pause_ms = static_cast<int>(number);
        } else {
            return false;
        }
    }
    return count % 2 == 1;
}

/// The graphs take the most that a screen ever takes, each when it is first shown: shown once at
/// the start, they are no growth later.
bool showGraphsOnce(Soak& soak) {
    const uint32_t limit_ms = Soak_limit_ms(soak, soakTimes::layout);
    const auto becomesVisible = [&](const char* name, bool isVisible) {
        return Bench_waitForVisible(soak.bench, name, isVisible, limit_ms);
    };
    const auto touchGraphSetting = [&] {
        return Bench_tap(soak.bench, "settingsButton") && becomesVisible("checkBoxGraph", true) &&
               Bench_tap(soak.bench, "checkBoxGraph") &&
               Bench_tap(soak.bench, "appSettingsClose") &&
               becomesVisible("appSettingsClose", false);
    };
    return Bench_do(soak.bench, "plug serial1 5132") &&
           becomesVisible("sensorSettingsDialog_ok", true) &&
           Bench_tap(soak.bench, "sensorSettingsDialog_ok") && touchGraphSetting() &&
           becomesVisible("singleGraph.graph.title", true) &&
           Bench_do(soak.bench, "plug serial2 5133") &&
           becomesVisible("upperGraph.graph.title", true) &&
           becomesVisible("lowerGraph.graph.title", true) && touchGraphSetting() &&
           Bench_do(soak.bench, "unplug serial1") && Bench_do(soak.bench, "unplug serial2") &&
           Bench_waitForText(soak.bench, "noConnection.title", "No Sensor Detected", limit_ms);
}

bool begin(Soak& soak, const Options& options) {
    soak.random.seed(options.seed);
    soak.report.seed = options.seed;
    soak.protocol = options.protocol;
    soak.truth.speed = options.speed;
    const bool isLegacy = options.protocol == SoakProtocol::legacy;
    const BenchOptions benchOptions = {
        .commands = {BenchText_format("clock speed %g", options.speed)},
        .prepare =
            [isLegacy](const std::string& world) {
                WorldFolder_write(world,
                                  "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf",
                                  isLegacy ? "useLegacyRS232Commands 1\n" : "displayGraph 0\n");
            },
        .hasWatchdog = true};
    if (!Bench_start(soak.bench, benchOptions) || !showGraphsOnce(soak)) {
        return false;
    }
    soak.report.start = SoakClock::now();
    soak.supplyChanged = SoakClock::now();
    soak.truth.presenceChanged = SoakClock::now();
    soak.presenceAllowed = SoakClock::now();
    return soak.terminal.openTerminal(soak.bench.world) && RemoteCheck_begin(soak);
}

void round(Soak& soak, const Options& options) {
    Actions_do(soak);
    RemoteCheck_ask(soak);
    if (soak.protocol == SoakProtocol::legacy) {
        LegacyCheck_ask(soak);
    }
    ScreenCheck_look(soak);
    std::this_thread::sleep_for(std::chrono::milliseconds(options.pause_ms));
}

/// What a developer wants to see: the screen, the wires, the bench's state.
void leaveTraces(Soak& soak) {
    const std::string stem = BenchText_format("soak-%d", static_cast<int>(getpid()));
    Bench_savePicture(soak.bench, stem + ".png");
    std::string text;
    for (const char* port : {"serial1", "serial2", "usb1", "usb2"}) {
        Bench_do(soak.bench, std::string("log ") + port, &text);
        WorldFolder_writeFile(stem + "-" + port + ".log", text);
    }
    Bench_do(soak.bench, "status", &text);
    printf("%s\n%s", text.c_str(),
           WorldFolder_readFile(soak.bench.world + "/program.errors").c_str());
}

/// Some two dozen rests in a run, but time enough between them.
double restPeriod_s(const Options& options) {
    return std::max(90.0, options.minutes * 60 / 24);
}

void run(Soak& soak, Growth& growth, const Options& options) {
    const double end_s = options.minutes * 60;
    double nextRest_s = restPeriod_s(options);
    bool hasTraces = false;
    while (Report_elapsed_s(soak.report) < end_s && Bench_programId(soak.bench) > 0) {
        round(soak, options);
        if (!hasTraces && Report_findingCount(soak.report) > 0) {
            leaveTraces(soak);
            hasTraces = true;
        }
        if (Report_elapsed_s(soak.report) >= nextRest_s) {
            nextRest_s += restPeriod_s(options);
            Growth_checkAlive(soak);
            if (Actions_bringToRest(soak)) {
                Growth_measure(growth, soak, Report_elapsed_s(soak.report) > end_s / 4);
            }
        }
    }
    Growth_checkAlive(soak);
}

} // namespace

int main(int count, char** words) {
    Options options;
    if (!parse(count, words, options)) {
        fputs(usage, stderr);
        return EXIT_FAILURE;
    }
    Soak soak;
    Growth growth;
    if (!begin(soak, options)) {
        fputs("the meter does not start, or does not show its graphs\n", stderr);
        Bench_stop(soak.bench);
        return EXIT_FAILURE;
    }
    run(soak, growth, options);
    Bench_stop(soak.bench);
    Report_print(soak.report);
    Growth_print(growth);
    return Report_findingCount(soak.report) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
