// What a world lets fail, and that only that fails.

#include "World.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char* file = "/etc/QuorvelPowerMeterApp/x.conf";
constexpr const char* sibling = "/etc/QuorvelPowerMeterApp/x.conf.new";
constexpr const char* folder = "/etc/QuorvelPowerMeterApp";

class Faults : public testing::Test {
protected:
    void SetUp() override {
        World_clearFaults();
        World_writeFile(file, "old");
        World_removeFile(sibling);
    }
    void TearDown() override {
        World_clearFaults();
    }
};

} // namespace

TEST_F(Faults, AnOpenThatFailsHasItsErrorAndEndsWithTheFault) {
    ASSERT_TRUE(World_fail(WorldFault::open, file, EMFILE));
    EXPECT_EQ(open(file, O_RDONLY), -1);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(fopen(file, "r"), nullptr);
    EXPECT_EQ(errno, EMFILE);
    EXPECT_EQ(access("/etc/network", F_OK), 0);
    World_clearFaults();
    const int fd = open(file, O_RDONLY);
    EXPECT_GE(fd, 0);
    close(fd);
}

TEST_F(Faults, AReadOnlyFolderCanBeReadButNotChanged) {
    ASSERT_TRUE(World_fail(WorldFault::change, folder, EROFS));
    const int fd = open(file, O_RDONLY);
    EXPECT_GE(fd, 0);
    close(fd);
    char pattern[] = "/etc/QuorvelPowerMeterApp/x.XXXXXX";
    const std::pair<const char*, int> changes[] = {
        {"open", open(file, O_WRONLY)},
        {"create", open(sibling, O_WRONLY | O_CREAT, 0644)},
        {"mkostemp", mkostemp(pattern, O_CLOEXEC)},
        {"rename", rename(file, sibling)},
        {"unlink", unlink(file)},
        {"remove", remove(file)},
        {"mkdir", mkdir("/etc/QuorvelPowerMeterApp/sub", 0755)},
        {"rmdir", rmdir(folder)},
    };
    for (const auto& [name, result] : changes) {
        EXPECT_EQ(result, -1) << name;
    }
    EXPECT_EQ(errno, EROFS);
    EXPECT_FALSE(std::ofstream(file).is_open());
    EXPECT_EQ(World_readFile(file), "old");
}

TEST_F(Faults, AFullDiskTakesTheFileButNoByte) {
    ASSERT_TRUE(World_fail(WorldFault::full, folder, ENOSPC));
    const int fd = open(sibling, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(write(fd, "new", 3), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    close(fd);

    FILE* const stream = fopen(sibling, "w");
    ASSERT_NE(stream, nullptr);
    fputs("new", stream);
    EXPECT_NE(fflush(stream), 0);
    EXPECT_EQ(errno, ENOSPC);
    fclose(stream);

    char pattern[] = "/etc/QuorvelPowerMeterApp/x.XXXXXX";
    const int unique = mkstemp(pattern);
    ASSERT_GE(unique, 0);
    EXPECT_EQ(write(unique, "new", 3), -1);
    close(unique);
    EXPECT_EQ(unlink(pattern), 0);
    EXPECT_EQ(World_readFile(file), "old");
    EXPECT_EQ(World_readFile(sibling), "");
}

TEST_F(Faults, AFileThatSomethingIsMountedOnCannotBeReplaced) {
    World_writeFile(sibling, "new");
    ASSERT_TRUE(World_fail(WorldFault::rename, file, EBUSY));
    EXPECT_EQ(rename(sibling, file), -1);
    EXPECT_EQ(errno, EBUSY);
    std::ofstream(file, std::ios::trunc) << "in place";
    EXPECT_EQ(World_readFile(file), "in place");
}

TEST_F(Faults, AFlushToABrokenDiskFails) {
    ASSERT_TRUE(World_fail(WorldFault::sync, file, EIO));
    const int fd = open(file, O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(fsync(fd), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(fdatasync(fd), -1);
    close(fd);
}

TEST_F(Faults, AFlushInAWorldGoesNoFurther) {
    // The kernel flushes no pipe, and would say so.
    const std::string pipe = World_folder() + "/root" + folder + "/pipe";
    const std::string foreign = World_folder() + "/pipe";
    for (const std::string& path : {pipe, foreign}) {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    }
    for (const auto flush : {fsync, fdatasync}) {
        const int fd = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_EQ(flush(fd), 0);
        close(fd);
        const int foreignFd = open(foreign.c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_EQ(flush(foreignFd), -1);
        close(foreignFd);
    }
    unlink(pipe.c_str());
    unlink(foreign.c_str());
}

TEST_F(Faults, AFlushToASlowDiskTakesItsTimeOnTheWorldsClock) {
    constexpr int64_t time_ms = 40000;
    ASSERT_TRUE(World_fail(WorldFault::slow, folder, time_ms));
    const int fd = open(file, O_WRONLY | O_CLOEXEC);
    World_skipSleeps(true);
    for (const auto flush : {fsync, fdatasync}) {
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(flush(fd), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(time_ms));
    }
    World_skipSleeps(false);
    close(fd);
}

TEST_F(Faults, ADiskThatIsMendedEndsAFlush) {
    constexpr int hour_ms = 3600000;
    ASSERT_TRUE(World_fail(WorldFault::slow, folder, hour_ms));
    std::atomic<bool> isFlushed = false;
    std::thread flushing([&] {
        const int fd = open(file, O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(fsync(fd), 0);
        close(fd);
        isFlushed = true;
    });
    EXPECT_FALSE(World_waitUntil([&] { return isFlushed.load(); }, 50));
    World_clearFaults();
    flushing.join();
}

TEST_F(Faults, TheyReachAFileThroughItsResolvedNameToo) {
    char* const resolved = realpath(file, nullptr);
    ASSERT_STREQ(resolved, file);
    free(resolved);
}

TEST_F(Faults, MoreThanEightAreRefused) {
    for (int index = 0; index < 8; ++index) {
        EXPECT_TRUE(World_fail(WorldFault::sync, file, EIO));
    }
    EXPECT_FALSE(World_fail(WorldFault::sync, file, EIO));
    World_clearFaults();
    EXPECT_FALSE(World_fail(WorldFault::open, std::string(300, 'x'), EIO));
}

TEST_F(Faults, AShellMeetsThemToo) {
    ASSERT_TRUE(World_fail(WorldFault::change, "/tmp/debug", EACCES));
    EXPECT_NE(system("(touch /tmp/debug) 2> /dev/null"), 0);
}
