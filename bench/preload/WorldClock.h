#ifndef BENCH_PRELOAD_WORLD_CLOCK_H
#define BENCH_PRELOAD_WORLD_CLOCK_H

#include "BenchClock.h"

#include <cstdint>
#include <ctime>

/// The clock of this process's world; real time where there is none.
BenchClockReading WorldClock_read();

/// Sleeps until a moment on the clock of this kind (wall or monotonic), however its speed changes
/// meanwhile. 0, EINTR when a signal has been handled, or ENOSYS where there is no world.
int WorldClock_sleepUntil(clockid_t kind, int64_t moment_ns);

/// How long to wait in real time for a wait of the bench's time, rounded up so that a wait never
/// ends early. Negative times become 0.
int64_t WorldClock_realWait_ns(const BenchClockReading& clock, int64_t wait_ns);

/// The same for a wait that is given as a time; `real` is where the result goes.
const timespec* WorldClock_realWait(const BenchClockReading& clock, const timespec* wait,
                                    timespec& real);

constexpr int64_t WorldClock_ns(const timespec& time) {
    return static_cast<int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

constexpr timespec WorldClock_timespec(int64_t time_ns) {
    return {static_cast<time_t>(time_ns / 1'000'000'000),
            static_cast<long>(time_ns % 1'000'000'000)};
}

#endif
