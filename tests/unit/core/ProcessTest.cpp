#include "Process.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Exit status of a function that runs in a process of its own.
int statusOf(int (*function)()) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(function());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

std::string fileBehind(int descriptor) {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), ignored);
}

/// Bits of the standard descriptors that the null device has taken.
int nullDevices() {
    int found = 0;
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        found |= fileBehind(descriptor) == "/dev/null" ? 1 << descriptor : 0;
    }
    return found;
}

} // namespace

TEST(Process, TheNullDeviceTakesThePlaceOfClosedStandardDescriptors) {
    EXPECT_EQ(statusOf([] {
                  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
                      close(descriptor);
                  }
                  Process_setUpInherited();
                  return nullDevices();
              }),
              7);
}

TEST(Process, OpenStandardDescriptorsAreLeftAlone) {
    EXPECT_EQ(statusOf([] {
                  dup2(STDERR_FILENO, STDIN_FILENO);
                  dup2(STDERR_FILENO, STDOUT_FILENO);
                  const std::string before = fileBehind(STDOUT_FILENO);
                  const bool isNull = before == "/dev/null";
                  close(STDIN_FILENO);
                  Process_setUpInherited();
                  return nullDevices() == (isNull ? 7 : 1) && fileBehind(1) == before ? 0 : 1;
              }),
              0);
}

TEST(Process, AChildsStatusIsKeptForWhoStartedIt) {
    EXPECT_EQ(statusOf([] {
                  signal(SIGCHLD, SIG_IGN);
                  Process_setUpInherited();
                  return statusOf([] { return 42; });
              }),
              42);
}

TEST(Process, TheStartIsRememberedInSecondsSince1970) {
    EXPECT_EQ(Process_startTime_s(), 0);
    const time_t before = time(nullptr);
    Process_rememberStart();
    EXPECT_GE(Process_startTime_s(), before);
    EXPECT_LE(Process_startTime_s(), time(nullptr));
}
