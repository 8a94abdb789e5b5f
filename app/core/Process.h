#ifndef APP_CORE_PROCESS_H
#define APP_CORE_PROCESS_H

/// Exit status of every fatal failure (255 to the shell).
constexpr int processStatusFatal = -1;

/// Makes good what the program's starter may have left odd: children that end are waited for even
/// if SIGCHLD was ignored, and the null device takes the place of a standard descriptor that was
/// closed, so that what is meant for standard error never goes to a port. Main thread, before
/// anything else.
void Process_setUpInherited();

/// Flushes all streams and the trace, and ends the process at once: no destructor and no exit
/// handler runs under threads that are still at work. Any thread.
[[noreturn]] void Process_leave(int status);

#endif
