#ifndef APP_SOFT_POWER_SWITCH_H
#define APP_SOFT_POWER_SWITCH_H

#include "CSimpleTimer.h"

/// The soft power switch. Any event of its input device, press or release alike, switches the unit
/// off; type, code and value are not looked at.

/// Opens the device and waits for an event, with a sign of life every 5 s meanwhile. True when at
/// least one byte came; false when the device is missing, cannot be read or is at its end.
bool SoftPowerSwitch_waitForPress(SimpleTimerData* heartbeat);

/// Thread: waits for a press and sets `quit`; 50 ms between two passes.
void softPowerSwitchPollingThread();

#endif
