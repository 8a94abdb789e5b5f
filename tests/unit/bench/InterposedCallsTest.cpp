// Every call of the C library that names a file leads into the world, one row each.

#include "World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ostream>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>
#include <utime.h>

// What programs built with _FORTIFY_SOURCE, or against older C libraries, call.
extern "C" {
int __open_2(const char* name, int flags);
int __open64_2(const char* name, int flags);
int __openat_2(int directory, const char* name, int flags);
int __openat64_2(int directory, const char* name, int flags);
int __xstat(int version, const char* name, struct stat* status);
int __xstat64(int version, const char* name, struct stat64* status);
int __lxstat(int version, const char* name, struct stat* status);
int __lxstat64(int version, const char* name, struct stat64* status);
int __fxstatat(int version, int directory, const char* name, struct stat* status, int flags);
int __fxstatat64(int version, int directory, const char* name, struct stat64* status, int flags);
ssize_t __readlink_chk(const char* name, char* target, size_t size, size_t room);
ssize_t __readlinkat_chk(int directory, const char* name, char* target, size_t size, size_t room);
char* __realpath_chk(const char* name, char* resolved, size_t room);
}

namespace {

constexpr const char* folder = "/etc/QuorvelPowerMeterApp";
constexpr const char* file = "/etc/QuorvelPowerMeterApp/file";
constexpr const char* linkName = "/etc/QuorvelPowerMeterApp/link";
constexpr const char* fresh = "/etc/QuorvelPowerMeterApp/fresh";
constexpr int statVersion = 1; // of the 64-bit machines

bool isInWorld(const char* path) {
    struct stat status;
    return lstat(World_realPath(path).c_str(), &status) == 0;
}

bool closed(int fd) {
    return fd >= 0 && close(fd) == 0;
}

struct InterposedCall {
    const char* name;
    bool (*works)();
};

void PrintTo(const InterposedCall& call, std::ostream* output) {
    *output << call.name;
}

class InterposedCalls : public testing::TestWithParam<InterposedCall> {
protected:
    void SetUp() override {
        ASSERT_EQ(system(("rm -rf " + World_realPath(folder) + "/*").c_str()), 0);
        World_writeFile(file, "content");
        ASSERT_EQ(::symlink("file", World_realPath(linkName).c_str()), 0);
    }
};

// Opening.
const InterposedCall openingCalls[] = {
    {"open", [] { return closed(open(file, O_RDONLY)); }},
    {"open64", [] { return closed(open64(file, O_RDONLY)); }},
    {"openat", [] { return closed(openat(AT_FDCWD, file, O_RDONLY)); }},
    {"openat64", [] { return closed(openat64(AT_FDCWD, file, O_RDONLY)); }},
    {"__open_2", [] { return closed(__open_2(file, O_RDONLY)); }},
    {"__open64_2", [] { return closed(__open64_2(file, O_RDONLY)); }},
    {"__openat_2", [] { return closed(__openat_2(AT_FDCWD, file, O_RDONLY)); }},
    {"__openat64_2", [] { return closed(__openat64_2(AT_FDCWD, file, O_RDONLY)); }},
    {"creat", [] { return closed(creat(fresh, 0644)) && isInWorld(fresh); }},
    {"creat64", [] { return closed(creat64(fresh, 0644)) && isInWorld(fresh); }},
    {"fopen",
     [] {
         FILE* const stream = fopen(fresh, "w");
         return stream != nullptr && fclose(stream) == 0 && isInWorld(fresh);
     }},
    {"fopen64",
     [] {
         FILE* const stream = fopen64(file, "r+");
         return stream != nullptr && fclose(stream) == 0;
     }},
    {"freopen",
     [] {
         FILE* const stream = freopen(fresh, "w", fopen("/dev/null", "r"));
         return stream != nullptr && fclose(stream) == 0 && isInWorld(fresh);
     }},
    {"freopen64",
     [] {
         FILE* const stream = freopen64(file, "r", fopen("/dev/null", "r"));
         return stream != nullptr && fclose(stream) == 0;
     }},
    {"opendir",
     [] {
         DIR* const listing = opendir(folder);
         return listing != nullptr && closedir(listing) == 0;
     }},
    {"scandir",
     [] {
         dirent** entries = nullptr;
         const int count = scandir(folder, &entries, nullptr, alphasort);
         for (int index = 0; index < count; ++index) {
             free(entries[index]);
         }
         free(entries);
         return count == 4;
     }},
    {"scandir64",
     [] {
         dirent64** entries = nullptr;
         const int count = scandir64(folder, &entries, nullptr, alphasort64);
         for (int index = 0; index < count; ++index) {
             free(entries[index]);
         }
         free(entries);
         return count == 4;
     }},
};

/// Runs a maker of unique files on a pattern and searches for the file that it has made.
template <typename Make> bool makesUnique(const char* suffix, Make make) {
    char pattern[PATH_MAX];
    snprintf(pattern, sizeof pattern, "%s/u.XXXXXX%s", folder, suffix);
    return closed(make(pattern)) && strstr(pattern, "XXXXXX") == nullptr && isInWorld(pattern);
}

const InterposedCall uniqueCalls[] = {
    {"mkstemp", [] { return makesUnique("", [](char* name) { return mkstemp(name); }); }},
    {"mkstemp64", [] { return makesUnique("", [](char* name) { return mkstemp64(name); }); }},
    {"mkostemp", [] { return makesUnique("", [](char* name) { return mkostemp(name, 0); }); }},
    {"mkostemp64", [] { return makesUnique("", [](char* name) { return mkostemp64(name, 0); }); }},
    {"mkstemps", [] { return makesUnique(".c", [](char* name) { return mkstemps(name, 2); }); }},
    {"mkstemps64",
     [] { return makesUnique(".c", [](char* name) { return mkstemps64(name, 2); }); }},
    {"mkostemps",
     [] { return makesUnique(".c", [](char* name) { return mkostemps(name, 2, 0); }); }},
    {"mkostemps64",
     [] { return makesUnique(".c", [](char* name) { return mkostemps64(name, 2, 0); }); }},
    {"mkdtemp",
     [] {
         char pattern[] = "/etc/QuorvelPowerMeterApp/d.XXXXXX";
         return mkdtemp(pattern) == pattern && strstr(pattern, "XXXXXX") == nullptr &&
                isInWorld(pattern);
     }},
};

// Asking.
template <typename Status, typename Ask> bool tellsSize(Ask ask) {
    Status status{};
    return ask(&status) == 0 && status.st_size == 7;
}

template <typename Status, typename Ask> bool tellsLink(Ask ask) {
    Status status{};
    return ask(&status) == 0 && S_ISLNK(status.st_mode);
}

using Stat = struct stat;
using Stat64 = struct stat64;

const InterposedCall askingCalls[] = {
    {"access", [] { return access(file, R_OK) == 0; }},
    {"euidaccess", [] { return euidaccess(file, R_OK) == 0; }},
    {"eaccess", [] { return eaccess(file, R_OK) == 0; }},
    {"faccessat", [] { return faccessat(AT_FDCWD, file, R_OK, 0) == 0; }},
    {"stat", [] { return tellsSize<Stat>([](Stat* at) { return stat(file, at); }); }},
    {"stat64", [] { return tellsSize<Stat64>([](Stat64* at) { return stat64(file, at); }); }},
    {"lstat", [] { return tellsLink<Stat>([](Stat* at) { return lstat(linkName, at); }); }},
    {"lstat64", [] { return tellsLink<Stat64>([](Stat64* at) { return lstat64(linkName, at); }); }},
    {"fstatat",
     [] { return tellsSize<Stat>([](Stat* at) { return fstatat(AT_FDCWD, file, at, 0); }); }},
    {"fstatat64",
     [] { return tellsSize<Stat64>([](Stat64* at) { return fstatat64(AT_FDCWD, file, at, 0); }); }},
    {"statx",
     [] {
         struct statx status {};
         return statx(AT_FDCWD, file, 0, STATX_SIZE, &status) == 0 && status.stx_size == 7;
     }},
    {"__xstat",
     [] { return tellsSize<Stat>([](Stat* at) { return __xstat(statVersion, file, at); }); }},
    {"__xstat64",
     [] { return tellsSize<Stat64>([](Stat64* at) { return __xstat64(statVersion, file, at); }); }},
    {"__lxstat",
     [] { return tellsLink<Stat>([](Stat* at) { return __lxstat(statVersion, linkName, at); }); }},
    {"__lxstat64",
     [] {
         return tellsLink<Stat64>([](Stat64* at) { return __lxstat64(statVersion, linkName, at); });
     }},
    {"__fxstatat",
     [] {
         return tellsSize<Stat>(
             [](Stat* at) { return __fxstatat(statVersion, AT_FDCWD, file, at, 0); });
     }},
    {"__fxstatat64",
     [] {
         return tellsSize<Stat64>(
             [](Stat64* at) { return __fxstatat64(statVersion, AT_FDCWD, file, at, 0); });
     }},
    {"statfs",
     [] {
         struct statfs status {};
         return statfs(folder, &status) == 0;
     }},
    {"statfs64",
     [] {
         struct statfs64 status {};
         return statfs64(folder, &status) == 0;
     }},
    {"statvfs",
     [] {
         struct statvfs status {};
         return statvfs(folder, &status) == 0;
     }},
    {"statvfs64",
     [] {
         struct statvfs64 status {};
         return statvfs64(folder, &status) == 0;
     }},
    {"readlink",
     [] {
         char target[8];
         return readlink(linkName, target, sizeof target) == 4;
     }},
    {"readlinkat",
     [] {
         char target[8];
         return readlinkat(AT_FDCWD, linkName, target, sizeof target) == 4;
     }},
    {"__readlink_chk",
     [] {
         char target[8];
         return __readlink_chk(linkName, target, sizeof target, sizeof target) == 4;
     }},
    {"__readlinkat_chk",
     [] {
         char target[8];
         return __readlinkat_chk(AT_FDCWD, linkName, target, sizeof target, sizeof target) == 4;
     }},
    {"realpath",
     [] {
         char resolved[PATH_MAX];
         return realpath(linkName, resolved) == resolved && strcmp(resolved, file) == 0;
     }},
    {"__realpath_chk",
     [] {
         char resolved[PATH_MAX];
         return __realpath_chk(linkName, resolved, sizeof resolved) == resolved &&
                strcmp(resolved, file) == 0;
     }},
    {"canonicalize_file_name",
     [] {
         char* const resolved = canonicalize_file_name(linkName);
         const bool isRight = resolved != nullptr && strcmp(resolved, file) == 0;
         free(resolved);
         return isRight;
     }},
    {"chdir", [] { return chdir(folder) == 0 && access("file", F_OK) == 0 && chdir("/") == 0; }},
    {"inotify_add_watch",
     [] {
         const int watcher = inotify_init1(IN_CLOEXEC);
         const bool isWatched = inotify_add_watch(watcher, file, IN_MODIFY) >= 0;
         return closed(watcher) && isWatched;
     }},
};

// Changing.
const InterposedCall changingCalls[] = {
    {"rename", [] { return rename(file, fresh) == 0 && isInWorld(fresh); }},
    {"renameat", [] { return renameat(AT_FDCWD, file, AT_FDCWD, fresh) == 0 && isInWorld(fresh); }},
    {"renameat2",
     [] { return renameat2(AT_FDCWD, file, AT_FDCWD, fresh, 0) == 0 && isInWorld(fresh); }},
    {"link", [] { return link(file, fresh) == 0 && isInWorld(fresh); }},
    {"linkat", [] { return linkat(AT_FDCWD, file, AT_FDCWD, fresh, 0) == 0 && isInWorld(fresh); }},
    {"symlink", [] { return symlink(file, fresh) == 0 && access(fresh, R_OK) == 0; }},
    {"symlinkat",
     [] { return symlinkat("file", AT_FDCWD, fresh) == 0 && access(fresh, R_OK) == 0; }},
    {"unlink", [] { return unlink(file) == 0 && !isInWorld(file); }},
    {"unlinkat", [] { return unlinkat(AT_FDCWD, file, 0) == 0 && !isInWorld(file); }},
    {"remove", [] { return remove(file) == 0 && !isInWorld(file); }},
    {"mkdir and rmdir",
     [] {
         return mkdir(fresh, 0755) == 0 && isInWorld(fresh) && rmdir(fresh) == 0 &&
                !isInWorld(fresh);
     }},
    {"mkdirat", [] { return mkdirat(AT_FDCWD, fresh, 0755) == 0 && isInWorld(fresh); }},
    {"mkfifo", [] { return mkfifo(fresh, 0644) == 0 && isInWorld(fresh); }},
    {"mkfifoat", [] { return mkfifoat(AT_FDCWD, fresh, 0644) == 0 && isInWorld(fresh); }},
    {"mknod", [] { return mknod(fresh, S_IFREG | 0644, 0) == 0 && isInWorld(fresh); }},
    {"mknodat",
     [] { return mknodat(AT_FDCWD, fresh, S_IFREG | 0644, 0) == 0 && isInWorld(fresh); }},
    {"truncate", [] { return truncate(file, 3) == 0 && World_readFile(file) == "con"; }},
    {"truncate64", [] { return truncate64(file, 3) == 0 && World_readFile(file) == "con"; }},
    {"chmod", [] { return chmod(file, 0600) == 0; }},
    {"fchmodat", [] { return fchmodat(AT_FDCWD, file, 0600, 0) == 0; }},
    {"chown", [] { return chown(file, getuid(), getgid()) == 0; }},
    {"lchown", [] { return lchown(linkName, getuid(), getgid()) == 0; }},
    {"fchownat", [] { return fchownat(AT_FDCWD, file, getuid(), getgid(), 0) == 0; }},
    {"utime", [] { return utime(file, nullptr) == 0; }},
    {"utimes", [] { return utimes(file, nullptr) == 0; }},
    {"utimensat", [] { return utimensat(AT_FDCWD, file, nullptr, 0) == 0; }},
};

std::string nameOf(const testing::TestParamInfo<InterposedCall>& row) {
    std::string name = row.param.name;
    std::replace_if(
        name.begin(), name.end(), [](char sign) { return sign == ' '; }, '_');
    return name.starts_with("__") ? "fortified" + name.substr(1) : name;
}

} // namespace

TEST_P(InterposedCalls, LeadIntoTheWorld) {
    EXPECT_TRUE(GetParam().works()) << strerror(errno);
}

INSTANTIATE_TEST_SUITE_P(Opening, InterposedCalls, testing::ValuesIn(openingCalls), nameOf);
INSTANTIATE_TEST_SUITE_P(Unique, InterposedCalls, testing::ValuesIn(uniqueCalls), nameOf);
INSTANTIATE_TEST_SUITE_P(Asking, InterposedCalls, testing::ValuesIn(askingCalls), nameOf);
INSTANTIATE_TEST_SUITE_P(Changing, InterposedCalls, testing::ValuesIn(changingCalls), nameOf);
