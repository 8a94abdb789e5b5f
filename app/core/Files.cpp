#include "Files.h"

#include "RetryInterrupted.h"
#include "ThreadWatch.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int maxSymbolicLinks = 40;
constexpr size_t readPieceSize = 4096;
constexpr mode_t newFileMode = 0666;

/// A sibling is named after the file, this mark, the writer's process and a running number.
constexpr const char* siblingMark = ".new.";

using Path = std::array<char, PATH_MAX>;

bool storePath(Path& path, std::string_view directory, std::string_view name) {
    if (directory.size() + name.size() >= path.size()) {
        errno = ENAMETOOLONG;
        return false;
    }
    directory.copy(path.data(), directory.size());
    name.copy(path.data() + directory.size(), name.size());
    path[directory.size() + name.size()] = '\0';
    return true;
}

/// The directory of a path with its trailing slash; empty for a bare name.
std::string_view directoryOf(std::string_view path) {
    return path.substr(0, path.rfind('/') + 1);
}

/// Follows the symbolic links that stand at the path's end; the file itself need not exist.
bool resolveLinks(const char* path, Path& resolved) {
    if (!storePath(resolved, path, "")) {
        return false;
    }
    for (int followed = 0; followed < maxSymbolicLinks; ++followed) {
        Path link{};
        const ssize_t length = readlink(resolved.data(), link.data(), link.size() - 1);
        if (length < 0) {
            return errno == EINVAL || errno == ENOENT; // no link: this is the file's own name
        }
        const Path holder = resolved;
        const std::string_view directory = link[0] == '/' ? "" : directoryOf(holder.data());
        if (!storePath(resolved, directory, {link.data(), static_cast<size_t>(length)})) {
            return false;
        }
    }
    errno = ELOOP;
    return false;
}

