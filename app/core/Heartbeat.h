#ifndef APP_CORE_HEARTBEAT_H
#define APP_CORE_HEARTBEAT_H

#include "CSimpleTimer.h"
#include "Threads.h"

/// True when a thread's next sign of life is due; the timer is then armed again from `now_ms`.
/// Each thread owns its timer.
inline bool Heartbeat_isDue(SimpleTimerData* timer, uint32_t now_ms) {
    if (!CSimpleTimer_isExpiredAt(*timer, now_ms)) {
        return false;
    }
    *timer = {threadHeartbeat_ms, now_ms};
    return true;
}

#endif
