#include "MeasurementText.h"

#include "SensorFakes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

constexpr float sensorMax_W = 1e9F; // never the limit, unless a test says so
constexpr rfPowerScale automatic(uint32_t index) {
    return {true, index};
}
constexpr rfPowerScale manual(uint32_t index) {
    return {false, index};
}
float below(float limit) {
    return std::nextafterf(limit, 0.0F);
}

std::string sensorLabel(uint32_t port, SensorStatus status, const char* model, const char* serial,
                        uint32_t maxLength) {
    std::array<char, 64> text;
    text.fill('#');
    MeasurementText_sensorLabel(port, status, model, serial, maxLength, text);
    EXPECT_NE(std::memchr(text.data(), 0, text.size()), nullptr);
    return text.data();
}

} // namespace

TEST(MeasurementText, ManualScalesHaveTheirOwnCeilings) {
    constexpr std::array<float, rangeCount> ceilings = {
        0.0019999491F, 0.019999489F, 0.19999491F, 1.999949F, 1.999949F, 19.99949F,
        199.9949F,     1999.949F,    1999.949F,   19999.49F, 199994.9F};
    for (uint32_t i = 0; i < rangeCount; ++i) {
        EXPECT_EQ(maxScalePowerList[i], ceilings[i]);
        EXPECT_EQ(MeasurementText_maxPowerForRange(sensorMax_W, manual(i), rfPower_W), ceilings[i]);
    }
}

TEST(MeasurementText, TheRangeLimitIsTheSmallerOfScaleAndSensor) {
    struct {
        float sensorMax;
        rfPowerScale scale;
        rfPowerType type;
        float limit;
    } const cases[] = {
        {100.0F, automatic(4), rfPower_W, 120.0F}, {1e6F, automatic(4), rfPower_W, 199994.9F},
        {100.0F, manual(4), rfPower_W, 1.999949F}, {1.0F, manual(4), rfPower_W, 1.2F},
        {100.0F, manual(4), rfPower_dBm, 120.0F},  {1e6F, automatic(4), rfPower_dBm, 1.2e6F},
        {1e9F, manual(99), rfPower_W, 199994.9F},  {0.0F, manual(4), rfPower_W, 0.0F},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(MeasurementText_maxPowerForRange(test.sensorMax, test.scale, test.type),
                  test.limit)
            << test.sensorMax << " scale " << test.scale.scaleIndex;
    }
}

TEST(MeasurementText, EachRangeShowsItsUnitAndDecimals) {
    struct {
        uint32_t index;
        float power;
        const char* value;
        const char* unit;
    } const cases[] = {
        {0, 0.0012345F, " 1.2345", "mW"}, {1, 0.012345F, " 12.345", "mW"},
        {2, 0.12345F, " 123.45", "mW"},   {3, 0.62347F, "  623.5", "mW"},
        {4, 1.23456F, " 1.2346", "W"},    {5, 12.3456F, " 12.346", "W"},
        {6, 123.456F, " 123.46", "W"},    {7, 612.345F, "  612.3", "W"},
        {8, 1234.56F, " 1.2346", "kW"},   {9, 12345.6F, " 12.346", "kW"},
        {10, 123456.0F, " 123.46", "kW"}, {10, 0.0F, "   0.00", "kW"},
        {5, -3.5F, " -3.500", "W"},
    };
    for (const auto& test : cases) {
        const PowerLineText line =
            MeasurementText_powerLine(test.power, sensorMax_W, manual(test.index), rfPower_W);
        EXPECT_STREQ(line.value, test.value) << test.index;
        EXPECT_STREQ(line.unit, test.unit) << test.index;
        EXPECT_TRUE(line.scaleVisible);
        EXPECT_FALSE(line.isOverRange);
        EXPECT_FALSE(line.scaleChanged);
    }
}

