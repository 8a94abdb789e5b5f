// Asking the world's record of faults.

#include "WorldFaults.h"

#include "NextFunction.h"
#include "PreloadWorld.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
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

bool failsAt(BenchFault kind, const char* instrumentPath) {
    const BenchFaults* const faults = worldFaults();
    const int error = faults == nullptr ? 0 : BenchFaults_find(*faults, kind, instrumentPath);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

} // namespace

bool WorldFaults_fails(BenchFault kind, const WorldPath& path) {
    return path.isInWorld() && failsAt(kind, path.instrumentPath());
}

bool WorldFaults_failsFor(BenchFault kind, int fd) {
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
    return strncmp(name, root, strlen(root)) == 0 && failsAt(kind, name + strlen(root));
}

#pragma GCC visibility push(default)
extern "C" {

int fsync(int fd) {
    static NextFunction<int(int)> next("fsync");
    return WorldFaults_failsFor(BenchFault::sync, fd) ? -1 : next(fd);
}

int fdatasync(int fd) {
    static NextFunction<int(int)> next("fdatasync");
    return WorldFaults_failsFor(BenchFault::sync, fd) ? -1 : next(fd);
}

} // extern "C"
#pragma GCC visibility pop
