#include "WrappedCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <ifaddrs.h>
#include <netdb.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace {

struct Failure {
    int error;
    int times;
    int letThrough;
};

struct Wrapping {
    Failure failures[static_cast<int>(Call::count)];
    uint64_t longestWrite;
    bool mountPoints;
    int64_t monotonicShift_ns;
    int64_t wallShift_ns;
    int64_t heldMonotonic_ns = -1;
};
thread_local Wrapping wrapping{};
std::atomic<bool> terminalsAreHeld{false};
thread_local char lastRenamed[4096] = "";
thread_local FlushedFile lastFlushed{-1, 0};
thread_local termios lastTerminal{};

constexpr int64_t nanosecondsPerSecond = 1'000'000'000;

/// The error number with which a call has to fail, or 0.
int takeFailure(Call call) {
    Failure& failure = wrapping.failures[static_cast<int>(call)];
    if (failure.times == 0) {
        return 0;
    }
    if (failure.letThrough > 0) {
        --failure.letThrough;
        return 0;
    }
    --failure.times;
    return failure.error;
}

/// True, with errno set, when a call that reports through errno has to fail.
bool failsWithErrno(Call call) {
    const int error = takeFailure(call);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

timespec toTimespec(int64_t time_ns) {
    return {static_cast<time_t>(time_ns / nanosecondsPerSecond),
            static_cast<long>(time_ns % nanosecondsPerSecond)};
}

} // namespace

void WrappedCalls_fail(Call call, int error, int times, int letThrough) {
    wrapping.failures[static_cast<int>(call)] = {error, times, letThrough};
}

void WrappedCalls_shortenWrites(uint64_t size) {
    wrapping.longestWrite = size;
}

void WrappedCalls_pretendMountPoints(bool pretend) {
    wrapping.mountPoints = pretend;
}

void WrappedCalls_shiftClocks(int64_t monotonic_ns, int64_t wall_ns) {
    wrapping.monotonicShift_ns = monotonic_ns;
    wrapping.wallShift_ns = wall_ns;
}

void WrappedCalls_holdMonotonicClock(int64_t now_ns) {
    wrapping.heldMonotonic_ns = now_ns;
}

void WrappedCalls_holdTerminals(bool hold) {
    terminalsAreHeld = hold;
    terminalsAreHeld.notify_all();
}

std::string WrappedCalls_lastRenamed() {
    return lastRenamed;
}

FlushedFile WrappedCalls_lastFlushed() {
    return lastFlushed;
}

termios WrappedCalls_lastTerminal() {
    return lastTerminal;
}

void WrappedCalls_reset() {
    wrapping = Wrapping{};
    lastFlushed = {-1, 0};
    WrappedCalls_holdTerminals(false);
}

extern "C" {

int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __real_pthread_mutex_lock(pthread_mutex_t*);
int __real_pthread_mutex_unlock(pthread_mutex_t*);
int __real_pthread_cond_init(pthread_cond_t*, const pthread_condattr_t*);
int __real_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
int __real_pthread_cond_signal(pthread_cond_t*);
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __real_posix_spawn(pid_t*, const char*, const posix_spawn_file_actions_t*,
                       const posix_spawnattr_t*, char* const*, char* const*);
int __real_rename(const char*, const char*);
int __real_fsync(int);
int __real_fdatasync(int);
int __real_fchmod(int, mode_t);
int __real_fchown(int, uid_t, gid_t);
int __real_access(const char*, int);
ssize_t __real_write(int, const void*, size_t);
ssize_t __real_read(int, void*, size_t);
int __real_fallocate(int, int, off_t, off_t);
int __real_statx(int, const char*, int, unsigned, struct statx*);
int __real_clock_gettime(clockid_t, timespec*);
int __real_vasprintf(char**, const char*, va_list);
int __real_getifaddrs(ifaddrs**);
int __real_getnameinfo(const sockaddr*, socklen_t, char*, socklen_t, char*, socklen_t, int);

int __real_tcsetattr(int, int, const termios*);
void* __real_calloc(size_t, size_t);
int __real_socket(int, int, int);
int __real_listen(int, int);

void* __wrap_calloc(size_t count, size_t size) {
    return failsWithErrno(Call::allocateMemory) ? nullptr : __real_calloc(count, size);
}

int __wrap_tcsetattr(int fd, int action, const termios* settings) {
    terminalsAreHeld.wait(true);
    lastTerminal = *settings;
    return __real_tcsetattr(fd, action, settings);
}

int __wrap_socket(int domain, int type, int protocol) {
    return failsWithErrno(Call::openSocket) ? -1 : __real_socket(domain, type, protocol);
}

int __wrap_listen(int fd, int backlog) {
    return failsWithErrno(Call::listenSocket) ? -1 : __real_listen(fd, backlog);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    const int error = takeFailure(Call::mutexInit);
    return error != 0 ? error : __real_pthread_mutex_init(mutex, attributes);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    const int error = takeFailure(Call::mutexLock);
    return error != 0 ? error : __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    const int error = takeFailure(Call::mutexUnlock);
    const int result = __real_pthread_mutex_unlock(mutex); // in any case: nobody may hang behind it
    return error != 0 ? error : result;
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    const int error = takeFailure(Call::conditionInit);
    return error != 0 ? error : __real_pthread_cond_init(condition, attributes);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    const int error = takeFailure(Call::conditionWait);
    return error != 0 ? error : __real_pthread_cond_wait(condition, mutex);
}

int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    const int error = takeFailure(Call::conditionSignal);
    return error != 0 ? error : __real_pthread_cond_signal(condition);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
    const int error = takeFailure(Call::threadCreate);
    return error != 0 ? error : __real_pthread_create(thread, attributes, entry, argument);
}

