#include "CrashHandler.h"

#include "World.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::string crashLog = "/tmp/crashlog.txt";
const std::string separator = std::string(60, '=') + "\n";

size_t separatorCount(const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find(separator); at != std::string::npos;
         at = text.find(separator, at + separator.size())) {
        ++count;
    }
    return count;
}

/// Runs a child that installs the handler and sends itself a signal; returns wait's status. A child
/// that lives on leaves with 7.
int statusOfChildThatRaises(int signal) {
    const pid_t child = fork();
    if (child == 0) {
        CrashHandler_openLog();
        CrashHandler_install();
        raise(signal);
        _exit(7);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

} // namespace

TEST(CrashHandler, TerminationAndInterruptDoNothing) {
    World_removeFile(crashLog);
    for (const int signal : {SIGTERM, SIGINT}) {
        const int status = statusOfChildThatRaises(signal);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << signal;
    }
    EXPECT_EQ(World_readFile(crashLog), "");
}

TEST(CrashHandler, BrokenPipeIsIgnored) {
    const int status = statusOfChildThatRaises(SIGPIPE);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
}

TEST(CrashHandler, UserSignalAppendsATraceAndGoesOn) {
    World_removeFile(crashLog);
    for (size_t call = 1; call <= 2; ++call) {
        const int status = statusOfChildThatRaises(SIGUSR1);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
        const std::string log = World_readFile(crashLog);
        EXPECT_EQ(separatorCount(log), 2 * call);
        EXPECT_TRUE(log.starts_with(separator));
        EXPECT_TRUE(log.ends_with(separator));
        EXPECT_GT(log.size(), call * (2 * separator.size() + 10)) << "frames stand in between";
    }
}

TEST(CrashHandler, FaultAndAbortAppendATraceAndLeaveWithMinusOne) {
    for (const int signal : {SIGSEGV, SIGABRT}) {
        World_removeFile(crashLog);
        const int status = statusOfChildThatRaises(signal);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 255) << signal;
        EXPECT_EQ(separatorCount(World_readFile(crashLog)), 2U) << signal;
    }
}

TEST(CrashHandler, LogThatCannotBeOpenedIsNoReasonToStop) {
    World_removeFile(crashLog);
    World_writeFile(crashLog + "/in the way", "");
    const int status = statusOfChildThatRaises(SIGUSR1);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
    World_removeFile(crashLog);
}
