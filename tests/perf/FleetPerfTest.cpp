// What the companion for many meters costs on one core: with crowds of meters, and against a plain
// PyVISA loop of the same run.

#include "FleetProcess.h"
#include "Report.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <regex>
#include <sched.h>
#include <thread>

namespace {

constexpr double duration_s = 10;
constexpr double shareGoal_percent = 60;
constexpr double memoryGoal_kB = 150'000;
constexpr double missedGoal = 1000; ///< one of each meter, for connecting
constexpr double growthGoal = 1.2;
constexpr double serviceGoal = 4; ///< the database's part
constexpr double pyvisaGoal = 5;  ///< see docs/fleet.md
constexpr int microseconds = 1'000'000;

struct FleetCost {
    double readings = 0;
    double missed = 0; ///< polls that were due and gave no reading
    double processorTime_s = 0;
    double memory_kB = 0; ///< the most that it had at a time
};

/// Puts this thread, and what it starts from now on, on one core, or on all again.
void useCores(bool isOne) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core) {
        if (!isOne || core == 0) {
            CPU_SET(core, &cores);
        }
    }
    sched_setaffinity(0, sizeof cores, &cores);
}

double readingsOf(const std::string& summary) {
    std::smatch found;
    return std::regex_search(summary, found, std::regex("^(\\d+) readings")) ? std::stod(found[1])
                                                                             : 0;
}

std::string text_ms(int64_t interval_ms) {
    return std::to_string(interval_ms) + "ms";
}

/// Logs all meters of a crowd for some seconds, on one core.
FleetCost costOfLog(const TestCrowd& crowd, size_t meters, int64_t interval_ms) {
    const TestFolder folder;
    std::vector<std::string> words{"quorvel-fleet", "log",
                                   "--every",       text_ms(interval_ms),
                                   "--for",         std::to_string(int(duration_s)) + "s",
                                   "--to",          folder.file("log.csv")};
    for (size_t meter = 1; meter <= meters; ++meter) {
        words.push_back(crowd.address(meter));
    }
    useCores(true);
    FleetProcess log(words);
    useCores(false);
    EXPECT_EQ(0, log.end()) << log.errors();
    const double polls =
        static_cast<double>(meters) * duration_s * 1000 / static_cast<double>(interval_ms);
    const double readings = readingsOf(FleetTest_lines(log.errors()).back());
    return {readings, std::max(polls - readings, 0.0), log.use().processorTime_s,
            log.use().memory_kB};
}

double askDatabase(const std::string& database, const std::string& query) {
    const FleetRun answer = FleetProcess_run({"/usr/bin/sqlite3", database, query});
    EXPECT_EQ(0, answer.status) << answer.errors;
    return answer.status == 0 ? std::strtod(answer.output.c_str(), nullptr) : 0;
}

/// Polls that gave no reading, as the service itself counts them: from each meter's first one on.
double gapsOf(const std::string& address) {
    constexpr const char* sum =
        "import sys, urllib.request\n"
        "lines = urllib.request.urlopen('http://' + sys.argv[1] + '/metrics')\n"
        "gaps = (line for line in lines if line.startswith(b'quorvel_reading_gaps_total{'))\n"
        "print(sum(float(line.split()[-1]) for line in gaps))";
    const FleetRun answer = FleetProcess_run({"/usr/bin/python3", "-c", sum, address});
    EXPECT_EQ(0, answer.status) << answer.errors;
    return answer.status == 0 ? std::strtod(answer.output.c_str(), nullptr) : 0;
}

/// Polls that were due before a meter's first reading: each is due once in the first interval.
double missedBeforeTheFirst(const std::string& database, int64_t interval_ms) {
    return askDatabase(database,
                       "WITH times AS (SELECT min(time_ms) AS first FROM raw GROUP BY source) "
                       "SELECT sum(max(0, (first - (SELECT min(first) FROM times)) / " +
                           std::to_string(interval_ms) + " - 1)) FROM times");
}

