#include "Event.h"

#include "Threads.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

namespace {

constexpr uint32_t limit_ms = 30000;

struct Waiter {
    Event_t event{};
    std::atomic<int> returns{0};
    std::atomic<bool> mayWaitAgain{false};
};

void* waitTwice(void* context) {
    auto* waiter = static_cast<Waiter*>(context);
    Event_WaitForNext(&waiter->event);
    ++waiter->returns;
    World_waitUntil([&] { return waiter->mayWaitAgain.load(); }, limit_ms);
    Event_WaitForNext(&waiter->event);
    ++waiter->returns;
    return nullptr;
}

/// A signal that comes before the waiter waits is forgotten, so it is given until it is taken.
bool signalUntil(Waiter& waiter, int returns) {
    return World_waitUntil(
        [&] {
            Event_Signal(&waiter.event);
            return waiter.returns >= returns;
        },
        limit_ms);
}

TEST(Event, SignalWakesTheWaiter) {
    Waiter waiter;
    Event_Initialize(&waiter.event);
    waiter.mayWaitAgain = true;
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "waiter", waitTwice, &waiter), 0);
    EXPECT_TRUE(signalUntil(waiter, 1));
    EXPECT_TRUE(signalUntil(waiter, 2));
    pthread_join(thread, nullptr);
}

TEST(Event, SignalThatWasGivenBeforeTheWaitIsForgotten) {
    Waiter waiter;
    Event_Initialize(&waiter.event);
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "waiter", waitTwice, &waiter), 0);
    ASSERT_TRUE(signalUntil(waiter, 1));

    Event_Signal(&waiter.event);
    waiter.mayWaitAgain = true;
    // Once the waiter has forgotten the signal, it can only be waiting.
    EXPECT_TRUE(World_waitUntil(
        [&] {
            const ScopedLock lock(waiter.event.mutex);
            return !waiter.event.signalled;
        },
        limit_ms));
    EXPECT_EQ(waiter.returns, 1);
    EXPECT_TRUE(signalUntil(waiter, 2));
    pthread_join(thread, nullptr);
}

struct FailureCase {
    const char* name; ///< of the failing call
    Call call;
    int error;
    void (*use)(Event_t*);
};

constexpr FailureCase failures[] = {
    {"pthread_mutex_init", Call::mutexInit, EAGAIN, Event_Initialize},
    {"pthread_cond_init", Call::conditionInit, ENOMEM, Event_Initialize},
    {"pthread_mutex_lock", Call::mutexLock, EDEADLK, Event_WaitForNext},
    {"pthread_mutex_lock", Call::mutexLock, EINVAL, Event_Signal},
    {"pthread_cond_wait", Call::conditionWait, EPERM, Event_WaitForNext},
    {"pthread_mutex_unlock", Call::mutexUnlock, EPERM, Event_Signal},
    {"pthread_cond_signal", Call::conditionSignal, EINVAL, Event_Signal},
};

struct FailingUse {
    FailureCase failure;
    Event_t event;
    bool hasReturned;
};

void* useFailingEvent(void* context) {
    auto* use = static_cast<FailingUse*>(context);
    Event_Initialize(&use->event);
    WrappedCalls_fail(use->failure.call, use->failure.error);
    use->failure.use(&use->event);
    use->hasReturned = true;
    return nullptr;
}

TEST(Event, FailingCallIsLoggedAndEndsTheThreadWithTheErrorNumber) {
    for (const FailureCase& failure : failures) {
        World_clearSyslog();
        FailingUse use{failure, {}, false};
        pthread_t thread{};
        ASSERT_EQ(Thread_startJoinable(&thread, "failing", useFailingEvent, &use), 0);
        void* exitValue = nullptr;
        ASSERT_EQ(pthread_join(thread, &exitValue), 0);
        EXPECT_FALSE(use.hasReturned) << failure.name;
        EXPECT_EQ(reinterpret_cast<intptr_t>(exitValue), failure.error) << failure.name;
        const std::string text =
            std::string("(): ") + failure.name + ": " + strerror(failure.error);
        EXPECT_TRUE(World_syslogContains("<7> DIAGNOSTIC:Event.cpp:")) << failure.name;
        EXPECT_TRUE(World_syslogContains(text)) << text;
        EXPECT_TRUE(World_syslogContains("<3> USER_ERROR: ")) << failure.name;
    }
}

TEST(Event, SignallersGoOnBehindAWaiterThatHasFailed) {
    FailingUse use{{"pthread_cond_wait", Call::conditionWait, EPERM, Event_WaitForNext}, {}, false};
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "failing", useFailingEvent, &use), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    Event_Signal(&use.event);
    EXPECT_TRUE(use.event.signalled);
}

} // namespace