TEST(MeasurementText, EveryValueOfEveryRangeIsSevenCharactersWide) {
    for (uint32_t i = 0; i < rangeCount; ++i) {
        for (const float power : {0.0F, maxScalePowerList[i] / 7.0F, below(maxScalePowerList[i])}) {
            const PowerLineText line =
                MeasurementText_powerLine(power, sensorMax_W, manual(i), rfPower_W);
            EXPECT_EQ(std::strlen(line.value), 7U) << "'" << line.value << "' in range " << i;
        }
        const PowerLineText over =
            MeasurementText_powerLine(maxScalePowerList[i], sensorMax_W, manual(i), rfPower_W);
        EXPECT_EQ(std::strlen(over.value), 7U);
    }
    for (const float power : {1e-9F, 0.001F, 1.0F, 1e5F}) {
        const PowerLineText line =
            MeasurementText_powerLine(power, sensorMax_W, manual(4), rfPower_dBm);
        EXPECT_EQ(std::strlen(line.value), 7U) << line.value;
    }
}

TEST(MeasurementText, AManualRangeIsOverRangeFromItsCeilingOn) {
    for (uint32_t i = 0; i < rangeCount; ++i) {
        const float limit = maxScalePowerList[i];
        const PowerLineText over =
            MeasurementText_powerLine(limit, sensorMax_W, manual(i), rfPower_W);
        EXPECT_TRUE(over.isOverRange) << i;
        EXPECT_STREQ(over.value, "  Range");
        EXPECT_STREQ(over.unit, rangeFormats[i].displayLabel);
        EXPECT_TRUE(over.scaleVisible);
        EXPECT_EQ(over.scale.scaleIndex, i);
        const PowerLineText under =
            MeasurementText_powerLine(below(limit), sensorMax_W, manual(i), rfPower_W);
        EXPECT_FALSE(under.isOverRange) << i;
        EXPECT_STRNE(under.value, "  Range");
    }
}

TEST(MeasurementText, BeyondOneFifthOverTheSensorsMaximumIsOverRangeInWattsAndDBm) {
    for (const rfPowerType type : {rfPower_W, rfPower_dBm}) {
        EXPECT_TRUE(MeasurementText_powerLine(120.0F, 100.0F, automatic(6), type).isOverRange);
        EXPECT_FALSE(
            MeasurementText_powerLine(below(120.0F), 100.0F, automatic(6), type).isOverRange);
    }
    const PowerLineText dBm = MeasurementText_powerLine(120.0F, 100.0F, manual(0), rfPower_dBm);
    EXPECT_STREQ(dBm.value, "  Range");
    EXPECT_STREQ(dBm.unit, "dBm");
    EXPECT_FALSE(dBm.scaleVisible);
    EXPECT_FALSE(MeasurementText_powerLine(100.0F, 100.0F, manual(0), rfPower_dBm).isOverRange)
        << "a manual scale is no limit in dBm";
}

TEST(MeasurementText, AnOverRangeValueDoesNotMoveAnAutomaticScale) {
    const PowerLineText line = MeasurementText_powerLine(150.0F, 100.0F, automatic(4), rfPower_W);
    EXPECT_TRUE(line.isOverRange);
    EXPECT_EQ(line.scale.scaleIndex, 4U);
    EXPECT_FALSE(line.scaleChanged);
    EXPECT_STREQ(line.unit, "W");
}

TEST(MeasurementText, AnAutomaticScaleFollowsWithHysteresis) {
    struct {
        float power;
        uint32_t before;
        uint32_t after;
        const char* value;
        const char* unit;
    } const cases[] = {
        {1.0F, 3, 3, " 1000.0", "mW"},    {1.1999F, 3, 3, " 1199.9", "mW"},
        {1.2F, 3, 4, " 1.2000", "W"},     {1.0F, 4, 4, " 1.0000", "W"},
        {0.8001F, 4, 4, " 0.8001", "W"},  {0.8F, 4, 3, "  800.0", "mW"},
        {25.0F, 7, 6, "  25.00", "W"},    {1199.0F, 7, 7, " 1199.0", "W"},
        {1200.0F, 7, 8, " 1.2000", "kW"}, {0.0F, 7, 0, " 0.0000", "mW"},
    };
    for (const auto& test : cases) {
        const PowerLineText line =
            MeasurementText_powerLine(test.power, sensorMax_W, automatic(test.before), rfPower_W);
        EXPECT_STREQ(line.value, test.value);
        EXPECT_STREQ(line.unit, test.unit);
        EXPECT_EQ(line.scale.scaleIndex, test.after);
        EXPECT_TRUE(line.scale.autoScale);
        EXPECT_EQ(line.scaleChanged, test.before != test.after);
    }
}

