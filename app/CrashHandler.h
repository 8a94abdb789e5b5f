#ifndef APP_CRASH_HANDLER_H
#define APP_CRASH_HANDLER_H

/// Descriptor of the crash log "/tmp/crashlog.txt"; -1 when it could not be opened.
extern int backtraceFd;

/// Opens the crash log for appending. Main thread, first thing of all.
void CrashHandler_openLog();

/// Installs handle_signals for SIGINT, SIGTERM, SIGUSR1, SIGSEGV and SIGABRT, ignores SIGPIPE, and
/// takes one stack trace so that the handler needs no loader later. Main thread, once.
void CrashHandler_install();

/// Appends the stack traces of all threads to the crash log, each by the thread itself and under
/// its name; of one that does not answer in time, only that. Once in a process. Async-signal-safe.
void CrashHandler_traceAllThreads();

/// Appends a stack trace to the crash log for SIGABRT, SIGUSR1 and SIGSEGV; the first and the last
/// then end the process with status -1. Before SIGABRT, with which the service manager ends a
/// program that hangs, all threads are traced. SIGINT and SIGTERM do nothing: the unit is only
/// switched off through its own ways (docs/compatibility.md: termination-ignored).
/// Async-signal-safe.
void handle_signals(int signal);

#endif
