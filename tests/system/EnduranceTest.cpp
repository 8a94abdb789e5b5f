#include "MeterTest.h"

#include <functional>
#include <ostream>

namespace {

/// What comes and goes, and what stays meanwhile.
struct EnduranceCase {
    const char* name;
    const char* cycled;
    const char* sensor;
    const char* display; ///< of what comes and goes
    int measured;        ///< every one of so many lives to be measured
    const char* stays;
    const char* staying;
    int channel; ///< of what stays
};

/// As it is named when it fails.
void PrintTo(const EnduranceCase& one, std::ostream* output) {
    *output << one.name;
}

constexpr EnduranceCase cases[] = {
    {"Serial1", "serial1", "5132 fwd=9", "upper.fwd.value", 5, "serial2", "5134 fwd=4", 2},
    {"Serial2", "serial2", "5132 fwd=9", "lower.fwd.value", 5, "serial1", "5134 fwd=4", 1},
    {"Usb1", "usb1", "3164 fwd=9", "upper.fwd.value", 10, "serial2", "5134 fwd=4", 2},
    {"Usb2", "usb2", "3162 fwd=9", "lower.fwd.value", 10, "usb1", "3164 fwd=4", 1},
};

constexpr int warmUp = 5;
constexpr int cycles = 50;

/// What fifty times of something may not change.
class Endurance : public MeterTest {
protected:
    /// The sensor manager has nothing in hand: what is counted is at rest.
    ProgramUse useAtRest() {
        ProgramUse last = Bench_programUse(bench);
        const auto isSteady = [&] {
            const ProgramUse now = Bench_programUse(bench);
            const bool isSame = now.threads == last.threads && now.descriptors == last.descriptors;
            last = now;
            return isSame;
        };
        Bench_waitUntil(isSteady, screenLimit_ms);
        return last;
    }

    /// The sensor plugged in since that entry is told something: what its predecessor still got
    /// does not count, or two are replaced within one poll, which the meter must ask about.
    bool waitUntilReplacementGets(const std::string& port, uint64_t after, const char* message) {
        const auto hasGotIt = [&] {
            const std::string log = logOf(port, after);
            const size_t plugged = log.find("plugged ");
            return plugged != std::string::npos && log.find(message, plugged) != std::string::npos;
        };
        return Bench_waitUntil(hasGotIt, readingLimit_ms);
    }

    /// Runs the cycle some times, counts, runs it fifty times, and counts again.
    void expectNothingLeftBy(const std::function<void(int)>& cycle) {
        for (int number = 0; number < warmUp && !HasFatalFailure(); ++number) {
            cycle(number);
        }
        const ProgramUse before = useAtRest();
        for (int number = 0; number < cycles && !HasFatalFailure(); ++number) {
            cycle(number);
        }
        expectUseAsBefore(before);
    }

    /// What was in hand comes to its end; a library may end an idle thread of its own pool.
    void expectUseAsBefore(const ProgramUse& before) {
        ProgramUse after{};
        const auto isAsBefore = [&] {
            after = Bench_programUse(bench);
            return after.threads <= before.threads && after.descriptors <= before.descriptors;
        };
        EXPECT_TRUE(Bench_waitUntil(isAsBefore, screenLimit_ms))
            << after.threads << " threads, " << after.descriptors << " descriptors, not "
            << before.threads << " and " << before.descriptors;
        expectSameMemory(before, after);
    }
};

class EnduranceOfPorts : public Endurance, public testing::WithParamInterface<EnduranceCase> {
protected:
    void comeAndGo(int number) {
        const EnduranceCase& c = GetParam();
        plug(c.cycled, c.sensor);
        if (number % c.measured == 0) {
            ASSERT_TRUE(waitForReading(c.display)) << number;
        } else {
            ASSERT_TRUE(becomesVisible("dualSensorContainer", true)) << number;
        }
        ASSERT_TRUE(Bench_do(bench, std::string("unplug ") + c.cycled));
        ASSERT_TRUE(becomesVisible("singleSensorContainer", true)) << number;
    }
};

} // namespace

TEST_P(EnduranceOfPorts, FiftySensorsLeaveNothingBehind) {
    const EnduranceCase& c = GetParam();
    start({.commands = {"clock speed 5"}});
    plugFirst(c.stays, c.staying, c.channel);
    expectNothingLeftBy([this](int number) { comeAndGo(number); });
    EXPECT_TRUE(measures(c.stays, "single.fwd.value"));
}

INSTANTIATE_TEST_SUITE_P(Ports, EnduranceOfPorts, testing::ValuesIn(cases),
                         [](const testing::TestParamInfo<EnduranceCase>& chosen) {
                             return chosen.param.name;
                         });

TEST_F(Endurance, FiftyReplacementsWithinAPollLeaveNothingBehind) {
    start({.commands = {"clock speed 5"}});
    plugFirst("usb1", "3164 fwd=25");
    plug("usb2", "3162 fwd=4");
    ASSERT_TRUE(waitForReading("lower.fwd.value"));
    const char* const gaps[] = {"0s", "100ms", "400ms"};
    expectNothingLeftBy([&](int number) {
        const std::string port = number % 2 == 0 ? "usb1" : "usb2";
        const uint64_t before = lastEntry(port);
        ASSERT_TRUE(Bench_do(bench, "replug " + port + " " + gaps[number % 3]));
        // The next one meets it at another point of its coming up.
        const char* const message = number % 5 == 0 ? "-> INIT" : "-> *RST";
        ASSERT_TRUE(waitUntilReplacementGets(port, before, message)) << number;
    });
    EXPECT_TRUE(measures("usb1", "upper.fwd.value"));
    EXPECT_TRUE(measures("usb2", "lower.fwd.value"));
    EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window));
}

TEST_F(Endurance, TwentyChannelDialogsLeaveNothingBehind) {
    // GTK keeps what it has made for the last sixteen windows or so.
    constexpr int first = 20;
    constexpr int dialogs = 20;
    start({.commands = {"clock speed 4"}});
    ProgramUse before{};
    for (int number = 0; number < first + dialogs && !HasFatalFailure(); ++number) {
        if (number == first) {
            before = useAtRest();
        }
        plug("serial1", std::string("5132 fwd=9") + stillBooting);
        ASSERT_TRUE(chooseChannel(1)) << number;
        ASSERT_TRUE(shows("noConnection.title", "Connecting...")) << number;
        ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
        ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected")) << number;
    }
    expectUseAsBefore(before);
}