/// Watches them for as long, with a database.
FleetCost costOfService(const TestCrowd& crowd, size_t meters, int64_t interval_ms) {
    const TestFolder folder;
    const std::string database = folder.file("fleet.sqlite");
    const std::string address = crowd.address(meters + 1) + ":8830";
    std::string config = "listen = \"" + address + "\"\ndatabase = \"" + database +
                         "\"\nevery = \"" + text_ms(interval_ms) + "\"\n";
    for (size_t meter = 1; meter <= meters; ++meter) {
        config += "[[meter]]\naddress = \"" + crowd.address(meter) + "\"\n";
    }
    TestFolder_write(folder.file("fleet.toml"), config);
    useCores(true);
    FleetProcess service({"quorvel-fleet", "run", folder.file("fleet.toml")});
    useCores(false);
    std::this_thread::sleep_for(std::chrono::duration<double>(duration_s));
    const double gaps = gapsOf(address);
    service.signal(SIGTERM);
    EXPECT_EQ(0, service.end()) << service.errors();
    EXPECT_EQ(meters, askDatabase(database, "SELECT count(*) FROM sources"));
    return {askDatabase(database, "SELECT count(*) FROM raw"),
            gaps + missedBeforeTheFirst(database, interval_ms), service.use().processorTime_s,
            service.use().memory_kB};
}

double costOfReading_us(const FleetCost& cost) {
    return cost.processorTime_s / cost.readings * microseconds;
}

/// What a thousand meters at ten polls a second cost on one core.
void reportThousand(const char* name, const FleetCost& cost, const char* otherName,
                    const FleetCost& other) {
    constexpr double polls = 1000 * duration_s * 10;
    PerfResult_report({name, cost.processorTime_s / duration_s * 100, "%", "one core", 100,
                       PerfGoal::figureBelow, shareGoal_percent});
    PerfResult_report({"its missed polls", cost.missed, "polls", "all that were due", polls,
                       PerfGoal::figureBelow, missedGoal});
    PerfResult_report({"its memory", cost.memory_kB, "kB", otherName, other.memory_kB,
                       PerfGoal::figureBelow, memoryGoal_kB});
}

TEST(FleetPerf, AThousandMetersAtTenPollsASecondFitOnOneCore) {
    constexpr size_t meters = 1000;
    const TestCrowd crowd(meters);
    const FleetCost log = costOfLog(crowd, meters, 100);
    const FleetCost service = costOfService(crowd, meters, 100);
    ASSERT_GT(log.readings, 0);
    ASSERT_GT(service.readings, 0);
    reportThousand("log of 1,000 meters at 10 polls/s", log, "the service's", service);
    reportThousand("service with 1,000 meters at 10 polls/s", service, "the log's", log);
    PerfResult_report({"its reading", costOfReading_us(service), "us", "the log's",
                       costOfReading_us(log), PerfGoal::ratioAtMost, serviceGoal});
}

TEST(FleetPerf, AReadingCostsNoMoreAmongThousands) {
    const struct {
        const char* name;
        const char* memory;
        size_t meters;
    } rows[] = {
        {"a log's reading of 100 meters at 1 poll/s", "its memory", 100},
        {"a log's reading of 1,000 meters at 1 poll/s", "its memory", 1000},
        {"a log's reading of 5,000 meters at 1 poll/s", "its memory", 5000},
    };
    const TestCrowd crowd(rows[2].meters);
    const FleetCost ten = costOfLog(crowd, 10, 1000);
    for (const auto& row : rows) {
        const FleetCost cost = costOfLog(crowd, row.meters, 1000);
        ASSERT_GT(cost.readings, 0);
        PerfResult_report({row.name, costOfReading_us(cost), "us", "one of 10 meters",
                           costOfReading_us(ten), PerfGoal::ratioAtMost, growthGoal});
        PerfResult_report({row.memory, cost.memory_kB, "kB", "with 10 meters", ten.memory_kB,
                           PerfGoal::figureBelow, memoryGoal_kB});
    }
}

TEST(FleetPerf, ReadingsForEachSecondOfProcessorTimeAgainstAPlainPyvisaLoop) {
    constexpr size_t meters = 100;
    const TestCrowd crowd(meters);
    std::vector<std::pair<double, double>> rounds; // ratio, rate
    for (int round = 0; round < 3; ++round) {
        const FleetCost log = costOfLog(crowd, meters, 20);
        useCores(true);
        const FleetRun loop = FleetProcess_run(
            {"/usr/bin/python3", PYVISA_LOOP, crowd.address(1), std::to_string(5000)});
        useCores(false);
        ASSERT_EQ(0, loop.status) << loop.errors;
        const double rate = log.readings / log.processorTime_s;
        rounds.emplace_back(rate / std::stod(loop.output), rate);
    }
    std::ranges::sort(rounds);
    const auto [ratio, rate] = rounds[rounds.size() / 2];
    PerfResult_report({"readings for each second of processor time", rate, "readings",
                       "a plain PyVISA loop", rate / ratio, PerfGoal::ratioAtLeast, pyvisaGoal});
}

} // namespace
