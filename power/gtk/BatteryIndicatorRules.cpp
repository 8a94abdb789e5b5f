#include "BatteryIndicatorRules.h"

#include "BatteryRules.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int lowPercent = 6;
constexpr int greatestPercent = 100;

/// Least percentage of each picture, from full to low.
struct LevelRow {
    int fromPercent;
    BatteryImage image;
};
constexpr std::array<LevelRow, 4> levels = {{
    {76, BatteryImage::full},
    {51, BatteryImage::threeQuarters},
    {26, BatteryImage::half},
    {lowPercent, BatteryImage::quarter},
}};

BatteryImage levelImage(int percent) {
    for (const LevelRow& level : levels) {
        if (percent >= level.fromPercent) {
            return level.image;
        }
    }
    return BatteryImage::low;
}

BatteryIndication withText(BatteryImage image, const char* text) {
    BatteryIndication indication{image, {}, false, 0};
    snprintf(indication.text.data(), indication.text.size(), "%s", text);
    return indication;
}

BatteryIndication withPercent(BatteryImage image, int percent) {
    BatteryIndication indication{
        image, {}, percent < lowPercent, std::clamp(percent, 0, greatestPercent)};
    if (percent <= greatestPercent) {
        snprintf(indication.text.data(), indication.text.size(), "%d%%", percent);
    }
    return indication;
}

} // namespace

BatteryIndication BatteryIndicatorRules_choose(bool modelHasBattery, bool isPolled, bool isPresent,
                                               int charging, int percent) {
    if (!modelHasBattery) {
        return withText(BatteryImage::plug, "");
    }
    if (!isPolled) {
        return withText(BatteryImage::none, "");
    }
    if (!isPresent) {
        return withText(BatteryImage::notConnected, "");
    }
    switch (charging) {
    case BATT_FULLY_CHARGED:
        return withText(BatteryImage::plug, "100%");
    case BATT_CHARGING_ACCUM:
        return withPercent(BatteryImage::charging, percent);
    case BATT_NOT_CHARGING:
        return withPercent(levelImage(percent), percent);
    case BATT_CHARGING_VOLTAGE: // no reliable percentage before the first calibration
        return withText(BatteryImage::charging, "---%");
    default:
        return withText(BatteryImage::none, "");
    }
}
