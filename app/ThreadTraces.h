#ifndef APP_THREAD_TRACES_H
#define APP_THREAD_TRACES_H

/// The stack traces of all threads: each writes its own, one after the other, when it is asked to
/// by a signal.

/// Lets threads answer; `writeOwnTrace` is called by each of them in a signal handler. Main thread,
/// once.
void ThreadTraces_install(void (*writeOwnTrace)());

/// Writes every thread's name and number, and has the thread write its trace below; the calling one
/// comes last. A thread that hangs in the kernel does not answer, and is given up after a second.
/// One caller in a process. Async-signal-safe.
void ThreadTraces_write(int fd);

#endif
