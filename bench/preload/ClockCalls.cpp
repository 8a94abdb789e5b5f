// The C library's calls that tell the time, interposed.

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldClock.h"
#include "WorldFaults.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <sys/time.h>

namespace {

std::atomic<BenchClock*> mappedClock{nullptr};

NextFunction<int(clockid_t, timespec*)> nextClockGettime("clock_gettime");

const BenchClock* worldClock() {
    BenchClock* clock = mappedClock.load(std::memory_order_acquire);
    if (clock != nullptr) {
        return clock;
    }
    // Before the world is entered the time is real: entering it here would allocate.
    const char* const folder = PreloadWorld_enteredFolder();
    if (folder == nullptr) {
        return nullptr;
    }
    const int keptErrno = errno;
    clock = BenchClock_map(folder);
    errno = keptErrno;
    // Two threads may both have mapped it; either mapping will do.
    mappedClock.store(clock, std::memory_order_release);
    return clock;
}

/// What the bench's clock of this kind shows beyond the machine's.
int64_t offset_ns(clockid_t kind, const BenchClockReading& clock) {
    switch (kind) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
    case CLOCK_TAI:
        return clock.ahead_ns + clock.wallOffset_ns;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_BOOTTIME:
        return clock.ahead_ns;
    default: // processor time, and CLOCK_MONOTONIC_RAW, by which the bench itself counts
        return 0;
    }
}

int readClock(clockid_t kind, timespec* time) {
    const int result = nextClockGettime(kind, time);
    if (result == 0 && kind != CLOCK_MONOTONIC_RAW) {
        const int64_t offset = offset_ns(kind, WorldClock_read());
        if (offset != 0) {
            *time = WorldClock_timespec(WorldClock_ns(*time) + offset);
        }
    }
    return result;
}

/// A program that sets the wall clock sets its world's.
int setWallClock(int64_t wanted_ns) {
    timespec now{};
    readClock(CLOCK_REALTIME, &now);
    if (!BenchClock_stepWall(PreloadWorld_folder(), wanted_ns - WorldClock_ns(now))) {
        errno = EPERM;
        return -1;
    }
    return 0;
}

} // namespace

BenchClockReading WorldClock_read() {
    const BenchClock* const clock = worldClock();
    return clock == nullptr ? BenchClockReading{1.0, 0, 0, 0, false} : BenchClock_read(*clock);
}

int WorldClock_sleepUntil(clockid_t kind, int64_t moment_ns) {
    WorldFaults_standStill();
    const BenchClock* const clock = worldClock();
    if (clock == nullptr) {
        return ENOSYS;
    }
    for (;;) {
        const BenchClockReading reading = BenchClock_read(*clock);
        timespec now{};
        readClock(kind, &now);
        const int64_t left_ns = moment_ns - WorldClock_ns(now);
        if (left_ns <= 0 ||
            (reading.skipsSleeps && BenchClock_advance(PreloadWorld_folder(), left_ns))) {
            return 0;
        }
        if (BenchClock_sleep(*clock, reading, WorldClock_realWait_ns(reading, left_ns)) == EINTR) {
            return EINTR;
        }
    }
}

int64_t WorldClock_realWait_ns(const BenchClockReading& clock, int64_t wait_ns) {
    if (wait_ns <= 0) {
        return 0;
    }
    return clock.speed == 1.0
               ? wait_ns
               : static_cast<int64_t>(std::ceil(static_cast<double>(wait_ns) / clock.speed));
}

const timespec* WorldClock_realWait(const BenchClockReading& clock, const timespec* wait,
                                    timespec& real) {
    if (wait == nullptr || clock.speed == 1.0 || wait->tv_sec < 0 || wait->tv_nsec < 0) {
        return wait; // endless, real, or for the system to refuse
    }
    real = WorldClock_timespec(WorldClock_realWait_ns(clock, WorldClock_ns(*wait)));
    return &real;
}

#pragma GCC visibility push(default)
extern "C" {

int clock_gettime(clockid_t kind, timespec* time) noexcept {
    return readClock(kind, time);
}

int gettimeofday(timeval* time, void* zone) noexcept {
    static NextFunction<int(timeval*, void*)> next("gettimeofday");
    const int result = next(time, zone);
    timespec now{};
    if (result == 0 && readClock(CLOCK_REALTIME, &now) == 0) {
        *time = {now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / 1000)};
    }
    return result;
}

time_t time(time_t* result) noexcept {
    timespec now{};
    readClock(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

int timespec_get(timespec* time, int base) noexcept {
    return base == TIME_UTC && readClock(CLOCK_REALTIME, time) == 0 ? base : 0;
}

int clock_settime(clockid_t kind, const timespec* time) noexcept {
    static NextFunction<int(clockid_t, const timespec*)> next("clock_settime");
    if (PreloadWorld_folder() == nullptr || kind != CLOCK_REALTIME) {
        return next(kind, time);
    }
    return setWallClock(WorldClock_ns(*time));
}

int settimeofday(const timeval* time, const struct timezone* zone) noexcept {
    static NextFunction<int(const timeval*, const struct timezone*)> next("settimeofday");
    if (PreloadWorld_folder() == nullptr || time == nullptr) {
        return next(time, zone);
    }
    return setWallClock(WorldClock_ns({time->tv_sec, time->tv_usec * 1000}));
}

} // extern "C"
#pragma GCC visibility pop
