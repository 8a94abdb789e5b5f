#ifndef POWER_BATTERY_RULES_H
#define POWER_BATTERY_RULES_H

#include <cstdint>
#include <optional>

/// The battery's rules as pure functions: what a charger word, a voltage or a temperature means.

enum batteryState : int {
    BATT_MISSING = 0,
    BATT_NOT_CHARGING = 1,
    BATT_CHARGING_ACCUM = 2,   ///< charging, the gauge's percentage is calibrated
    BATT_CHARGING_VOLTAGE = 3, ///< charging, no reliable percentage yet
    BATT_FULLY_CHARGED = 4
};

enum batteryMonitorState : int {
    BATT_MON_STATE_POWERUP = 0,
    BATT_MON_STATE_CHARGE = 1,
    BATT_MON_STATE_DISCHARGE = 2
};

/// Raw count that the fuel gauge is set to at a full charge.
constexpr long fullChargeCount = 11140951;

/// False when the charger's state word says that a battery is being looked for, missing, or not
/// found.
bool BatteryRules_isPresent(uint32_t chargerState);

/// Charge state that a state word stands for; nothing when the word leaves the state as it was.
std::optional<batteryState> BatteryRules_chargeState(uint32_t chargerState, bool isCalibrated);

/// Percentage from the fuel gauge's raw count, 0 to 100.
int BatteryRules_percentFromCharge(long charge);

/// Percentage from the pack's voltage, truncated toward zero. The curve has two jumps, at 3.58 V
/// and at 3.49 V a cell: the service manual relies on them (docs/compatibility.md: battery-curve).
int BatteryRules_percentFromVoltage(double packVoltage_V, unsigned cellCount);

/// Input current limit code for a battery temperature: 39 up to 45.0 degrees, less above.
int BatteryRules_inputCurrentLimit(double temperature_C);

/// True when the fuel gauge has to be told now that the pack is full.
bool BatteryRules_mustCalibrate(int lastState, int state, int chargeState, bool isCalibrated,
                                bool isDue);

#endif
