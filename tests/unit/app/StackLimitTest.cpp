#include "StackLimit.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr rlim_t mebibyte = 1024 * 1024;

/// The soft or the hard limit, in MiB, that a child ends up with.
int limitAfterRaise(rlim_t soft, rlim_t hard, rlim_t rlimit::*asked) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit before{soft, hard};
        setrlimit(RLIMIT_STACK, &before);
        StackLimit_raise();
        rlimit after{};
        getrlimit(RLIMIT_STACK, &after);
        _exit(static_cast<int>(after.*asked / mebibyte));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WEXITSTATUS(status);
}

int softLimitAfterRaise(rlim_t soft, rlim_t hard) {
    return limitAfterRaise(soft, hard, &rlimit::rlim_cur);
}

} // namespace

TEST(StackLimit, OnlyALowerLimitIsTooLow) {
    EXPECT_TRUE(StackLimit_isTooLow({stackLimitWanted_bytes - 1, RLIM_INFINITY}));
    EXPECT_FALSE(StackLimit_isTooLow({stackLimitWanted_bytes, RLIM_INFINITY}));
    EXPECT_FALSE(StackLimit_isTooLow({RLIM_INFINITY, RLIM_INFINITY}));
}

TEST(StackLimit, SoftLimitIsRaisedToThirtyTwoMebibytes) {
    EXPECT_EQ(softLimitAfterRaise(8 * mebibyte, 64 * mebibyte), 32);
    EXPECT_EQ(softLimitAfterRaise(48 * mebibyte, 64 * mebibyte), 48);
}

TEST(StackLimit, HardLimitStays) {
    EXPECT_EQ(limitAfterRaise(8 * mebibyte, 64 * mebibyte, &rlimit::rlim_max), 64);
    EXPECT_EQ(limitAfterRaise(48 * mebibyte, 64 * mebibyte, &rlimit::rlim_max), 64);
}

TEST(StackLimit, HardLimitBelowIsToldOnStandardErrorAndLeftAlone) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(softLimitAfterRaise(8 * mebibyte, 16 * mebibyte), 8);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "setrlimit returned result = -1\n");
}
