#ifndef POWER_BATTERY_INDICATOR_RULES_H
#define POWER_BATTERY_INDICATOR_RULES_H

#include <array>

/// What the indicator shows for each state of the battery; no widgets here.

enum class BatteryImage : int {
    full,
    threeQuarters,
    half,
    quarter,
    low,
    plug,
    notConnected,
    charging,
    none
};
constexpr int batteryImageCount = static_cast<int>(BatteryImage::none);

/// What the indicator shows. An empty text hides the label.
struct BatteryIndication {
    BatteryImage image;
    std::array<char, 16> text;
    bool isRed;
    int filling_percent; ///< of the charging picture; 0 as long as the charge is not known
};

/// What is shown of a battery's state: `charging` is a batteryState, `percent` 0 to 100 (a greater
/// one is not written out). Nothing is shown before the charger has been polled: nobody knows yet
/// whether there is a battery.
BatteryIndication BatteryIndicatorRules_choose(bool modelHasBattery, bool isPolled, bool isPresent,
                                               int charging, int percent);

#endif
