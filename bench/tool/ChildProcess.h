#ifndef BENCH_TOOL_CHILD_PROCESS_H
#define BENCH_TOOL_CHILD_PROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

/// Starting and ending the bench's own children.

struct ChildEnvironment {
    std::string name;
    std::string value; ///< empty removes the variable
};

/// Starts a program found in PATH. It inherits the standard descriptors and `keepOpen` (-1 for
/// none), has no signals blocked, and dies with the bench. Returns its number, -1 on failure; a
/// program that cannot be executed ends with status 127.
pid_t ChildProcess_start(const std::vector<std::string>& arguments,
                         const std::vector<ChildEnvironment>& environment, int keepOpen);

/// Kills with SIGKILL, or with SIGTERM first where the child heeds it, and waits for the end.
void ChildProcess_kill(pid_t child, int signal);

#endif
