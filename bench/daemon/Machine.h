#ifndef BENCH_DAEMON_MACHINE_H
#define BENCH_DAEMON_MACHINE_H

#include "Lan.h"

#include <cstdint>
#include <poll.h>
#include <vector>

/// The instrument's computer as far as commands change it. They are written down in the world
/// instead of run; this reads them there, and does to the bench what they would have done.

struct Machine {
    std::string commandFile;
    int watcher;  ///< wakes for each command
    size_t taken; ///< bytes of the file that have been taken up
    Lan lan;
    int64_t off_ns; ///< bench time at which it lets its power go; INT64_MAX: not to be seen yet
    bool isOff;     ///< it has let it go
};

/// Commands that are there already are history. False with errno.
bool Machine_open(Machine& machine, const std::string& world);
void Machine_close(Machine& machine);

/// Does what is due and takes up what has been written since.
void Machine_service(Machine& machine, int64_t now_ns);

#endif
