#ifndef APP_SHUTDOWN_H
#define APP_SHUTDOWN_H

#include <cstdint>

/// The one way down: everything that switches the unit off sets `quit`, and hwPollingThread then
/// comes here.

/// Releases the battery monitor, waits 3 s and until the settings are saved (5 s at most), and runs
/// the operating system's "shutdown", which drops the keep-on output. Called again, it does nothing
/// unless the command has failed: each run of the command would start its minute anew.
/// hwPollingThread.
void shutDownPower();

/// Waits until shutDownPower has run its command, at most `limit_ms`. True when it has. Any thread.
bool Shutdown_waitForCommand(uint32_t limit_ms);

/// Makes all sensors look newly connected. Any thread.
void resetDetectedSensors();

#endif
