// Time in a world: its speed, its steps, and every way to wait.

#include "World.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <fstream>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <string>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr double speed = 50;
constexpr int64_t wait_ms = 1000;

int64_t now_ns(clockid_t kind) {
    timespec now{};
    clock_gettime(kind, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

timespec inWait(clockid_t kind) {
    const int64_t moment = now_ns(kind) + wait_ms * 1'000'000;
    return {static_cast<time_t>(moment / 1'000'000'000), static_cast<long>(moment % 1'000'000'000)};
}

/// The thread waits in the kernel.
bool isAsleep(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(status, text);
    const size_t name = text.rfind(") ");
    return name != std::string::npos && text[name + 2] == 'S';
}

void waitOnCondition(clockid_t kind) {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, kind);
    pthread_cond_t condition;
    pthread_cond_init(&condition, &attributes);
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&mutex);
    const timespec moment = inWait(kind);
    EXPECT_EQ(pthread_cond_timedwait(&condition, &mutex, &moment), ETIMEDOUT);
    pthread_mutex_unlock(&mutex);
    pthread_cond_destroy(&condition);
}

struct Wait {
    const char* name;
    void (*run)();
};

const Wait waits[] = {
    {"nanosleep",
     [] {
         const timespec wait{1, 0};
         EXPECT_EQ(nanosleep(&wait, nullptr), 0);
     }},
    {"clock_nanosleep",
     [] {
         const timespec wait{1, 0};
         EXPECT_EQ(clock_nanosleep(CLOCK_MONOTONIC, 0, &wait, nullptr), 0);
     }},
    {"clock_nanosleep to a moment",
     [] {
         const timespec moment = inWait(CLOCK_MONOTONIC);
         EXPECT_EQ(clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr), 0);
     }},
    {"usleep", [] { usleep(wait_ms * 1000); }},
    {"sleep", [] { EXPECT_EQ(sleep(1), 0U); }},
    {"poll", [] { EXPECT_EQ(poll(nullptr, 0, wait_ms), 0); }},
    {"ppoll",
     [] {
         const timespec wait{1, 0};
         EXPECT_EQ(ppoll(nullptr, 0, &wait, nullptr), 0);
     }},
    {"select",
     [] {
         timeval wait{1, 0};
         EXPECT_EQ(select(0, nullptr, nullptr, nullptr, &wait), 0);
         EXPECT_EQ(wait.tv_sec, 0);
     }},
    {"pselect",
     [] {
         const timespec wait{1, 0};
         EXPECT_EQ(pselect(0, nullptr, nullptr, nullptr, &wait, nullptr), 0);
     }},
    {"epoll_wait",
     [] {
         const int poller = epoll_create1(EPOLL_CLOEXEC);
         epoll_event event{};
         EXPECT_EQ(epoll_wait(poller, &event, 1, wait_ms), 0);
         close(poller);
     }},
    {"condition on the monotonic clock", [] { waitOnCondition(CLOCK_MONOTONIC); }},
    {"condition on the wall clock", [] { waitOnCondition(CLOCK_REALTIME); }},
    {"condition_variable::wait_for",
     [] {
         std::mutex mutex;
         std::condition_variable condition;
         std::unique_lock lock(mutex);
         EXPECT_EQ(condition.wait_for(lock, std::chrono::milliseconds(wait_ms)),
                   std::cv_status::timeout);
     }},
    {"this_thread::sleep_for",
     [] { std::this_thread::sleep_for(std::chrono::milliseconds(wait_ms)); }},
    {"sem_timedwait",
     [] {
         sem_t semaphore;
         sem_init(&semaphore, 0, 0);
         const timespec moment = inWait(CLOCK_REALTIME);
         EXPECT_EQ(sem_timedwait(&semaphore, &moment), -1);
         EXPECT_EQ(errno, ETIMEDOUT);
         sem_destroy(&semaphore);
     }},
    {"socket time-out",
     [] {
         std::array<int, 2> ends{};
         ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
         const timeval wait{1, 0};
         setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
         char byte = 0;
         EXPECT_EQ(read(ends[0], &byte, 1), -1);
         close(ends[0]);
         close(ends[1]);
     }},
};

