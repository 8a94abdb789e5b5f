// Entering and leaving the world. A test process whose QUORVEL_BENCH ends in "%p" makes a world of
// its own and takes it away at its end; one that was killed leaves it to the next test process.

#include "PreloadWorld.h"

#include "NextFunction.h"
#include "WorldTree.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum class Entry : uint8_t { notYet, entering, inWorld, noWorld };

std::atomic<Entry> entry{Entry::notYet};
char worldFolder[PATH_MAX];
pid_t ownerPid = 0; // 0: the world is somebody else's

constexpr const char* worldVariable = "QUORVEL_BENCH";

/// Copies the pattern with the first "%p" replaced. True when there was one.
bool expandPattern(const char* pattern, char* result, size_t size) {
    const char* const mark = strstr(pattern, "%p");
    if (mark == nullptr) {
        snprintf(result, size, "%s", pattern);
        return false;
    }
    snprintf(result, size, "%.*s%d%s", static_cast<int>(mark - pattern), pattern,
             static_cast<int>(getpid()), mark + 2);
    return true;
}

void removeStaleNeighbours(const char* pattern) {
    const char* const lastSlash = strrchr(pattern, '/');
    if (lastSlash != nullptr && strcmp(lastSlash, "/%p") == 0) {
        char parent[PATH_MAX];
        snprintf(parent, sizeof parent, "%.*s", static_cast<int>(lastSlash - pattern), pattern);
        WorldTree_removeStale(parent);
    }
}

/// The commands that must not run are found first in a folder where they are harmless.
void shadowPath() {
    char path[PATH_MAX * 2];
    const char* const old = getenv("PATH");
    if (old != nullptr && strncmp(old, worldFolder, strlen(worldFolder)) == 0) {
        return;
    }
    snprintf(path, sizeof path, "%s/bin:%s", worldFolder,
             old != nullptr ? old : "/usr/local/bin:/usr/bin:/bin");
    setenv("PATH", path, 1);
}

/// Worlds of tests stand side by side, so each has a command port of its own.
void askForAnyPort() {
    char path[PATH_MAX];
    snprintf(path, sizeof path, "%s/%s", worldFolder, WorldFile::port);
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd >= 0) {
        dprintf(fd, "0\n");
        close(fd);
    }
}

Entry enterWorld() {
    const char* const pattern = getenv(worldVariable);
    if (pattern == nullptr) {
        return Entry::noWorld;
    }
    // Half of what the system allows leaves room for every path inside.
    if (pattern[0] != '/' || strlen(pattern) > PATH_MAX / 2) {
        fprintf(stderr, "quorvelbench: %s must be a path from / of at most %d characters\n",
                worldVariable, PATH_MAX / 2);
        _exit(126);
    }
    const bool isOwn = expandPattern(pattern, worldFolder, sizeof worldFolder);
    if (isOwn) {
        removeStaleNeighbours(pattern);
        WorldTree_remove(worldFolder);
        ownerPid = getpid();
        setenv(worldVariable, worldFolder, 1);
    }
    struct stat status;
    if ((isOwn || stat(worldFolder, &status) != 0) && !WorldTree_create(worldFolder)) {
        fprintf(stderr, "quorvelbench: cannot make the world %s: %s\n", worldFolder,
                strerror(errno));
        _exit(126);
    }
    if (isOwn) {
        askForAnyPort();
    }
    shadowPath();
    return Entry::inWorld;
}

[[gnu::constructor]] void enterAtStart() {
    PreloadWorld_folder();
}

[[gnu::destructor]] void leaveAtExit() {
    PreloadWorld_leave();
}

} // namespace

const char* PreloadWorld_folder() {
    Entry now = entry.load(std::memory_order_acquire);
    if (now == Entry::notYet && environ != nullptr) {
        // Making the world passes our own interposed calls, which must let it pass meanwhile.
        if (entry.compare_exchange_strong(now, Entry::entering)) {
            const int keptErrno = errno;
            now = enterWorld();
            entry.store(now, std::memory_order_release);
            errno = keptErrno;
        }
    }
    return now == Entry::inWorld ? worldFolder : nullptr;
}

const char* PreloadWorld_enteredFolder() {
    return entry.load(std::memory_order_acquire) == Entry::inWorld ? worldFolder : nullptr;
}

bool PreloadWorld_file(char* path, size_t size, const char* name) {
    const char* const folder = PreloadWorld_folder();
    return folder != nullptr &&
           snprintf(path, size, "%s/%s", folder, name) < static_cast<int>(size);
}

void PreloadWorld_appendLine(const char* name, const char* prefix, const char* text) {
    const int keptErrno = errno;
    char path[PATH_MAX];
    // Every character may need two places, and the line its prefix and its end.
    const size_t room = strlen(prefix) + 2 * strlen(text) + 2;
    char shortLine[4096];
    char* const line = room <= sizeof shortLine ? shortLine : static_cast<char*>(malloc(room));
    if (line != nullptr && PreloadWorld_file(path, sizeof path, name)) {
        char* at = stpcpy(line, prefix);
        for (; *text != '\0'; ++text) {
            if (*text == '\n') {
                *at++ = '\\';
                *at++ = 'n';
            } else {
                *at++ = *text;
            }
        }
        *at++ = '\n';
        const int fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
        if (fd >= 0) {
            [[maybe_unused]] const ssize_t written =
                write(fd, line, static_cast<size_t>(at - line));
            close(fd);
        }
    }
    if (line != shortLine) {
        free(line);
    }
    errno = keptErrno;
}

void PreloadWorld_leave() {
    if (ownerPid == getpid() && getenv("QUORVEL_BENCH_KEEP") == nullptr) {
        ownerPid = 0;
        WorldTree_remove(worldFolder);
    }
}

#pragma GCC visibility push(default)
extern "C" {

// A program that must not run outside a world looks this name up.
const char* quorvelbench_folder() {
    return PreloadWorld_folder();
}

// Programs that leave by the short way run no destructors.
void _exit(int status) {
    static NextFunction<void(int)> next("_exit");
    PreloadWorld_leave();
    next(status);
    __builtin_unreachable();
}

void _Exit(int status) noexcept {
    _exit(status);
}

} // extern "C"
#pragma GCC visibility pop
