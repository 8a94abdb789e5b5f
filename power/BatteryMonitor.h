#ifndef POWER_BATTERY_MONITOR_H
#define POWER_BATTERY_MONITOR_H

#include "BatteryRules.h"

#include <atomic>
#include <cstdint>
#include <optional>

/// The battery monitor: sets the charger up, follows its state word and works the percentage out.
/// Any read of a charger or gauge file may fail at any time: the last good state then stays.
/// hwPollingThread and batteryThread write the record, gtkThread reads it; its fields are single
/// words.

struct BATT_MONITOR {
    std::atomic<int> state;                 ///< batteryMonitorState
    std::atomic<int> lastState;             ///< the state before the last poll
    std::atomic<uint16_t> cellCount;        ///< always 3: the packs fitted have three cells
    std::atomic<float> lipoBattVoltage;     ///< pack, V; 0 until the gauge was read once
    std::atomic<int> battChargeState;       ///< batteryState
    std::atomic<bool> accumChargeWasSet;    ///< the gauge was calibrated at a full charge
    std::atomic<bool> setAccumCharge;       ///< a calibration is due
    std::atomic<bool> battPresent;          ///< a battery was detected
    std::atomic<bool> hasBattery;           ///< this model has a battery at all
    std::atomic<uint8_t> inputCurrentLimit; ///< last code set
};

extern BATT_MONITOR battMon;

/// What the rest of the program sees of the battery.
inline std::atomic<int> batteryPercent{0};
inline std::atomic<int> batteryCharging{BATT_MISSING}; ///< batteryState
inline std::atomic<bool> batteryPresent{false};
inline std::atomic<bool> batteryIsPolled{false}; ///< the charger has answered once

/// Sets the record to its initial values and the charger up. Returns 1 in every case: the
/// service manual relies on what start-up then logs (docs/compatibility.md: monitor-answers-one).
/// Main thread, once, with i2cMutex held.
int initBatteryMonitor();

/// Releases the monitor: from now on the model counts as one without battery. May be called again.
/// Any thread.
void disableBatteryMonitor();

/// Looks the instrument's model up: those that begin with "8830K8" have no battery. Main thread.
void checkModelForBattery();

/// False for a model without battery and once the monitor is released. Any thread.
bool modelHasBattery();

/// Reads whether a battery is there; keeps the last answer when the charger cannot be read.
bool checkBattery();

/// Reads the charge state (batteryState); keeps the last one when the charger cannot be read.
int checkIfCharging();

/// One poll: reports presence (at the first poll only: docs/compatibility.md: presence-once) and
/// the charge state, and calibrates the gauge when it is time. A poll that cannot read the charger
/// changes nothing. hwPollingThread.
void pollI2CBatteryMonitor(bool* present, int* charging);

/// Takes the pack's voltage over. hwPollingThread.
void pollI2CFuelGauge();

/// Works the percentage out. False, and *percent stays, before the first poll and while there is
/// no valid reading to work with. batteryThread.
bool pollBatteryPercent(int* percent);

std::optional<float> getFuelGaugeVoltage();     ///< V
std::optional<float> getFuelGaugeTemperature(); ///< degrees Celsius
std::optional<long> getFuelGaugeAccumCharge();  ///< raw counts
std::optional<float> getFuelGaugeCurrent();     ///< A

/// Tells the gauge that the pack is full and remembers it over restarts. When the gauge cannot be
/// written, the calibration stays due.
void setFuelGaugeAccumCharge();

/// Writes the code (0 to 255) and returns what the charger reports then, if it can be read. A code
/// that could not be written is not remembered as set.
std::optional<int> setInputCurrentLimit(int code);
std::optional<int> getInputCurrentLimit();
int getLastInputCurrentLimit();

/// Cells that the charger counts, if it can be read.
std::optional<int> getBatteryCellCount();

/// The mark that a calibration has happened: created if it is missing; true when it is there.
void writeBattFile();
bool readBattFile();

#endif