/// Creates a sibling under a name that no other writer uses. Returns its descriptor or -1.
int createSibling(const char* target, Path& sibling) {
    static std::atomic<unsigned> lastNumber{0};
    int fd = -1;
    do {
        const int length = snprintf(sibling.data(), sibling.size(), "%s%s%d.%u", target,
                                    siblingMark, static_cast<int>(getpid()), ++lastNumber);
        if (length < 0 || static_cast<size_t>(length) >= sibling.size()) {
            errno = ENAMETOOLONG;
            return -1;
        }
        fd = open(sibling.data(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, newFileMode);
    } while (fd == -1 && (errno == EINTR || errno == EEXIST));
    return fd;
}

bool takeOverModeAndOwner(int fd, const struct stat& original) {
    struct stat created {};
    if (fstat(fd, &created) != 0) {
        return false;
    }
    const bool sameOwner = created.st_uid == original.st_uid && created.st_gid == original.st_gid;
    if (!sameOwner && fchown(fd, original.st_uid, original.st_gid) != 0) {
        return false;
    }
    return fchmod(fd, original.st_mode & ~static_cast<mode_t>(S_IFMT)) == 0;
}

/// Fills, flushes and closes the sibling. `original` is null when there was no file before.
bool completeSibling(int descriptor, std::string_view content, const struct stat* original) {
    ScopedFd fd(descriptor);
    if (original != nullptr && !takeOverModeAndOwner(fd.get(), *original)) {
        return false;
    }
    return File_writeAll(fd.get(), content) &&
           retryInterrupted([&] { return fsync(fd.get()); }) == 0 && fd.close() == 0;
}

bool writeInPlace(const char* target, std::string_view content) {
    const ScopedFd fd(retryInterrupted([&] { return open(target, O_WRONLY | O_CLOEXEC); }));
    struct stat status {};
    if (!fd.isOpen() || fstat(fd.get(), &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        return File_writeAll(fd.get(), content);
    }
    const auto size = static_cast<off_t>(content.size());
    // Room is taken before the first byte is overwritten: a full disk leaves the old content.
    if (size > status.st_size && fallocate(fd.get(), FALLOC_FL_KEEP_SIZE, 0, size) != 0 &&
        errno == ENOSPC) {
        return false;
    }
    return File_writeAll(fd.get(), content) &&
           retryInterrupted([&] { return ftruncate(fd.get(), size); }) == 0 &&
           retryInterrupted([&] { return fsync(fd.get()); }) == 0;
}

/// True for a file that something is mounted on: no rename can replace it, and its directory may
/// well be read-only.
bool isMountPoint(const char* path) {
    struct statx status {};
    return statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0 &&
           (status.stx_attributes & status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
}

bool replaceByRename(const char* target, std::string_view content, const struct stat* original) {
    Path sibling;
    const int fd = createSibling(target, sibling);
    if (fd < 0) {
        return false;
    }
    // The directory is not flushed as well: a power cut in the next seconds may bring back the old
    // file, but never a damaged one, and auto-ranging saves too often to wait for the disk twice.
    if (completeSibling(fd, content, original) && rename(sibling.data(), target) == 0) {
        return true;
    }
    const int reason = errno;
    unlink(sibling.data());
    errno = reason;
    return false;
}

/// True when `name` is a sibling of the file `base` whose writer is this or a dead process.
bool isAbandonedSibling(std::string_view name, std::string_view base) {
    const std::string_view mark = siblingMark;
    if (name.substr(0, base.size()) != base || name.substr(base.size(), mark.size()) != mark) {
        return false;
    }
    const char* number = name.data() + base.size() + mark.size();
    char* end = nullptr;
    const long writer = strtol(number, &end, 10);
    if (end == number || *end != '.' || writer <= 0 || writer > INT_MAX) {
        return false;
    }
    const auto process = static_cast<pid_t>(writer);
    return process == getpid() || (kill(process, 0) != 0 && errno == ESRCH);
}

/// Attributes of a child that starts with every signal as the system delivers it: the calling
/// thread's mask and the program's ignored signals are not for its children.
bool initializeChildAttributes(posix_spawnattr_t& attributes) {
    if (posix_spawnattr_init(&attributes) != 0) {
        return false;
    }
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    return true;
}

} // namespace

ScopedFd::~ScopedFd() {
    close();
}

int ScopedFd::release() {
    const int released = fd;
    fd = -1;
    return released;
}

int ScopedFd::close() {
    // An interrupted close has closed the descriptor on Linux: it must not be repeated.
    const int descriptor = release();
    return descriptor < 0 ? 0 : ::close(descriptor);
}

bool File_writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            retryInterrupted([&] { return write(fd, bytes.data(), bytes.size()); });
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

std::optional<std::string> File_readWhole(const char* path, size_t limit) {
    const ScopedFd fd(retryInterrupted([&] { return open(path, O_RDONLY | O_CLOEXEC); }));
    struct stat status {};
    if (!fd.isOpen() || fstat(fd.get(), &status) != 0) {
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return std::nullopt;
    }
    std::string content;
    std::array<char, readPieceSize> piece;
    for (;;) {
        const ssize_t count =
            retryInterrupted([&] { return read(fd.get(), piece.data(), piece.size()); });
        if (count <= 0) {
            return count == 0 ? std::optional(std::move(content)) : std::nullopt;
        }
        content.append(piece.data(), static_cast<size_t>(count));
        if (content.size() > limit) {
            errno = EFBIG;
            return std::nullopt;
        }
    }
}

long File_readStart(const char* path, char* buffer, size_t size) {
    const ScopedFd fd(retryInterrupted([&] { return open(path, O_RDONLY | O_CLOEXEC); }));
    if (!fd.isOpen()) {
        return -1;
    }
    return retryInterrupted([&] { return read(fd.get(), buffer, size); });
}

bool File_replace(const char* path, std::string_view content) {
    ThreadWatch_progress(); // who stores much on a slow disk does not hang
    Path target;
    if (!resolveLinks(path, target)) {
        return false;
    }
    struct stat original {};
    const bool exists = stat(target.data(), &original) == 0;
    if (exists && (!S_ISREG(original.st_mode) || isMountPoint(target.data()))) {
        return writeInPlace(target.data(), content);
    }
    if (replaceByRename(target.data(), content, exists ? &original : nullptr)) {
        return true;
    }
    return exists && (errno == EBUSY || errno == EXDEV) && writeInPlace(target.data(), content);
}

void File_removeAbandonedSiblings(const char* path) {
    Path target;
    Path sibling;
    if (!resolveLinks(path, target)) {
        return;
    }
    const std::string_view directory = directoryOf(target.data());
    const std::string_view base = std::string_view(target.data()).substr(directory.size());
    if (!storePath(sibling, directory.empty() ? "." : directory, "")) {
        return;
    }
    DIR* entries = opendir(sibling.data());
    if (entries == nullptr) {
        return;
    }
    for (const dirent* entry = readdir(entries); entry != nullptr; entry = readdir(entries)) {
        if (isAbandonedSibling(entry->d_name, base) &&
            storePath(sibling, directory, entry->d_name)) {
            unlink(sibling.data());
        }
    }
    closedir(entries);
}

int File_runShellCommand(const char* command) {
    posix_spawnattr_t attributes;
    if (!initializeChildAttributes(attributes)) {
        errno = ENOMEM;
        return -1;
    }
    const char* const arguments[] = {"sh", "-c", command, nullptr};
    pid_t child = 0;
    // posix_spawn does not write to the texts; its parameter type is older than const.
    const int error = posix_spawn(&child, "/bin/sh", nullptr, &attributes,
                                  const_cast<char* const*>(arguments), environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        errno = error;
        return -1;
    }
    const ThreadRest rest; // as long as the command takes
    int status = 0;
    return retryInterrupted([&] { return waitpid(child, &status, 0); }) == -1 ? -1 : status;
}
