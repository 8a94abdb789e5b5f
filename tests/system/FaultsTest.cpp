#include "MeterTest.h"

#include <regex>

namespace {

/// Time runs faster: recovery is a matter of the sensor protocol's waits.
class Faults : public MeterTest, public testing::WithParamInterface<const char*> {
protected:
    void startWithTwoSensors() {
        start({.commands = {"clock speed 4"}});
        plugFirst("serial1", "5132 fwd=25");
        plug("serial2", "5134 fwd=4");
        ASSERT_TRUE(waitForReading("lower.fwd.value"));
    }
    /// Lets the sensor fall silent once, so that it is synchronised and identified again.
    void identifyAgain(const std::string& port) {
        const uint64_t before = lastEntry(port);
        ASSERT_TRUE(Bench_do(bench, "fault " + port + " silence"));
        // A synchronisation that the silent sensor has heard will not be answered. (An address of
        // its memory may stay unanswered without consequence.)
        const auto hasHeard = [&] {
            const std::string log = logOf(port, before);
            const size_t note = log.find("(fault silence)");
            return note != std::string::npos && log.find("-> 53  S", note) != std::string::npos;
        };
        ASSERT_TRUE(Bench_waitUntil(hasHeard, readingLimit_ms));
        ASSERT_TRUE(Bench_do(bench, "fault " + port + " none"));
        ASSERT_TRUE(waitForLog(port, before, "-> 49  I"));
        ASSERT_TRUE(waitForLog(port, before, "-> 5a 04 38"));
    }
};

} // namespace

TEST_P(Faults, LeaveTheOtherPortMeasuringAndPassAway) {
    const std::string fault = GetParam();
    startWithTwoSensors();
    const struct {
        const char* broken;
        const char* brokenDisplay;
        const char* other;
        const char* otherDisplay;
    } sides[] = {{"serial1", "upper.fwd.value", "serial2", "lower.fwd.value"},
                 {"serial2", "lower.fwd.value", "serial1", "upper.fwd.value"}};
    for (const auto& side : sides) {
        // A silence first, so that the fault meets every step from the synchronisation on.
        ASSERT_TRUE(Bench_do(bench, std::string("fault ") + side.broken + " silence"));
        const uint64_t start = lastEntry(side.broken);
        ASSERT_TRUE(waitForLog(side.broken, start, "-> 53  S"));
        ASSERT_TRUE(Bench_do(bench, "fault " + std::string(side.broken) + " " + fault));
        EXPECT_TRUE(measures(side.other, side.otherDisplay)) << fault;
        EXPECT_TRUE(Bench_isVisible(bench, side.brokenDisplay)) << fault;
        ASSERT_TRUE(Bench_do(bench, std::string("fault ") + side.broken + " none"));
        if (fault == "hostile") {
            // What it last said of itself stands until it is asked again.
            ASSERT_NO_FATAL_FAILURE(identifyAgain(side.broken));
        }
        EXPECT_TRUE(measures(side.broken, side.brokenDisplay)) << fault;
        EXPECT_TRUE(measures(side.other, side.otherDisplay)) << fault;
    }
    EXPECT_TRUE(shows("upper.title", "5132: 513200417"));
    EXPECT_TRUE(shows("lower.title", "5134: 513400203"));
}

INSTANTIATE_TEST_SUITE_P(Serial, Faults,
                         testing::Values("silence", "short", "wrongsync", "chatter", "slow",
                                         "hostile", "noise", "break"),
                         [](const testing::TestParamInfo<const char*>& chosen) {
                             return std::string(chosen.param);
                         });

TEST_F(Faults, ACableCutInTheMiddleOfAReplyIsAnUnpluggedSensor) {
    startWithTwoSensors();
    ASSERT_TRUE(Bench_do(bench, "fault serial1 cut"));
    EXPECT_TRUE(becomesVisible("single.fwd.value", true));
    EXPECT_TRUE(measures("serial2", "single.fwd.value"));
    plug("serial1", "5132 fwd=25");
    EXPECT_TRUE(waitForReading("upper.fwd.value"));
    EXPECT_TRUE(measures("serial1", "upper.fwd.value"));
}

TEST_F(Faults, TwentySynchronisationsLeaveTheSerialNumberUnchanged) {
    start({.commands = {"clock speed 5"}});
    plugFirst("serial1", "5132 fwd=25");
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        ASSERT_NO_FATAL_FAILURE(identifyAgain("serial1"));
    }
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    EXPECT_TRUE(shows("single.title", "5132: 513200417"));
}

TEST_F(Faults, TheWireSpeedOfTheSensorsIsNotTouched) {
    startWithTwoSensors();
    std::string status;
    ASSERT_TRUE(Bench_do(bench, "status", &status));
    EXPECT_TRUE(std::regex_search(status, std::regex("serial1: .*line=\"9600 8 N 1\"")));
    EXPECT_TRUE(std::regex_search(status, std::regex("serial2: .*line=\"9600 8 N 1\"")));
}
