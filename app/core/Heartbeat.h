#ifndef APP_CORE_HEARTBEAT_H
#define APP_CORE_HEARTBEAT_H

#include "CSimpleTimer.h"
#include "ThreadWatch.h"
#include "Threads.h"

/// True when a thread's next sign of life is due; the timer is then armed again from `now_ms`.
/// Asking is a sign of life. Each thread owns its timer. The whole interval is enough here, unlike
/// for CSimpleTimer_IsExpired: a thread that sleeps for just as long shall not miss every other
/// beat.
inline bool Heartbeat_isDue(SimpleTimerData* timer, uint32_t now_ms) {
    ThreadWatch_beat();
    if (now_ms - timer->start < timer->interval) {
        return false;
    }
    *timer = {threadHeartbeat_ms, now_ms};
    return true;
}

#endif
