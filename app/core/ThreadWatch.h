#ifndef APP_CORE_THREAD_WATCH_H
#define APP_CORE_THREAD_WATCH_H

#include <csignal>
#include <cstdint>

/// Which threads give signs of life, so that one that hangs is noticed.

/// Signal that asks one thread for its stack trace (CrashHandler). No thread blocks it.
constexpr int threadTraceSignal = SIGUSR2;

/// A sign of life. A thread is watched from its first one on, until the program ends. Any thread;
/// no lock, no wait.
void ThreadWatch_beat();

/// The calling thread begins a wait that may last for ever: it is not missed before its next sign
/// of life.
void ThreadWatch_rest();

/// A sign of life if the calling thread is watched; for what short-lived threads do, too.
void ThreadWatch_progress();

/// A wait that may last for ever, while this lives. Does nothing in a thread that is not watched.
class ThreadRest {
public:
    ThreadRest() {
        ThreadWatch_rest();
    }
    ~ThreadRest() {
        ThreadWatch_progress();
    }
    ThreadRest(const ThreadRest&) = delete;
    ThreadRest& operator=(const ThreadRest&) = delete;
};

/// Counts `elapsed_ms` more for each thread that has given no sign of life since the last call,
/// unless it rests. Returns the name of one that has been silent for `limit_ms`; null when there is
/// none. One thread only, periodically. What it slept too long is best left out of `elapsed_ms`: a
/// machine that stood still has let all threads stand.
const char* ThreadWatch_findSilent(uint32_t elapsed_ms, uint32_t limit_ms);

#endif
