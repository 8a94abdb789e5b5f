// The C library's calls that name files without opening them, interposed in all their forms.

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldFaults.h"
#include "WorldPath.h"
#include "WorldTree.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>
#include <utime.h>

namespace {

/// True, with errno set, when the place that is to be changed cannot be.
bool isRefused(const WorldPath& path) {
    return WorldFaults_fails(BenchFault::change, path);
}

/// The same for the place that a renamed file goes to.
bool isRefusedAsTarget(const WorldPath& path) {
    return isRefused(path) || WorldFaults_fails(BenchFault::rename, path);
}

/// Gives a resolved path of the world its name on the instrument back, so that what a program
/// makes beside the file passes these calls, too.
char* namedByInstrument(char* resolved) {
    char root[PATH_MAX];
    if (resolved != nullptr && PreloadWorld_file(root, sizeof root, "root")) {
        const size_t length = strlen(root);
        if (strncmp(resolved, root, length) == 0 && WorldTree_isInstrumentPath(resolved + length)) {
            memmove(resolved, resolved + length, strlen(resolved + length) + 1);
        }
    }
    return resolved;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int access(const char* name, int mode) noexcept {
    static NextFunction<int(const char*, int)> next("access");
    return next(WorldPath(name).get(), mode);
}

int euidaccess(const char* name, int mode) noexcept {
    static NextFunction<int(const char*, int)> next("euidaccess");
    return next(WorldPath(name).get(), mode);
}

int eaccess(const char* name, int mode) noexcept {
    static NextFunction<int(const char*, int)> next("eaccess");
    return next(WorldPath(name).get(), mode);
}

int faccessat(int directory, const char* name, int mode, int flags) noexcept {
    static NextFunction<int(int, const char*, int, int)> next("faccessat");
    return next(directory, WorldPath(name, directory).get(), mode, flags);
}

int stat(const char* name, struct stat* status) noexcept {
    static NextFunction<int(const char*, struct stat*)> next("stat");
    return next(WorldPath(name).get(), status);
}

int stat64(const char* name, struct stat64* status) noexcept {
    static NextFunction<int(const char*, struct stat64*)> next("stat64");
    return next(WorldPath(name).get(), status);
}

int lstat(const char* name, struct stat* status) noexcept {
    static NextFunction<int(const char*, struct stat*)> next("lstat");
    return next(WorldPath(name).get(), status);
}

int lstat64(const char* name, struct stat64* status) noexcept {
    static NextFunction<int(const char*, struct stat64*)> next("lstat64");
    return next(WorldPath(name).get(), status);
}

int fstatat(int directory, const char* name, struct stat* status, int flags) noexcept {
    static NextFunction<int(int, const char*, struct stat*, int)> next("fstatat");
    return next(directory, WorldPath(name, directory).get(), status, flags);
}

int fstatat64(int directory, const char* name, struct stat64* status, int flags) noexcept {
    static NextFunction<int(int, const char*, struct stat64*, int)> next("fstatat64");
    return next(directory, WorldPath(name, directory).get(), status, flags);
}

int statx(int directory, const char* name, int flags, unsigned mask,
          struct statx* status) noexcept {
    static NextFunction<int(int, const char*, int, unsigned, struct statx*)> next("statx");
    return next(directory, WorldPath(name, directory).get(), flags, mask, status);
}

// What programs built against older C libraries call for stat.
int __xstat(int version, const char* name, struct stat* status) {
    static NextFunction<int(int, const char*, struct stat*)> next("__xstat");
    return next(version, WorldPath(name).get(), status);
}

int __xstat64(int version, const char* name, struct stat64* status) {
    static NextFunction<int(int, const char*, struct stat64*)> next("__xstat64");
    return next(version, WorldPath(name).get(), status);
}

int __lxstat(int version, const char* name, struct stat* status) {
    static NextFunction<int(int, const char*, struct stat*)> next("__lxstat");
    return next(version, WorldPath(name).get(), status);
}

int __lxstat64(int version, const char* name, struct stat64* status) {
    static NextFunction<int(int, const char*, struct stat64*)> next("__lxstat64");
    return next(version, WorldPath(name).get(), status);
}

int __fxstatat(int version, int directory, const char* name, struct stat* status, int flags) {
    static NextFunction<int(int, int, const char*, struct stat*, int)> next("__fxstatat");
    return next(version, directory, WorldPath(name, directory).get(), status, flags);
}

int __fxstatat64(int version, int directory, const char* name, struct stat64* status, int flags) {
    static NextFunction<int(int, int, const char*, struct stat64*, int)> next("__fxstatat64");
    return next(version, directory, WorldPath(name, directory).get(), status, flags);
}

int statfs(const char* name, struct statfs* status) noexcept {
    static NextFunction<int(const char*, struct statfs*)> next("statfs");
    return next(WorldPath(name).get(), status);
}

int statfs64(const char* name, struct statfs64* status) noexcept {
    static NextFunction<int(const char*, struct statfs64*)> next("statfs64");
    return next(WorldPath(name).get(), status);
}

int statvfs(const char* name, struct statvfs* status) noexcept {
    static NextFunction<int(const char*, struct statvfs*)> next("statvfs");
    return next(WorldPath(name).get(), status);
}

int statvfs64(const char* name, struct statvfs64* status) noexcept {
    static NextFunction<int(const char*, struct statvfs64*)> next("statvfs64");
    return next(WorldPath(name).get(), status);
}

int rename(const char* from, const char* to) noexcept {
    static NextFunction<int(const char*, const char*)> next("rename");
    const WorldPath source(from);
    const WorldPath target(to);
    return isRefusedAsTarget(target) ? -1 : next(source.get(), target.get());
}

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to) noexcept {
    static NextFunction<int(int, const char*, int, const char*)> next("renameat");
    const WorldPath source(from, fromDirectory);
    const WorldPath target(to, toDirectory);
    return isRefusedAsTarget(target) ? -1
                                     : next(fromDirectory, source.get(), toDirectory, target.get());
}

int renameat2(int fromDirectory, const char* from, int toDirectory, const char* to,
              unsigned flags) noexcept {
    static NextFunction<int(int, const char*, int, const char*, unsigned)> next("renameat2");
    const WorldPath source(from, fromDirectory);
    const WorldPath target(to, toDirectory);
    return isRefusedAsTarget(target)
               ? -1
               : next(fromDirectory, source.get(), toDirectory, target.get(), flags);
}

int link(const char* from, const char* to) noexcept {
    static NextFunction<int(const char*, const char*)> next("link");
    return next(WorldPath(from).get(), WorldPath(to).get());
}

int linkat(int fromDirectory, const char* from, int toDirectory, const char* to,
           int flags) noexcept {
    static NextFunction<int(int, const char*, int, const char*, int)> next("linkat");
    return next(fromDirectory, WorldPath(from, fromDirectory).get(), toDirectory,
                WorldPath(to, toDirectory).get(), flags);
}

// A link that names an instrument path must lead into the world when it is followed.
int symlink(const char* target, const char* name) noexcept {
    static NextFunction<int(const char*, const char*)> next("symlink");
    const WorldPath place(name);
    return target[0] == '/' ? next(WorldPath(target).get(), place.get())
                            : next(target, place.get());
}

int symlinkat(const char* target, int directory, const char* name) noexcept {
    static NextFunction<int(const char*, int, const char*)> next("symlinkat");
    const WorldPath place(name, directory);
    return target[0] == '/' ? next(WorldPath(target).get(), directory, place.get())
                            : next(target, directory, place.get());
}

int unlink(const char* name) noexcept {
    static NextFunction<int(const char*)> next("unlink");
    const WorldPath path(name);
    return isRefused(path) ? -1 : next(path.get());
}

int unlinkat(int directory, const char* name, int flags) noexcept {
    static NextFunction<int(int, const char*, int)> next("unlinkat");
    const WorldPath path(name, directory);
    return isRefused(path) ? -1 : next(directory, path.get(), flags);
}

int remove(const char* name) noexcept {
    static NextFunction<int(const char*)> next("remove");
    const WorldPath path(name);
    return isRefused(path) ? -1 : next(path.get());
}

int mkdir(const char* name, mode_t mode) noexcept {
    static NextFunction<int(const char*, mode_t)> next("mkdir");
    const WorldPath path(name);
    return isRefused(path) ? -1 : next(path.get(), mode);
}

int mkdirat(int directory, const char* name, mode_t mode) noexcept {
    static NextFunction<int(int, const char*, mode_t)> next("mkdirat");
    const WorldPath path(name, directory);
    return isRefused(path) ? -1 : next(directory, path.get(), mode);
}

int rmdir(const char* name) noexcept {
    static NextFunction<int(const char*)> next("rmdir");
    const WorldPath path(name);
    return isRefused(path) ? -1 : next(path.get());
}

int mkfifo(const char* name, mode_t mode) noexcept {
    static NextFunction<int(const char*, mode_t)> next("mkfifo");
    return next(WorldPath(name).get(), mode);
}

int mkfifoat(int directory, const char* name, mode_t mode) noexcept {
    static NextFunction<int(int, const char*, mode_t)> next("mkfifoat");
    return next(directory, WorldPath(name, directory).get(), mode);
}

int mknod(const char* name, mode_t mode, dev_t device) noexcept {
    static NextFunction<int(const char*, mode_t, dev_t)> next("mknod");
    return next(WorldPath(name).get(), mode, device);
}

int mknodat(int directory, const char* name, mode_t mode, dev_t device) noexcept {
    static NextFunction<int(int, const char*, mode_t, dev_t)> next("mknodat");
    return next(directory, WorldPath(name, directory).get(), mode, device);
}

int chdir(const char* name) noexcept {
    static NextFunction<int(const char*)> next("chdir");
    return next(WorldPath(name).get());
}

int truncate(const char* name, off_t length) noexcept {
    static NextFunction<int(const char*, off_t)> next("truncate");
    return next(WorldPath(name).get(), length);
}

int truncate64(const char* name, off64_t length) noexcept {
    static NextFunction<int(const char*, off64_t)> next("truncate64");
    return next(WorldPath(name).get(), length);
}

int chmod(const char* name, mode_t mode) noexcept {
    static NextFunction<int(const char*, mode_t)> next("chmod");
    return next(WorldPath(name).get(), mode);
}

int fchmodat(int directory, const char* name, mode_t mode, int flags) noexcept {
    static NextFunction<int(int, const char*, mode_t, int)> next("fchmodat");
    return next(directory, WorldPath(name, directory).get(), mode, flags);
}

int chown(const char* name, uid_t owner, gid_t group) noexcept {
    static NextFunction<int(const char*, uid_t, gid_t)> next("chown");
    return next(WorldPath(name).get(), owner, group);
}

int lchown(const char* name, uid_t owner, gid_t group) noexcept {
    static NextFunction<int(const char*, uid_t, gid_t)> next("lchown");
    return next(WorldPath(name).get(), owner, group);
}

int fchownat(int directory, const char* name, uid_t owner, gid_t group, int flags) noexcept {
    static NextFunction<int(int, const char*, uid_t, gid_t, int)> next("fchownat");
    return next(directory, WorldPath(name, directory).get(), owner, group, flags);
}

int utime(const char* name, const utimbuf* times) noexcept {
    static NextFunction<int(const char*, const utimbuf*)> next("utime");
    return next(WorldPath(name).get(), times);
}

int utimes(const char* name, const timeval times[2]) noexcept {
    static NextFunction<int(const char*, const timeval*)> next("utimes");
    return next(WorldPath(name).get(), times);
}

int utimensat(int directory, const char* name, const timespec times[2], int flags) noexcept {
    static NextFunction<int(int, const char*, const timespec*, int)> next("utimensat");
    return next(directory, WorldPath(name, directory).get(), times, flags);
}

ssize_t readlink(const char* name, char* target, size_t size) noexcept {
    static NextFunction<ssize_t(const char*, char*, size_t)> next("readlink");
    return next(WorldPath(name).get(), target, size);
}

ssize_t readlinkat(int directory, const char* name, char* target, size_t size) noexcept {
    static NextFunction<ssize_t(int, const char*, char*, size_t)> next("readlinkat");
    return next(directory, WorldPath(name, directory).get(), target, size);
}

ssize_t __readlink_chk(const char* name, char* target, size_t size, size_t room) {
    static NextFunction<ssize_t(const char*, char*, size_t, size_t)> next("__readlink_chk");
    return next(WorldPath(name).get(), target, size, room);
}

ssize_t __readlinkat_chk(int directory, const char* name, char* target, size_t size, size_t room) {
    static NextFunction<ssize_t(int, const char*, char*, size_t, size_t)> next("__readlinkat_chk");
    return next(directory, WorldPath(name, directory).get(), target, size, room);
}

char* realpath(const char* name, char* resolved) noexcept {
    static NextFunction<char*(const char*, char*)> next("realpath");
    return namedByInstrument(next(WorldPath(name).get(), resolved));
}

char* __realpath_chk(const char* name, char* resolved, size_t room) {
    static NextFunction<char*(const char*, char*, size_t)> next("__realpath_chk");
    return namedByInstrument(next(WorldPath(name).get(), resolved, room));
}

char* canonicalize_file_name(const char* name) noexcept {
    static NextFunction<char*(const char*)> next("canonicalize_file_name");
    return namedByInstrument(next(WorldPath(name).get()));
}

int inotify_add_watch(int watcher, const char* name, uint32_t mask) noexcept {
    static NextFunction<int(int, const char*, uint32_t)> next("inotify_add_watch");
    return next(watcher, WorldPath(name).get(), mask);
}

} // extern "C"
#pragma GCC visibility pop
