#include "Bench.h"
#include "MeterTest.h"

using testing::HasSubstr;

namespace {

using HotPlug = MeterTest;

} // namespace

TEST_F(HotPlug, TheFirstSensorAsksForItsChannelAndMeasures) {
    start();
    setSpeed(verySlowly);
    Stopwatch sincePlug;
    plug("serial1", std::string("5132 fwd=25 rfl=0.5") + stillBooting);
    ASSERT_TRUE(becomesVisible(channelDialog::window, true));
    EXPECT_TRUE(within(sincePlug, 1000, verySlowly));
    EXPECT_TRUE(shows(channelDialog::title, "Tessel CW Sensor on Serial1"));
    const auto preselected = Bench_widget(bench, channelDialog::channel1);
    EXPECT_TRUE(preselected && preselected->isActive);

    ASSERT_TRUE(Bench_tap(bench, channelDialog::ok));
    Stopwatch sinceOk;
    ASSERT_TRUE(shows("noConnection.title", "Connecting..."));
    EXPECT_TRUE(within(sinceOk, 400, verySlowly));
    EXPECT_TRUE(shows("noConnection.description",
                      "A Tessel CW sensor on port Serial1 is powering on and initializing. Please "
                      "wait."));

    setSpeed(1);
    ASSERT_TRUE(comesUp("serial1"));
    EXPECT_TRUE(shows("single.fwd.value", "  25.00", readingLimit_ms));
    EXPECT_TRUE(shows("single.fwd.units", "W"));
    EXPECT_TRUE(shows("single.rfl.value", "  500.0"));
    EXPECT_TRUE(shows("single.rfl.units", "mW"));
    EXPECT_TRUE(shows("single.match.value", "   1.33"));
    EXPECT_TRUE(shows("single.title", "5132: 513200417"));
    EXPECT_FALSE(Bench_isVisible(bench, "noConnection.title"));
}

TEST_F(HotPlug, ASecondSensorNeedsNoDialogAndSharesTheScreen) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    setSpeed(verySlowly);
    Stopwatch sincePlug;
    plug("serial2", std::string("5134 fwd=4") + stillBooting);
    ASSERT_TRUE(shows("lower.noConnection.title", "Connecting..."));
    EXPECT_TRUE(within(sincePlug, 1000, verySlowly));
    setSpeed(1);
    EXPECT_FALSE(Bench_isVisible(bench, channelDialog::window));
    EXPECT_TRUE(shows("upper.fwd.value", "  25.00"));
    ASSERT_TRUE(comesUp("serial2"));
    EXPECT_TRUE(shows("lower.fwd.value", "  4.000", readingLimit_ms));
    EXPECT_TRUE(shows("lower.title", "5134: 513400203"));
}

TEST_F(HotPlug, ChannelTwoIsTheLowerHalf) {
    start();
    plugFirst("serial1", "5132 fwd=9", 2);
    plug("serial2", "5134 fwd=16");
    EXPECT_TRUE(shows("lower.fwd.value", "  9.000", readingLimit_ms));
    EXPECT_TRUE(shows("upper.fwd.value", " 16.000", readingLimit_ms));
}

TEST_F(HotPlug, PullingTheOnlySensorShowsThatNoneIsThere) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    setSpeed(verySlowly);
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    Stopwatch sincePull;
    ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    EXPECT_TRUE(within(sincePull, 1200, verySlowly));
    EXPECT_FALSE(Bench_isVisible(bench, "single.fwd.value"));
}

TEST_F(HotPlug, PullingOneOfTwoGivesTheScreenToTheOther) {
    const struct {
        const char* pulled;
        const char* left;
    } cases[] = {{"serial1", "  4.000"}, {"serial2", "  25.00"}};
    for (const auto& c : cases) {
        start();
        plugFirst("serial1", "5132 fwd=25");
        plug("serial2", "5134 fwd=4");
        ASSERT_TRUE(shows("lower.fwd.value", "  4.000", readingLimit_ms));
        setSpeed(verySlowly);
        ASSERT_TRUE(Bench_do(bench, std::string("unplug ") + c.pulled));
        Stopwatch sincePull;
        EXPECT_TRUE(shows("single.fwd.value", c.left)) << c.pulled;
        EXPECT_TRUE(within(sincePull, 1500, verySlowly)) << c.pulled;
        Bench_stop(bench);
    }
}

