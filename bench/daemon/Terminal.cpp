#include "Terminal.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Without this the terminal would echo the sensor's bytes until the program has opened it.
bool makeRaw(int slave) {
    termios settings{};
    if (tcgetattr(slave, &settings) != 0) {
        return false;
    }
    cfmakeraw(&settings);
    return tcsetattr(slave, TCSANOW, &settings) == 0;
}

} // namespace

bool Terminal_open(Terminal& terminal, const std::string& link) {
    std::array<char, 64> name{};
    terminal.master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (terminal.master < 0 || grantpt(terminal.master) != 0 || unlockpt(terminal.master) != 0 ||
        ptsname_r(terminal.master, name.data(), name.size()) != 0) {
        return false;
    }
    terminal.slave = open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    unlink(link.c_str());
    return terminal.slave >= 0 && makeRaw(terminal.slave) &&
           symlink(name.data(), link.c_str()) == 0;
}

void Terminal_close(Terminal& terminal) {
    for (int* fd : {&terminal.master, &terminal.slave}) {
        if (*fd >= 0) {
            close(*fd);
            *fd = -1;
        }
    }
}

std::string Terminal_read(const Terminal& terminal) {
    std::array<char, 1024> buffer{};
    const ssize_t count = read(terminal.master, buffer.data(), buffer.size());
    return {buffer.data(), count > 0 ? static_cast<size_t>(count) : 0};
}

size_t Terminal_write(const Terminal& terminal, std::string_view bytes) {
    ssize_t count = 0;
    do {
        count = write(terminal.master, bytes.data(), bytes.size());
    } while (count < 0 && errno == EINTR);
    return count > 0 ? static_cast<size_t>(count) : 0;
}
