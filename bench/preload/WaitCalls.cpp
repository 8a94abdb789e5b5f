// The C library's calls that wait, interposed: at the bench's speed, and until the bench's time.

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldClock.h"
#include "WorldFaults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

NextFunction<int(const timespec*, timespec*)> nextNanosleep("nanosleep");
NextFunction<int(clockid_t, timespec*)> nextClockGettime("clock_gettime");

/// What is left of an interrupted wait, in the bench's time again.
timespec benchTime(const BenchClockReading& clock, const timespec& real) {
    return WorldClock_timespec(
        static_cast<int64_t>(static_cast<double>(WorldClock_ns(real)) * clock.speed));
}

constexpr bool isTime(const timespec& time) {
    return time.tv_sec >= 0 && time.tv_nsec >= 0 && time.tv_nsec < 1'000'000'000;
}

/// A sleep, with what is left of it when it is interrupted. 0 or an error number; ENOSYS where
/// there is no world, or nothing that it could sleep.
int sleepInWorld(const timespec* wait, timespec* rest) {
    if (wait == nullptr || !isTime(*wait)) {
        return ENOSYS;
    }
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t end_ns = WorldClock_ns(now) + WorldClock_ns(*wait);
    const int result = WorldClock_sleepUntil(CLOCK_MONOTONIC, end_ns);
    if (result == EINTR && rest != nullptr) {
        clock_gettime(CLOCK_MONOTONIC, &now);
        *rest = WorldClock_timespec(std::max<int64_t>(end_ns - WorldClock_ns(now), 0));
    }
    return result;
}

/// A moment on the bench's clock as the machine's clock will show it.
timespec realMoment(clockid_t kind, const timespec& moment, const BenchClockReading& clock) {
    timespec benchNow{};
    timespec realNow{};
    clock_gettime(kind, &benchNow);
    nextClockGettime(kind, &realNow);
    const int64_t wait_ns = WorldClock_ns(moment) - WorldClock_ns(benchNow);
    return WorldClock_timespec(WorldClock_ns(realNow) + WorldClock_realWait_ns(clock, wait_ns));
}

/// Calls `wait` with the machine's form of a moment on the bench's clock. Unlike a sleep, it keeps
/// the speed with which it began.
template <typename Wait> int waitUntil(clockid_t kind, const timespec* moment, Wait wait) {
    const BenchClockReading clock = WorldClock_read();
    if (clock.isRealTime() || moment == nullptr || moment->tv_nsec < 0 ||
        moment->tv_nsec >= 1'000'000'000) {
        return wait(moment);
    }
    const timespec real = realMoment(kind, *moment, clock);
    return wait(&real);
}

/// The clock that a condition variable was made to wait on. The C library keeps it in the second
/// lowest bit of this field and has no call that tells it.
clockid_t clockOfCondition(const pthread_cond_t* condition) {
    return (condition->__data.__wrefs & 2U) != 0 ? CLOCK_MONOTONIC : CLOCK_REALTIME;
}

/// A time-out in milliseconds, where below 0 is endless.
const timespec* realTimeout(const BenchClockReading& clock, int timeout_ms, timespec& real) {
    if (timeout_ms < 0) {
        return nullptr;
    }
    real = WorldClock_timespec(WorldClock_realWait_ns(clock, timeout_ms * int64_t{1'000'000}));
    return &real;
}

