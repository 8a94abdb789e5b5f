#include "BatteryIndicatorRules.h"

#include "BatteryRules.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

TEST(BatteryIndicatorRules, EveryStateHasItsPictureAndText) {
    struct Case {
        bool modelHasBattery;
        bool isPolled;
        bool isPresent;
        int charging;
        int percent;
        BatteryImage image;
        const char* text;
        bool isRed;
    };
    constexpr std::array<Case, 28> cases = {{
        {false, true, true, BATT_NOT_CHARGING, 50, BatteryImage::plug, "", false},
        {false, true, false, BATT_MISSING, 0, BatteryImage::plug, "", false},
        {true, true, false, BATT_FULLY_CHARGED, 50, BatteryImage::notConnected, "", false},
        {true, true, true, BATT_FULLY_CHARGED, 50, BatteryImage::plug, "100%", false},
        {true, true, true, BATT_CHARGING_ACCUM, 50, BatteryImage::charging, "50%", false},
        {true, true, true, BATT_CHARGING_ACCUM, 5, BatteryImage::charging, "5%", true},
        {true, true, true, BATT_CHARGING_ACCUM, 6, BatteryImage::charging, "6%", false},
        {true, true, true, BATT_CHARGING_ACCUM, 101, BatteryImage::charging, "", false},
        {true, true, true, BATT_CHARGING_VOLTAGE, 3, BatteryImage::charging, "---%", false},
        {true, true, true, BATT_NOT_CHARGING, 101, BatteryImage::full, "", false},
        {true, true, true, BATT_NOT_CHARGING, 100, BatteryImage::full, "100%", false},
        {true, true, true, BATT_NOT_CHARGING, 76, BatteryImage::full, "76%", false},
        {true, true, true, BATT_NOT_CHARGING, 75, BatteryImage::threeQuarters, "75%", false},
        {true, true, true, BATT_NOT_CHARGING, 51, BatteryImage::threeQuarters, "51%", false},
        {true, true, true, BATT_NOT_CHARGING, 50, BatteryImage::half, "50%", false},
        {true, true, true, BATT_NOT_CHARGING, 26, BatteryImage::half, "26%", false},
        {true, true, true, BATT_NOT_CHARGING, 25, BatteryImage::quarter, "25%", false},
        {true, true, true, BATT_NOT_CHARGING, 6, BatteryImage::quarter, "6%", false},
        {true, true, true, BATT_NOT_CHARGING, 5, BatteryImage::low, "5%", true},
        {true, true, true, BATT_NOT_CHARGING, 1, BatteryImage::low, "1%", true},
        {true, true, true, BATT_NOT_CHARGING, 0, BatteryImage::low, "0%", true},
        {true, true, true, BATT_MISSING, 50, BatteryImage::none, "", false},
        {true, true, true, 5, 50, BatteryImage::none, "", false},
        {true, true, true, -1, 50, BatteryImage::none, "", false},
        {true, true, false, BATT_NOT_CHARGING, 0, BatteryImage::notConnected, "", false},
        {true, false, false, BATT_MISSING, 0, BatteryImage::none, "", false},
        {true, false, true, BATT_NOT_CHARGING, 50, BatteryImage::none, "", false},
        {false, false, false, BATT_MISSING, 0, BatteryImage::plug, "", false},
    }};
    for (const Case& row : cases) {
        const BatteryIndication shown = BatteryIndicatorRules_choose(
            row.modelHasBattery, row.isPolled, row.isPresent, row.charging, row.percent);
        const std::string label = "charge state " + std::to_string(row.charging) + ", " +
                                  std::to_string(row.percent) + " percent";
        EXPECT_EQ(shown.image, row.image) << label;
        EXPECT_EQ(std::string(shown.text.data()), row.text) << label;
        EXPECT_EQ(shown.isRed, row.isRed) << label;
    }
}

TEST(BatteryIndicatorRules, TheChargingPictureIsAsFullAsTheBattery) {
    struct Case {
        int charging;
        int percent;
        int filling_percent;
    };
    constexpr std::array<Case, 6> cases = {{
        {BATT_CHARGING_ACCUM, 0, 0},
        {BATT_CHARGING_ACCUM, 37, 37},
        {BATT_CHARGING_ACCUM, 100, 100},
        {BATT_CHARGING_ACCUM, 101, 100},
        {BATT_CHARGING_ACCUM, -1, 0},
        {BATT_CHARGING_VOLTAGE, 80, 0}, // the percentage is not reliable yet
    }};
    for (const Case& row : cases) {
        EXPECT_EQ(BatteryIndicatorRules_choose(true, true, true, row.charging, row.percent)
                      .filling_percent,
                  row.filling_percent)
            << row.charging << ", " << row.percent << " percent";
    }
}
