#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(ChildProcess, AChildThatOverlooksASignalIsToldAgain) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    ChildOptions options;
    options.output = ready[1];
    const pid_t child = ChildProcess_start(
        {"sh", "-c", "trap 'trap - TERM' TERM; echo ready; while :; do sleep 0.05; done"}, {},
        options);
    ASSERT_GT(child, 0);
    char text = 0;
    ASSERT_EQ(read(ready[0], &text, 1), 1);
    ChildProcess_kill(child, SIGTERM);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1) << "it still runs";
    EXPECT_EQ(errno, ECHILD);
    close(ready[0]);
    close(ready[1]);
}

TEST(ChildProcess, AChildThatHasEndedIsTakenLeaveOf) {
    const pid_t child = ChildProcess_start({"true"}, {});
    siginfo_t ended{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    ChildProcess_kill(child, SIGTERM);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1);
    ChildProcess_kill(0, SIGTERM);
}

} // namespace
