#include "Threads.h"

#include "ThreadWatch.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

namespace {

constexpr uint32_t limit_ms = 30000;
constexpr int handledSignals[] = {SIGTERM, SIGINT, SIGUSR1, SIGHUP, SIGCHLD, SIGALRM};
constexpr int faultSignals[] = {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL};

int64_t monotonic_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

/// What a thread finds out about itself.
struct Portrait {
    char name[16] = "";
    sigset_t blocked{};
    int detachState = -1;
};

Portrait takePortrait() {
    Portrait portrait;
    pthread_getname_np(pthread_self(), portrait.name, sizeof portrait.name);
    pthread_sigmask(SIG_BLOCK, nullptr, &portrait.blocked);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getdetachstate(&attributes, &portrait.detachState);
    pthread_attr_destroy(&attributes);
    return portrait;
}

Portrait detachedPortrait;
std::atomic<bool> detachedPortraitIsTaken{false};

void sitForDetachedPortrait() {
    detachedPortrait = takePortrait();
    detachedPortraitIsTaken = true;
}

void* sitForPortrait(void* context) {
    *static_cast<Portrait*>(context) = takePortrait();
    return context;
}

Portrait portraitOfJoinable(const char* name) {
    Portrait portrait;
    pthread_t thread{};
    EXPECT_EQ(Thread_startJoinable(&thread, name, sitForPortrait, &portrait), 0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, &portrait);
    return portrait;
}

TEST(Threads, StartedThreadIsDetachedAndHasItsName) {
    detachedPortraitIsTaken = false;
    pthread_t thread{};
    ASSERT_EQ(Thread_start(&thread, "gtkThread", sitForDetachedPortrait), 0);
    ASSERT_TRUE(World_waitUntil([] { return detachedPortraitIsTaken.load(); }, limit_ms));
    EXPECT_STREQ(detachedPortrait.name, "gtkThread");
    EXPECT_EQ(detachedPortrait.detachState, PTHREAD_CREATE_DETACHED);
}

TEST(Threads, JoinableThreadReceivesItsContextAndReturnsItsResult) {
    const Portrait portrait = portraitOfJoinable("worker");
    EXPECT_STREQ(portrait.name, "worker");
    EXPECT_EQ(portrait.detachState, PTHREAD_CREATE_JOINABLE);
}

TEST(Threads, NameIsCutAtFifteenCharacters) {
    EXPECT_STREQ(portraitOfJoinable("softPowerSwitchPollingThread").name, "softPowerSwitch");
}

TEST(Threads, NewThreadLeavesEveryHandledSignalToTheMainThread) {
    const Portrait portrait = portraitOfJoinable("worker");
    for (const int signal : handledSignals) {
        EXPECT_TRUE(sigismember(&portrait.blocked, signal)) << signal;
    }
}

TEST(Threads, NewThreadKeepsTheSignalsOfItsOwnFaults) {
    const Portrait portrait = portraitOfJoinable("worker");
    for (const int signal : faultSignals) {
        EXPECT_FALSE(sigismember(&portrait.blocked, signal)) << signal;
    }
}

TEST(Threads, NewThreadCanBeAskedForItsTrace) {
    const Portrait portrait = portraitOfJoinable("worker");
    EXPECT_FALSE(sigismember(&portrait.blocked, threadTraceSignal));
}

TEST(Threads, StartingAThreadLeavesTheStartersSignalsAlone) {
    portraitOfJoinable("worker");
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (const int signal : handledSignals) {
        EXPECT_FALSE(sigismember(&blocked, signal)) << signal;
    }
}

TEST(Threads, FailureToStartGivesTheErrorNumberAndLeavesTheHandleAlone) {
    pthread_t thread = pthread_self();
    WrappedCalls_fail(Call::threadCreate, EAGAIN);
    EXPECT_EQ(Thread_start(&thread, "never", sitForDetachedPortrait), EAGAIN);
    EXPECT_EQ(thread, pthread_self());
    WrappedCalls_fail(Call::threadCreate, ENOMEM);
    EXPECT_EQ(Thread_startJoinable(&thread, "never", sitForPortrait, nullptr), ENOMEM);
    EXPECT_EQ(thread, pthread_self());
}

constexpr uint32_t sleep_ms = 3000; // time for several signals, however busy the machine is
std::atomic<int> signalCount{0};
std::atomic<bool> sleeperIsDone{false};

void countSignal(int) {
    ++signalCount;
}

void* sleepThroughSignals(void* context) {
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const int64_t start = monotonic_ms();
    Thread_sleep_ms(sleep_ms);
    *static_cast<int64_t*>(context) = monotonic_ms() - start;
    sleeperIsDone = true;
    return nullptr;
}

#ifdef __SANITIZE_THREAD__
constexpr int leastSignals = 1; // the checker gathers a sleeper's signals until its call returns
#else
constexpr int leastSignals = 2;
#endif

TEST(Threads, SleepLastsItsWholeTimeWhateverSignalsArrive) {
    struct sigaction action {};
    action.sa_handler = countSignal; // and no SA_RESTART: every call is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    signalCount = 0;
    sleeperIsDone = false;
    int64_t slept_ms = 0;
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "sleeper", sleepThroughSignals, &slept_ms), 0);
    EXPECT_TRUE(World_waitUntil(
        [&] {
            pthread_kill(thread, SIGUSR1);
            return sleeperIsDone.load();
        },
        limit_ms));
    pthread_join(thread, nullptr);
    signal(SIGUSR1, SIG_DFL);
    EXPECT_GE(signalCount, leastSignals);
    EXPECT_GE(slept_ms, int64_t{sleep_ms});
}

TEST(Threads, DeadlineCarriesIntoSeconds) {
    WrappedCalls_holdMonotonicClock(7'999'000'000);
    const timespec deadline = Thread_deadline(2001);
    WrappedCalls_reset();
    EXPECT_EQ(deadline.tv_sec, 10);
    EXPECT_EQ(deadline.tv_nsec, 0);
}

TEST(Threads, ConditionWaitsOnTheMonotonicClock) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition;
    ASSERT_EQ(Condition_initialize(&condition), 0);
    const int64_t start = monotonic_ms();
    const timespec deadline = Thread_deadline(30);
    int result = 0;
    {
        const ScopedLock lock(mutex);
        while (result == 0) {
            result = pthread_cond_timedwait(&condition, &mutex, &deadline);
        }
    }
    EXPECT_EQ(result, ETIMEDOUT);
    EXPECT_GE(monotonic_ms() - start, 29); // on the wall clock this deadline is long past
    pthread_cond_destroy(&condition);
}

} // namespace
