#include "PulseConfigUnits.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <limits>

namespace {

struct MultiplierCase {
    double (*multiplier)(const char*);
    const char* unit;
    double expected;
};

TEST(PulseConfigUnits, UnitsHaveTheirMultipliers) {
    constexpr MultiplierCase cases[] = {
        {frequencyMultiplier, "Hz", 1.0},     {frequencyMultiplier, "KHz", 1000.0},
        {frequencyMultiplier, "khz", 1000.0}, {frequencyMultiplier, "MHz", 1000000.0},
        {frequencyMultiplier, "MHzx", 1e6},   {frequencyMultiplier, "MH", 1.0},
        {frequencyMultiplier, "", 1.0},       {timeMultiplier, "s", 1.0},
        {timeMultiplier, "ms", 0.001},        {timeMultiplier, "MSx", 0.001},
        {timeMultiplier, "us", 0.000001},     {timeMultiplier, "", 1.0},
        {powerMultiplier, "W", 1.0},          {powerMultiplier, "mW", 0.001},
        {powerMultiplier, "MW", 0.001},       {powerMultiplier, "kW", 1000.0},
        {powerMultiplier, "KW", 1000.0},      {powerMultiplier, "dBm", 1.0},
        {frequencyMultiplier, "KH", 1.0},     {frequencyMultiplier, "KHzx", 1000.0},
        {timeMultiplier, "m", 1.0},           {timeMultiplier, "u", 1.0},
        {timeMultiplier, "usx", 0.000001},    {powerMultiplier, "m", 1.0},
        {powerMultiplier, "k", 1.0},          {powerMultiplier, "mWx", 0.001},
        {powerMultiplier, "kWx", 1000.0},
    };
    for (const MultiplierCase& one : cases) {
        EXPECT_EQ(one.multiplier(one.unit), one.expected) << one.unit;
    }
}

TEST(PulseConfigUnits, WattsAndDBmConvertIntoEachOther) {
    EXPECT_DOUBLE_EQ(cvtWatt2dBm(1.0), 30.0);
    EXPECT_DOUBLE_EQ(cvtWatt2dBm(0.001), 0.0);
    EXPECT_DOUBLE_EQ(cvtDBm2Watt(30.0), 1.0);
    EXPECT_DOUBLE_EQ(cvtDBm2Watt(-30.0), 0.000001);
}

TEST(PulseConfigUnits, ComparisonsForgiveAFloatsPrecision) {
    EXPECT_TRUE(equal(1.0, 1.0 + 1.1e-7));
    EXPECT_FALSE(equal(1.0, 1.0 + 1.3e-7));
    EXPECT_TRUE(equal(0.0, 1.1e-7));
    EXPECT_TRUE(equal(1e9, 1e9 + 100.0));
    EXPECT_FALSE(equal(1e9, 1e9 + 200.0));
    EXPECT_TRUE(less(1.0, 2.0));
    EXPECT_FALSE(less(1.0, 1.0 + 1e-8));
    EXPECT_FALSE(less(2.0, 1.0));
    EXPECT_TRUE(greater(2.0, 1.0));
    EXPECT_FALSE(greater(1.0 + 1e-8, 1.0));
    EXPECT_TRUE(almostEqual(100.0, 101.0, 0.0, 0.01));
    EXPECT_TRUE(almostEqual(1.0, 2.0, 1.0, 0.0));
}

TEST(PulseConfigUnits, ADoubleBeyondAFloatBecomesItsLargestValue) {
    EXPECT_EQ(PulseConfigUnits_toFloat(1e300), FLT_MAX);
    EXPECT_EQ(PulseConfigUnits_toFloat(-std::numeric_limits<double>::infinity()), -FLT_MAX);
    EXPECT_EQ(PulseConfigUnits_toFloat(0.25), 0.25F);
}

struct BestUnitCase {
    UnitKind kind;
    double value;
    const char* unit;
};

TEST(PulseConfigUnits, AValueIsShownInTheLargestUnitThatFits) {
    constexpr BestUnitCase cases[] = {
        {UnitKind::frequency, 13.56e6, "MHz"},
        {UnitKind::frequency, 1000.0, "KHz"},
        {UnitKind::frequency, 999.0, "Hz"},
        {UnitKind::frequency, 0.0, "Hz"},
        {UnitKind::time, 1.0, "s"},
        {UnitKind::time, -0.5, "ms"},
        {UnitKind::time, 0.0005, "us"},
        {UnitKind::time, 0.0, "s"},
        {UnitKind::power, 0.5, "mW"},
        {UnitKind::power, 2.0, "W"},
        {UnitKind::power, 2000.0, "kW"},
        {UnitKind::power, 0.0, "W"},
    };
    for (const BestUnitCase& one : cases) {
        const uint32_t unit = PulseConfigUnits_bestUnit(one.kind, one.value);
        EXPECT_STREQ(PulseConfigUnits_text(one.kind, unit), one.unit) << one.value;
    }
}

UnitEntry entryOf(UnitKind kind, double value, uint32_t unit) {
    UnitEntry entry = {};
    entry.kind = kind;
    UnitEntry_set(&entry, value, unit);
    return entry;
}

struct StepCase {
    UnitKind kind;
    double value;
    uint32_t unit;
    const char* shown[5]; ///< now and after each step
};

TEST(PulseConfigUnits, StepsThroughTheUnitsOfItsKind) {
    constexpr StepCase cases[] = {
        {UnitKind::frequency, 13560000.0, 2, {"13.56", "13560000", "13560", "13.56", "13560000"}},
        {UnitKind::time, 0.00125, 1, {"1.25", "1250", "0.00125", "1.25", "1250"}},
        {UnitKind::power, 2.0, 1, {"2", "0.002", "33.0103", "2000", "2"}},
        {UnitKind::power, 0.5, 1, {"0.5", "0.0005", "26.9897", "500", "0.5"}},
        {UnitKind::power, 0.0, 1, {"0", "0", "-100", "0", "0"}},
        {UnitKind::time, -0.0000001, 2, {"-0.1", "-0.0000001", "-0.0001", "-0.1", "-0.0000001"}},
    };
    for (const StepCase& one : cases) {
        UnitEntry entry = entryOf(one.kind, one.value, one.unit);
        EXPECT_STREQ(entry.shownText, one.shown[0]);
        for (size_t i = 1; i < std::size(one.shown); ++i) {
            UnitEntry_nextUnit(&entry, entry.shownText);
            EXPECT_STREQ(entry.shownText, one.shown[i]) << one.value << " step " << i;
            EXPECT_EQ(UnitEntry_value(entry, entry.shownText), one.value);
        }
    }
}

TEST(PulseConfigUnits, AllTheWayRoundLeavesWhatWasTypedAsItWas) {
    for (const char* typed : {"007.50", "1.", ".5", "12345678901234567890", "", "."}) {
        for (const UnitKind kind : {UnitKind::frequency, UnitKind::time, UnitKind::power}) {
            UnitEntry entry = entryOf(kind, 1.0, 0);
            const double value = UnitEntry_value(entry, typed);
            UnitEntry_nextUnit(&entry, typed);
            for (uint32_t i = 1; i < PulseConfigUnits_count(kind); ++i) {
                UnitEntry_nextUnit(&entry, entry.shownText);
            }
            EXPECT_STREQ(entry.shownText, typed);
            EXPECT_EQ(UnitEntry_value(entry, entry.shownText), value);
        }
    }
}

TEST(PulseConfigUnits, ATypedTextCountsInItsUnit) {
    EXPECT_DOUBLE_EQ(UnitEntry_value(entryOf(UnitKind::frequency, 0.0, 2), "13.56"), 13.56e6);
    EXPECT_DOUBLE_EQ(UnitEntry_value(entryOf(UnitKind::time, 0.0, 2), "-900"), -0.0009);
    EXPECT_DOUBLE_EQ(UnitEntry_value(entryOf(UnitKind::power, 0.0, powerUnitDBm), "30"), 1.0);
    EXPECT_DOUBLE_EQ(UnitEntry_value(entryOf(UnitKind::power, 1.0, 1), "-"), 0.0);
}

TEST(PulseConfigUnits, ANumberBeyondEveryLimitStaysAFloatsLargestAndStepsOn) {
    constexpr double largest = std::numeric_limits<float>::max();
    const struct {
        const char* typed;
        uint32_t unit;
        double value;
    } cases[] = {{"99999", powerUnitDBm, largest}, {"1e99999", 1, largest},
                 {"-1e99999", 1, -largest},        {"inf", 2, largest},
                 {"nan", powerUnitDBm, 0.0},       {"-99999", powerUnitDBm, 0.0}};
    for (const auto& c : cases) {
        UnitEntry entry = entryOf(UnitKind::power, 1.0, c.unit);
        EXPECT_EQ(UnitEntry_value(entry, c.typed), c.value) << c.typed;
        UnitEntry_nextUnit(&entry, c.typed);
        EXPECT_EQ(UnitEntry_value(entry, entry.shownText), c.value) << c.typed;
    }
}

} // namespace
