#include "TerminalCommand.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr char controlC = 0x03;
constexpr int quietLimit_ms = 1000;

// Keys come one by one and are echoed, since the meter does not echo; Ctrl-C comes as a key, so
// that the terminal is put right again at the end.
class KeyMode {
public:
    KeyMode() : isTerminal(tcgetattr(STDIN_FILENO, &before) == 0) {
        if (isTerminal) {
            termios keys = before;
            keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ISIG);
            keys.c_cc[VMIN] = 1;
            keys.c_cc[VTIME] = 0;
            tcsetattr(STDIN_FILENO, TCSANOW, &keys);
        }
    }
    ~KeyMode() {
        if (isTerminal) {
            tcsetattr(STDIN_FILENO, TCSANOW, &before);
        }
    }
    KeyMode(const KeyMode&) = delete;
    KeyMode& operator=(const KeyMode&) = delete;

private:
    termios before{};
    bool isTerminal;
};

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return true;
}

/// What is there to read; empty at the end.
std::string_view readSome(int fd, std::array<char, 1024>& buffer) {
    ssize_t count = 0;
    do {
        count = read(fd, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    return {buffer.data(), count > 0 ? static_cast<size_t>(count) : 0};
}

bool isControlC(std::string_view keys) {
    return isatty(STDIN_FILENO) != 0 && keys.find(controlC) != std::string_view::npos;
}

/// Carries both directions until one of them ends.
void carry(int port) {
    const KeyMode keyMode;
    std::array<char, 1024> buffer;
    bool hasKeys = true;
    for (;;) {
        std::array<pollfd, 2> ends = {
            {{port, POLLIN, 0}, {hasKeys ? STDIN_FILENO : -1, POLLIN, 0}}};
        const int ready = poll(ends.data(), ends.size(), hasKeys ? -1 : quietLimit_ms);
        if (ready == 0 || (ready < 0 && errno != EINTR)) {
            return;
        }
        if (ready > 0 && ends[0].revents != 0) {
            const std::string_view replies = readSome(port, buffer);
            if (replies.empty() || !writeAll(STDOUT_FILENO, replies)) {
                return;
            }
        }
        if (ready > 0 && ends[1].revents != 0) {
            const std::string_view keys = readSome(STDIN_FILENO, buffer);
            if (isControlC(keys) || !writeAll(port, keys)) {
                return;
            }
            hasKeys = !keys.empty();
        }
    }
}

} // namespace

bool TerminalCommand_run(const std::string& world, std::string& error) {
    const std::string path = world + "/command-port";
    const int port = open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (port < 0) {
        error = path + ": " + strerror(errno);
        return false;
    }
    if (isatty(STDIN_FILENO) != 0) {
        fprintf(stderr, "Connected to /dev/ttyS4; Ctrl-C ends.\n");
    }
    carry(port);
    close(port);
    return true;
}
