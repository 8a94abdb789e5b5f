// A sensor that tells nothing more: its last values stay, and a sign beside its name says how old
// they are.

#include "BenchText.h"
#include "MeterTest.h"

#include <algorithm>
#include <cstdlib>

using testing::EndsWith;
using testing::StartsWith;

namespace {

class OldReading : public MeterTest {
protected:
    /// The age in the sign, 0 without a sign; `unit` is "s" or "min".
    int ageShown(const std::string& sign, const std::string& unit = "s") {
        const std::string beginning = "no reading for ";
        const auto widget = Bench_widget(bench, sign);
        const bool isAge = widget && widget->isVisible && widget->text.starts_with(beginning) &&
                           widget->text.ends_with(" " + unit);
        return isAge ? atoi(widget->text.c_str() + beginning.size()) : 0;
    }
    bool waitForAge(const std::string& sign, int least, const std::string& unit = "s") {
        return Bench_waitUntil([&] { return ageShown(sign, unit) >= least; }, readingLimit_ms);
    }
    /// True when the sign was seen while serial1 went through some cycles, of four seconds each.
    bool isCalledOldWhileItMeasures() {
        constexpr long cycles = 3;
        const uint64_t before = lastEntry("serial1");
        bool wasCalledOld = false;
        const auto hasMeasured = [&] {
            wasCalledOld = wasCalledOld || Bench_isVisible(bench, "single.silence");
            const std::string log = logOf("serial1", before);
            return std::ranges::count_if(BenchText_split(log, '\n'), [](std::string_view entry) {
                       return entry.find("-> 46") != entry.npos;
                   }) > cycles;
        };
        EXPECT_TRUE(Bench_waitUntil(hasMeasured, readingLimit_ms));
        return wasCalledOld;
    }
    void expectLook(const std::string& name, const std::string& text, const std::string& colour) {
        const auto widget = Bench_widget(bench, name);
        ASSERT_TRUE(widget && widget->isVisible) << name;
        EXPECT_EQ(widget->text, text);
        EXPECT_EQ(widget->foreground, colour);
    }
};

constexpr const char* pulseModeOn = "sensorPulseMode 1\n";

} // namespace

TEST_F(OldReading, ASilentSerialSensorsValuesSayHowOldTheyAreUntilItSpeaks) {
    start();
    plugFirst("serial1", "5132 fwd=25 rfl=0.5");
    plug("serial2", "5134 fwd=4");
    ASSERT_TRUE(waitForReading("lower.fwd.value"));
    ASSERT_TRUE(waitForReading("upper.fwd.value"));
    ASSERT_TRUE(Bench_do(bench, "fault serial1 silence"));
    ASSERT_TRUE(waitForAge("upper.silence", 3));
    EXPECT_TRUE(becomesVisible("lower.silence", false));
    const int first = ageShown("upper.silence");
    ASSERT_TRUE(waitForAge("upper.silence", first + 2)) << "it goes on";
    expectLook("upper.fwd.value", "  25.00", "#ffffff");
    expectLook("upper.rfl.value", "  500.0", "#ffffff");
    expectLook("upper.title", "5132: 513200417", "#ffd766");
    EXPECT_EQ(Bench_widget(bench, "upper.silence")->foreground, "#ffa000");

    ASSERT_TRUE(Bench_do(bench, "unplug serial2"));
    ASSERT_TRUE(waitForAge("single.silence", first + 2)) << "on the whole screen, too";
    expectLook("single.fwd.value", "  25.00", "#ffffff");

    ASSERT_TRUE(Bench_do(bench, "fault serial1 none"));
    EXPECT_TRUE(becomesVisible("single.silence", false, readingLimit_ms));
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
    EXPECT_TRUE(becomesVisible("single.silence", false));
}

TEST_F(OldReading, ASensorThatAnswersSlowlyIsNotSilent) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_do(bench, "set serial1 latency=800ms"));
    // A reply that a busy machine keeps for 0.2 s more is lost, and then the value before it is
    // old: some cycles without that are enough.
    constexpr int attempts = 5;
    bool wasCalledOld = true;
    for (int attempt = 0; attempt < attempts && wasCalledOld; ++attempt) {
        ASSERT_TRUE(becomesVisible("single.silence", false));
        wasCalledOld = isCalledOldWhileItMeasures();
    }
    EXPECT_FALSE(wasCalledOld);
}

TEST_F(OldReading, ALongSilenceIsToldInMinutes) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_do(bench, "fault serial1 silence"));
    setSpeed(20);
    ASSERT_TRUE(waitForAge("single.silence", 2, "min"));
    EXPECT_THAT(Bench_labelText(bench, "single.silence"), EndsWith(" min"));
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    setSpeed(1);
    plugFirst("serial1", "5132 fwd=4");
    EXPECT_TRUE(becomesVisible("single.silence", false)) << "another sensor's silence";
}

TEST_F(OldReading, APulseSensorThatWaitsForItsTriggerSaysSo) {
    startFast({}, pulseModeOn);
    plug("usb1", "3164 fwd=25 period=1ms width=250us");
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(waitForReading("pulse.valueFwd"));
    // The measurement that is under way ends with a new value.
    ASSERT_TRUE(Bench_do(bench, "set usb1 measuring=1h"));
    ASSERT_TRUE(waitForAge("pulse.silence", 3));
    expectLook("pulse.btnTitle.text", "3164: 316400125", "#ffd766");
    EXPECT_TRUE(Bench_isVisible(bench, "pulse.valueFwd"));
    plug("serial1", "5132 fwd=4");
    ASSERT_TRUE(waitForReading("lower.fwd.value"));
    EXPECT_TRUE(waitForAge("pulse.silence", 3)) << "in its half of the screen, too";
    EXPECT_TRUE(becomesVisible("lower.silence", false));
}

TEST_F(OldReading, ASilentUsbSensorsValuesAndTheirAgeStayThroughItsRestart) {
    startFast();
    plugFirst("usb1", "3164 fwd=25");
    const uint64_t before = lastEntry("usb1");
    ASSERT_TRUE(Bench_do(bench, "fault usb1 silence"));
    ASSERT_TRUE(waitForAge("single.silence", 6));
    setSpeed(30);
    // It is cleared and reset in vain.
    ASSERT_TRUE(
        Bench_waitUntil([&] { return logOf("usb1", before).find("-> *RST") != std::string::npos; },
                        readingLimit_ms));
    EXPECT_THAT(Bench_labelText(bench, "single.silence"), StartsWith("no reading for "));
    expectLook("single.fwd.value", "  25.00", "#ffffff");
    setSpeed(4);
    ASSERT_TRUE(Bench_do(bench, "fault usb1 none"));
    EXPECT_TRUE(becomesVisible("single.silence", false, readingLimit_ms));
    EXPECT_TRUE(measures("usb1", "single.fwd.value"));
}