int __wrap_posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments,
                       char* const* environment) {
    const int error = takeFailure(Call::startProgram);
    return error != 0
               ? error
               : __real_posix_spawn(child, path, actions, attributes, arguments, environment);
}

int __wrap_rename(const char* from, const char* to) {
    snprintf(lastRenamed, sizeof lastRenamed, "%s", from);
    return failsWithErrno(Call::renameFile) ? -1 : __real_rename(from, to);
}

int __wrap_fsync(int fd) {
    return failsWithErrno(Call::syncFile) ? -1 : __real_fsync(fd);
}

int __wrap_fchmod(int fd, mode_t mode) {
    return failsWithErrno(Call::setFileMode) ? -1 : __real_fchmod(fd, mode);
}

int __wrap_fchown(int fd, uid_t owner, gid_t group) {
    return failsWithErrno(Call::setFileOwner) ? -1 : __real_fchown(fd, owner, group);
}

int __wrap_fdatasync(int fd) {
    struct stat status {};
    lastFlushed = {fd, fstat(fd, &status) == 0 ? status.st_size : -1};
    return __real_fdatasync(fd);
}

int __wrap_access(const char* path, int mode) {
    const bool asksReadable = (mode & R_OK) != 0;
    return asksReadable && failsWithErrno(Call::askReadable) ? -1 : __real_access(path, mode);
}

ssize_t __wrap_write(int fd, const void* bytes, size_t size) {
    if (failsWithErrno(Call::writeFile)) {
        return -1;
    }
    const uint64_t longest = wrapping.longestWrite;
    return __real_write(fd, bytes, longest == 0 ? size : std::min<size_t>(size, longest));
}

ssize_t __wrap_read(int fd, void* buffer, size_t size) {
    return failsWithErrno(Call::readFile) ? -1 : __real_read(fd, buffer, size);
}

int __wrap_fallocate(int fd, int mode, off_t offset, off_t length) {
    return failsWithErrno(Call::allocateFile) ? -1 : __real_fallocate(fd, mode, offset, length);
}

int __wrap_statx(int directory, const char* path, int flags, unsigned mask, struct statx* status) {
    const int result = __real_statx(directory, path, flags, mask, status);
    if (result == 0 && wrapping.mountPoints) {
        status->stx_attributes |= STATX_ATTR_MOUNT_ROOT;
        status->stx_attributes_mask |= STATX_ATTR_MOUNT_ROOT;
    }
    return result;
}

int __wrap_vasprintf(char** text, const char* format, va_list arguments) {
    return failsWithErrno(Call::composeText) ? -1 : __real_vasprintf(text, format, arguments);
}

[[gnu::format(printf, 3, 4)]] int __wrap_snprintf(char* text, size_t size, const char* format,
                                                  ...) {
    if (failsWithErrno(Call::formatText)) {
        return -1;
    }
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, size, format, arguments);
    va_end(arguments);
    return length;
}

int __wrap_getifaddrs(ifaddrs** list) {
    return failsWithErrno(Call::listInterfaces) ? -1 : __real_getifaddrs(list);
}

int __wrap_getnameinfo(const sockaddr* address, socklen_t size, char* host, socklen_t hostSize,
                       char* service, socklen_t serviceSize, int flags) {
    const int error = takeFailure(Call::nameAddress);
    if (error != 0) {
        snprintf(host, hostSize, "rubbish"); // what is there after a failure is not said
        return error;
    }
    return __real_getnameinfo(address, size, host, hostSize, service, serviceSize, flags);
}

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
    const int result = __real_clock_gettime(clock, now);
    int64_t now_ns = now->tv_sec * nanosecondsPerSecond + now->tv_nsec;
    if (clock == CLOCK_MONOTONIC) {
        now_ns = wrapping.heldMonotonic_ns >= 0 ? wrapping.heldMonotonic_ns
                                                : now_ns + wrapping.monotonicShift_ns;
    } else if (clock == CLOCK_REALTIME) {
        now_ns += wrapping.wallShift_ns;
    }
    *now = toTimespec(now_ns);
    return result;
}
}
