#ifndef APP_CORE_CSIMPLE_TIMER_H
#define APP_CORE_CSIMPLE_TIMER_H

#include <cstdint>

/// A polled interval timer. It belongs to one thread and never re-arms itself.
struct SimpleTimerData {
    uint32_t interval; ///< milliseconds
    uint32_t start;    ///< getTime_ms() when the timer was armed
};

/// The time of day in milliseconds, truncated to 32 bits (wraps about every 49.7 days). The wall
/// clock is read once, at the program's start, and advanced by the monotonic clock, so that a
/// stepped clock neither expires nor delays a timer. Any thread.
uint32_t getTime_ms();

/// The same clock before it is truncated.
uint64_t getTime64_ms();

/// Arms the timer now.
void CSimpleTimer_Reset(SimpleTimerData* timer, uint32_t interval_ms);

/// True when strictly more than the interval has gone by since the timer was armed; correct across
/// the clock's wrap.
bool CSimpleTimer_IsExpired(const SimpleTimerData* timer);

/// The rule behind CSimpleTimer_IsExpired, with the time as a parameter.
constexpr bool CSimpleTimer_isExpiredAt(const SimpleTimerData& timer, uint32_t now_ms) {
    return static_cast<uint32_t>(now_ms - timer.start) > timer.interval;
}

#endif
