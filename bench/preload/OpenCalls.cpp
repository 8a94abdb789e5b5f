// The C library's calls that open files and folders, interposed in all their forms.

#include "NextFunction.h"
#include "Opening.h"
#include "WorldPath.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int needsMode = O_CREAT | O_TMPFILE;

NextFunction<int(int, const char*, int, mode_t)> nextOpenat("openat");

int openInWorld(int directory, const char* name, int flags, mode_t mode) {
    const WorldPath path(name, directory);
    if (!path.isInWorld()) {
        return nextOpenat(directory, path.get(), flags, mode);
    }
    const Opening opening = Opening_begin(path, flags);
    if (opening.isDecided) {
        return opening.fd;
    }
    const int fd = nextOpenat(directory, path.get(), opening.flags, mode);
    return Opening_end(path, opening, fd);
}

/// The open flags that a stream's mode stands for.
int flagsOfStreamMode(const char* mode) {
    const bool isUpdate = strchr(mode, '+') != nullptr;
    switch (mode[0]) {
    case 'w':
        return (isUpdate ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    case 'a':
        return (isUpdate ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    default:
        return isUpdate ? O_RDWR : O_RDONLY;
    }
}

/// A stream over a descriptor that the call above has opened.
FILE* openStreamInWorld(const char* name, const char* mode) {
    constexpr mode_t streamMode = 0666;
    int flags = flagsOfStreamMode(mode);
    flags |= strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0;
    flags |= strchr(mode, 'x') != nullptr ? O_EXCL : 0;
    const int fd = openInWorld(AT_FDCWD, name, flags, streamMode);
    if (fd < 0) {
        return nullptr;
    }
    FILE* const stream = fdopen(fd, mode);
    if (stream == nullptr) {
        close(fd);
    }
    return stream;
}

FILE* openStream(NextFunction<FILE*(const char*, const char*)>& next, const char* name,
                 const char* mode) {
    return WorldPath(name).isInWorld() ? openStreamInWorld(name, mode) : next(name, mode);
}

/// Runs a maker of unique names on the world's form of the pattern and hands the six letters back.
template <typename Maker> auto makeTemporary(char* pattern, size_t suffixLength, Maker make) {
    const WorldPath path(pattern);
    if (!path.isInWorld()) {
        return make(pattern);
    }
    char unique[PATH_MAX];
    snprintf(unique, sizeof unique, "%s", path.get());
    auto result = make(unique);
    constexpr size_t letters = 6;
    const size_t tail = letters + suffixLength;
    const size_t length = strlen(pattern);
    const size_t uniqueLength = strlen(unique);
    if (length >= tail && uniqueLength >= tail) {
        memcpy(pattern + length - tail, unique + uniqueLength - tail, letters);
    }
    return result;
}

template <typename... Extra>
int makeTemporaryFile(NextFunction<int(char*, Extra...)>& next, char* pattern, size_t suffixLength,
                      Extra... extra) {
    const WorldPath path(pattern);
    const Opening opening = Opening_begin(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC);
    if (opening.isDecided) {
        return opening.fd;
    }
    const int fd =
        makeTemporary(pattern, suffixLength, [&](char* unique) { return next(unique, extra...); });
    return Opening_end(path, opening, fd);
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int open(const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & needsMode) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openInWorld(AT_FDCWD, name, flags, mode);
}

int open64(const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & needsMode) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openInWorld(AT_FDCWD, name, flags, mode);
}

int openat(int directory, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & needsMode) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openInWorld(directory, name, flags, mode);
}

int openat64(int directory, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & needsMode) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openInWorld(directory, name, flags, mode);
}

// The fortified forms, which programs built with _FORTIFY_SOURCE call.
int __open_2(const char* name, int flags) {
    return openInWorld(AT_FDCWD, name, flags, 0);
}

int __open64_2(const char* name, int flags) {
    return openInWorld(AT_FDCWD, name, flags, 0);
}

