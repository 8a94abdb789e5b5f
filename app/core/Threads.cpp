#include "Threads.h"

#include "ThreadWatch.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>

namespace {

constexpr long nanosecondsPerSecond = 1'000'000'000;
constexpr long nanosecondsPerMillisecond = 1'000'000;
constexpr uint32_t millisecondsPerSecond = 1000;

/// What a new thread is told; the thread itself frees it.
struct ThreadStart {
    char name[16]; ///< the kernel's limit, with its terminator
    void (*entry)();
    void* (*entryWithContext)(void*);
    void* context;
};

extern "C" void* runThread(void* argument) {
    const ThreadStart start = *static_cast<ThreadStart*>(argument);
    delete static_cast<ThreadStart*>(argument);
    // The thread names itself, since a detached thread may have ended before its starter could.
    pthread_setname_np(pthread_self(), start.name);
    if (start.entry != nullptr) {
        start.entry();
        return nullptr;
    }
    return start.entryWithContext(start.context);
}

/// Every signal but the one that asks for a trace and those that a fault raises in the thread
/// itself: with these blocked the kernel would kill the process without a crash log.
sigset_t signalsOfMainThread() {
    sigset_t signals;
    sigfillset(&signals);
    sigdelset(&signals, threadTraceSignal);
    constexpr std::array faults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
    for (const int fault : faults) {
        sigdelset(&signals, fault);
    }
    return signals;
}

int createThread(pthread_t* thread, const ThreadStart& content, int detachState) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) {
        return error;
    }
    auto* start = new (std::nothrow) ThreadStart(content);
    if (start == nullptr) {
        pthread_attr_destroy(&attributes);
        return ENOMEM;
    }
    pthread_attr_setdetachstate(&attributes, detachState);
    // The new thread inherits the mask, so that no signal finds it unblocked at any moment.
    const sigset_t blocked = signalsOfMainThread();
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &blocked, &previous);
    pthread_t created{};
    error = pthread_create(&created, &attributes, runThread, start);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        delete start;
        return error;
    }
    *thread = created;
    return 0;
}

} // namespace

int Thread_start(pthread_t* thread, const char* name, void (*entry)()) {
    ThreadStart start{};
    snprintf(start.name, sizeof start.name, "%s", name);
    start.entry = entry;
    return createThread(thread, start, PTHREAD_CREATE_DETACHED);
}

int Thread_startJoinable(pthread_t* thread, const char* name, void* (*entry)(void*),
                         void* context) {
    ThreadStart start{};
    snprintf(start.name, sizeof start.name, "%s", name);
    start.entryWithContext = entry;
    start.context = context;
    return createThread(thread, start, PTHREAD_CREATE_JOINABLE);
}

void Thread_sleep_ms(uint32_t time_ms) {
    const timespec end = Thread_deadline(time_ms);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

timespec Thread_deadline(uint32_t time_ms) {
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += time_ms / millisecondsPerSecond;
    deadline.tv_nsec +=
        static_cast<long>(time_ms % millisecondsPerSecond) * nanosecondsPerMillisecond;
    if (deadline.tv_nsec >= nanosecondsPerSecond) {
        deadline.tv_nsec -= nanosecondsPerSecond;
        ++deadline.tv_sec;
    }
    return deadline;
}

int Condition_initialize(pthread_cond_t* condition) {
    pthread_condattr_t attributes;
    const int error = pthread_condattr_init(&attributes);
    if (error != 0) {
        return error;
    }
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    const int result = pthread_cond_init(condition, &attributes);
    pthread_condattr_destroy(&attributes);
    return result;
}
