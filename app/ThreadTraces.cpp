#include "ThreadTraces.h"

#include "ThreadWatch.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

// Everything here runs in signal handlers: no allocation, no stream, no lock.

namespace {

constexpr int answerLimit_ms = 1000;
constexpr long askAgain_ns = 1'000'000;

void (*writeTrace)() = nullptr;

/// Whose turn it is; negative while that thread writes, 0 when it has written.
std::atomic<pid_t> turn{0};

void writeText(int fd, std::string_view text) {
    // One try: a crash log that cannot be written is no reason to stay here.
    [[maybe_unused]] const ssize_t written = ::write(fd, text.data(), text.size());
}

void writeNumber(int fd, long number) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    writeText(fd, {digits.data(), static_cast<size_t>(end.ptr - digits.data())});
}

/// A request that was given up finds another's turn, or none.
void answer(int) {
    const int savedErrno = errno;
    const pid_t self = gettid();
    pid_t wanted = self;
    if (turn.compare_exchange_strong(wanted, -self)) {
        writeTrace();
        turn = 0;
    }
    errno = savedErrno;
}

/// Waits while the value stays, within the limit.
void awaitChangeFrom(pid_t value) {
    const timespec pause = {0, askAgain_ns};
    for (int waited_ms = 0; turn == value && waited_ms < answerLimit_ms; ++waited_ms) {
        nanosleep(&pause, nullptr);
    }
}

void askFor(int fd, pid_t thread) {
    turn = thread;
    if (syscall(SYS_tgkill, getpid(), thread, threadTraceSignal) == 0) {
        awaitChangeFrom(thread);
        awaitChangeFrom(-thread);
    }
    if (turn.exchange(0) == thread) {
        writeText(fd, "does not answer\n");
    }
}

/// "/proc/self/task/NUMBER/comm"
struct NamePath {
    std::array<char, 48> text{};

    explicit NamePath(pid_t thread) {
        constexpr std::string_view folder = "/proc/self/task/";
        folder.copy(text.data(), folder.size());
        char* const number = text.data() + folder.size();
        const auto end = std::to_chars(number, text.data() + text.size(), thread);
        constexpr std::string_view file = "/comm";
        file.copy(end.ptr, file.size());
    }
};

/// "NAME (NUMBER):" as in process listings.
void writeHeading(int fd, pid_t thread) {
    std::array<char, 16> name{};
    const int file = open(NamePath(thread).text.data(), O_RDONLY | O_CLOEXEC);
    const ssize_t count = file < 0 ? 0 : read(file, name.data(), name.size());
    close(file);
    const std::string_view line(name.data(), static_cast<size_t>(count > 0 ? count : 0));
    writeText(fd, line.substr(0, line.find('\n')));
    writeText(fd, " (");
    writeNumber(fd, thread);
    writeText(fd, "):\n");
}

void writeOther(int fd, std::string_view number) {
    pid_t thread = 0;
    std::from_chars(number.data(), number.data() + number.size(), thread);
    if (thread > 0 && thread != gettid()) {
        writeHeading(fd, thread);
        askFor(fd, thread);
    }
}

void writeOthers(int fd) {
    const int folder = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    alignas(dirent64) std::array<char, 2048> entries;
    for (;;) {
        const long size = syscall(SYS_getdents64, folder, entries.data(), entries.size());
        if (size <= 0) {
            break;
        }
        for (long at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + at);
            writeOther(fd, entry->d_name);
            at += entry->d_reclen;
        }
    }
    close(folder);
}

} // namespace

void ThreadTraces_install(void (*writeOwnTrace)()) {
    writeTrace = writeOwnTrace;
    struct sigaction action {};
    action.sa_handler = answer;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(threadTraceSignal, &action, nullptr);
}

void ThreadTraces_write(int fd) {
    writeOthers(fd);
    writeHeading(fd, gettid());
    writeTrace();
}