TEST(MeasurementText, PowerLinesInDBmAreNotClampedAndHideTheirScale) {
    struct {
        float power;
        const char* value;
    } const cases[] = {
        {1.0F, "  30.00"}, {0.001F, "   0.00"},  {0.0005F, "  -3.01"}, {1e-12F, " -90.00"},
        {1e5F, "  80.00"}, {1e-15F, " -120.00"}, {0.0F, "   -inf"},    {1e-10F, " -70.00"},
    };
    for (const auto& test : cases) {
        const PowerLineText line =
            MeasurementText_powerLine(test.power, sensorMax_W, automatic(4), rfPower_dBm);
        EXPECT_STREQ(line.value, test.value) << test.power;
        EXPECT_STREQ(line.unit, "dBm");
        EXPECT_FALSE(line.scaleVisible);
        EXPECT_FALSE(line.scaleChanged);
        EXPECT_EQ(line.scale.scaleIndex, 4U);
    }
}

TEST(MeasurementText, OutlandishPowersNeverOverrunTheirTexts) {
    for (const float power : {NAN, INFINITY, -INFINITY, -3e38F, 3e38F, 1e-45F}) {
        for (uint32_t index = 0; index < 13; ++index) {
            for (const rfPowerType type : {rfPower_W, rfPower_dBm}) {
                const PowerLineText line =
                    MeasurementText_powerLine(power, INFINITY, automatic(index), type);
                EXPECT_LT(std::strlen(line.value), valueTextSize);
                EXPECT_LT(std::strlen(line.unit), unitTextSize);
            }
        }
    }
}

TEST(MeasurementText, DBmOfGatesIsClampedTo60BothWays) {
    struct {
        float power;
        float dBm;
    } const cases[] = {
        {1.0F, 30.0F},    {0.0F, -60.0F},   {1e-12F, -60.0F},  {1e-9F, -60.0F},
        {1000.0F, 60.0F}, {1e9F, 60.0F},    {INFINITY, 60.0F}, {-INFINITY, -60.0F},
        {0.001F, 0.0F},   {-1e-6F, -60.0F}, {-5.0F, -60.0F},
    };
    for (const auto& test : cases) {
        EXPECT_NEAR(convertTodBm(test.power), test.dBm, 1e-5) << test.power;
    }
}

