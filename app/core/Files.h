#ifndef APP_CORE_FILES_H
#define APP_CORE_FILES_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Owns a descriptor and closes it at the end of its scope. -1 is none.
class ScopedFd {
public:
    explicit ScopedFd(int descriptor = -1) : fd(descriptor) {}
    ~ScopedFd();
    ScopedFd(const ScopedFd&) = delete;
    ScopedFd& operator=(const ScopedFd&) = delete;

    int get() const {
        return fd;
    }
    bool isOpen() const {
        return fd >= 0;
    }
    /// Gives the descriptor away; this scope no longer closes it.
    int release();
    /// Closes now. Returns close's result, 0 when nothing was open.
    int close();

private:
    int fd;
};

/// Writes all bytes, taking up short and interrupted writes. False on error (errno tells).
bool File_writeAll(int fd, std::string_view bytes);

/// Reads a whole regular file of at most `limit` bytes; nothing if it cannot be read or is larger.
std::optional<std::string> File_readWhole(const char* path, size_t limit);

/// Reads up to `size` bytes from the start of a small file such as a sysfs attribute, in one open
/// and close. Returns the count, or -1 (errno tells).
long File_readStart(const char* path, char* buffer, size_t size);

/// Replaces a file so that a power cut leaves the old or the new content, whole: a sibling of a
/// unique name is written, flushed to disk and renamed over it. A symbolic link is resolved first.
/// Where a rename is impossible (a mount point, something else than a regular file) the file is
/// written in place. Mode and owner of an existing file are kept. False on error: the old file
/// stands, no sibling is left, errno tells why. Any thread; uses no heap.
bool File_replace(const char* path, std::string_view content);

/// Removes what File_replace has left beside `path` in processes that were killed meanwhile. Called
/// before this process replaces the file for the first time.
void File_removeAbandonedSiblings(const char* path);

/// Runs a shell command and waits for it, whatever signals arrive. The command starts with no
/// signal blocked or ignored, whichever thread runs it. Returns its wait status as system() does,
/// -1 if it could not be started (errno tells).
int File_runShellCommand(const char* command);

#endif
