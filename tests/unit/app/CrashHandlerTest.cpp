#include "CrashHandler.h"

#include "Threads.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
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

/// Opens the crash log in this process, for a test that calls the handler itself.
class OwnCrashLog {
public:
    OwnCrashLog() {
        World_removeFile(crashLog);
        CrashHandler_openLog();
    }
    ~OwnCrashLog() {
        close(backtraceFd);
        backtraceFd = -1;
        World_removeFile(crashLog);
    }
    OwnCrashLog(const OwnCrashLog&) = delete;
    OwnCrashLog& operator=(const OwnCrashLog&) = delete;
};

constexpr uint32_t limit_ms = 10000;
std::atomic<int> sleepers{0};

void sleepForEver() {
    ++sleepers;
    for (;;) {
        Thread_sleep_ms(limit_ms);
    }
}

/// Does not hear when it is asked for its trace, as a thread in a driver that hangs.
void sleepForEverUnasked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    sleepForEver();
}

/// Calls the handler below so many calls of its own.
[[gnu::noinline]] void traceFromDepth(int depth) {
    if (depth == 0) {
        handle_signals(SIGUSR1);
    } else {
        traceFromDepth(depth - 1);
    }
    asm volatile(""); // what comes behind the call keeps it from becoming a jump
}

} // namespace

TEST(CrashHandler, LogIsReadableForAllAndWritableForItsOwner) {
    const mode_t mask = umask(0);
    {
        const OwnCrashLog log;
        struct stat status {};
        ASSERT_EQ(fstat(backtraceFd, &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0644U);
    }
    umask(mask);
}

TEST(CrashHandler, TraceIsFlushedToTheDiskAtItsEnd) {
    const OwnCrashLog log;
    WrappedCalls_reset();
    handle_signals(SIGUSR1);
    const FlushedFile flushed = WrappedCalls_lastFlushed();
    EXPECT_EQ(flushed.fd, backtraceFd);
    EXPECT_EQ(flushed.size, static_cast<int64_t>(World_readFile(crashLog).size()));
}

TEST(CrashHandler, TraceHoldsAThousandFrames) {
    constexpr int deeper = 1100;
    const OwnCrashLog log;
    traceFromDepth(deeper);
    EXPECT_EQ(std::ranges::count(World_readFile(crashLog), '\n'), 1000 + 2);
}

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

TEST(CrashHandler, AllThreadsAreTracedUnderTheirNamesOnce) {
    World_removeFile(crashLog);
    const pid_t child = fork();
    if (child == 0) {
        CrashHandler_openLog();
        CrashHandler_install();
        pthread_t thread{};
        Thread_start(&thread, "sleeper", sleepForEver);
        Thread_start(&thread, "deaf", sleepForEverUnasked);
        World_waitUntil([] { return sleepers == 2; }, limit_ms);
        CrashHandler_traceAllThreads();
        CrashHandler_traceAllThreads();
        abort();
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 255);
    const std::string log = World_readFile(crashLog);
    EXPECT_EQ(separatorCount(log), 2U) << log;
    const size_t sleeper = log.find("sleeper (");
    const size_t deaf = log.find("deaf (");
    ASSERT_NE(sleeper, std::string::npos) << log;
    ASSERT_NE(deaf, std::string::npos) << log;
    EXPECT_NE(log.find("does not answer", deaf), std::string::npos) << log;
    const std::string own = std::to_string(child) + "):\n";
    EXPECT_GT(log.find(own), std::max(sleeper, deaf)) << "the calling thread comes last";
    EXPECT_GE(std::ranges::count(log.substr(sleeper), '\n'), 5) << "with its frames\n" << log;
}

TEST(CrashHandler, LogThatCannotBeOpenedIsNoReasonToStop) {
    World_removeFile(crashLog);
    World_writeFile(crashLog + "/in the way", "");
    const int status = statusOfChildThatRaises(SIGUSR1);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
    World_removeFile(crashLog);
}