int realTimeout_ms(const BenchClockReading& clock, int timeout_ms) {
    if (timeout_ms <= 0) {
        return timeout_ms;
    }
    const int64_t real_ns = WorldClock_realWait_ns(clock, timeout_ms * int64_t{1'000'000});
    return static_cast<int>(std::min<int64_t>((real_ns + 999'999) / 1'000'000, INT_MAX));
}

NextFunction<int(pollfd*, nfds_t, int)> nextPoll("poll");

/// Tells until when nothing happens, at most until the end of a wait.
using WaitPlayer = int64_t (*)(int64_t end_ns);
std::atomic<WaitPlayer> waitPlayer{nullptr};

/// A wait for descriptors that takes no real time: as long as nothing is there, the clocks jump to
/// where the player lets something happen, or to the end.
int pollAtOnce(pollfd* files, nfds_t count, int timeout_ms, WaitPlayer player) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const int64_t end_ns = WorldClock_ns(now) + timeout_ms * int64_t{1'000'000};
    for (;;) {
        const int result = nextPoll(files, count, 0);
        clock_gettime(CLOCK_MONOTONIC, &now);
        if (result != 0 || WorldClock_ns(now) >= end_ns) {
            return result;
        }
        const int64_t moment_ns = std::min(player(end_ns), end_ns);
        BenchClock_advance(PreloadWorld_folder(),
                           std::max<int64_t>(moment_ns - WorldClock_ns(now), 0));
    }
}

timeval realTimeval(const BenchClockReading& clock, const timeval& time) {
    constexpr int64_t nanosecondsPerMicrosecond = 1000;
    const int64_t real_ns = WorldClock_realWait_ns(
        clock, WorldClock_ns({time.tv_sec, time.tv_usec * nanosecondsPerMicrosecond}));
    const int64_t real_us = (real_ns + nanosecondsPerMicrosecond - 1) / nanosecondsPerMicrosecond;
    return {static_cast<time_t>(real_us / 1'000'000),
            static_cast<suseconds_t>(real_us % 1'000'000)};
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int nanosleep(const timespec* wait, timespec* rest) {
    const int error = sleepInWorld(wait, rest);
    if (error == ENOSYS) {
        return nextNanosleep(wait, rest);
    }
    errno = error != 0 ? error : errno;
    return error != 0 ? -1 : 0;
}

int clock_nanosleep(clockid_t kind, int flags, const timespec* wait, timespec* rest) {
    static NextFunction<int(clockid_t, int, const timespec*, timespec*)> next("clock_nanosleep");
    int error = ENOSYS;
    if ((kind == CLOCK_MONOTONIC || kind == CLOCK_REALTIME) && wait != nullptr && isTime(*wait)) {
        error = (flags & TIMER_ABSTIME) != 0 ? WorldClock_sleepUntil(kind, WorldClock_ns(*wait))
                                             : sleepInWorld(wait, rest);
    }
    return error == ENOSYS ? next(kind, flags, wait, rest) : error;
}

int usleep(useconds_t wait_us) {
    const timespec wait = WorldClock_timespec(wait_us * int64_t{1000});
    return nanosleep(&wait, nullptr);
}

unsigned sleep(unsigned wait_s) {
    const timespec wait{static_cast<time_t>(wait_s), 0};
    timespec rest{};
    if (nanosleep(&wait, &rest) == 0) {
        return 0;
    }
    return static_cast<unsigned>(rest.tv_sec + (rest.tv_nsec >= 500'000'000 ? 1 : 0));
}

int poll(pollfd* files, nfds_t count, int timeout_ms) {
    WorldFaults_standStill();
    static NextFunction<int(pollfd*, nfds_t, const timespec*, const sigset_t*)> nextPpoll("ppoll");
    const WaitPlayer player = waitPlayer.load();
    if (player != nullptr && timeout_ms > 0) {
        return pollAtOnce(files, count, timeout_ms, player);
    }
    const BenchClockReading clock = WorldClock_read();
    if (clock.speed == 1.0) {
        return nextPoll(files, count, timeout_ms);
    }
    timespec real{};
    return nextPpoll(files, count, realTimeout(clock, timeout_ms, real), nullptr);
}

// Lets the waits of this process in poll take no real time; null ends it. The player may let
// something happen at the moment that it returns: it is there when the clocks are.
void quorvelbench_playWaits(WaitPlayer player) {
    waitPlayer.store(player);
}

int __poll_chk(pollfd* files, nfds_t count, int timeout_ms, size_t) {
    return poll(files, count, timeout_ms);
}

int ppoll(pollfd* files, nfds_t count, const timespec* timeout, const sigset_t* mask) {
    static NextFunction<int(pollfd*, nfds_t, const timespec*, const sigset_t*)> next("ppoll");
    timespec real{};
    return next(files, count, WorldClock_realWait(WorldClock_read(), timeout, real), mask);
}

int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional, timeval* timeout) {
    static NextFunction<int(int, fd_set*, fd_set*, fd_set*, timeval*)> next("select");
    const BenchClockReading clock = WorldClock_read();
    if (timeout == nullptr || clock.speed == 1.0 || timeout->tv_sec < 0 || timeout->tv_usec < 0) {
        return next(count, readable, writable, exceptional, timeout);
    }
    timeval real = realTimeval(clock, *timeout);
    const int result = next(count, readable, writable, exceptional, &real);
    // The system leaves the rest of the time there.
    const timespec rest = benchTime(clock, {real.tv_sec, real.tv_usec * 1000});
    *timeout = {rest.tv_sec, static_cast<suseconds_t>(rest.tv_nsec / 1000)};
    return result;
}

int pselect(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
            const timespec* timeout, const sigset_t* mask) {
    static NextFunction<int(int, fd_set*, fd_set*, fd_set*, const timespec*, const sigset_t*)> next(
        "pselect");
    timespec real{};
    return next(count, readable, writable, exceptional,
                WorldClock_realWait(WorldClock_read(), timeout, real), mask);
}

int epoll_wait(int poller, epoll_event* events, int count, int timeout_ms) {
    static NextFunction<int(int, epoll_event*, int, int)> next("epoll_wait");
    return next(poller, events, count, realTimeout_ms(WorldClock_read(), timeout_ms));
}

int epoll_pwait(int poller, epoll_event* events, int count, int timeout_ms, const sigset_t* mask) {
    static NextFunction<int(int, epoll_event*, int, int, const sigset_t*)> next("epoll_pwait");
    return next(poller, events, count, realTimeout_ms(WorldClock_read(), timeout_ms), mask);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const timespec* moment) {
    static NextFunction<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)> next(
        "pthread_cond_timedwait");
    return waitUntil(clockOfCondition(condition), moment,
                     [&](const timespec* real) { return next(condition, mutex, real); });
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t kind,
                           const timespec* moment) {
    static NextFunction<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)> next(
        "pthread_cond_clockwait");
    return waitUntil(kind, moment,
                     [&](const timespec* real) { return next(condition, mutex, kind, real); });
}

