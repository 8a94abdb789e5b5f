#include "AutoRangeRS232.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

// clang-format off
const DISPLAY_RANGE_FORMAT_RS232 expectedRows[] = {
    {"% 7.4f", "nW", 1e9F, -1.0F, 0.0000000018F},
    {"% 7.3f", "nW", 1e9F, 0.000000001999F, 0.000000018F},
    {"% 7.2f", "nW", 1e9F, 0.00000001999F, 0.00000018F},
    {"% 7.4f", "uW", 1e6F, 0.0000001999F, 0.0000018F},
    {"% 7.3f", "uW", 1e6F, 0.000001999F, 0.000018F},
    {"% 7.2f", "uW", 1e6F, 0.00001999F, 0.00018F},
    {"% 7.4f", "mW", 1e3F, 0.0001999F, 0.0018F},
    {"% 7.3f", "mW", 1e3F, 0.001999F, 0.018F},
    {"% 7.2f", "mW", 1e3F, 0.01999F, 0.18F},
    {"% 7.4f", "W", 1.0F, 0.1999F, 1.8F},
    {"% 7.3f", "W", 1.0F, 1.999F, 18.0F},
    {"% 7.2f", "W", 1.0F, 19.99F, 180.0F},
    {"% 7.4f", "KW", 1e-3F, 199.9F, 1800.0F},
    {"% 7.3f", "KW", 1e-3F, 1999.0F, 18000.0F},
    {"% 7.2f", "KW", 1e-3F, 19990.0F, 180000.0F},
    {"% 7.4f", "MW", 1e-6F, 199900.0F, 1800000.0F},
    {"% 7.3f", "MW", 1e-6F, 1999000.0F, 18000000.0F},
    {"% 7.2f", "MW", 1e-6F, 19990000.0F, -1.0F},
};
// clang-format on
static_assert(std::size(expectedRows) == rangeCountRS232);

} // namespace

TEST(AutoRangeRS232, TableHoldsEveryCell) {
    for (uint32_t i = 0; i < rangeCountRS232; ++i) {
        SCOPED_TRACE("row " + std::to_string(i));
        const DISPLAY_RANGE_FORMAT_RS232& row = AutoRangeRS232_getRange(i);
        EXPECT_STREQ(row.formatString, expectedRows[i].formatString);
        EXPECT_STREQ(row.unitLabel, expectedRows[i].unitLabel);
        EXPECT_EQ(row.multiplier, expectedRows[i].multiplier);
        EXPECT_EQ(row.upThreshold, expectedRows[i].upThreshold);
        EXPECT_EQ(row.downThreshold, expectedRows[i].downThreshold);
    }
}

TEST(AutoRangeRS232, AnIndexBeyondTheTableGivesTheLastRow) {
    EXPECT_EQ(&AutoRangeRS232_getRange(18), &rangeFormatsRS232[17]);
    EXPECT_EQ(&AutoRangeRS232_getRange(0xFFFFFFFF), &rangeFormatsRS232[17]);
}

TEST(AutoRangeRS232, EveryRowIsEnteredFromBelowAtItsUpThresholdWithoutTolerance) {
    for (uint32_t i = 1; i < rangeCountRS232; ++i) {
        SCOPED_TRACE("row " + std::to_string(i));
        const float threshold = rangeFormatsRS232[i].upThreshold;
        EXPECT_EQ(AutoRangeRS232_findNewRange(threshold, i - 1), i);
        EXPECT_EQ(AutoRangeRS232_findNewRange(std::nextafterf(threshold, 0.0F), i - 1), i - 1);
    }
}

TEST(AutoRangeRS232, EveryRowIsEnteredFromAboveAtItsDownThreshold) {
    for (uint32_t i = 0; i + 1 < rangeCountRS232; ++i) {
        SCOPED_TRACE("row " + std::to_string(i));
        const float threshold = rangeFormatsRS232[i].downThreshold;
        EXPECT_EQ(AutoRangeRS232_findNewRange(threshold, i + 1), i);
        EXPECT_EQ(AutoRangeRS232_findNewRange(std::nextafterf(threshold, INFINITY), i + 1), i + 1);
    }
}

TEST(AutoRangeRS232, TheLastRangeNeverSearchesUpward) {
    EXPECT_EQ(AutoRangeRS232_findNewRange(1e30F, 17), 17U);
    EXPECT_EQ(AutoRangeRS232_findNewRange(1.0F, 17), 9U);
}

TEST(AutoRangeRS232, OneSearchCrossesManyRanges) {
    EXPECT_EQ(AutoRangeRS232_findNewRange(0.0F, 17), 0U);
    EXPECT_EQ(AutoRangeRS232_findNewRange(1e30F, 0), 17U);
    EXPECT_EQ(AutoRangeRS232_findNewRange(5.0F, 0), 10U);
}

TEST(AutoRangeRS232, OutlandishArgumentsStayInsideTheTable) {
    for (const float value : {NAN, INFINITY, -INFINITY, -1.0F}) {
        for (const uint32_t current : {0U, 9U, 17U, 18U, 19U, 0xFFFFFFFFU}) {
            EXPECT_LE(AutoRangeRS232_findNewRange(value, current), 17U);
        }
    }
}
