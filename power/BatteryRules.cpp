#include "BatteryRules.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

// Bits of the charger's state word.
constexpr uint32_t batteryMissing = 0x2;
constexpr uint32_t chargeTimedOut = 0x8;
constexpr uint32_t chargeTerminated = 0x10;
constexpr uint32_t constantCurrentOrVoltage = 0x40;
constexpr uint32_t chargerSuspended = 0x100;
constexpr uint32_t detectionInProgress = 0x800;
constexpr uint32_t detectionFailed = 0x1000;

constexpr double emptyCharge = 5940950;
constexpr double chargeRange = 5200000;

/// One piece of the discharge curve: above `above_V` a cell, percent = (v - from_V) / width_V x 25
/// + base.
struct CurveSegment {
    double above_V;
    double from_V;
    double width_V;
    int base;
};
constexpr std::array<CurveSegment, 4> dischargeCurve = {{
    {3.94, 3.94, 0.19, 75},
    {3.77, 3.77, 0.17, 50},
    {3.58, 3.58, 0.19, 25},
    {3.49, 3.49, 0.28, 5}, // flat: meets neither neighbour (docs/compatibility.md: battery-curve)
}};
constexpr double segmentPercent = 25;
constexpr double fullCell_V = 4.13;
constexpr double emptyCell_V = 3.44;
constexpr double lowestWidth_V = 0.05;

constexpr int normalLimit = 39;
constexpr double hotBattery_C = 45.0;
constexpr long hotLimitSum = 84; ///< limit code plus temperature of a hot battery

} // namespace

bool BatteryRules_isPresent(uint32_t chargerState) {
    return (chargerState & (detectionInProgress | batteryMissing | detectionFailed)) == 0;
}

std::optional<batteryState> BatteryRules_chargeState(uint32_t chargerState, bool isCalibrated) {
    if ((chargerState & (chargeTimedOut | chargeTerminated)) != 0) {
        return BATT_FULLY_CHARGED;
    }
    if ((chargerState & chargerSuspended) != 0) {
        return BATT_NOT_CHARGING;
    }
    if ((chargerState & constantCurrentOrVoltage) != 0) {
        return isCalibrated ? BATT_CHARGING_ACCUM : BATT_CHARGING_VOLTAGE;
    }
    return std::nullopt;
}

int BatteryRules_percentFromCharge(long charge) {
    const double percent = (static_cast<double>(charge) - emptyCharge) / chargeRange * 100.0;
    return static_cast<int>(std::clamp(percent, 0.0, 100.0));
}

int BatteryRules_percentFromVoltage(double packVoltage_V, unsigned cellCount) {
    if (!(packVoltage_V > 0) || cellCount == 0) {
        return 0;
    }
    const double cell_V = packVoltage_V / cellCount;
    for (const CurveSegment& segment : dischargeCurve) {
        if (!(packVoltage_V > segment.above_V * cellCount)) {
            continue;
        }
        if (cell_V >= fullCell_V) {
            return 100;
        }
        return static_cast<int>((cell_V - segment.from_V) / segment.width_V * segmentPercent +
                                segment.base);
    }
    if (cell_V <= emptyCell_V) {
        return 0;
    }
    return static_cast<int>((cell_V - emptyCell_V) / lowestWidth_V * segmentPercent);
}

int BatteryRules_inputCurrentLimit(double temperature_C) {
    if (!(temperature_C > hotBattery_C)) {
        return normalLimit;
    }
    const double nearest = std::round(std::min(temperature_C, static_cast<double>(hotLimitSum)));
    return static_cast<int>(hotLimitSum - static_cast<long>(nearest));
}

bool BatteryRules_mustCalibrate(int lastState, int state, int chargeState, bool isCalibrated,
                                bool isDue) {
    if (state == BATT_MON_STATE_CHARGE && lastState != BATT_MON_STATE_POWERUP) {
        return chargeState == BATT_FULLY_CHARGED;
    }
    return lastState == BATT_MON_STATE_CHARGE && state == BATT_MON_STATE_DISCHARGE &&
           !isCalibrated && isDue;
}
