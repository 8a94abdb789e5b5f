#ifndef BENCH_WORLD_CHILD_PROCESS_H
#define BENCH_WORLD_CHILD_PROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

/// Starting and ending the bench's own children.

struct ChildEnvironment {
    std::string name;
    std::string value; ///< empty removes the variable
};

struct ChildOptions {
    int keepOpen = -1;      ///< a descriptor that the child inherits besides the standard ones
    int output = -1;        ///< becomes its standard output
    int signalAtOurEnd = 9; ///< what it gets when its parent dies; SIGKILL
    std::string outputFile; ///< becomes its standard output
    std::string errorFile;  ///< becomes its standard error
};

/// Starts a program found in PATH, with no signals blocked. Returns its number, -1 on failure; a
/// program that cannot be executed ends with status 127.
pid_t ChildProcess_start(const std::vector<std::string>& arguments,
                         const std::vector<ChildEnvironment>& environment,
                         const ChildOptions& options = {});

/// Sends the signal, which must end the child, until it has ended: an X server that is told to just
/// before it begins to wait for its clients overlooks that. A number below 1 is no child.
void ChildProcess_kill(pid_t child, int signal);

#endif
