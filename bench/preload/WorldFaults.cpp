// Asking the world's record of faults.

#include "WorldFaults.h"

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldClock.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <unistd.h>

namespace {

std::atomic<BenchFaults*> mappedFaults{nullptr};

const BenchFaults* worldFaults() {
    BenchFaults* faults = mappedFaults.load(std::memory_order_acquire);
    const char* const folder = PreloadWorld_folder();
    if (faults == nullptr && folder != nullptr) {
        const int keptErrno = errno;
        faults = BenchFaults_map(folder);
        errno = keptErrno;
        mappedFaults.store(faults, std::memory_order_release);
    }
    return faults;
}

int findFault(BenchFault kind, const char* instrumentPath) {
    const BenchFaults* const faults = worldFaults();
    return faults == nullptr ? 0 : BenchFaults_find(*faults, kind, instrumentPath);
}

bool failsAt(BenchFault kind, const char* instrumentPath) {
    const int error = findFault(kind, instrumentPath);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

/// The instrument path of an open file into `path`. False for a file outside the world.
template <size_t size> bool findPath(int fd, char (&path)[size]) {
    char root[PATH_MAX];
    char link[32];
    char name[PATH_MAX];
    if (!PreloadWorld_file(root, sizeof root, "root")) {
        return false;
    }
    const int keptErrno = errno;
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(link, name, sizeof name - 1);
    errno = keptErrno;
    name[length > 0 ? length : 0] = '\0';
    const bool isInside = strncmp(name, root, strlen(root)) == 0;
    snprintf(path, size, "%s", isInside ? name + strlen(root) : "");
    return isInside;
}

/// Takes the time of a slow disk, on the world's clock. A disk that is mended meanwhile is fast.
void waitForDisk(const char* instrumentPath) {
    constexpr int64_t millisecond_ns = 1'000'000;
    constexpr int64_t step_ns = 10 * millisecond_ns;
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    const int64_t start_ns = WorldClock_ns(time);
    for (int64_t now_ns = start_ns;;) {
        const int64_t end_ns =
            start_ns + findFault(BenchFault::slow, instrumentPath) * millisecond_ns;
        if (now_ns >= end_ns ||
            WorldClock_sleepUntil(CLOCK_MONOTONIC, std::min(now_ns + step_ns, end_ns)) == ENOSYS) {
            return;
        }
        clock_gettime(CLOCK_MONOTONIC, &time);
        now_ns = WorldClock_ns(time);
    }
}

/// The instrument's disk takes the time that it is told. The host's, which others may keep busy for
/// seconds, is left alone: nobody's world outlives a power cut.
int flush(NextFunction<int(int)>& next, int fd) {
    char path[PATH_MAX];
    if (!findPath(fd, path)) {
        return next(fd);
    }
    const int keptErrno = errno;
    waitForDisk(path);
    errno = keptErrno;
    return failsAt(BenchFault::sync, path) ? -1 : 0;
}

bool isAnyoneFrozen(const BenchFaults& faults) {
    return std::ranges::any_of(faults.entries, [](const BenchFaultEntry& entry) {
        return entry.kind.load(std::memory_order_relaxed) == BenchFault::freeze;
    });
}

} // namespace

void WorldFaults_standStill() {
    static NextFunction<int(const timespec*, timespec*)> nextNanosleep("nanosleep");
    // Before the world is entered nothing stands still: entering it here would allocate.
    const BenchFaults* const faults =
        PreloadWorld_enteredFolder() == nullptr ? nullptr : worldFaults();
    if (faults == nullptr || !isAnyoneFrozen(*faults)) {
        return;
    }
    const int keptErrno = errno;
    constexpr timespec pause = {0, 5'000'000};
    char name[16];
    pthread_getname_np(pthread_self(), name, sizeof name);
    while (BenchFaults_find(*faults, BenchFault::freeze, name) != 0) {
        nextNanosleep(&pause, nullptr);
    }
    errno = keptErrno;
}

bool WorldFaults_fails(BenchFault kind, const WorldPath& path) {
    return path.isInWorld() && failsAt(kind, path.instrumentPath());
}

#pragma GCC visibility push(default)
extern "C" {

int fsync(int fd) {
    static NextFunction<int(int)> next("fsync");
    return flush(next, fd);
}

int fdatasync(int fd) {
    static NextFunction<int(int)> next("fdatasync");
    return flush(next, fd);
}

} // extern "C"
#pragma GCC visibility pop
