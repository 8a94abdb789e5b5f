// The world's clock record, its one writer and its many readers.

#include "BenchClock.h"

#include "WorldTree.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;

int64_t realTime_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_RAW, &now);
    return static_cast<int64_t>(now.tv_sec) * nanosecondsPerSecond + now.tv_nsec;
}

int openClock(const char* folder) {
    char path[PATH_MAX];
    if (snprintf(path, sizeof path, "%s/%s", folder, WorldFile::clock) >=
        static_cast<int>(sizeof path)) {
        return -1;
    }
    // The clock is also asked by a sanitizer's allocator while it holds its lock. So the record is
    // mapped by the kernel's own calls, which neither allocate nor are interposed.
    return static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CREAT | O_CLOEXEC, 0644));
}

BenchClock* mapOpened(int fd) {
    if (syscall(SYS_ftruncate, fd, sizeof(BenchClock)) != 0) {
        return nullptr;
    }
    // The kernel reads whole words: the offset must not be a bare int.
    constexpr long offset = 0;
    const long page = syscall(SYS_mmap, nullptr, sizeof(BenchClock), PROT_READ | PROT_WRITE,
                              MAP_SHARED, fd, offset);
    return page == -1 ? nullptr : reinterpret_cast<BenchClock*>(page);
}

double effectiveSpeed(double stored) {
    return stored > 0 ? stored : 1.0;
}

int64_t aheadAt(const BenchClock& clock, double speed, int64_t now_ns) {
    const double gone = static_cast<double>(now_ns - clock.changed_ns.load());
    return clock.aheadAtChange_ns.load() +
           (speed == 1.0 ? 0 : static_cast<int64_t>(gone * (speed - 1.0)));
}

/// Runs `change` on the record while readers and other writers wait.
template <typename Change> bool changeClock(const char* folder, Change change) {
    const int fd = openClock(folder);
    if (fd < 0) {
        return false;
    }
    flock(fd, LOCK_EX);
    BenchClock* const clock = mapOpened(fd);
    if (clock != nullptr) {
        clock->version.fetch_add(1);
        change(*clock);
        clock->version.fetch_add(1);
        syscall(SYS_futex, &clock->version, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
        munmap(clock, sizeof(BenchClock));
    }
    close(fd);
    return clock != nullptr;
}

} // namespace

BenchClock* BenchClock_map(const char* folder) {
    const int fd = openClock(folder);
    if (fd < 0) {
        return nullptr;
    }
    BenchClock* const clock = mapOpened(fd);
    syscall(SYS_close, fd);
    return clock;
}

BenchClockReading BenchClock_read(const BenchClock& clock) {
    for (;;) {
        const uint32_t before = clock.version.load();
        BenchClockReading reading{};
        reading.speed = effectiveSpeed(clock.speed.load());
        reading.ahead_ns = reading.speed == 1.0 ? clock.aheadAtChange_ns.load()
                                                : aheadAt(clock, reading.speed, realTime_ns());
        reading.wallOffset_ns = clock.wallOffset_ns.load();
        reading.version = before;
        reading.skipsSleeps = clock.skipsSleeps.load() != 0;
        if (before % 2 == 0 && before == clock.version.load()) {
            return reading;
        }
    }
}

int BenchClock_sleep(const BenchClock& clock, const BenchClockReading& reading, int64_t real_ns) {
    const timespec wait = {static_cast<time_t>(real_ns / nanosecondsPerSecond),
                           static_cast<long>(real_ns % nanosecondsPerSecond)};
    const int keptErrno = errno;
    const long result =
        syscall(SYS_futex, &clock.version, FUTEX_WAIT, reading.version, &wait, nullptr, 0);
    const bool isInterrupted = result == -1 && errno == EINTR;
    errno = keptErrno;
    return isInterrupted ? EINTR : 0;
}

bool BenchClock_setSpeed(const char* folder, double speed) {
    constexpr double slowest = 0.01;
    constexpr double fastest = 1000;
    if (!(speed >= slowest && speed <= fastest)) {
        return false;
    }
    return changeClock(folder, [speed](BenchClock& clock) {
        const int64_t now_ns = realTime_ns();
        clock.aheadAtChange_ns.store(aheadAt(clock, effectiveSpeed(clock.speed.load()), now_ns));
        clock.changed_ns.store(now_ns);
        clock.speed.store(speed);
    });
}

bool BenchClock_skipSleeps(const char* folder, bool skips) {
    return changeClock(folder,
                       [skips](BenchClock& clock) { clock.skipsSleeps.store(skips ? 1 : 0); });
}

bool BenchClock_advance(const char* folder, int64_t step_ns) {
    return changeClock(folder,
                       [step_ns](BenchClock& clock) { clock.aheadAtChange_ns.fetch_add(step_ns); });
}

bool BenchClock_stepWall(const char* folder, int64_t step_ns) {
    return changeClock(folder,
                       [step_ns](BenchClock& clock) { clock.wallOffset_ns.fetch_add(step_ns); });
}
