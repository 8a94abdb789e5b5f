#include "Process.h"

#include "LogManager.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::atomic<int64_t> startTime_s{0};

} // namespace

void Process_setUpInherited() {
    signal(SIGCHLD, SIG_DFL);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        if (fcntl(standard, F_GETFD) == -1 && errno == EBADF) {
            // The lowest free number, which is the missing one. Children inherit it, as the others.
            [[maybe_unused]] const int device = open("/dev/null", O_RDWR);
        }
    }
}

void Process_rememberStart() {
    startTime_s = time(nullptr);
}

int64_t Process_startTime_s() {
    return startTime_s;
}

void Process_leave(int status) {
    LogManager_flush();
    fflush(nullptr);
    _exit(status);
}
