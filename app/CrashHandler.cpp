#include "CrashHandler.h"

#include "Process.h"
#include "ThreadTraces.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

int backtraceFd = -1;

namespace {

constexpr const char* crashLogFile = "/tmp/crashlog.txt";
constexpr mode_t crashLogMode = 0644;
constexpr int maximumFrames = 1000;
constexpr char separatorLine[] = "============================================================\n";
static_assert(sizeof separatorLine == 60 + 1 + 1, "60 signs, the line's end and the terminator");

/// One try for each piece: a crash log that cannot be written is no reason to stay here.
void writeSeparator() {
    [[maybe_unused]] const ssize_t written =
        write(backtraceFd, separatorLine, sizeof separatorLine - 1);
}

void writeFrames() {
    std::array<void*, maximumFrames> frames;
    const int count = backtrace(frames.data(), maximumFrames);
    backtrace_symbols_fd(frames.data(), count, backtraceFd);
}

void writeStackTrace() {
    writeSeparator();
    writeFrames();
    writeSeparator();
    fdatasync(backtraceFd);
}

std::atomic<bool> areAllTraced{false};

void installHandler(int signal) {
    struct sigaction action {};
    action.sa_handler = handle_signals;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void CrashHandler_openLog() {
    backtraceFd = open(crashLogFile, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, crashLogMode);
}

void CrashHandler_install() {
    // The first trace of a process loads the unwinder, which no signal handler may do.
    void* frame = nullptr;
    backtrace(&frame, 1);

    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_BLOCK, &none, nullptr);
    for (const int signal : {SIGINT, SIGTERM, SIGUSR1, SIGSEGV, SIGABRT}) {
        installHandler(signal);
    }
    std::signal(SIGPIPE, SIG_IGN);
    ThreadTraces_install(writeFrames);
}

void CrashHandler_traceAllThreads() {
    if (areAllTraced.exchange(true)) {
        return;
    }
    writeSeparator();
    ThreadTraces_write(backtraceFd);
    writeSeparator();
    fdatasync(backtraceFd);
}

void handle_signals(int signal) {
    if (signal != SIGABRT && signal != SIGUSR1 && signal != SIGSEGV) {
        return;
    }
    const int savedErrno = errno;
    if (signal == SIGABRT) {
        CrashHandler_traceAllThreads();
    } else {
        writeStackTrace();
    }
    if (signal != SIGUSR1) {
        _exit(processStatusFatal);
    }
    errno = savedErrno;
}
