#ifndef BENCH_PRELOAD_WORLD_PATH_H
#define BENCH_PRELOAD_WORLD_PATH_H

#include <climits>
#include <fcntl.h>

/// Where a path that a program names lies: inside the world for the instrument's paths, else where
/// it says. Needs no heap. The given text must outlive the object.
class WorldPath {
public:
    /// `directory` is what a relative path starts from: an open folder or AT_FDCWD.
    explicit WorldPath(const char* path, int directory = AT_FDCWD);

    const char* get() const {
        return result;
    }
    bool isInWorld() const {
        return result == buffer;
    }
    /// The instrument's own name of a path in the world.
    const char* instrumentPath() const {
        return buffer + rootLength;
    }
    /// True for files that only the system makes: a program can open them but not create them.
    bool isMadeBySystem() const;

private:
    const char* result;
    int rootLength = 0;
    char buffer[PATH_MAX];
};

#endif