class Clock : public testing::Test {
protected:
    void TearDown() override {
        World_setSpeed(1);
        World_skipSleeps(false);
    }
};

} // namespace

TEST_F(Clock, EveryWaitTakesItsTimeOnTheBenchAndLessInReality) {
    World_setSpeed(speed);
    for (const Wait& wait : waits) {
        SCOPED_TRACE(wait.name);
        // A machine that stands still lengthens one of them, but hardly every one.
        const auto isShorter = [&wait] {
            const int64_t bench = now_ns(CLOCK_MONOTONIC);
            const int64_t real = now_ns(CLOCK_MONOTONIC_RAW);
            wait.run();
            const int64_t took_ns = now_ns(CLOCK_MONOTONIC_RAW) - real;
            EXPECT_GE(now_ns(CLOCK_MONOTONIC) - bench, (wait_ms - 1) * 1'000'000);
            EXPECT_GE(took_ns, wait_ms / 50 * 900'000);
            return took_ns < wait_ms / 2 * 1'000'000;
        };
        EXPECT_TRUE(World_waitUntil(isShorter, 10 * wait_ms));
    }
}

TEST_F(Clock, AChangeOfSpeedDoesNotLetTheClocksJump) {
    World_setSpeed(50); // some time is ahead that could be lost or counted twice
    usleep(5'000'000);
    double last = 50;
    for (const double next : {20.0, 0.5, 1.0, 100.0, 1.0}) {
        const int64_t real = now_ns(CLOCK_MONOTONIC_RAW);
        const int64_t bench = now_ns(CLOCK_MONOTONIC);
        const int64_t wall = now_ns(CLOCK_REALTIME);
        World_setSpeed(next);
        const int64_t benchGone = now_ns(CLOCK_MONOTONIC) - bench;
        const int64_t wallGone = now_ns(CLOCK_REALTIME) - wall;
        const auto realGone = static_cast<double>(now_ns(CLOCK_MONOTONIC_RAW) - real);
        EXPECT_GE(benchGone, 0);
        // No more than the faster of both speeds makes of the real time.
        const double most = realGone * std::max(last, next) + 1e6;
        EXPECT_LT(static_cast<double>(benchGone), most);
        EXPECT_LT(static_cast<double>(wallGone), most);
        last = next;
    }
}

TEST_F(Clock, ASleepFollowsAChangeOfSpeed) {
    constexpr uint32_t sleep_s = 60;
    const int64_t start_ns = now_ns(CLOCK_MONOTONIC);
    const int64_t realStart_ns = now_ns(CLOCK_MONOTONIC_RAW);
    std::atomic<pid_t> sleeperId{0};
    std::thread sleeper([&] {
        sleeperId = gettid();
        EXPECT_EQ(sleep(sleep_s), 0U);
    });
    ASSERT_TRUE(World_waitUntil([&] { return sleeperId != 0 && isAsleep(sleeperId); }, 30000));
    World_setSpeed(1000);
    ASSERT_TRUE(World_waitUntil(
        [&] { return now_ns(CLOCK_MONOTONIC) - start_ns > sleep_s / 2 * 1'000'000'000LL; }, 5000));
    World_setSpeed(100);
    sleeper.join();
    EXPECT_GE(now_ns(CLOCK_MONOTONIC) - start_ns, sleep_s * 1'000'000'000LL);
    EXPECT_LT(now_ns(CLOCK_MONOTONIC_RAW) - realStart_ns, 10'000'000'000LL);
}

TEST_F(Clock, ASleepThatIsSkippedMovesTheClocksAndTakesNoTime) {
    constexpr int64_t day_s = 86400;
    World_skipSleeps(true);
    const int64_t steady_ns = now_ns(CLOCK_MONOTONIC);
    const time_t wall = time(nullptr);
    const int64_t real_ns = now_ns(CLOCK_MONOTONIC_RAW);
    EXPECT_EQ(sleep(day_s), 0U);
    EXPECT_GE(now_ns(CLOCK_MONOTONIC) - steady_ns, day_s * 1'000'000'000);
    EXPECT_NEAR(static_cast<double>(time(nullptr) - wall), day_s, 60);
    EXPECT_LT(now_ns(CLOCK_MONOTONIC_RAW) - real_ns, 60'000'000'000);
    // What may come sooner is waited for.
    const int64_t begun_ns = now_ns(CLOCK_MONOTONIC_RAW);
    EXPECT_EQ(poll(nullptr, 0, 20), 0);
    EXPECT_GE(now_ns(CLOCK_MONOTONIC_RAW) - begun_ns, 19'000'000);
}

TEST_F(Clock, AStepMovesTheWallClockOnly) {
    const int64_t steady = now_ns(CLOCK_MONOTONIC);
    const time_t wall = time(nullptr);
    timeval day{};
    World_stepWallClock_ms(3'600'000);
    EXPECT_NEAR(static_cast<double>(time(nullptr) - wall), 3600, 2);
    gettimeofday(&day, nullptr);
    EXPECT_NEAR(static_cast<double>(day.tv_sec - wall), 3600, 2);
    EXPECT_LT(now_ns(CLOCK_MONOTONIC) - steady, 1'000'000'000);
    World_stepWallClock_ms(-7'200'000);
    EXPECT_NEAR(static_cast<double>(time(nullptr) - wall), -3600, 2);
    World_stepWallClock_ms(3'600'000);
}

TEST_F(Clock, AWaitForAMomentOnASteppedWallClockEndsThen) {
    World_stepWallClock_ms(3'600'000);
    const int64_t real = now_ns(CLOCK_MONOTONIC_RAW);
    timespec moment{};
    clock_gettime(CLOCK_REALTIME, &moment);
    moment.tv_nsec += 50'000'000;
    if (moment.tv_nsec >= 1'000'000'000) {
        moment.tv_nsec -= 1'000'000'000;
        ++moment.tv_sec;
    }
    EXPECT_EQ(clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &moment, nullptr), 0);
    EXPECT_GE(now_ns(CLOCK_MONOTONIC_RAW) - real, 45'000'000);
    EXPECT_LT(now_ns(CLOCK_MONOTONIC_RAW) - real, 5'000'000'000);
    World_stepWallClock_ms(-3'600'000);
}

TEST_F(Clock, AProgramThatSetsTheWallClockSetsItsWorldsOnly) {
    const int64_t steady = now_ns(CLOCK_MONOTONIC);
    const time_t before = time(nullptr);
    const timespec wanted{1'000'000'000, 0};
    ASSERT_EQ(clock_settime(CLOCK_REALTIME, &wanted), 0);
    EXPECT_NEAR(static_cast<double>(time(nullptr)), 1e9, 2);
    EXPECT_LT(now_ns(CLOCK_MONOTONIC) - steady, 1'000'000'000);
    // What the machine's clock shows comes from the kernel itself.
    timespec machine{};
    ASSERT_EQ(syscall(SYS_clock_gettime, CLOCK_REALTIME, &machine), 0);
    EXPECT_GT(machine.tv_sec, 1'500'000'000);
    const timeval back{before, 0};
    EXPECT_EQ(settimeofday(&back, nullptr), 0);
    EXPECT_NEAR(static_cast<double>(time(nullptr) - before), 0, 2);
}

TEST_F(Clock, AnImpossibleSpeedIsRefused) {
    for (const double impossible : {0.0, -1.0, 1e9}) {
        World_setSpeed(impossible);
        // Real time before and behind each reading of the bench's clock: between two a busy
        // machine may let any time go by.
        const int64_t before = now_ns(CLOCK_MONOTONIC_RAW);
        const int64_t bench = now_ns(CLOCK_MONOTONIC);
        const int64_t begun = now_ns(CLOCK_MONOTONIC_RAW);
        usleep(2000);
        const int64_t ended = now_ns(CLOCK_MONOTONIC_RAW);
        const int64_t gone = now_ns(CLOCK_MONOTONIC) - bench;
        const int64_t behind = now_ns(CLOCK_MONOTONIC_RAW);
        constexpr int64_t granularity_ns = 1'000'000;
        EXPECT_GE(gone, ended - begun - granularity_ns);
        EXPECT_LE(gone, behind - before + granularity_ns);
    }
}
