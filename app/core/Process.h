#ifndef APP_CORE_PROCESS_H
#define APP_CORE_PROCESS_H

/// Ends the process with exit status -1 after a failure that start-up cannot survive: flushes the
/// streams and leaves at once, so that no destructor runs under running threads. Any thread.
[[noreturn]] void Process_exitFailed();

#endif
