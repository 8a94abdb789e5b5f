#include "Watchdog.h"

#include "CSimpleTimer.h"
#include "CrashHandler.h"
#include "ThreadWatch.h"
#include "Threads.h"
#include "message.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <systemd/sd-daemon.h>

namespace {

/// Well below half of the unit's WatchdogSec, and of the time in which a thread is missed.
constexpr uint32_t passPeriod_ms = 2000;

/// What a pass counts at most: the rest of a longer one is a machine that stood still.
constexpr uint32_t longestPass_ms = passPeriod_ms + passPeriod_ms / 4;

/// The traces come first: what follows may need what the silent thread holds.
void reportSilence(const char* thread) {
    CrashHandler_traceAllThreads();
    USER_ERROR("Thread %s gives no sign of life: the meter is started again.\n", thread);
    sd_notify(0, "WATCHDOG=trigger");
}

/// Ends with the first thread that is missed: the manager, not fed any more, starts the program
/// again.
void watchdogThread() {
    const char* silent = nullptr;
    while (silent == nullptr) {
        sd_notify(0, "WATCHDOG=1");
        const uint32_t start_ms = getTime_ms();
        Thread_sleep_ms(passPeriod_ms);
        const uint32_t elapsed_ms = std::min(getTime_ms() - start_ms, longestPass_ms);
        silent = ThreadWatch_findSilent(elapsed_ms, watchdogSilenceLimit_ms);
    }
    reportSilence(silent);
}

/// The main thread's sign of life, from its loop.
gboolean beatFromMainLoop(gpointer) {
    ThreadWatch_beat();
    return G_SOURCE_CONTINUE;
}

} // namespace

void Watchdog_start() {
    sd_notify(0, "READY=1");
    if (sd_watchdog_enabled(0, nullptr) <= 0) {
        return;
    }
    g_timeout_add(threadHeartbeat_ms, beatFromMainLoop, nullptr); // touches no widget
    pthread_t thread{};
    if (Thread_start(&thread, "watchdog", watchdogThread) != 0) {
        DIAGNOSTIC("Cannot spawn the watchdog's thread.\n");
    }
}