TEST_F(HotPlug, ASensorThatComesBackIsIdentifiedAfresh) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    plugFirst("serial1", "5133 fwd=4", 2);
    EXPECT_TRUE(shows("single.title", "5133: 513300088"));
    EXPECT_TRUE(shows("single.fwd.value", "  4.000"));
}

TEST_F(HotPlug, NoNumberOfThePreviousSensorIsTakenForAReading) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    ASSERT_TRUE(shows("noConnection.title", "No Sensor Detected"));
    plug("serial1", "5132 fwd=9");
    ASSERT_TRUE(chooseChannel(1));
    const auto isMeasuring = [&] { return Bench_isVisible(bench, "single.fwd.value"); };
    bool showsOldNumber = false;
    const auto isNewThere = [&] {
        const auto widget = Bench_widget(bench, "single.fwd.value");
        showsOldNumber =
            showsOldNumber || (widget && widget->isVisible && widget->text == "  25.00");
        return widget && widget->isVisible && widget->text == "  9.000";
    };
    EXPECT_TRUE(Bench_waitUntil(isMeasuring, readingLimit_ms));
    EXPECT_TRUE(Bench_waitUntil(isNewThere, readingLimit_ms));
    EXPECT_FALSE(showsOldNumber);
}

TEST_F(HotPlug, ExactlyTheThresholdOfSupplyCurrentIsNoSensor) {
    start();
    plug("serial1", "5132 fwd=25 current=250");
    plugFirst("serial2", "5132 fwd=4 current=251");
    EXPECT_TRUE(shows("single.title", "5132: 513200417"));
    EXPECT_TRUE(shows("single.fwd.value", "  4.000"));
}

TEST_F(HotPlug, ASensorThatAnswersLateButBeginsInTimeMeasures) {
    start();
    plugFirst("serial1", "SMK fwd=9 latency=700ms");
    EXPECT_TRUE(shows("single.title", "SMK-250: "));
    EXPECT_TRUE(measures("serial1", "single.fwd.value"));
}

TEST_F(HotPlug, ASensorThatIsExchangedBetweenTwoPollsIsShownWithItsOwnReading) {
    start();
    plugFirst("serial1", "5132 fwd=25");
    const uint64_t before = lastEntry("serial1");
    ASSERT_TRUE(Bench_do(bench, "unplug serial1"));
    plug("serial1", std::string("5134 fwd=9") + stillBooting);
    const uint64_t plugged = lastEntry("serial1");
    bool isMixed = false;
    const auto look = [&] {
        const auto title = Bench_widget(bench, "single.title");
        const auto value = Bench_widget(bench, "single.fwd.value");
        const bool hasOldValue = value && value->isVisible && value->text == "  25.00";
        isMixed = isMixed || (hasOldValue && title && title->text.starts_with("5134"));
        answerIfAsked(); // detection may have seen the gap
        return value && value->isVisible ? value->text : "";
    };
    const auto isAskedInVain = [&] {
        look();
        return logOf("serial1", plugged).find("-> ") != std::string::npos;
    };
    ASSERT_TRUE(Bench_waitUntil(isAskedInVain, readingLimit_ms));
    ASSERT_TRUE(comesUp("serial1"));
    EXPECT_TRUE(Bench_waitUntil([&] { return look() == "  9.000"; }, readingLimit_ms));
    EXPECT_TRUE(waitForLog("serial1", before, "-> 49  I"));
    EXPECT_TRUE(shows("single.title", "5134: 513400203"));
    EXPECT_FALSE(isMixed);
}

TEST_F(HotPlug, ModelsWithoutSerialNumberAreShownWithoutOne) {
    const struct {
        const char* model;
        const char* title;
    } cases[] = {{"5132A200", "5132A200: "}, {"SMK", "SMK-250: "}};
    for (const auto& c : cases) {
        start();
        plugFirst("serial1", std::string(c.model) + " fwd=9");
        EXPECT_TRUE(shows("single.title", c.title));
        std::string log;
        ASSERT_TRUE(Bench_do(bench, "log serial1", &log));
        EXPECT_THAT(log, testing::Not(HasSubstr("-> 5a"))) << "no memory command";
        Bench_stop(bench);
    }
}
