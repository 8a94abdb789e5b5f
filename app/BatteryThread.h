#ifndef APP_BATTERY_THREAD_H
#define APP_BATTERY_THREAD_H

#include "CSimpleTimer.h"

#include <cstdint>

/// The critically low battery: a warning, 25 s to connect external power, then switching off.

enum enShutDownStates : int { shutdownIdle = 0, shutdownWarning = 1, shutdownShuttingDown = 2 };

constexpr int criticalBatteryPercent = 1;
constexpr uint32_t shutdownWarningTime_ms = 25000;

/// What one step of the machine asks for.
enum class BatteryAction { none, showWarning, closeWarning, switchOff };

struct BatteryThreadState {
    enShutDownStates shutDown;
    SimpleTimerData warningTimer;
    bool isPercentKnown; ///< the percentage was worked out at least once
};

/// One step of the machine, from the published percentage and charge state. Without one valid
/// reading there is no warning.
BatteryAction BatteryThread_step(BatteryThreadState* state, int percent, int charging,
                                 uint32_t now_ms);

/// Sets the charger's input current limit after the battery's temperature. A temperature that
/// cannot be read changes nothing; a limit that the charger refuses is told to the user.
void BatteryThread_limitInputCurrent();

/// The second half of a pass: percentage, then the machine and what it asks for.
void BatteryThread_watch(BatteryThreadState* state, uint32_t now_ms);

/// Thread: a pass every 5 s.
void batteryThread();

#endif
