#include "BatteryRules.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace {

struct VoltageCase {
    double pack_V;
    int percent;
};

} // namespace

TEST(BatteryRules, VoltageGivesThePercentageOfItsSegment) {
    constexpr std::array<VoltageCase, 28> cases = {{
        {0.0, 0},     {9.0, 0},     {10.32, 0}, // 3.44 V a cell: empty
        {10.351, 5},  {10.381, 10}, {10.411, 15}, {10.441, 20},
        {10.469, 24}, {10.471, 5}, // the deliberate jump at 3.49 V a cell
        {10.5, 5},    {10.6, 8},    {10.7, 11},   {10.739, 13},
        {10.741, 25}, // the deliberate jump at 3.58 V a cell
        {10.8, 27},   {11.0, 36},   {11.2, 45},   {11.309, 49},
        {11.311, 50}, {11.4, 54},   {11.6, 64},   {11.7, 69},
        {11.819, 74}, {11.821, 75}, {12.0, 82},   {12.38, 99},
        {12.4, 100},  {12.6, 100},
    }};
    for (const VoltageCase& row : cases) {
        EXPECT_EQ(BatteryRules_percentFromVoltage(row.pack_V, 3), row.percent)
            << row.pack_V << " V";
    }
}

TEST(BatteryRules, VoltageThatIsNoNumberReadsAsEmpty) {
    EXPECT_EQ(BatteryRules_percentFromVoltage(-1.0, 3), 0);
    EXPECT_EQ(BatteryRules_percentFromVoltage(std::numeric_limits<double>::quiet_NaN(), 3), 0);
    EXPECT_EQ(BatteryRules_percentFromVoltage(11.4, 0), 0);
}

TEST(BatteryRules, CalibratedChargeGivesThePercentageWithinItsLimits) {
    struct Case {
        long charge;
        int percent;
    };
    constexpr std::array<Case, 9> cases = {{
        {-5, 0},
        {0, 0},
        {5940950, 0},
        {5992949, 0},
        {5992950, 1},
        {8540950, 50},
        {11140949, 99},
        {11140951, 100},
        {99999999, 100},
    }};
    for (const Case& row : cases) {
        EXPECT_EQ(BatteryRules_percentFromCharge(row.charge), row.percent) << row.charge;
    }
}

TEST(BatteryRules, AnyOfThreeBitsMeansThatThereIsNoBattery) {
    EXPECT_TRUE(BatteryRules_isPresent(0));
    EXPECT_TRUE(BatteryRules_isPresent(0x100));
    for (const uint32_t bit : {0x800U, 0x2U, 0x1000U}) {
        EXPECT_FALSE(BatteryRules_isPresent(bit)) << bit;
        EXPECT_FALSE(BatteryRules_isPresent(bit | 0x40U)) << bit;
    }
}

TEST(BatteryRules, ChargerBitsDecideInTheirOrder) {
    struct Case {
        uint32_t word;
        bool isCalibrated;
        std::optional<batteryState> state;
    };
    const std::array<Case, 10> cases = {{
        {0x08, false, BATT_FULLY_CHARGED},
        {0x10, true, BATT_FULLY_CHARGED},
        {0x08 | 0x100 | 0x40, false, BATT_FULLY_CHARGED},
        {0x10 | 0x100, false, BATT_FULLY_CHARGED},
        {0x100, false, BATT_NOT_CHARGING},
        {0x100 | 0x40, true, BATT_NOT_CHARGING},
        {0x40, true, BATT_CHARGING_ACCUM},
        {0x40, false, BATT_CHARGING_VOLTAGE},
        {0, false, std::nullopt},
        {0x20, true, std::nullopt},
    }};
    for (const Case& row : cases) {
        EXPECT_EQ(BatteryRules_chargeState(row.word, row.isCalibrated), row.state) << row.word;
    }
}

TEST(BatteryRules, InputCurrentLimitFallsAboveFortyFiveDegrees) {
    for (int tenths = -200; tenths <= 450; ++tenths) {
        EXPECT_EQ(BatteryRules_inputCurrentLimit(tenths / 10.0), 39) << tenths;
    }
    for (int tenths = 451; tenths <= 800; ++tenths) {
        const int nearestDegree = (tenths + 5) / 10;
        EXPECT_EQ(BatteryRules_inputCurrentLimit(tenths / 10.0), 84 - nearestDegree) << tenths;
    }
    struct Case {
        double temperature_C;
        int limit;
    };
    constexpr std::array<Case, 12> cases = {{
        {45.1, 39},
        {45.4, 39},
        {45.5, 38}, // halves go away from zero
        {46.4, 38},
        {46.5, 37},
        {50.0, 34},
        {60.0, 24},
        {79.5, 4},
        {80.0, 4},
        {83.5, 0},
        {84.0, 0},
        {1e12, 0},
    }};
    for (const Case& row : cases) {
        EXPECT_EQ(BatteryRules_inputCurrentLimit(row.temperature_C), row.limit)
            << row.temperature_C;
    }
}

TEST(BatteryRules, CalibrationIsDueAtAFullChargeAndAfterAMissedOne) {
    struct Case {
        int lastState;
        int state;
        int chargeState;
        bool isCalibrated;
        bool isDue;
        bool expected;
    };
    constexpr std::array<Case, 12> cases = {{
        {BATT_MON_STATE_POWERUP, BATT_MON_STATE_CHARGE, BATT_FULLY_CHARGED, false, true, false},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_CHARGE, BATT_FULLY_CHARGED, false, true, true},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_CHARGE, BATT_FULLY_CHARGED, true, true, true},
        {BATT_MON_STATE_DISCHARGE, BATT_MON_STATE_CHARGE, BATT_FULLY_CHARGED, false, true, true},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_CHARGE, BATT_NOT_CHARGING, false, true, false},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_CHARGE, BATT_CHARGING_ACCUM, true, false, false},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_DISCHARGE, BATT_MISSING, false, true, true},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_DISCHARGE, BATT_MISSING, true, true, false},
        {BATT_MON_STATE_CHARGE, BATT_MON_STATE_DISCHARGE, BATT_MISSING, false, false, false},
        {BATT_MON_STATE_DISCHARGE, BATT_MON_STATE_DISCHARGE, BATT_MISSING, false, true, false},
        {BATT_MON_STATE_POWERUP, BATT_MON_STATE_DISCHARGE, BATT_MISSING, false, true, false},
        {BATT_MON_STATE_DISCHARGE, BATT_MON_STATE_CHARGE, BATT_CHARGING_VOLTAGE, false, true,
         false},
    }};
    for (const Case& row : cases) {
        EXPECT_EQ(BatteryRules_mustCalibrate(row.lastState, row.state, row.chargeState,
                                             row.isCalibrated, row.isDue),
                  row.expected)
            << row.lastState << " to " << row.state << ", charge state " << row.chargeState;
    }
}
