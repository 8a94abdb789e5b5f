#include "World.h"
#include "auto_range.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

namespace {

using Search = uint32_t (*)(float value, uint32_t currentRange);

struct ExpectedRow {
    const char* displayLabel;
    const char* formatString;
    const char* formatStringGraph;
    uint32_t precisionForGraph;
    float multiplier;
    float upThreshold;
    float downThreshold;
};

struct Ranges {
    const char* name;
    const DisplayRangeTable& table;
    Search search;
    float tolerance;
    ExpectedRow expected[rangeCount];
};

// clang-format off
const Ranges allRanges[] = {
    {"power", rangeFormats, findNewRange, 0.000005F,
     {{"mW", "% 7.4f", "%9.0f", 0, 1000.0F, -1.0F, 0.0018F},
      {"mW", "% 7.3f", "%9.0f", 0, 1000.0F, 0.002F, 0.018F},
      {"mW", "% 7.2f", "%9.0f", 0, 1000.0F, 0.02F, 0.18F},
      {"mW", "% 7.1f", "%9.0f", 0, 1000.0F, 0.2F, 0.8F},
      {"W", "% 7.4f", "%8.3f", 3, 1.0F, 1.2F, 1.8F},
      {"W", "% 7.3f", "%8.2f", 3, 1.0F, 2.0F, 18.0F},
      {"W", "% 7.2f", "%8.1f", 2, 1.0F, 20.0F, 180.0F},
      {"W", "% 7.1f", "%8.0f", 1, 1.0F, 200.0F, 800.0F},
      {"kW", "% 7.4f", "%8.3f", 4, 0.001F, 1200.0F, 1800.0F},
      {"kW", "% 7.3f", "%8.2f", 3, 0.001F, 2000.0F, 18000.0F},
      {"kW", "% 7.2f", "%8.1f", 2, 0.001F, 20000.0F, -1.0F}}},
    {"time", timeRangeFormats, findTimeRange, 0.0000005F,
     {{"us", "% 7.4f", "", 0, 1e6F, -1.0F, 0.0000018F},
      {"us", "% 7.3f", "", 0, 1e6F, 0.000002F, 0.000018F},
      {"us", "% 7.2f", "", 0, 1e6F, 0.00002F, 0.00018F},
      {"us", "% 7.1f", "", 0, 1e6F, 0.0002F, 0.0008F},
      {"ms", "% 7.4f", "", 0, 1e3F, 0.0012F, 0.0018F},
      {"ms", "% 7.3f", "", 0, 1e3F, 0.002F, 0.018F},
      {"ms", "% 7.2f", "", 0, 1e3F, 0.02F, 0.18F},
      {"ms", "% 7.1f", "", 0, 1e3F, 0.2F, 0.8F},
      {"s", "% 7.4f", "", 0, 1.0F, 1.2F, 1.8F},
      {"s", "% 7.3f", "", 0, 1.0F, 2.0F, 18.0F},
      {"s", "% 7.2f", "", 0, 1.0F, 20.0F, -1.0F}}},
    {"frequency", freqRangeFormats, findFreqRange, 0.000005F,
     {{"Hz", "% 7.4f", "", 0, 1.0F, -1.0F, 1.8F},
      {"Hz", "% 7.3f", "", 0, 1.0F, 2.0F, 18.0F},
      {"Hz", "% 7.2f", "", 0, 1.0F, 20.0F, 180.0F},
      {"Hz", "% 7.1f", "", 0, 1.0F, 200.0F, 800.0F},
      {"KHz", "% 7.4f", "", 0, 1e-3F, 1200.0F, 1800.0F},
      {"KHz", "% 7.3f", "", 0, 1e-3F, 2000.0F, 18000.0F},
      {"KHz", "% 7.2f", "", 0, 1e-3F, 20000.0F, 180000.0F},
      {"KHz", "% 7.1f", "", 0, 1e-3F, 200000.0F, 800000.0F},
      {"MHz", "% 7.4f", "", 0, 1e-6F, 1200000.0F, 1800000.0F},
      {"MHz", "% 7.3f", "", 0, 1e-6F, 2000000.0F, 18000000.0F},
      {"MHz", "% 7.2f", "", 0, 1e-6F, 20000000.0F, -1.0F}}},
};
// clang-format on

std::string at(const Ranges& ranges, uint32_t row) {
    return std::string(ranges.name) + " row " + std::to_string(row);
}

} // namespace

