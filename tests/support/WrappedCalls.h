#ifndef TESTS_SUPPORT_WRAPPED_CALLS_H
#define TESTS_SUPPORT_WRAPPED_CALLS_H

#include <cerrno>
#include <cstdint>
#include <string>
#include <termios.h>

/// System calls of this test program that fail on demand. Only calls of the arming thread fail.
enum class Call {
    mutexInit,
    mutexLock,
    mutexUnlock,
    conditionInit,
    conditionWait,
    conditionSignal,
    threadCreate,
    startProgram,
    renameFile,
    syncFile,
    writeFile,
    setFileMode,  ///< fchmod
    setFileOwner, ///< fchown
    readFile,
    allocateFile,
    composeText, ///< vasprintf
    formatText,  ///< snprintf
    listInterfaces,
    nameAddress,
    allocateMemory, ///< calloc
    openSocket,
    listenSocket,
    askReadable, ///< access for reading
    count
};

/// A way in which a file cannot be replaced.
struct ReplacingFailure {
    const char* legend;
    Call call;
    int error;
};
constexpr ReplacingFailure replacingFailures[] = {
    {"full disk", Call::writeFile, ENOSPC},
    {"full disk, noticed late", Call::syncFile, ENOSPC},
    {"disk error when flushing", Call::syncFile, EIO},
    {"mode that cannot be set", Call::setFileMode, EPERM},
    {"read-only folder", Call::renameFile, EACCES},
    {"read-only file system", Call::renameFile, EROFS},
};

/// Lets the next `times` calls fail with this error number, once so many others have been let
/// through.
void WrappedCalls_fail(Call call, int error, int times = 1, int letThrough = 0);

/// Lets every write take at most this many bytes; 0 ends it.
void WrappedCalls_shortenWrites(uint64_t size);

/// Lets every file look as if something were mounted on it.
void WrappedCalls_pretendMountPoints(bool pretend);

/// Adds to the clocks that this thread reads from now on.
void WrappedCalls_shiftClocks(int64_t monotonic_ns, int64_t wall_ns);

/// Holds the monotonic clock that this thread reads at one moment; -1 lets it run again.
void WrappedCalls_holdMonotonicClock(int64_t now_ns);

/// Lets no thread set a terminal until that is ended, as a port does that still has to send.
void WrappedCalls_holdTerminals(bool hold);

/// The name that this thread has renamed last, or tried to.
std::string WrappedCalls_lastRenamed();

/// What fdatasync was called for last in this thread, -1 before, and how long the file was then.
struct FlushedFile {
    int fd;
    int64_t size;
};
FlushedFile WrappedCalls_lastFlushed();

/// The terminal settings that this thread has applied last, or tried to.
termios WrappedCalls_lastTerminal();

/// Ends everything above.
void WrappedCalls_reset();

#endif