TEST(MeasurementText, MatchTextsOfEveryTypeAndCorner) {
    const float justBelow = 0.98999F;
    struct {
        float fwd;
        float rfl;
        rfMatchType_t type;
        const char* caption;
        const char* value;
        const char* unit;
    } const cases[] = {
        {10.0F, 10.0F, rfMatch_VSWR, "VSWR:", " 199.00", ""},
        {10.0F, 10.0F, rfMatch_RL, "RL:", "   0.00", "dB"},
        {10.0F, 10.0F, rfMatch_RflCoeff, "RHO:", "  1.000", ""},
        {10.0F, 0.0F, rfMatch_VSWR, "VSWR:", "   1.00", ""},
        {10.0F, 0.0F, rfMatch_RL, "RL:", " -99.99", "dB"},
        {10.0F, 0.0F, rfMatch_RflCoeff, "RHO:", "  0.000", ""},
        {0.0F, 0.0F, rfMatch_VSWR, "VSWR:", " 199.00", ""},
        {1.0F, 5.0F, rfMatch_RflCoeff, "RHO:", "  1.000", ""},
        {100.0F, 1.0F, rfMatch_VSWR, "VSWR:", "   1.22", ""},
        {100.0F, 1.0F, rfMatch_RL, "RL:", " -20.00", "dB"},
        {100.0F, 1.0F, rfMatch_RflCoeff, "RHO:", "  0.100", ""},
        {9.0F, 1.0F, rfMatch_VSWR, "VSWR:", "   2.00", ""},
        {1.0F, 0.9801F, rfMatch_VSWR, "VSWR:", " 199.00", ""},
        {1.0F, 0.99F, rfMatch_VSWR, "VSWR:", " 199.00", ""},
        {1.0F, justBelow * justBelow, rfMatch_VSWR, "VSWR:", " 198.80", ""},
        {1e10F, 1.0F, rfMatch_RL, "RL:", " -99.99", "dB"},
        {1.0F, 1e-9F, rfMatch_RL, "RL:", " -90.00", "dB"},
        {1.0F, 2e-10F, rfMatch_RL, "RL:", " -96.99", "dB"},
    };
    for (const auto& test : cases) {
        const MatchText text = MeasurementText_match(test.fwd, test.rfl, test.type);
        EXPECT_STREQ(text.caption, test.caption) << test.fwd << "/" << test.rfl;
        EXPECT_STREQ(text.value, test.value) << test.fwd << "/" << test.rfl << test.caption;
        EXPECT_STREQ(text.unit, test.unit);
        EXPECT_EQ(std::strlen(text.value), 7U);
    }
}

TEST(MeasurementText, TheMeanAloneMovesAGroupsScale) {
    const PowerGroupText group =
        MeasurementText_powerGroup(5.0F, 50.0F, 0.5F, sensorMax_W, automatic(0), rfPower_W);
    EXPECT_EQ(group.scale.scaleIndex, 5U);
    EXPECT_TRUE(group.scaleChanged);
    EXPECT_STREQ(group.mean.value, "  5.000");
    EXPECT_STREQ(group.max.value, " 50.000");
    EXPECT_STREQ(group.min.value, "  0.500");
    EXPECT_STREQ(group.unit, "W");
    EXPECT_TRUE(group.scaleVisible);
}

TEST(MeasurementText, GroupPowersAreOverRangeOneByOne) {
    const PowerGroupText manualGroup =
        MeasurementText_powerGroup(1.0F, 2.0F, 0.5F, sensorMax_W, manual(4), rfPower_W);
    EXPECT_FALSE(manualGroup.mean.isOverRange);
    EXPECT_TRUE(manualGroup.max.isOverRange);
    EXPECT_STREQ(manualGroup.max.value, "  Range");
    EXPECT_FALSE(manualGroup.min.isOverRange);
    EXPECT_FALSE(manualGroup.scaleChanged);

    const PowerGroupText over =
        MeasurementText_powerGroup(150.0F, 150.0F, 5.0F, 100.0F, automatic(7), rfPower_W);
    EXPECT_TRUE(over.mean.isOverRange);
    EXPECT_EQ(over.scale.scaleIndex, 7U) << "a mean over range chooses no range";
    EXPECT_FALSE(over.scaleChanged);
    EXPECT_STREQ(over.min.value, "    5.0");
}

TEST(MeasurementText, GroupsInDBmAreClampedAndKeepTheirScale) {
    const PowerGroupText group =
        MeasurementText_powerGroup(0.0F, 1.0F, INFINITY, sensorMax_W, automatic(4), rfPower_dBm);
    EXPECT_STREQ(group.mean.value, " -60.00");
    EXPECT_STREQ(group.max.value, "  30.00");
    EXPECT_TRUE(group.min.isOverRange);
    EXPECT_STREQ(group.unit, "dBm");
    EXPECT_FALSE(group.scaleVisible);
    EXPECT_EQ(group.scale.scaleIndex, 4U);
}

