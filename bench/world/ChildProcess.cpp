#include "ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void applyEnvironment(const std::vector<ChildEnvironment>& environment) {
    for (const ChildEnvironment& variable : environment) {
        if (variable.value.empty()) {
            unsetenv(variable.name.c_str());
        } else {
            setenv(variable.name.c_str(), variable.value.c_str(), 1);
        }
    }
}

void redirect(const std::string& file, int descriptor) {
    if (!file.empty()) {
        dup2(open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644), descriptor);
    }
}

// Whatever the bench has inherited itself is not the child's business.
void arrangeDescriptors(const ChildOptions& options) {
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    if (options.keepOpen >= 0) {
        fcntl(options.keepOpen, F_SETFD, 0);
    }
    if (options.output >= 0) {
        dup2(options.output, STDOUT_FILENO);
    }
    redirect(options.outputFile, STDOUT_FILENO);
    redirect(options.errorFile, STDERR_FILENO);
}

[[noreturn]] void becomeProgram(const std::vector<std::string>& arguments,
                                const std::vector<ChildEnvironment>& environment,
                                const ChildOptions& options, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, options.signalAtOurEnd);
    if (getppid() != parent) {
        _exit(127);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    arrangeDescriptors(options);
    applyEnvironment(environment);
    std::vector<char*> words;
    words.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    execvp(words[0], words.data());
    fprintf(stderr, "quorvel-bench: cannot start %s: %s\n", words[0], strerror(errno));
    _exit(127);
}

bool endsSoon(int process) {
    constexpr int soon_ms = 500;
    pollfd ended{process, POLLIN, 0};
    return poll(&ended, 1, soon_ms) > 0;
}

} // namespace

pid_t ChildProcess_start(const std::vector<std::string>& arguments,
                         const std::vector<ChildEnvironment>& environment,
                         const ChildOptions& options) {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        becomeProgram(arguments, environment, options, parent);
    }
    return child;
}

void ChildProcess_kill(pid_t child, int signal) {
    if (child <= 0) {
        return;
    }
    const int process = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    bool isTold = false;
    do {
        isTold = kill(child, signal) == 0;
    } while (isTold && process >= 0 && !endsSoon(process));
    if (process >= 0) {
        close(process);
    }
    while (isTold && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}
