#ifndef APP_CORE_PROCESS_H
#define APP_CORE_PROCESS_H

#include <cstdint>

/// Exit status of every fatal failure (255 to the shell).
constexpr int processStatusFatal = -1;

/// Makes good what the program's starter may have left odd: children that end are waited for even
/// if SIGCHLD was ignored, and the null device takes the place of a standard descriptor that was
/// closed, so that what is meant for standard error never goes to a port. Main thread, before
/// anything else.
void Process_setUpInherited();

/// Remembers the time of day as that of the start. Main thread, once.
void Process_rememberStart();

/// That time, in seconds since 1970; 0 before it was remembered. Any thread.
int64_t Process_startTime_s();

/// Flushes all streams and the trace, and ends the process at once: no destructor and no exit
/// handler runs under threads that are still at work. Any thread.
[[noreturn]] void Process_leave(int status);

#endif
