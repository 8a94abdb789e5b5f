// The C library's calls on an open device, interposed: its settings and its bytes.

#include "NextFunction.h"
#include "Terminals.h"
#include "UsbTmc.h"
#include "WorldClock.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

/// The system's own record of a terminal's settings, as its requests exchange it.
struct SystemTermios {
    uint32_t inputFlags;
    uint32_t outputFlags;
    uint32_t controlFlags;
    uint32_t localFlags;
    uint8_t line;
    std::array<uint8_t, 19> characters;
    uint32_t inputSpeed; // in the second form of the requests only
    uint32_t outputSpeed;
};

// Two generations of the requests; the C library's headers do not name the second.
constexpr unsigned long getSettings2 = 0x802C542A;
constexpr unsigned long setSettings2 = 0x402C542B;
constexpr unsigned long setSettingsDrained2 = 0x402C542C;
constexpr unsigned long setSettingsFlushed2 = 0x402C542D;

using Ioctl = int(int, unsigned long, void*);
NextFunction<Ioctl> nextIoctl("ioctl");

bool isGetRequest(unsigned long request) {
    return request == TCGETS || request == getSettings2;
}

bool isSetRequest(unsigned long request) {
    return request == TCSETS || request == TCSETSW || request == TCSETSF ||
           request == setSettings2 || request == setSettingsDrained2 ||
           request == setSettingsFlushed2;
}

size_t sizeOfRecord(unsigned long request) {
    const bool isSecond =
        request != TCGETS && request != TCSETS && request != TCSETSW && request != TCSETSF;
    return isSecond ? sizeof(SystemTermios) : offsetof(SystemTermios, inputSpeed);
}

int getThroughIoctl(int fd, unsigned long request, void* argument, int port) {
    const int result = nextIoctl(fd, request, argument);
    if (result == 0) {
        static_cast<SystemTermios*>(argument)->controlFlags = Terminals_controlFlags(port);
    }
    return result;
}

int setThroughIoctl(int fd, unsigned long request, const void* argument, int port) {
    SystemTermios settings{};
    memcpy(&settings, argument, sizeOfRecord(request));
    const tcflag_t wanted = settings.controlFlags;
    settings.controlFlags = Terminals_systemFlags(wanted);
    const int result = nextIoctl(fd, request, &settings);
    if (result == 0) {
        Terminals_setControlFlags(port, wanted);
    }
    return result;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int tcgetattr(int fd, termios* settings) noexcept {
    static NextFunction<int(int, termios*)> next("tcgetattr");
    const int result = next(fd, settings);
    const int port = result == 0 ? Terminals_portOf(fd) : -1;
    if (port >= 0) {
        settings->c_cflag = Terminals_controlFlags(port);
        settings->c_ispeed = settings->c_ospeed = settings->c_cflag & (CBAUD | CBAUDEX);
    }
    return result;
}

int tcsetattr(int fd, int action, const termios* settings) noexcept {
    static NextFunction<int(int, int, const termios*)> next("tcsetattr");
    const int port = Terminals_portOf(fd);
    if (port < 0) {
        return next(fd, action, settings);
    }
    termios accepted = *settings;
    accepted.c_cflag = Terminals_systemFlags(settings->c_cflag);
    const int result = next(fd, action, &accepted);
    if (result == 0) {
        Terminals_setControlFlags(port, settings->c_cflag);
    }
    return result;
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (UsbTmc_isChannel(fd)) {
        return UsbTmc_request(fd, request);
    }
    const bool isGet = isGetRequest(request);
    if (isGet || isSetRequest(request)) {
        const int port = Terminals_portOf(fd);
        if (port >= 0) {
            return isGet ? getThroughIoctl(fd, request, argument, port)
                         : setThroughIoctl(fd, request, argument, port);
        }
    }
    return nextIoctl(fd, request, argument);
}

ssize_t read(int fd, void* buffer, size_t size) {
    static NextFunction<ssize_t(int, void*, size_t)> next("read");
    if (UsbTmc_isChannel(fd)) {
        return UsbTmc_read(fd, buffer, size);
    }
    const BenchClockReading clock = WorldClock_read();
    ssize_t count = 0;
    if (clock.speed != 1.0 && Terminals_waitForInput(fd, clock, count)) {
        return count;
    }
    return next(fd, buffer, size);
}

ssize_t write(int fd, const void* bytes, size_t size) {
    static NextFunction<ssize_t(int, const void*, size_t)> next("write");
    return UsbTmc_isChannel(fd) ? UsbTmc_write(fd, bytes, size) : next(fd, bytes, size);
}

int close(int fd) {
    static NextFunction<int(int)> next("close");
    UsbTmc_closing(fd);
    return next(fd);
}

ssize_t __read_chk(int fd, void* buffer, size_t size, size_t) {
    return read(fd, buffer, size);
}

} // extern "C"
#pragma GCC visibility pop