TEST(MeasurementText, AGroupPowerBelowZeroIsShownInDBmAsZeroIs) {
    const PowerGroupText group =
        MeasurementText_powerGroup(-0.001F, 0.0F, -5.0F, sensorMax_W, automatic(4), rfPower_dBm);
    EXPECT_STREQ(group.mean.value, " -60.00");
    EXPECT_STREQ(group.max.value, " -60.00");
    EXPECT_STREQ(group.min.value, " -60.00");
}

TEST(MeasurementText, AMissingGroupPowerHasNoTextAndAMissingMeanMovesNoScale) {
    for (const rfPowerType type : {rfPower_W, rfPower_dBm}) {
        const PowerGroupText group =
            MeasurementText_powerGroup(NAN, 5.0F, NAN, sensorMax_W, automatic(5), type);
        EXPECT_STREQ(group.mean.value, "");
        EXPECT_STRNE(group.max.value, "");
        EXPECT_STREQ(group.min.value, "");
        EXPECT_FALSE(group.mean.isOverRange);
        EXPECT_FALSE(group.scaleChanged);
        EXPECT_EQ(group.scale.scaleIndex, 5U);
    }
}

TEST(MeasurementText, AMissingTimeOrFrequencyHasNoText) {
    for (ValueText (*make)(float) :
         {MeasurementText_time, MeasurementText_frequency, MeasurementText_dutyCycle}) {
        EXPECT_STREQ(make(NAN).value, "");
        EXPECT_STREQ(make(NAN).unit, "");
    }
}

TEST(MeasurementText, TimesAndFrequenciesChooseTheirUnit) {
    struct {
        ValueText (*make)(float);
        float value;
        const char* text;
        const char* unit;
    } const cases[] = {
        {MeasurementText_time, 0.0000016F, "  1.600", "us"},
        {MeasurementText_time, 0.0000012F, " 1.2000", "us"},
        {MeasurementText_time, 0.0005F, "  500.0", "us"},
        {MeasurementText_time, 0.0015F, " 1.5000", "ms"},
        {MeasurementText_time, 2.5F, "  2.500", "s"},
        {MeasurementText_time, 0.0F, " 0.0000", "us"},
        {MeasurementText_frequency, 1.5F, " 1.5000", "Hz"},
        {MeasurementText_frequency, 1500.0F, " 1.5000", "KHz"},
        {MeasurementText_frequency, 1e9F, " 1000.00", "MHz"},
        {MeasurementText_frequency, 13560000.0F, " 13.560", "MHz"},
        {MeasurementText_dutyCycle, 12.345F, "12.35", ""},
        {MeasurementText_dutyCycle, 0.0F, "0.00", ""},
    };
    for (const auto& test : cases) {
        const ValueText text = test.make(test.value);
        EXPECT_STREQ(text.value, test.text) << test.value;
        EXPECT_STREQ(text.unit, test.unit) << test.value;
    }
}

TEST(MeasurementText, TheLimitOfAPortComesFromItsSensor) {
    SensorFakes_reset();
    sensorFakes[sensorPort_Serial2].maxPower_W = 10.0F;
    EXPECT_EQ(gtkPowerDisplay_getMaxPowerForRange(sensorPort_Serial2, automatic(5), rfPower_W),
              12.0F);
    EXPECT_TRUE(gtkPowerDisplay_isOverRange(12.0F, sensorPort_Serial2, automatic(5), rfPower_W));
    EXPECT_FALSE(
        gtkPowerDisplay_isOverRange(11.9999F, sensorPort_Serial2, automatic(5), rfPower_W));
    EXPECT_EQ(gtkPowerDisplay_getMaxPowerForRange(sensorPort_None, automatic(5), rfPower_W), 0.0F);
}

