#include "MeterTest.h"

namespace {

/// What fifty times of something may not change.
class Endurance : public MeterTest {
protected:
    void cycle(const std::string& port, int number) {
        plug(port, "5132 fwd=9");
        // Every fifth sensor lives to be measured.
        const char* halves[] = {"upper.fwd.value", "lower.fwd.value"};
        const char* half = halves[port == "serial2" ? 1 : 0];
        if (number % 5 == 0) {
            ASSERT_TRUE(waitForReading(half)) << number;
        } else {
            const auto isSplit = [&] { return Bench_isVisible(bench, "dualSensorContainer"); };
            ASSERT_TRUE(Bench_waitUntil(isSplit, 5000)) << number;
        }
        ASSERT_TRUE(Bench_do(bench, "unplug " + port));
        ASSERT_TRUE(becomesVisible("singleSensorContainer", true)) << number;
    }

    /// The sensor manager has nothing in hand: what is counted is at rest.
    ProgramUse useAtRest() {
        ProgramUse last = Bench_programUse(bench);
        const auto isSteady = [&] {
            const ProgramUse now = Bench_programUse(bench);
            const bool isSame = now.threads == last.threads && now.descriptors == last.descriptors;
            last = now;
            return isSame;
        };
        Bench_waitUntil(isSteady, 2000);
        return last;
    }

    void expectNoLeakAfterCycles(const std::string& stays, const std::string& cycled) {
        constexpr int warmUp = 5;
        constexpr int cycles = 50;
        start({.commands = {"clock speed 5"}});
        plugFirst(stays, "5134 fwd=4", stays == "serial1" ? 1 : 2);
        for (int number = 0; number < warmUp; ++number) {
            cycle(cycled, number);
        }
        const ProgramUse before = useAtRest();
        for (int number = 0; number < cycles && !HasFatalFailure(); ++number) {
            cycle(cycled, number);
        }
        const ProgramUse after = useAtRest();
        // A library may end an idle thread of its own pool.
        EXPECT_LE(after.threads, before.threads);
        EXPECT_EQ(after.descriptors, before.descriptors);
        expectSameMemory(before, after);
    }
};

} // namespace

TEST_F(Endurance, FiftySensorsOnSerial1LeaveNothingBehind) {
    expectNoLeakAfterCycles("serial2", "serial1");
}

TEST_F(Endurance, FiftySensorsOnSerial2LeaveNothingBehind) {
    expectNoLeakAfterCycles("serial1", "serial2");
}

TEST_F(Endurance, TwentyChannelDialogsLeaveNothingBehind) {
    // GTK keeps what it has made for the last sixteen windows or so.
    constexpr int warmUp = 20;
    constexpr int dialogs = 20;
    start({.commands = {"clock speed 4"}});
    ProgramUse before{};
    for (int number = 0; number < warmUp + dialogs && !HasFatalFailure(); ++number) {
        if (number == warmUp) {
            before = useAtRest();
        }
        plug("serial1", "5132 fwd=9");
        ASSERT_TRUE(chooseChannel(1)) << number;
        // "Connecting..." may be over by now.
        const auto isTaken = [&] {
            return Bench_labelText(bench, "noConnection.title") == "Connecting...";
        };
        ASSERT_TRUE(Bench_waitUntil(isTaken, 3000)) << number;
        ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
        ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected")) << number;
    }
    const ProgramUse after = useAtRest();
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.descriptors, before.descriptors);
    expectSameMemory(before, after);
}
