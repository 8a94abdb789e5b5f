#include "ThreadWatch.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <string>
#include <thread>

namespace {

constexpr uint32_t pass_ms = 1000;
constexpr uint32_t limit_ms = 3000;

/// What a pass of the one that looks after the threads finds.
std::string findSilent() {
    const char* const name = ThreadWatch_findSilent(pass_ms, limit_ms);
    return name == nullptr ? "" : name;
}

TEST(ThreadWatch, AThreadIsMissedOnceItsSilenceHasLastedForTheLimit) {
    pthread_setname_np(pthread_self(), "watched");
    ThreadWatch_beat();
    EXPECT_EQ(findSilent(), "") << "a sign of life since the last pass";
    EXPECT_EQ(findSilent(), "");
    EXPECT_EQ(findSilent(), "");
    EXPECT_EQ(findSilent(), "watched");
    ThreadWatch_beat();
    EXPECT_EQ(findSilent(), "");
}

TEST(ThreadWatch, AThreadThatRestsIsNotMissedUntilItIsAtWorkAgain) {
    ThreadWatch_beat();
    ThreadWatch_rest();
    for (int pass = 0; pass < 10; ++pass) {
        EXPECT_EQ(findSilent(), "") << pass;
    }
    ThreadWatch_beat();
    EXPECT_EQ(findSilent(), "");
    EXPECT_EQ(findSilent(), "");
    EXPECT_EQ(findSilent(), "");
    EXPECT_NE(findSilent(), "");
}

TEST(ThreadWatch, AThreadThatHasNeverGivenASignOfLifeIsNotWatched) {
    std::thread([] { ThreadWatch_rest(); }).join();
    for (int pass = 0; pass < 10; ++pass) {
        EXPECT_EQ(findSilent(), "") << pass;
    }
}

TEST(ThreadWatch, AThreadIsNotMissedWhileItRestsAndIsAtWorkAfterwards) {
    ThreadWatch_beat();
    {
        const ThreadRest rest;
        for (int pass = 0; pass < 10; ++pass) {
            EXPECT_EQ(findSilent(), "") << pass;
        }
    }
    EXPECT_EQ(findSilent(), "");
    EXPECT_EQ(findSilent(), "");
    EXPECT_EQ(findSilent(), "");
    EXPECT_NE(findSilent(), "");
    ThreadWatch_progress();
    EXPECT_EQ(findSilent(), "");
}

TEST(ThreadWatch, RestAndProgressDoNotMakeAThreadOneThatIsWatched) {
    std::thread([] {
        ThreadWatch_progress();
        const ThreadRest rest;
    }).join();
    for (int pass = 0; pass < 10; ++pass) {
        EXPECT_EQ(findSilent(), "") << pass;
    }
}

TEST(ThreadWatch, MoreThreadsThanThereIsRoomForAreLetGo) {
    for (int count = 0; count < 100; ++count) {
        std::thread([] {
            ThreadWatch_beat();
            ThreadWatch_beat();
            ThreadWatch_rest();
        }).join();
    }
    for (int pass = 0; pass < 10; ++pass) {
        EXPECT_EQ(findSilent(), "") << pass;
    }
}

} // namespace
