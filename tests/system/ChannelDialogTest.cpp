#include "MeterTest.h"

namespace {

using ChannelDialog = MeterTest;

} // namespace

TEST_F(ChannelDialog, ASensorPulledWhileItIsOpenTakesItAway) {
    start();
    plug("serial1", "5132 fwd=25");
    ASSERT_TRUE(becomesVisible(channelDialog::window, true));
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    EXPECT_TRUE(becomesVisible(channelDialog::window, false));
    EXPECT_TRUE(shows("noConnection.title", "No Sensor Detected"));
}

TEST_F(ChannelDialog, AnotherWaitingSensorIsAskedForNext) {
    start();
    plug("serial1", "5132 fwd=25");
    ASSERT_TRUE(shows(channelDialog::title, "Tessel CW Sensor on Serial1"));
    plug("serial2", "5134 fwd=4");
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    ASSERT_TRUE(shows(channelDialog::title, "Tessel CW Sensor on Serial2"));
    ASSERT_TRUE(chooseChannel(1));
    EXPECT_TRUE(shows("single.fwd.value", "  4.000", readingLimit_ms));
}

TEST_F(ChannelDialog, TwoSensorsAtOnceAreAskedForOnlyOnce) {
    start({.commands = {"plug serial1 5132 fwd=25", "plug serial2 5134 fwd=4"}});
    ASSERT_TRUE(shows(channelDialog::title, "Tessel CW Sensor on Serial1"));
    ASSERT_TRUE(chooseChannel(2));
    EXPECT_TRUE(shows("lower.fwd.value", "  25.00", readingLimit_ms));
    EXPECT_TRUE(shows("upper.fwd.value", "  4.000", readingLimit_ms));
    EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window));
}

TEST_F(ChannelDialog, WhileItIsOpenTheMeterStaysAlive) {
    start();
    plug("serial1", "5132 fwd=25");
    ASSERT_TRUE(becomesVisible(channelDialog::window, true));
    const auto heartbeats = [&] {
        const auto lines = Bench_syslog(bench);
        return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("GtkThread.cpp") != std::string::npos &&
                   line.find("Thread is alive") != std::string::npos;
        });
    };
    const auto before = heartbeats();
    EXPECT_TRUE(Bench_waitUntil([&] { return heartbeats() >= before + 2; }, readingLimit_ms));
    ASSERT_TRUE(Bench_do(bench, "battery state=full"));
    EXPECT_TRUE(shows("batteryPercent", "100%"));
    EXPECT_TRUE(Bench_isVisible(bench, channelDialog::window));
}

TEST_F(ChannelDialog, ASensorThatIsQuicklyReplacedStillGetsAChannel) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    // Between two polls of the detection nothing is seen; over a longer gap the sensor is new.
    for (const char* gap : {"100ms", "900ms"}) {
        ASSERT_TRUE(Bench_do(bench, std::string("replug serial1 ") + gap));
        const auto isSettled = [&] {
            answerIfAsked();
            const auto value = Bench_widget(bench, "single.fwd.value");
            return value && value->isVisible && value->text == "  36.00";
        };
        ASSERT_TRUE(
            Bench_waitUntil([&] { return Bench_do(bench, "set serial1 fwd=36"); }, screenLimit_ms));
        EXPECT_TRUE(Bench_waitUntil(isSettled, readingLimit_ms)) << gap;
        ASSERT_TRUE(Bench_do(bench, "set serial1 fwd=25"));
        ASSERT_TRUE(shows("single.fwd.value", "  25.00", readingLimit_ms));
    }
}
