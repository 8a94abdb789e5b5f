// The settings of the instrument's serial ports, and their reads in the bench's time.

#include "Terminals.h"

#include "NextFunction.h"
#include "PreloadWorld.h"
#include "WorldClock.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

struct Port {
    const char* instrumentPath;
    const char* settingsFile;
    /// The device behind the port when it was opened last: a descriptor outlives its path.
    std::atomic<dev_t> device{0};
};
std::array<Port, 3> ports = {{
    {"/dev/ttyS1", "tty/ttyS1"},
    {"/dev/ttyS2", "tty/ttyS2"},
    {"/dev/ttyS4", "tty/ttyS4"},
}};

/// As a serial driver starts a port.
constexpr tcflag_t driverFlags = B9600 | CS8 | CREAD | HUPCL | CLOCAL;

struct Speed {
    speed_t code;
    int baud;
};
constexpr std::array speeds = {
    Speed{B0, 0},           Speed{B50, 50},         Speed{B75, 75},         Speed{B110, 110},
    Speed{B134, 134},       Speed{B150, 150},       Speed{B200, 200},       Speed{B300, 300},
    Speed{B600, 600},       Speed{B1200, 1200},     Speed{B1800, 1800},     Speed{B2400, 2400},
    Speed{B4800, 4800},     Speed{B9600, 9600},     Speed{B19200, 19200},   Speed{B38400, 38400},
    Speed{B57600, 57600},   Speed{B115200, 115200}, Speed{B230400, 230400}, Speed{B460800, 460800},
    Speed{B921600, 921600},
};

int baudOf(tcflag_t flags) {
    const speed_t code = flags & (CBAUD | CBAUDEX);
    for (const Speed& speed : speeds) {
        if (speed.code == code) {
            return speed.baud;
        }
    }
    return 0;
}

int bitsOf(tcflag_t flags) {
    switch (flags & CSIZE) {
    case CS5:
        return 5;
    case CS6:
        return 6;
    case CS7:
        return 7;
    default:
        return 8;
    }
}

char parityOf(tcflag_t flags) {
    if ((flags & PARENB) == 0) {
        return 'N';
    }
    const bool isOdd = (flags & PARODD) != 0;
    return (flags & CMSPAR) != 0 ? (isOdd ? 'M' : 'S') : (isOdd ? 'O' : 'E');
}

bool isPseudoTerminal(const struct stat& status) {
    constexpr unsigned firstMajor = 136;
    constexpr unsigned lastMajor = 143;
    return S_ISCHR(status.st_mode) && major(status.st_rdev) >= firstMajor &&
           major(status.st_rdev) <= lastMajor;
}

/// True when the path leads to this device now; a process that inherited the descriptor never
/// opened it.
bool leadsTo(const Port& port, dev_t device) {
    struct stat status;
    return stat(port.instrumentPath, &status) == 0 && S_ISCHR(status.st_mode) &&
           status.st_rdev == device;
}

} // namespace

void Terminals_opened(int fd, const char* instrumentPath) {
    struct stat status;
    for (size_t index = 0; index < ports.size(); ++index) {
        if (strcmp(ports[index].instrumentPath, instrumentPath) == 0 && fstat(fd, &status) == 0 &&
            isPseudoTerminal(status)) {
            ports[index].device.store(status.st_rdev);
            Terminals_setControlFlags(static_cast<int>(index),
                                      Terminals_controlFlags(static_cast<int>(index)));
        }
    }
}

int Terminals_portOf(int fd) {
    const int keptErrno = errno;
    struct stat status;
    int found = -1;
    if (PreloadWorld_folder() != nullptr && fstat(fd, &status) == 0 && isPseudoTerminal(status)) {
        for (size_t index = 0; index < ports.size(); ++index) {
            if (ports[index].device.load() == status.st_rdev ||
                leadsTo(ports[index], status.st_rdev)) {
                found = static_cast<int>(index);
                break;
            }
        }
    }
    errno = keptErrno;
    return found;
}

tcflag_t Terminals_controlFlags(int port) {
    char path[PATH_MAX];
    char text[64] = "";
    if (PreloadWorld_file(path, sizeof path, ports[static_cast<size_t>(port)].settingsFile)) {
        const int fd = open(path, O_RDONLY | O_CLOEXEC);
        if (fd >= 0) {
            [[maybe_unused]] const ssize_t count = read(fd, text, sizeof text - 1);
            close(fd);
        }
    }
    const char* const flags = strstr(text, "0x");
    return flags == nullptr ? driverFlags : static_cast<tcflag_t>(strtoul(flags, nullptr, 16));
}

void Terminals_setControlFlags(int port, tcflag_t flags) {
    char path[PATH_MAX];
    char text[64];
    if (!PreloadWorld_file(path, sizeof path, ports[static_cast<size_t>(port)].settingsFile)) {
        return;
    }
    // The length never changes, so that a reader never sees a mixture of two lengths.
    const int length = snprintf(text, sizeof text, "%d %d %c %d", baudOf(flags), bitsOf(flags),
                                parityOf(flags), (flags & CSTOPB) != 0 ? 2 : 1);
    snprintf(text + length, sizeof text - static_cast<size_t>(length), "\ncflag 0x%08x%*s\n", flags,
             20 - length, "");
    const int fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0) {
        [[maybe_unused]] const ssize_t written = pwrite(fd, text, strlen(text), 0);
        close(fd);
    }
}

tcflag_t Terminals_systemFlags(tcflag_t flags) {
    return (flags & ~static_cast<tcflag_t>(CSIZE | PARENB | CMSPAR)) | CS8 | CREAD;
}

bool Terminals_waitForInput(int fd, const BenchClockReading& clock, ssize_t& count) {
    constexpr int64_t tenth_ns = 100'000'000;
    static NextFunction<int(int, termios*)> nextTcgetattr("tcgetattr");
    static NextFunction<int(pollfd*, nfds_t, const timespec*, const sigset_t*)> nextPpoll("ppoll");
    termios settings;
    if (clock.speed == 1.0 || Terminals_portOf(fd) < 0 || nextTcgetattr(fd, &settings) != 0 ||
        (settings.c_lflag & ICANON) != 0 || settings.c_cc[VMIN] != 0 || settings.c_cc[VTIME] == 0 ||
        (fcntl(fd, F_GETFL) & O_NONBLOCK) != 0) {
        return false;
    }
    pollfd input{fd, POLLIN, 0};
    const timespec limit =
        WorldClock_timespec(WorldClock_realWait_ns(clock, settings.c_cc[VTIME] * tenth_ns));
    count = nextPpoll(&input, 1, &limit, nullptr);
    return count <= 0; // 0: the time is up, -1: interrupted
}