TEST(MeasurementText, SensorLabelSaysWhatTheSensorIsOrDoes) {
    struct {
        uint32_t port;
        SensorStatus status;
        const char* model;
        const char* serial;
        uint32_t maxLength;
        const char* expected;
    } const cases[] = {
        {0, isReady, "5132", "012345678", 30, "5132: 012345678"},
        {0, isReady, "", "012345678", 30, "513x: 012345678"},
        {1, isReady, "", "", 30, "513x: "},
        {2, isReady, "", "7", 30, "316x: 7"},
        {3, isReady, "3165", "7", 30, "3165: 7"},
        {0, isReady, "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "012345678", 30,
         "ABCDEFGHIJKLMNOPQR: 012345678"},
        {0, isReady, "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "1", 30, "ABCDEFGHIJKLMNOPQRS: 1"},
        {0, isReady, "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "012345678", 22, "ABCDEFGHIJ: 012345678"},
        {0, isReady, "5132", "0123456789ABC", 30, "5132: 012345678"},
        {0, isReady, "5132", "012345678", 12, ": 012345678"},
        {0, isReady, "5132", "012345678", 5, ": 012"},
        {0, isReady, "5132", "012345678", 0, ""},
        {0, isReady, "a\x01\xff%s", "\n1", 30, "a??%s: ?1"},
        {0, notReady, "5132", "012345678", 30, "Connecting..."},
        {2, hasFatalError, "3165", "1", 30, "Critical Sensor Error..."},
        {2, hasFatalError, "3165", "1", 22, "Critical Sensor Error."},
        {255, notReady, "", "", 30, "Connecting..."},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(sensorLabel(test.port, test.status, test.model, test.serial, test.maxLength),
                  test.expected);
    }
}

TEST(MeasurementText, SensorLabelStaysInsideASmallBuffer) {
    char text[8] = "#######";
    MeasurementText_sensorLabel(0, isReady, "5132", "012345678", 30, std::span(text, 6));
    EXPECT_STREQ(text, "5132:");
    EXPECT_EQ(text[6], '#');
    MeasurementText_sensorLabel(0, isReady, "5132", "012345678", 30, {});
}

TEST(MeasurementText, AValueIsOldAfterThreeSecondsOrSixOfASlowSensor) {
    constexpr uint64_t minute_ms = 60000;
    struct {
        uint64_t time_ms;
        const char* text;
        const char* slowText;
    } const cases[] = {
        {0, "", ""},
        {2999, "", ""},
        {3000, "no reading for 3 s", ""},
        {5999, "no reading for 5 s", ""},
        {6000, "no reading for 6 s", "no reading for 6 s"},
        {12999, "no reading for 12 s", "no reading for 12 s"},
        {99999, "no reading for 99 s", "no reading for 99 s"},
        {100000, "no reading for 1 min", "no reading for 1 min"},
        {2 * minute_ms, "no reading for 2 min", "no reading for 2 min"},
        {100000 * minute_ms, "no reading for 100000 min", "no reading for 100000 min"},
    };
    for (const auto& test : cases) {
        EXPECT_STREQ(MeasurementText_silence({test.time_ms, false}).text, test.text);
        EXPECT_STREQ(MeasurementText_silence({test.time_ms, true}).text, test.slowText);
    }
}

TEST(MeasurementText, ASensorIsNamedByItsModelAndItsPort) {
    struct {
        uint32_t port;
        const char* model;
        const char* name;
    } const cases[] = {
        {sensorPort_Serial1, "5132", "5132 on Serial1"},
        {sensorPort_Serial2, "", "513x on Serial2"},
        {sensorPort_USB1, "", "316x on USB1"},
        {sensorPort_USB2, "ABCDEFGHIJKLMNOPQRST", "ABCDEFGHIJKLMNOPQRS on USB2"},
        {sensorPort_Serial2, "ABCDEFGHIJKLMNOPQRST", "ABCDEFGHIJKLMNOPQRS on Serial2"},
        {sensorPort_USB2, "31\x01", "31? on USB2"},
    };
    for (const auto& test : cases) {
        EXPECT_STREQ(MeasurementText_sensorName(test.port, test.model).text, test.name);
    }
}
