#ifndef APP_CORE_APP_FLAGS_H
#define APP_CORE_APP_FLAGS_H

#include <atomic>

/// Flags that one thread sets and others poll.

/// Set by any cause of shutdown, never cleared; hwPollingThread then powers the unit off.
inline std::atomic<bool> quit{false};

/// Set by gtkThread whenever it holds the GDK lock. While it is false, start-up has not finished
/// and every GTK signal callback returns at once.
inline std::atomic<bool> gtk_init_done{false};

/// Set when all screens are built.
inline std::atomic<bool> screenInitComplete{false};

/// Asks hwPollingThread to report every sensor as removed, and to find it again.
inline std::atomic<bool> resetSensorDetect{false};

#endif
