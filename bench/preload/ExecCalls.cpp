// The C library's calls that start programs, interposed. Forbidden ones are written down and
// something harmless runs in their place; all others stay in the world, even when their environment
// is replaced.

#include "Commands.h"
#include "NextFunction.h"
#include "PreloadWorld.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <spawn.h>
#include <unistd.h>

namespace {

constexpr size_t listLimit = 2048;
using TextList = std::array<char*, listLimit>;

// Composed once at the start, because a child between fork and exec may do very little.
char preloadSetting[PATH_MAX + 32];
char worldSetting[PATH_MAX + 32];

constexpr const char* preloadName = "LD_PRELOAD=";
constexpr const char* worldName = "QUORVEL_BENCH=";

bool isSetting(const char* entry, const char* name) {
    return strncmp(entry, name, strlen(name)) == 0;
}

[[gnu::constructor]] void composeSettings() {
    Dl_info self;
    const char* const folder = PreloadWorld_folder();
    if (folder != nullptr && dladdr(preloadSetting, &self) != 0) {
        snprintf(preloadSetting, sizeof preloadSetting, "%s%s", preloadName, self.dli_fname);
        snprintf(worldSetting, sizeof worldSetting, "%s%s", worldName, folder);
    }
}

/// Keeps the given environment and adds this library and the world where they are missing. False
/// when it is too long.
bool completeEnvironment(char* const environment[], TextList& complete) {
    const char* const library = preloadSetting + strlen(preloadName);
    bool hasWorld = false;
    bool hasLibrary = false;
    size_t count = 0;
    for (size_t index = 0; environment != nullptr && environment[index] != nullptr; ++index) {
        char* const entry = environment[index];
        const bool isPreload = isSetting(entry, preloadName);
        if (isPreload && strstr(entry, library) == nullptr) {
            continue;
        }
        hasLibrary = hasLibrary || isPreload;
        hasWorld = hasWorld || isSetting(entry, worldName);
        if (count + 3 >= complete.size()) {
            return false;
        }
        complete[count++] = entry;
    }
    if (!hasLibrary) {
        complete[count++] = preloadSetting;
    }
    if (!hasWorld) {
        complete[count++] = worldSetting;
    }
    complete[count] = nullptr;
    return true;
}

NextFunction<int(const char*, char* const[], char* const[])> nextExecve("execve");

int runHarmless() {
    char name[] = "true";
    char* const arguments[] = {name, nullptr};
    char* const environment[] = {nullptr};
    return nextExecve(harmlessProgram, arguments, environment);
}

/// Calls `run` with the environment that the program gets, unless it is forbidden.
template <typename Run>
int execInWorld(const char* file, char* const arguments[], char* const environment[], Run run) {
    if (PreloadWorld_folder() == nullptr) {
        return run(environment);
    }
    if (Commands_isForbidden(file)) {
        Commands_record(file, arguments);
        return runHarmless();
    }
    TextList complete;
    if (!completeEnvironment(environment, complete)) {
        errno = E2BIG;
        return -1;
    }
    return run(complete.data());
}

int execveInWorld(const char* file, char* const arguments[], char* const environment[]) {
    return execInWorld(file, arguments, environment, [&](char* const complete[]) {
        return nextExecve(file, arguments, complete);
    });
}

int execvpeInWorld(const char* file, char* const arguments[], char* const environment[]) {
    static NextFunction<int(const char*, char* const[], char* const[])> next("execvpe");
    return execInWorld(file, arguments, environment,
                       [&](char* const complete[]) { return next(file, arguments, complete); });
}

/// The words of execl and its kin, up to the null that ends them.
bool collectArguments(const char* first, va_list rest, TextList& arguments) {
    arguments[0] = const_cast<char*>(first);
    size_t count = 0;
    while (arguments[count] != nullptr) {
        if (++count == arguments.size()) {
            errno = E2BIG;
            return false;
        }
        arguments[count] = va_arg(rest, char*);
    }
    return true;
}

using Spawn = int(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
                  char* const[], char* const[]);

int spawnInWorld(NextFunction<Spawn>& next, pid_t* pid, const char* file,
                 const posix_spawn_file_actions_t* actions, const posix_spawnattr_t* attributes,
                 char* const arguments[], char* const environment[]) {
    if (PreloadWorld_folder() == nullptr) {
        return next(pid, file, actions, attributes, arguments, environment);
    }
    TextList complete;
    if (!completeEnvironment(environment, complete)) {
        return E2BIG;
    }
    if (Commands_isForbidden(file)) {
        Commands_record(file, arguments);
        return next(pid, harmlessProgram, actions, attributes, arguments, complete.data());
    }
    return next(pid, file, actions, attributes, arguments, complete.data());
}

/// The shell of system() and popen() inherits this process's environment.
void completeOwnEnvironment() {
    if (PreloadWorld_folder() == nullptr) {
        return;
    }
    const char* const preload = getenv("LD_PRELOAD");
    const char* const library = preloadSetting + strlen(preloadName);
    if (preload == nullptr || strstr(preload, library) == nullptr) {
        setenv("LD_PRELOAD", library, 1);
    }
    setenv("QUORVEL_BENCH", worldSetting + strlen(worldName), 0);
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int execve(const char* file, char* const arguments[], char* const environment[]) noexcept {
    return execveInWorld(file, arguments, environment);
}

int execv(const char* file, char* const arguments[]) noexcept {
    return execveInWorld(file, arguments, environ);
}

int execvp(const char* file, char* const arguments[]) noexcept {
    return execvpeInWorld(file, arguments, environ);
}

int execvpe(const char* file, char* const arguments[], char* const environment[]) noexcept {
    return execvpeInWorld(file, arguments, environment);
}

int execl(const char* file, const char* first, ...) noexcept {
    TextList arguments;
    va_list rest;
    va_start(rest, first);
    const bool isWhole = collectArguments(first, rest, arguments);
    va_end(rest);
    return isWhole ? execveInWorld(file, arguments.data(), environ) : -1;
}

int execlp(const char* file, const char* first, ...) noexcept {
    TextList arguments;
    va_list rest;
    va_start(rest, first);
    const bool isWhole = collectArguments(first, rest, arguments);
    va_end(rest);
    return isWhole ? execvpeInWorld(file, arguments.data(), environ) : -1;
}

int execle(const char* file, const char* first, ...) noexcept {
    TextList arguments;
    va_list rest;
    va_start(rest, first);
    const bool isWhole = collectArguments(first, rest, arguments);
    char* const* const environment = isWhole ? va_arg(rest, char* const*) : nullptr;
    va_end(rest);
    return isWhole ? execveInWorld(file, arguments.data(), environment) : -1;
}

int fexecve(int fd, char* const arguments[], char* const environment[]) noexcept {
    static NextFunction<int(int, char* const[], char* const[])> next("fexecve");
    char link[32];
    char file[PATH_MAX] = "";
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    [[maybe_unused]] const ssize_t length = readlink(link, file, sizeof file - 1);
    return execInWorld(file, arguments, environment,
                       [&](char* const complete[]) { return next(fd, arguments, complete); });
}

int execveat(int directory, const char* file, char* const arguments[], char* const environment[],
             int flags) noexcept {
    static NextFunction<int(int, const char*, char* const[], char* const[], int)> next("execveat");
    return execInWorld(file, arguments, environment, [&](char* const complete[]) {
        return next(directory, file, arguments, complete, flags);
    });
}

int posix_spawn(pid_t* pid, const char* file, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]) {
    static NextFunction<Spawn> next("posix_spawn");
    return spawnInWorld(next, pid, file, actions, attributes, arguments, environment);
}

int posix_spawnp(pid_t* pid, const char* file, const posix_spawn_file_actions_t* actions,
                 const posix_spawnattr_t* attributes, char* const arguments[],
                 char* const environment[]) {
    static NextFunction<Spawn> next("posix_spawnp");
    return spawnInWorld(next, pid, file, actions, attributes, arguments, environment);
}

int system(const char* command) {
    static NextFunction<int(const char*)> next("system");
    completeOwnEnvironment();
    return next(command);
}

FILE* popen(const char* command, const char* mode) {
    static NextFunction<FILE*(const char*, const char*)> next("popen");
    completeOwnEnvironment();
    return next(command, mode);
}

// The system call behind all of them.
int reboot(int request) noexcept {
    static NextFunction<int(int)> next("reboot");
    if (PreloadWorld_folder() == nullptr) {
        return next(request);
    }
    char name[] = "reboot()";
    char* const arguments[] = {name, nullptr};
    Commands_record(name, arguments);
    return 0;
}

} // extern "C"
#pragma GCC visibility pop