int __openat_2(int directory, const char* name, int flags) {
    return openInWorld(directory, name, flags, 0);
}

int __openat64_2(int directory, const char* name, int flags) {
    return openInWorld(directory, name, flags, 0);
}

int creat(const char* name, mode_t mode) {
    return openInWorld(AT_FDCWD, name, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

int creat64(const char* name, mode_t mode) {
    return openInWorld(AT_FDCWD, name, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

FILE* fopen(const char* name, const char* mode) {
    static NextFunction<FILE*(const char*, const char*)> next("fopen");
    return openStream(next, name, mode);
}

FILE* fopen64(const char* name, const char* mode) {
    static NextFunction<FILE*(const char*, const char*)> next("fopen64");
    return openStream(next, name, mode);
}

FILE* freopen(const char* name, const char* mode, FILE* stream) {
    static NextFunction<FILE*(const char*, const char*, FILE*)> next("freopen");
    return next(WorldPath(name).get(), mode, stream);
}

FILE* freopen64(const char* name, const char* mode, FILE* stream) {
    static NextFunction<FILE*(const char*, const char*, FILE*)> next("freopen64");
    return next(WorldPath(name).get(), mode, stream);
}

DIR* opendir(const char* name) {
    static NextFunction<DIR*(const char*)> next("opendir");
    return next(WorldPath(name).get());
}

int scandir(const char* name, dirent*** list, int (*filter)(const dirent*),
            int (*compare)(const dirent**, const dirent**)) {
    static NextFunction<int(const char*, dirent***, int (*)(const dirent*),
                            int (*)(const dirent**, const dirent**))>
        next("scandir");
    return next(WorldPath(name).get(), list, filter, compare);
}

int scandir64(const char* name, dirent64*** list, int (*filter)(const dirent64*),
              int (*compare)(const dirent64**, const dirent64**)) {
    static NextFunction<int(const char*, dirent64***, int (*)(const dirent64*),
                            int (*)(const dirent64**, const dirent64**))>
        next("scandir64");
    return next(WorldPath(name).get(), list, filter, compare);
}

int mkstemp(char* pattern) {
    static NextFunction<int(char*)> next("mkstemp");
    return makeTemporaryFile(next, pattern, 0);
}

int mkstemp64(char* pattern) {
    static NextFunction<int(char*)> next("mkstemp64");
    return makeTemporaryFile(next, pattern, 0);
}

int mkostemp(char* pattern, int flags) {
    static NextFunction<int(char*, int)> next("mkostemp");
    return makeTemporaryFile(next, pattern, 0, flags);
}

int mkostemp64(char* pattern, int flags) {
    static NextFunction<int(char*, int)> next("mkostemp64");
    return makeTemporaryFile(next, pattern, 0, flags);
}

int mkstemps(char* pattern, int suffix) {
    static NextFunction<int(char*, int)> next("mkstemps");
    return makeTemporaryFile(next, pattern, static_cast<size_t>(suffix), suffix);
}

int mkstemps64(char* pattern, int suffix) {
    static NextFunction<int(char*, int)> next("mkstemps64");
    return makeTemporaryFile(next, pattern, static_cast<size_t>(suffix), suffix);
}

int mkostemps(char* pattern, int suffix, int flags) {
    static NextFunction<int(char*, int, int)> next("mkostemps");
    return makeTemporaryFile(next, pattern, static_cast<size_t>(suffix), suffix, flags);
}

int mkostemps64(char* pattern, int suffix, int flags) {
    static NextFunction<int(char*, int, int)> next("mkostemps64");
    return makeTemporaryFile(next, pattern, static_cast<size_t>(suffix), suffix, flags);
}

char* mkdtemp(char* pattern) noexcept {
    static NextFunction<char*(char*)> next("mkdtemp");
    char* const made = makeTemporary(pattern, 0, [](char* unique) { return next(unique); });
    return made != nullptr ? pattern : nullptr;
}

} // extern "C"
#pragma GCC visibility pop
