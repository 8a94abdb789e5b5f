#ifndef APP_CORE_THREADS_H
#define APP_CORE_THREADS_H

#include <cstdint>
#include <ctime>
#include <pthread.h>

/// Heartbeat interval of every long-running thread.
constexpr uint32_t threadHeartbeat_ms = 5000;

/// Starts a detached thread with every handled signal blocked (signals belong to the main thread).
/// `name` shows in process listings and crash logs, at most 15 characters. Returns 0, or the error
/// number of the call that failed; `thread` is written only on success.
int Thread_start(pthread_t* thread, const char* name, void (*entry)());

/// The same for a thread that is given a context and may be joined.
int Thread_startJoinable(pthread_t* thread, const char* name, void* (*entry)(void*), void* context);

/// Sleeps for the whole time, whatever signals arrive.
void Thread_sleep_ms(uint32_t time_ms);

/// Moment on the monotonic clock, `time_ms` from now, for pthread_cond_timedwait on a condition
/// made by Condition_initialize.
timespec Thread_deadline(uint32_t time_ms);

/// A condition variable that waits on the monotonic clock. Returns pthread_cond_init's result.
int Condition_initialize(pthread_cond_t* condition);

/// Holds a mutex for the length of a scope.
class ScopedLock {
public:
    explicit ScopedLock(pthread_mutex_t& mutexToHold) : mutex(mutexToHold) {
        pthread_mutex_lock(&mutex);
    }
    ~ScopedLock() {
        pthread_mutex_unlock(&mutex);
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    pthread_mutex_t& mutex;
};

#endif
