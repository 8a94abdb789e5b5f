#ifndef BENCH_PRELOAD_OPENING_H
#define BENCH_PRELOAD_OPENING_H

#include "WorldPath.h"

/// How one file of the world is opened.
struct Opening {
    bool isDecided; ///< nothing is left to open: `fd` is the result, errno is set
    int fd;
    int flags; ///< for the real open
};

/// Before the real open: refuses what the world refuses.
Opening Opening_begin(const WorldPath& path, int flags);

/// After it: gives the descriptor, or -1 with errno.
int Opening_end(const WorldPath& path, const Opening& opening, int fd);

#endif