int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* moment) noexcept {
    static NextFunction<int(pthread_mutex_t*, const timespec*)> next("pthread_mutex_timedlock");
    return waitUntil(CLOCK_REALTIME, moment,
                     [&](const timespec* real) { return next(mutex, real); });
}

int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t kind,
                            const timespec* moment) noexcept {
    static NextFunction<int(pthread_mutex_t*, clockid_t, const timespec*)> next(
        "pthread_mutex_clocklock");
    return waitUntil(kind, moment, [&](const timespec* real) { return next(mutex, kind, real); });
}

int pthread_timedjoin_np(pthread_t thread, void** result, const timespec* moment) {
    static NextFunction<int(pthread_t, void**, const timespec*)> next("pthread_timedjoin_np");
    return waitUntil(CLOCK_REALTIME, moment,
                     [&](const timespec* real) { return next(thread, result, real); });
}

int sem_timedwait(sem_t* semaphore, const timespec* moment) {
    static NextFunction<int(sem_t*, const timespec*)> next("sem_timedwait");
    return waitUntil(CLOCK_REALTIME, moment,
                     [&](const timespec* real) { return next(semaphore, real); });
}

int sem_clockwait(sem_t* semaphore, clockid_t kind, const timespec* moment) {
    static NextFunction<int(sem_t*, clockid_t, const timespec*)> next("sem_clockwait");
    return waitUntil(kind, moment,
                     [&](const timespec* real) { return next(semaphore, kind, real); });
}

int sigtimedwait(const sigset_t* signals, siginfo_t* info, const timespec* timeout) {
    static NextFunction<int(const sigset_t*, siginfo_t*, const timespec*)> next("sigtimedwait");
    timespec real{};
    return next(signals, info, WorldClock_realWait(WorldClock_read(), timeout, real));
}

// A socket's time-outs are divided when they are set; a later change of speed does not reach them.
int setsockopt(int socket, int level, int option, const void* value, socklen_t size) noexcept {
    static NextFunction<int(int, int, int, const void*, socklen_t)> next("setsockopt");
    const BenchClockReading clock = WorldClock_read();
    const bool isTimeout = level == SOL_SOCKET && (option == SO_RCVTIMEO || option == SO_SNDTIMEO);
    if (!isTimeout || size != sizeof(timeval) || clock.speed == 1.0) {
        return next(socket, level, option, value, size);
    }
    const timeval real = realTimeval(clock, *static_cast<const timeval*>(value));
    return next(socket, level, option, &real, sizeof real);
}

} // extern "C"
#pragma GCC visibility pop
