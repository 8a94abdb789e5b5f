#include "Signal.h"

#include "BenchText.h"
#include "WorldFolder.h"

#include <gtest/gtest.h>

namespace {

constexpr int64_t second_ns = 1000000000;

Signal parsed(const char* text, int64_t now_ns = 0) {
    const auto signal = Signal_parse(text, BenchText_power_W, now_ns);
    EXPECT_TRUE(signal) << text;
    return signal.value_or(Signal_constant(-1));
}

} // namespace

TEST(Signal, ConstantStaysWhereItIs) {
    Signal signal = parsed("2.5W");
    EXPECT_DOUBLE_EQ(Signal_value(signal, 0), 2.5);
    EXPECT_DOUBLE_EQ(Signal_value(signal, 1000 * second_ns), 2.5);
}

TEST(Signal, RampRunsFromEndToEndAndStaysThere) {
    Signal signal = parsed("ramp:10:30:20s", 5 * second_ns);
    const struct {
        int64_t at_s;
        double expected;
    } cases[] = {{5, 10}, {10, 15}, {15, 20}, {25, 30}, {500, 30}, {0, 10}};
    for (const auto& c : cases) {
        EXPECT_NEAR(Signal_value(signal, c.at_s * second_ns), c.expected, 1e-9) << c.at_s;
    }
}

TEST(Signal, SineSwingsBetweenItsEnds) {
    Signal signal = parsed("sine:1:3:4s");
    EXPECT_NEAR(Signal_value(signal, 0), 1, 1e-9);
    EXPECT_NEAR(Signal_value(signal, second_ns), 2, 1e-9);
    EXPECT_NEAR(Signal_value(signal, 2 * second_ns), 3, 1e-9);
    EXPECT_NEAR(Signal_value(signal, 4 * second_ns), 1, 1e-9);
}

TEST(Signal, WalkStaysBetweenItsEndsAndMoves) {
    Signal signal = parsed("walk:5:6:1s");
    double least = 100;
    double most = -100;
    for (int step = 0; step < 2000; ++step) {
        const double value = Signal_value(signal, step * second_ns / 10);
        least = std::min(least, value);
        most = std::max(most, value);
    }
    EXPECT_GE(least, 5);
    EXPECT_LE(most, 6);
    EXPECT_GT(most - least, 0.3);
}

TEST(Signal, WalkIsTheSameInEveryRun) {
    Signal first = parsed("walk:0:1:1s");
    Signal second = parsed("walk:0:1:1s");
    EXPECT_EQ(Signal_value(first, 7 * second_ns), Signal_value(second, 7 * second_ns));
}

TEST(Signal, TextsThatAreNoSignalAreRefused) {
    for (const char* text : {"", "much", "ramp:1:2", "ramp:1:2:0s", "ramp:1:2:-1s", "step:1:2:3s",
                             "sine:a:2:3s", "walk:1:2:3s:4"}) {
        EXPECT_FALSE(Signal_parse(text, BenchText_power_W, 0)) << text;
    }
}

namespace {

/// Parses a series that stands in a file of its own.
std::optional<Signal> replayed(const std::string& content) {
    const std::string folder = WorldFolder_makeTemporary("quorvel-series");
    const std::string file = folder + "/series:1.txt";
    EXPECT_TRUE(WorldFolder_writeFile(file, content));
    const auto signal = Signal_parse("file:" + file, BenchText_power_W, 100 * second_ns);
    WorldFolder_remove(folder);
    return signal;
}

} // namespace

TEST(Signal, ASeriesIsReplayedFromItsFirstTimeAndEachSampleHoldsUntilTheNext) {
    auto signal = replayed("# time, power\n7000,10\n\n7002.5 20W # keyed\r\n7003\t1kW\n");
    ASSERT_TRUE(signal);
    const struct {
        int64_t at_ms;
        double expected;
    } cases[] = {{0, 10}, {2499, 10}, {2500, 20}, {2999, 20}, {3000, 1000}, {900000, 1000}};
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(Signal_value(*signal, 100 * second_ns + c.at_ms * 1000000), c.expected)
            << c.at_ms;
    }
}

TEST(Signal, ASeriesWithABrokenLineIsRefusedAsAWhole) {
    for (const char* content :
         {"", "# nothing\n", "0 1\n1\n", "0 1\nx 2\n", "0 1 2\n", "0 1\n1 2m\n", "5 1\n4 2\n"}) {
        EXPECT_FALSE(replayed(content)) << content;
    }
    EXPECT_FALSE(Signal_parse("file:/nowhere/series", BenchText_power_W, 0));
}
