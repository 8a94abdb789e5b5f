#ifndef APP_WATCHDOG_H
#define APP_WATCHDOG_H

/// Tells the system's service manager that the meter works, for as long as every thread gives signs
/// of life.

/// Tells that the meter has come up. Where the manager wants signs of life (WatchdogSec of the
/// unit), starts the thread that gives them; else that costs nothing. Main thread, before its loop.
void Watchdog_start();

/// For how long a thread may give no sign of life. Each gives one at least every five seconds, but
/// for the wait for a transfer or a slow disk.
constexpr unsigned watchdogSilenceLimit_ms = 18000;

#endif