TEST(AutoRange, TablesHoldEveryCell) {
    for (const Ranges& ranges : allRanges) {
        for (uint32_t i = 0; i < rangeCount; ++i) {
            SCOPED_TRACE(at(ranges, i));
            const DISPLAY_RANGE_FORMAT& row = ranges.table[i];
            const ExpectedRow& expected = ranges.expected[i];
            EXPECT_STREQ(row.formatString, expected.formatString);
            EXPECT_STREQ(row.formatStringGraph, expected.formatStringGraph);
            EXPECT_STREQ(row.displayLabel, expected.displayLabel);
            EXPECT_EQ(row.precisionForGraph, expected.precisionForGraph);
            EXPECT_EQ(row.multiplier, expected.multiplier);
            EXPECT_EQ(row.upThreshold, expected.upThreshold);
            EXPECT_EQ(row.downThreshold, expected.downThreshold);
        }
    }
}

TEST(AutoRange, EveryRowIsEnteredFromBelowAtItsUpThreshold) {
    for (const Ranges& ranges : allRanges) {
        for (uint32_t i = 1; i < rangeCount; ++i) {
            SCOPED_TRACE(at(ranges, i));
            const float threshold = ranges.table[i].upThreshold;
            EXPECT_EQ(ranges.search(threshold, i - 1), i);
        }
    }
}

TEST(AutoRange, EveryRowIsEnteredFromBelowWithinItsTolerance) {
    for (const Ranges& ranges : allRanges) {
        for (uint32_t i = 1; i < rangeCount; ++i) {
            SCOPED_TRACE(at(ranges, i));
            const float threshold = ranges.table[i].upThreshold;
            const float within = threshold - 0.9F * ranges.tolerance;
            // Beyond some size a float cannot be that close to the threshold.
            if (threshold - within < ranges.tolerance) {
                EXPECT_EQ(ranges.search(within, i - 1), i);
            }
        }
    }
}

TEST(AutoRange, EveryRowIsNotEnteredFromBelowUnderItsUpThresholdLessTheTolerance) {
    for (const Ranges& ranges : allRanges) {
        for (uint32_t i = 1; i < rangeCount; ++i) {
            SCOPED_TRACE(at(ranges, i));
            const float threshold = ranges.table[i].upThreshold;
            const float under = std::nextafterf(threshold - 1.1F * ranges.tolerance, 0.0F);
            // Just under the threshold of row i, row i - 1 is kept unless it is itself left
            // downwards there.
            EXPECT_LT(ranges.search(under, i - 1), i);
        }
    }
}

TEST(AutoRange, EveryRowIsEnteredFromAboveAtItsDownThresholdAndNotAboveIt) {
    for (const Ranges& ranges : allRanges) {
        for (uint32_t i = 0; i + 1 < rangeCount; ++i) {
            SCOPED_TRACE(at(ranges, i));
            const float threshold = ranges.table[i].downThreshold;
            const float above = std::nextafterf(threshold, INFINITY);
            EXPECT_EQ(ranges.search(threshold, i + 1), i);
            EXPECT_EQ(ranges.search(above, i + 1), i + 1);
        }
    }
}

