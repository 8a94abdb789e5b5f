#include "Process.h"

#include "LogManager.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

void Process_setUpInherited() {
    signal(SIGCHLD, SIG_DFL);
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        if (fcntl(standard, F_GETFD) == -1 && errno == EBADF) {
            // The lowest free number, which is the missing one. Children inherit it, as the others.
            [[maybe_unused]] const int device = open("/dev/null", O_RDWR);
        }
    }
}

void Process_leave(int status) {
    LogManager_flush();
    fflush(nullptr);
    _exit(status);
}
