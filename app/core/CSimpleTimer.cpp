#include "CSimpleTimer.h"

#include <ctime>

namespace {

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr int64_t nanosecondsPerMillisecond = 1'000'000;

int64_t readClock_ns(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * nanosecondsPerSecond + now.tv_nsec;
}

/// What has to be added to the monotonic clock to obtain the time of day of the program's start.
const int64_t wallClockOffset_ns = readClock_ns(CLOCK_REALTIME) - readClock_ns(CLOCK_MONOTONIC);

} // namespace

uint64_t getTime64_ms() {
    const int64_t now_ns = wallClockOffset_ns + readClock_ns(CLOCK_MONOTONIC);
    return static_cast<uint64_t>(now_ns / nanosecondsPerMillisecond);
}

uint32_t getTime_ms() {
    return static_cast<uint32_t>(getTime64_ms());
}

void CSimpleTimer_Reset(SimpleTimerData* timer, uint32_t interval_ms) {
    timer->start = getTime_ms();
    timer->interval = interval_ms;
}

bool CSimpleTimer_IsExpired(const SimpleTimerData* timer) {
    return CSimpleTimer_isExpiredAt(*timer, getTime_ms());
}
