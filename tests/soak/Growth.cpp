#include "Growth.h"

#include "BenchText.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

/// What libraries take now and then; a leak of a hundred bytes a second is more in an hour.
constexpr long libraries_kB = 4096;
/// Idle threads of the libraries' own pools come and go.
constexpr int poolThreads = 2;
constexpr double replyLimit = 12; ///< two replies that never come, on the meter's clock
/// Threads beat every 5 s; two beats may be late.
constexpr double heartbeatLimit = 15;

/// A handler may still wait for a reply of the sensor that has just been pulled, and holds its port
/// open so long: descriptors above the start's are given the time to go.
ProgramUse useAtRest(const Soak& soak, const std::optional<ProgramUse>& start) {
    ProgramUse last = Bench_programUse(soak.bench);
    const auto isSteady = [&] {
        const ProgramUse now = Bench_programUse(soak.bench);
        const bool isSame = now.threads == last.threads && now.descriptors == last.descriptors;
        last = now;
        return isSame && (!start || now.descriptors <= start->descriptors);
    };
    Bench_waitUntil(isSteady, Soak_limit_ms(soak, replyLimit));
    return last;
}

void expectAtMost(Soak& soak, const char* what, long now, long start, long margin) {
    Report_checked(soak.report, std::string("growth of ") + what);
    if (now > start + margin) {
        Report_finding(soak.report, std::string("growth of ") + what,
                       BenchText_format("%ld, %ld at the start", now, start));
    }
}

/// The end of the system log: enough for all heartbeats of the last minute.
std::string endOfSyslog(const Soak& soak) {
    constexpr std::streamoff enough = 200000;
    std::ifstream file(soak.bench.world + "/syslog", std::ios::binary | std::ios::ate);
    const std::streamoff size = file.tellg();
    const std::streamoff from = std::max<std::streamoff>(0, size - enough);
    std::string text(static_cast<size_t>(std::max<std::streamoff>(0, size - from)), '\0');
    file.seekg(from);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}

/// The last sign of life of a thread, by its source file; empty when there is none.
std::string lastHeartbeat(const Soak& soak, const std::string& file) {
    const std::string text = endOfSyslog(soak);
    const std::string beginning = "DIAGNOSTIC:" + file;
    for (size_t at = text.rfind(beginning); at != std::string::npos;
         at = at == 0 ? std::string::npos : text.rfind(beginning, at - 1)) {
        const std::string line = text.substr(at, text.find('\n', at) - at);
        if (line.find("alive at ") != std::string::npos) {
            return line;
        }
    }
    return {};
}

/// Threads that must run for as long as the meter does.
void checkThreads(Soak& soak) {
    std::vector<std::string> required = {"gtkThread",     "sensorSerial1", "sensorSerial2",
                                         "sensorUsb1",    "sensorUsb2",    "focusThread",
                                         "batteryThread", "graphUpdate",   "hwPolling",
                                         "powerSwitch",   "debugPrintf",   "scpiTcp"};
    if (soak.protocol == SoakProtocol::scpi) {
        required.emplace_back("scpiSerial");
    } else {
        required.insert(required.end(), {"commandInput", "commandOutput"});
    }
    const std::string folder = "/proc/" + std::to_string(Bench_programId(soak.bench)) + "/task";
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        std::string name;
        std::getline(std::ifstream(it->path() / "comm") >> std::ws, name);
        std::erase(required, name);
    }
    for (const std::string& name : required) {
        Report_finding(soak.report, "thread", name + " does not run");
    }
    Report_checked(soak.report, "threads by their names");
}

} // namespace

void Growth_measure(Growth& growth, Soak& soak, bool isWarm) {
    growth.last = useAtRest(soak, growth.start);
    ++growth.restCount;
    growth.most.threads = std::max(growth.most.threads, growth.last.threads);
    growth.most.descriptors = std::max(growth.most.descriptors, growth.last.descriptors);
    growth.most.resident_kB = std::max(growth.most.resident_kB, growth.last.resident_kB);
    growth.most.own_kB = std::max(growth.most.own_kB, growth.last.own_kB);
    if (!growth.start && isWarm) {
        growth.start = growth.last;
    }
    printf("%8.0f s at rest: %d threads, %d descriptors, %ld kB (%ld of its own), "
           "%.1f s of processor time\n",
           Report_elapsed_s(soak.report), growth.last.threads, growth.last.descriptors,
           growth.last.resident_kB, growth.last.own_kB, growth.last.processorTime_s);
    fflush(stdout);
    if (growth.start) {
        expectAtMost(soak, "memory (kB)", growth.last.own_kB, growth.start->own_kB, libraries_kB);
        expectAtMost(soak, "descriptors", growth.last.descriptors, growth.start->descriptors, 0);
        expectAtMost(soak, "threads", growth.last.threads, growth.start->threads, poolThreads);
    }
}

void Growth_checkAlive(Soak& soak) {
    if (Bench_programId(soak.bench) <= 0) {
        Report_finding(soak.report, "the meter", "has ended");
        return;
    }
    if (Bench_countInSyslog(soak.bench, "gives no sign of life") > 0) {
        Report_finding(soak.report, "watchdog", "a thread was missed");
    }
    checkThreads(soak);
    for (const char* file : {"GtkThread.cpp", "GraphUpdateThread.cpp", "HwPollingThread.cpp"}) {
        const std::string last = lastHeartbeat(soak, file);
        const auto hasBeaten = [&] {
            const std::string now = lastHeartbeat(soak, file);
            return !now.empty() && now != last;
        };
        if (!Bench_waitUntil(hasBeaten, Soak_limit_ms(soak, heartbeatLimit))) {
            Report_finding(soak.report, "heartbeat", std::string(file) + " has no more");
        }
        Report_checked(soak.report, "heartbeat");
    }
}

void Growth_print(const Growth& growth) {
    const ProgramUse start = growth.start.value_or(growth.last);
    printf("\nAt rest (%d times)      start        end       most\n", growth.restCount);
    printf("  resident memory (kB) %8ld %10ld %10ld\n", start.resident_kB, growth.last.resident_kB,
           growth.most.resident_kB);
    printf("  of its own (kB)      %8ld %10ld %10ld\n", start.own_kB, growth.last.own_kB,
           growth.most.own_kB);
    printf("  descriptors          %8d %10d %10d\n", start.descriptors, growth.last.descriptors,
           growth.most.descriptors);
    printf("  threads              %8d %10d %10d\n", start.threads, growth.last.threads,
           growth.most.threads);
    fflush(stdout);
}
