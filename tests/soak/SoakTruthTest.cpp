// The soak run's own idea of the meter: it must tell right from wrong.

#include "ExpectedTexts.h"
#include "Truth.h"

#include <gmock/gmock.h>

#include <algorithm>

using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr double anyMax_W = 1000;

std::vector<std::string> textsOf(const ShownValues& values) {
    std::vector<std::string> texts;
    for (const ShownValue& value : values) {
        const std::string text = value.value + " " + value.units;
        if (std::ranges::find(texts, text) == texts.end()) {
            texts.push_back(text);
        }
    }
    return texts;
}

PortTruth sensor() {
    PortTruth plugged;
    plugged.max_W = anyMax_W;
    return plugged;
}

/// On channel 1. What the meter is given passes at once; a busy machine's pause remains.
Truth truthOfOneSensor() {
    Truth truth;
    truth.speed = 1e6;
    Truth_plug(truth, 0, sensor());
    Truth_choose(truth, 0, 0);
    return truth;
}

} // namespace

TEST(SoakTexts, APowerMayRestInTwoRangesWithinTheHysteresisOnly) {
    const ShownScale automatic;
    const struct {
        double power_W;
        std::vector<std::string> texts;
    } cases[] = {
        {1, {" 1000.0 mW", " 1.0000 W"}},
        {1.3, {" 1.3000 W"}},
        {0.7, {"  700.0 mW"}},
        {25, {"  25.00 W"}},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(textsOf(ExpectedTexts_power(c.power_W, anyMax_W, false, automatic)),
                    testing::UnorderedElementsAreArray(c.texts))
            << c.power_W;
    }
}

TEST(SoakTexts, AGatedPowerStopsAtSixtyDecibels) {
    constexpr double max_W = 5000;
    EXPECT_THAT(textsOf(ExpectedTexts_gatedPower(3012, max_W, true)), ElementsAre("  60.00 dBm"));
    EXPECT_THAT(textsOf(ExpectedTexts_gatedPower(1e-12, max_W, true)), ElementsAre(" -60.00 dBm"));
    EXPECT_THAT(textsOf(ExpectedTexts_gatedPower(53.6, max_W, true)), ElementsAre("  47.29 dBm"));
    EXPECT_THAT(textsOf(ExpectedTexts_gatedPower(3012, max_W, false)), ElementsAre("  3.012 kW"));
    EXPECT_THAT(textsOf(ExpectedTexts_gatedPower(6001, max_W, true)), ElementsAre("  Range dBm"));
}

TEST(SoakTexts, BeyondALimitThereIsNoNumber) {
    EXPECT_THAT(textsOf(ExpectedTexts_power(1201, anyMax_W, true, {})), ElementsAre("  Range dBm"));
    const ShownScale manual{false, 5};
    EXPECT_THAT(textsOf(ExpectedTexts_power(20.1, anyMax_W, false, manual)),
                ElementsAre("  Range W"));
    EXPECT_THAT(textsOf(ExpectedTexts_power(19.9, anyMax_W, false, manual)),
                ElementsAre(" 19.900 W"));
}

TEST(SoakTexts, TheMatchHasItsThreeKinds) {
    EXPECT_THAT(textsOf(ExpectedTexts_match(10, 11, 0)), ElementsAre(" 199.00 "));
    EXPECT_THAT(textsOf(ExpectedTexts_match(10, 0.1, 1)), ElementsAre(" -20.00 dB"));
    EXPECT_THAT(textsOf(ExpectedTexts_match(10, 0.1, 2)), ElementsAre("  0.100 "));
}

TEST(SoakTexts, TheOlderProtocolMarksWhatItsRangeCannotHold) {
    EXPECT_THAT(ExpectedTexts_legacy(25, "FC", anyMax_W, 0.001, -1),
                Contains("NFC   25.00   W\r\n"));
    EXPECT_THAT(ExpectedTexts_legacy(25, "FC", anyMax_W, 0.001, 10),
                testing::Each("OFC  199.99   W\r\n"));
    EXPECT_THAT(ExpectedTexts_legacy(25, "FC", anyMax_W, 0.001, 12),
                testing::Each("NFC   .0250  KW\r\n"));
}

TEST(SoakTruth, AThirdSensorTakesTheChannelThatIsLeftFree) {
    Truth truth;
    Truth_plug(truth, 0, sensor());
    EXPECT_EQ(Truth_waitsForChannel(truth), 0);
    Truth_choose(truth, 0, 1);
    Truth_plug(truth, 2, sensor());
    EXPECT_EQ(Truth_portOfChannel(truth, 0), 2) << "the other channel, without a question";
    Truth_plug(truth, 1, sensor());
    EXPECT_EQ(Truth_shownCount(truth), 2);
    Truth_unplug(truth, 0);
    EXPECT_EQ(Truth_waitsForChannel(truth), -1);
    EXPECT_EQ(Truth_portOfChannel(truth, 1), 1);
}

TEST(SoakTruth, AValueIsTrueUntilItsSuccessorMustBeShown) {
    Truth truth = truthOfOneSensor();
    const SoakTime longAgo = SoakClock::now() - std::chrono::hours(1);
    truth.presenceChanged = longAgo;
    truth.ports[0].connected = longAgo;
    Truth_setPowers(truth, 0, 1, 0.1);
    Truth_setPowers(truth, 0, 2, 0.1);
    EXPECT_EQ(Truth_shownValues(truth, 0).size(), 2U);
    truth.ports[0].values.front().replaced = longAgo;
    Truth_beginFault(truth, 0, "silence");
    EXPECT_EQ(Truth_shownValues(truth, 0).size(), 2U) << "the last good reading stays";
    EXPECT_FALSE(Truth_mustMeasure(truth, 0));
    Truth_endFault(truth, 0);
    truth.ports[0].faultEnded = longAgo;
    EXPECT_EQ(Truth_shownValues(truth, 0).size(), 1U);
    EXPECT_TRUE(Truth_mustMeasure(truth, 0));
}

TEST(SoakTruth, AFaultThatMakesReadingsUpIsNotBelieved) {
    Truth truth;
    Truth_plug(truth, 0, sensor());
    EXPECT_TRUE(Truth_isHonest(truth, 0));
    Truth_beginFault(truth, 0, "noise");
    EXPECT_FALSE(Truth_isHonest(truth, 0));
    EXPECT_FALSE(truth.ports[0].isTitleKnown);
}

TEST(SoakTruth, OnlyASensorThatMeasuredAndFellSilentLongAgoHasOldValues) {
    Truth truth = truthOfOneSensor();
    const SoakTime longAgo = SoakClock::now() - std::chrono::hours(1);
    Truth_beginFault(truth, 0, "silence");
    truth.ports[0].faultBegan = longAgo;
    EXPECT_FALSE(Truth_isSilent(truth, 0)) << "it was still connecting";
    Truth_endFault(truth, 0);
    truth.ports[0].faultEnded = longAgo;
    truth.ports[0].connected = longAgo;
    Truth_beginFault(truth, 0, "silence");
    EXPECT_FALSE(Truth_isSilent(truth, 0)) << "its values are still young";
    truth.ports[0].faultBegan = longAgo;
    EXPECT_TRUE(Truth_isSilent(truth, 0));
    EXPECT_GE(Truth_greatestAge_s(truth, 0), 3600 * truth.speed);
    Truth_endFault(truth, 0);
    EXPECT_FALSE(Truth_isSilent(truth, 0));
}
