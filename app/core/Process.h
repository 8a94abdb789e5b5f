#ifndef APP_CORE_PROCESS_H
#define APP_CORE_PROCESS_H

/// Exit status of every fatal failure (255 to the shell).
constexpr int processStatusFatal = -1;

/// Flushes all streams and the trace, and ends the process at once: no destructor and no exit
/// handler runs under threads that are still at work. Any thread.
[[noreturn]] void Process_leave(int status);

#endif
