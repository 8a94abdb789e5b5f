#include "Files.h"

#include "TemporaryFolder.h"
#include "Threads.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Files = TemporaryFolder;

TEST_F(Files, WholeFileIsRead) {
    const std::string content = std::string(10000, 'x') + std::string("\0end", 4);
    write("file", content);
    EXPECT_EQ(File_readWhole(pathOf("file").c_str(), 20000), content);
}

TEST_F(Files, FileOfExactlyTheLimitIsReadAndALargerOneIsNot) {
    write("file", "12345");
    EXPECT_EQ(File_readWhole(pathOf("file").c_str(), 5), "12345");
    EXPECT_EQ(File_readWhole(pathOf("file").c_str(), 4), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
}

TEST_F(Files, EmptyFileIsAnEmptyText) {
    write("file", "");
    EXPECT_EQ(File_readWhole(pathOf("file").c_str(), 5), "");
}

TEST_F(Files, WhatIsNoReadableFileIsNothing) {
    EXPECT_EQ(File_readWhole(pathOf("missing").c_str(), 5), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(File_readWhole(folder.c_str(), 5), std::nullopt);
    EXPECT_EQ(errno, EISDIR);
    write("file", "12345");
    WrappedCalls_fail(Call::readFile, EIO);
    EXPECT_EQ(File_readWhole(pathOf("file").c_str(), 5), std::nullopt);
    EXPECT_EQ(errno, EIO);
}

TEST_F(Files, InterruptedReadsAreTakenUp) {
    write("file", "12345");
    WrappedCalls_fail(Call::readFile, EINTR, 3);
    EXPECT_EQ(File_readWhole(pathOf("file").c_str(), 5), "12345");
    char text[8] = "";
    WrappedCalls_fail(Call::readFile, EINTR, 3);
    EXPECT_EQ(File_readStart(pathOf("file").c_str(), text, sizeof text), 5);
}

TEST_F(Files, StartOfAFileIsReadUpToTheBuffersSize) {
    write("file", "12345");
    char text[8] = "";
    EXPECT_EQ(File_readStart(pathOf("file").c_str(), text, 3), 3);
    EXPECT_STREQ(text, "123");
    EXPECT_EQ(File_readStart(pathOf("missing").c_str(), text, 3), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, AllBytesAreWrittenThroughShortWrites) {
    const ScopedFd fd(open(pathOf("file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    WrappedCalls_shortenWrites(2);
    EXPECT_TRUE(File_writeAll(fd.get(), "12345"));
    EXPECT_EQ(read("file"), "12345");
    WrappedCalls_fail(Call::writeFile, EPIPE);
    EXPECT_FALSE(File_writeAll(fd.get(), "12345"));
    EXPECT_EQ(errno, EPIPE);
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

TEST_F(Files, ScopeClosesItsDescriptorUnlessItWasGivenAway) {
    int closed = -1;
    int released = -1;
    {
        ScopedFd first(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ScopedFd second(open("/dev/null", O_RDONLY | O_CLOEXEC));
        EXPECT_TRUE(first.isOpen());
        closed = first.get();
        released = second.release();
        EXPECT_FALSE(second.isOpen());
        EXPECT_EQ(second.close(), 0);
    }
    EXPECT_FALSE(isOpen(closed));
    EXPECT_TRUE(isOpen(released));
    close(released);
}

TEST_F(Files, ShellCommandsStatusIsReturned) {
    EXPECT_EQ(WEXITSTATUS(File_runShellCommand("exit 3")), 3);
    EXPECT_EQ(File_runShellCommand(("echo hello > " + pathOf("greeting")).c_str()), 0);
    EXPECT_EQ(read("greeting"), "hello\n");
    EXPECT_EQ(WEXITSTATUS(File_runShellCommand("/no/such/program 2> /dev/null")), 127);
}

TEST_F(Files, ShellCommandWhoseStatusSomebodyElseHasTakenFails) {
    signal(SIGCHLD, SIG_IGN); // the kernel takes it
    const int status = File_runShellCommand("exit 3");
    signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(status, -1);
}

/// Leaves no zeros where the next call has its variables: one without a value is none by chance.
[[gnu::noinline]] void fillTheStack() {
    volatile char bytes[16384];
    for (volatile char& byte : bytes) {
        byte = '\xFF';
    }
}

void* runKillingCommands(void* context) {
    auto* statuses = static_cast<int*>(context);
    fillTheStack();
    statuses[0] = File_runShellCommand("kill -TERM $$");
    statuses[1] = File_runShellCommand("kill -PIPE $$");
    return nullptr;
}

TEST_F(Files, ShellCommandHasNoSignalBlockedOrIgnoredWhicheverThreadRunsIt) {
    signal(SIGPIPE, SIG_IGN);
    int statuses[2] = {-1, -1};
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "runner", runKillingCommands, statuses), 0);
    pthread_join(thread, nullptr);
    signal(SIGPIPE, SIG_DFL);
    EXPECT_TRUE(WIFSIGNALED(statuses[0]));
    EXPECT_EQ(WTERMSIG(statuses[0]), SIGTERM);
    EXPECT_TRUE(WIFSIGNALED(statuses[1]));
    EXPECT_EQ(WTERMSIG(statuses[1]), SIGPIPE);
}

struct ShellRun {
    std::string command;
    std::atomic<bool> isDone{false};
    int status = -1;
};

void* runCommandOpenToSignals(void* context) {
    auto* run = static_cast<ShellRun*>(context);
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    run->status = File_runShellCommand(run->command.c_str());
    run->isDone = true;
    return nullptr;
}

TEST_F(Files, ShellCommandIsWaitedForWhateverSignalsArrive) {
    struct sigaction action {};
    action.sa_handler = [](int) {}; // and no SA_RESTART: every wait is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    ShellRun run;
    run.command = "while [ ! -e " + pathOf("go") + " ]; do sleep 0.01; done; exit 5";
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "runner", runCommandOpenToSignals, &run), 0);
    for (int count = 0; count < 20; ++count) {
        pthread_kill(thread, SIGUSR1);
        usleep(1000);
    }
    EXPECT_FALSE(run.isDone);
    write("go", "");
    pthread_join(thread, nullptr);
    signal(SIGUSR1, SIG_DFL);
    EXPECT_EQ(WEXITSTATUS(run.status), 5);
}

} // namespace