TEST(AutoRange, ValuesInTheHysteresisBandKeepEitherRange) {
    for (const Ranges& ranges : allRanges) {
        for (uint32_t i = 1; i < rangeCount; ++i) {
            SCOPED_TRACE(at(ranges, i));
            const float band =
                (ranges.table[i].upThreshold + ranges.table[i - 1].downThreshold) / 2.0F;
            // The tolerance of the time search swallows the lowest band.
            if (ranges.table[i].upThreshold - band > ranges.tolerance) {
                EXPECT_EQ(ranges.search(band, i - 1), i - 1);
            }
            EXPECT_EQ(ranges.search(band, i), i);
        }
    }
}

TEST(AutoRange, MilliwattsBecomeWattsOnlyAt1200AndReturnOnlyAt800) {
    struct {
        float power;
        uint32_t current;
        uint32_t expected;
    } const cases[] = {
        {1.1999F, 3, 3}, {1.2F, 3, 4},    {1.0F, 3, 3},      {1.0F, 4, 4},
        {0.8F, 4, 3},    {0.8001F, 4, 4}, {1.199996F, 3, 4},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(findNewRange(test.power, test.current), test.expected)
            << test.power << " W from " << test.current;
    }
}

TEST(AutoRange, OneSearchCrossesManyRanges) {
    EXPECT_EQ(findNewRange(0.0F, 10), 0U);
    EXPECT_EQ(findNewRange(-5.0F, 10), 0U);
    EXPECT_EQ(findNewRange(1e9F, 0), 10U);
    EXPECT_EQ(findNewRange(50.0F, 0), 6U);
    EXPECT_EQ(findNewRange(50.0F, 10), 6U);
}

TEST(AutoRange, RangeZeroIsNeverLeftDownwardAndRangeTenHasNoUpwardThreshold) {
    EXPECT_EQ(findNewRange(0.0F, 0), 0U);
    EXPECT_EQ(findNewRange(0.0018F, 1), 0U);
    EXPECT_EQ(findNewRange(1e30F, 10), 10U);
}

TEST(AutoRange, CurrentRangeBeyondTheTableGivesTheLastRow) {
    for (const uint32_t current : {11U, 12U, 255U, 0xFFFFFFFFU}) {
        EXPECT_EQ(findNewRange(0.001F, current), 10U);
        EXPECT_EQ(findTimeRange(0.001F, current), 10U);
        EXPECT_EQ(findFreqRange(0.001F, current), 10U);
    }
}

TEST(AutoRange, ValuesThatAreNoNumbersStayInsideTheTables) {
    for (const float value : {NAN, INFINITY, -INFINITY}) {
        for (uint32_t current = 0; current <= rangeCount; ++current) {
            EXPECT_LE(findNewRange(value, current), 10U);
            EXPECT_LE(findTimeRange(value, current), 10U);
            EXPECT_LE(findFreqRange(value, current), 10U);
        }
    }
}

TEST(AutoRange, TheTimeToleranceLetsAWidthOf1600NanosecondsIntoRowOne) {
    EXPECT_EQ(findTimeRange(0.0000016F, 0), 1U);
    EXPECT_EQ(findTimeRange(0.0000014F, 0), 0U);
}

TEST(AutoRange, EverySearchLogsItsStepsUnderItsOwnName) {
    struct {
        Search search;
        const char* name;
        const char* quantity;
    } const cases[] = {{findNewRange, "findNewRange", "power"},
                       {findTimeRange, "findTimeRange", "time"},
                       {findFreqRange, "findFreqRange", "frequency"}};
    for (const auto& test : cases) {
        World_clearSyslog();
        test.search(30.0F, 0);
        test.search(0.0F, 1);
        const std::string name = test.name;
        const std::string start = name + "(): ";
        const std::string call = start + name + "(" + test.quantity;
        EXPECT_TRUE(World_syslogContains(call + " = 30.000000, currentRange = 0)"));
        EXPECT_TRUE(World_syslogContains(start + "   increasing... range = 1, upThreshold = "));
        EXPECT_TRUE(World_syslogContains(call + " = 0.000000, currentRange = 1) -> 0"));
        EXPECT_TRUE(World_syslogContains(start + "   decreasing... range = 0, downThreshold = "));
    }
}
