#include "GraphText.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <string>

namespace {

std::string entryText(double value, uint32_t digits) {
    std::array<char, 64> text = {};
    formatValueForEntry(text, value, digits);
    return text.data();
}

std::string labelText(double value_mW, const char* unit, uint32_t digits) {
    std::array<char, 64> text = {};
    formatValueForLabel(text, value_mW, unit, digits);
    return text.data();
}

} // namespace

TEST(GraphText, SamplesAreWattsOrClampedDBm) {
    struct {
        double power;
        bool isdBm;
        double expected;
    } const cases[] = {
        {2.5, false, 2.5},    {-1.0, false, -1.0},       {1.0, true, 30.0},
        {0.001, true, 0.0},   {0.000000001, true, -60},  {0.0000000011, true, -59.586},
        {0.0, true, -60.0},   {-5.0, true, -60.0},       {1000.0, true, 60.0},
        {1e-30, true, -60.0}, {1.005e-9, true, -59.978},
    };
    for (const auto& test : cases) {
        EXPECT_NEAR(getPowerInCorrectUnits(test.power, test.isdBm), test.expected, 0.001)
            << test.power;
    }
}

TEST(GraphText, SettingsValuesAreConvertedBetweenMilliwattsAndDBm) {
    struct {
        double value;
        GraphScaleUnit_t unit;
        bool isdBm;
        double expected;
    } const cases[] = {
        {3000.0, graphScale_mW, false, 3000.0},
        {30.0, graphScale_dBm, false, 1000.0},
        {-60.0, graphScale_dBm, false, 1e-6},
        {1000.0, graphScale_mW, true, 30.0},
        {0.000001, graphScale_mW, true, -60.0},
        {0.0, graphScale_mW, true, -60.0},
        {12.5, graphScale_dBm, true, 12.5},
        {1e-7, graphScale_mW, true, -60.0},
        {1.1e-6, graphScale_mW, true, -59.58607314841775},
    };
    for (const auto& test : cases) {
        EXPECT_NEAR(getGraphPowerValueInCorrectUnits(test.value, test.unit, test.isdBm),
                    test.expected, 1e-9)
            << test.value;
    }
}

TEST(GraphText, ScalesAndSettingsConvertBothWays) {
    struct {
        double shown;
        const char* unit;
        double setting_mW;
    } const cases[] = {
        {5.0, "mW", 5.0}, {5.0, "W", 5000.0}, {5.0, "kW", 5000000.0}, {5.0, "", 5.0}};
    for (const auto& test : cases) {
        EXPECT_EQ(getSettingFromScale(test.shown, test.unit), test.setting_mW) << test.unit;
        EXPECT_EQ(getScaleFromSetting(test.setting_mW, test.unit), test.shown) << test.unit;
    }
}

TEST(GraphText, EntriesShowWholePartAndShortenedFraction) {
    struct {
        double value;
        uint32_t digits;
        const char* expected;
    } const cases[] = {
        {12.25, 2, "12.25"},
        {12.999, 2, "12"},
        {12.0, 3, "12"},
        {0.5, 1, "0.5"},
        {-0.5, 2, "0.5"},
        {-12.25, 2, "-12.25"},
        {12.1, 0, "12"},
        {12.9, 0, "12"},
        {0.0001, 4, "0.0001"},
        {3.00004, 4, "3"},
        {1.0625, 4, "1.0625"},
        {7.306, 2, "7.31"},
        {0.07, 2, "0.07"},
        {99999999.0, 0, "99999999"},
        {1e300, 2, "2147483647"},
        {-1e300, 2, "-2147483648"},
        {NAN, 2, "0"},
        {INFINITY, 2, "2147483647"},
        {1.23456789, 99, "1.2346"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(entryText(test.value, test.digits), test.expected)
            << test.value << " with " << test.digits;
    }
}

TEST(GraphText, LabelsShowMilliwattsInTheirUnit) {
    struct {
        double value;
        const char* unit;
        uint32_t digits;
        const char* expected;
    } const cases[] = {
        {3000.0, "W", 3, "3"},
        {3000.0, "W ", 3, "3"}, // the unit may be followed by anything
        {3250.0, "W", 3, "3.25"},
        {2500.0, "W", 1, "2.5"},
        {12999.0, "W", 2, "13"},
        {999.96, "W", 1, "1"},
        {450.4, "mW", 0, "450"},
        {450.6, "mW", 0, "451"},
        {10000000.0, "kW", 4, "10"},
        {1234567.0, "kW", 4, "1.2346"},
        {10000000.0, "W", 1, "10000"},
        {0.0, "W", 3, "0"},
        {-5250.0, "W", 2, "-5.25"},
        {-500.0, "W", 2, "0.5"},
        {1e300, "mW", 0, "2147483647"},
        {NAN, "W", 2, "0"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(labelText(test.value, test.unit, test.digits), test.expected)
            << test.value << " " << test.unit;
    }
}

TEST(GraphText, AxisLimitsFollowTheRangeOrTheDBmMode) {
    std::array<char, 32> text = {};
    formatPowerForDisplay(12.345, text, true, rangeFormats[4]);
    EXPECT_STREQ(text.data(), "12.35");
    formatPowerForDisplay(2500.0, text, false, rangeFormats[4]);
    EXPECT_STREQ(text.data(), "2.5");
    formatPowerForDisplay(1234567.0, text, false, rangeFormats[9]);
    EXPECT_STREQ(text.data(), "1.235");
}

TEST(GraphText, TheAxisTitleNamesTheUnit) {
    std::array<char, 26> text = {};
    getUnitForGraphScale(text, true, rangeFormats[0]);
    EXPECT_STREQ(text.data(), "Power (dBm)");
    for (const DISPLAY_RANGE_FORMAT& range : rangeFormats) {
        getUnitForGraphScale(text, false, range);
        EXPECT_EQ(std::string(text.data()), std::string("Power (") + range.displayLabel + ")");
    }
}

TEST(GraphText, ShortTextsAreRightJustifiedToFive) {
    struct {
        const char* text;
        const char* expected;
    } const cases[] = {{"", ""},          {"1", "    1"},     {"12", "   12"},     {"123", "  123"},
                       {"1234", " 1234"}, {"12345", "12345"}, {"123456", "123456"}};
    for (const auto& test : cases) {
        std::array<char, 12> text = {};
        std::snprintf(text.data(), text.size(), "%s", test.text);
        rightJustifyString(text);
        EXPECT_STREQ(text.data(), test.expected);
    }
}

TEST(GraphText, TextsStayInsideSmallBuffers) {
    std::array<char, 5> text = {'1', '2', 0, '#', '#'};
    rightJustifyString(text);
    EXPECT_STREQ(text.data(), "12");
    formatValueForEntry(std::span(text).first(3), 12345.5, 2);
    EXPECT_STREQ(text.data(), "12");
    EXPECT_EQ(text[3], '#');
    formatValueForEntry({}, 1.0, 2);
    formatValueForLabel({}, 1.0, "W", 2);
    formatPowerForDisplay(1.0, {}, true, rangeFormats[0]);
    getUnitForGraphScale({}, true, rangeFormats[0]);
    rightJustifyString({});
}
