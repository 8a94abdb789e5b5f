#include "MeterTest.h"

#include <regex>
#include <sstream>

using testing::HasSubstr;
using testing::Not;

namespace {

using Logging = MeterTest;

size_t countMatches(const std::vector<std::string>& lines, const std::string& pattern) {
    const std::regex expression(pattern);
    return static_cast<size_t>(
        std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
            return std::regex_search(line, expression);
        }));
}

size_t countMatches(const std::string& text, const std::string& pattern) {
    const std::regex expression(pattern);
    return static_cast<size_t>(
        std::distance(std::sregex_iterator(text.begin(), text.end(), expression), {}));
}

/// Moments on the meter's clock, in the order of the lines.
std::vector<long> heartbeats_ms(const std::vector<std::string>& lines, const std::string& pattern) {
    const std::regex expression(pattern);
    std::vector<long> moments;
    for (const std::string& line : lines) {
        std::smatch match;
        if (std::regex_search(line, match, expression)) {
            moments.push_back(std::stol(match[1]));
        }
    }
    return moments;
}

/// A machine that stands still lengthens one of two intervals, but shortens none.
constexpr size_t beatsForTwoIntervals = 3;

void expectABeatEveryFiveSeconds(const std::vector<std::string>& lines,
                                 const std::string& pattern) {
    const std::vector<long> moments = heartbeats_ms(lines, pattern);
    ASSERT_GE(moments.size(), beatsForTwoIntervals) << pattern;
    const auto [shorter, longer] = std::minmax({moments[1] - moments[0], moments[2] - moments[1]});
    EXPECT_GE(shorter, 5000) << pattern;
    EXPECT_LT(shorter, 7500) << pattern << " " << longer;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream all(text);
    for (std::string line; std::getline(all, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

TEST_F(Logging, EveryThreadTellsThatItIsAliveEveryFiveSeconds) {
    start({.prepare = [this](const std::string&) {
        ASSERT_TRUE(Bench_writeFile(bench, "/tmp/debug", ""));
        ASSERT_TRUE(Bench_writeFile(bench, "/tmp/logConfig", "ThreadMonitor\n"));
    }});
    // "%ul" prints the digits and an l.
    const struct {
        const char* syslogLine;
        size_t least;
    } diagnostics[] = {
        {R"(^<7> DIAGNOSTIC:GtkThread\.cpp:\d+:\w+\(\): Thread is alive at (\d+)l ms\.\\n\\n$)",
         beatsForTwoIntervals},
        {R"(^<7> DIAGNOSTIC:GraphUpdateThread\.cpp:\d+:\w+\(\): Thread is alive at (\d+)l ms\.\\n\\n$)",
         beatsForTwoIntervals},
        {R"(^<7> DIAGNOSTIC:HwPollingThread\.cpp:\d+:\w+\(\): hwPollingThread: Thread is alive at (\d+)l ms\.\\n\\n$)",
         beatsForTwoIntervals},
    };
    const struct {
        const char* traceLine;
        size_t least;
    } traces[] = {
        {R"(focusThread: Thread is alive at (\d+)l ms\.\n)", beatsForTwoIntervals},
        {R"(batteryThread: Thread is alive at (\d+)l ms\.\n)", beatsForTwoIntervals},
        {R"(focusThread: focus restored = [01]\n)", 2},
        {R"(gtkThread: gtkThread loop count = \d+\n)", 35},
    };
    const auto isComplete = [&] {
        const auto lines = Bench_syslog(bench);
        const std::string& printed = Bench_output(bench);
        return std::all_of(
                   std::begin(diagnostics), std::end(diagnostics),
                   [&](const auto& d) { return countMatches(lines, d.syslogLine) >= d.least; }) &&
               std::all_of(std::begin(traces), std::end(traces), [&](const auto& t) {
                   return countMatches(printed, t.traceLine) >= t.least;
               });
    };
    Bench_waitUntil(isComplete, readingLimit_ms);
    for (const auto& d : diagnostics) {
        expectABeatEveryFiveSeconds(Bench_syslog(bench), d.syslogLine);
    }
    for (const char* thread : {"focusThread", "batteryThread"}) {
        expectABeatEveryFiveSeconds(linesOf(Bench_output(bench)),
                                    std::string(thread) + R"(: Thread is alive at (\d+)l ms\.$)");
    }
    for (const auto& t : traces) {
        EXPECT_GE(countMatches(Bench_output(bench), t.traceLine), t.least) << t.traceLine;
    }
}

TEST_F(Logging, ThePowerSwitchThreadTellsThatItIsAliveWhenItComesRound) {
    start({.commands = {"remove /dev/input/event0"}, .prepare = [this](const std::string&) {
               ASSERT_TRUE(Bench_writeFile(bench, "/tmp/debug", ""));
               ASSERT_TRUE(Bench_writeFile(bench, "/tmp/logConfig", "ThreadMonitor\n"));
           }});
    const auto isAlive = [&] {
        return countMatches(Bench_output(bench),
                            R"(softPowerSwitchPollingThread: Thread is alive at \d+l ms\.\n)") > 0;
    };
    EXPECT_TRUE(Bench_waitUntil(isAlive, readingLimit_ms));
}

TEST_F(Logging, WithoutTheMarkerNothingIsPrinted) {
    start();
    Bench_writeFile(bench, "/tmp/logConfig", "ThreadMonitor\nSensorDetection\n");
    ASSERT_TRUE(
        Bench_waitUntil([&] { return Bench_countInSyslog(bench, "alive") > 0; }, readingLimit_ms));
    EXPECT_EQ(Bench_output(bench), "");
}

TEST_F(Logging, CategoriesSwitchWithinASecond) {
    start();
    setSpeed(verySlowly);
    // A second of the routing thread, the poll's own period, and their work, on the meter's clock.
    constexpr auto limit_ms = static_cast<uint32_t>(1700 / verySlowly);
    const auto hasPrinted = [&](const char* text) {
        return [this, text] { return Bench_output(bench).find(text) != std::string::npos; };
    };
    Bench_writeFile(bench, "/tmp/debug", "");
    Bench_writeFile(bench, "/tmp/logConfig", "  SensorDetection  \nSensorMmngr\nthreadmonitor\n");
    EXPECT_TRUE(
        Bench_waitUntil(hasPrinted("pollI2CCurrentMonitor: current at port 0 = 2\n"), limit_ms));
    EXPECT_THAT(Bench_output(bench), Not(HasSubstr("gtkThread loop count")));
    Bench_writeFile(bench, "/tmp/logConfig", "ThreadMonitor\n");
    EXPECT_TRUE(Bench_waitUntil(hasPrinted("gtkThread loop count"), limit_ms));
    Bench_removeFile(bench, "/tmp/logConfig");
    setSpeed(4);
    const auto heartbeats = [&] {
        return Bench_countInSyslog(bench, "hwPollingThread: Thread is alive");
    };
    // From one heartbeat of the detection to the next it polls its ports ten times.
    const auto isQuiet = [&] {
        Bench_output(bench);
        bench.printed.clear();
        const size_t before = heartbeats();
        return Bench_waitUntil([&] { return heartbeats() >= before + 2; }, readingLimit_ms) &&
               Bench_output(bench).empty();
    };
    EXPECT_TRUE(Bench_waitUntil(isQuiet, readingLimit_ms));
}
