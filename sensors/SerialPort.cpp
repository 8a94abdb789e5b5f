#include "SerialPort.h"

#include "RetryInterrupted.h"
#include "ThreadWatch.h"
#include "Threads.h"
#include "message.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr cc_t sensorTimeout_ds = serialReadTimeout_ms / 100; // as VTIME counts
constexpr tcflag_t lineFlags = CSIZE | CSTOPB | PARENB | PARODD;

std::atomic<int32_t> fd_{-1};

/// What the user has chosen for the remote-control port: the lineFlags and the speed.
struct LineSettings {
    bool areKnown;
    termios settings;
};
LineSettings lineSettings{};
/// Guards them, for moments only. Innermost.
pthread_mutex_t lineSettingsMutex = PTHREAD_MUTEX_INITIALIZER;
/// Held while settings are applied, so that what is remembered is what the port has. That lasts
/// until the port has sent what is queued, which at 300 baud takes seconds.
pthread_mutex_t applyingMutex = PTHREAD_MUTEX_INITIALIZER;

void remember(const termios& settings) {
    const ScopedLock lock(lineSettingsMutex);
    lineSettings = {true, settings};
}

LineSettings remembered() {
    const ScopedLock lock(lineSettingsMutex);
    return lineSettings;
}

// The descriptor level's settings: a record that could not be read is used as it is, as the
// failure is logged.

termios readAttributes(int32_t fd) {
    termios settings{};
    if (tcgetattr(fd, &settings) != 0) {
        DIAGNOSTIC("tcgetattr errno=%d\n", errno);
    }
    return settings;
}

void applyAttributes(int32_t fd, const termios& settings) {
    if (retryInterrupted([&] { return tcsetattr(fd, TCSAFLUSH, &settings); }) != 0) {
        DIAGNOSTIC("tcsetattr errno=%d\n", errno);
    }
}

/// Gives a port that has just been opened the user's line settings again. applyingMutex held.
void applyLineSettings(int32_t fd) {
    const LineSettings chosen = remembered();
    if (!chosen.areKnown) {
        return;
    }
    const termios& known = chosen.settings;
    termios settings = readAttributes(fd);
    settings.c_cflag = (settings.c_cflag & ~lineFlags) | (known.c_cflag & lineFlags);
    cfsetispeed(&settings, cfgetispeed(&known));
    cfsetospeed(&settings, cfgetospeed(&known));
    applyAttributes(fd, settings);
}

/// Makes a descriptor that is set up the port's. One that is open already gets the new device under
/// its old number.
void publish(int32_t fd) {
    const int32_t old = fd_;
    if (old == -1) {
        fd_ = fd;
        return;
    }
    if (retryInterrupted([&] { return dup3(fd, old, O_CLOEXEC); }) == -1) {
        DIAGNOSTIC("dup3 errno = %d\n", errno);
    }
    serial_close(fd);
}

} // namespace

int32_t serial_open(const char* path) {
    const int fd = retryInterrupted([&] { return open(path, O_RDWR | O_NOCTTY | O_CLOEXEC); });
    if (fd == -1) {
        DIAGNOSTIC("open errno=%d\n", errno);
    }
    return fd;
}

int32_t serial_open_forsensor(const char* path) {
    const int32_t fd = serial_open(path);
    tty_set_attributes(fd);
    return fd;
}

uint8_t serial_getc(int32_t fd) {
    uint8_t byte = 0;
    if (retryInterrupted([&] { return read(fd, &byte, sizeof byte); }) == -1) {
        DIAGNOSTIC("read errno=%d\n", errno);
    }
    return byte;
}

int32_t serial_gets(int32_t fd, char* buffer, size_t length) {
    const ssize_t count = retryInterrupted([&] { return read(fd, buffer, length); });
    if (count == -1) {
        DIAGNOSTIC("read errno=%d\n", errno);
    }
    return static_cast<int32_t>(count);
}

int32_t serial_puts(int32_t fd, const char* text) {
    const size_t length = strlen(text);
    if (length == 0) {
        return 0;
    }
    const ssize_t count = retryInterrupted([&] { return write(fd, text, length); });
    if (count == -1) {
        DIAGNOSTIC("write errno = %d\n", errno);
    }
    return static_cast<int32_t>(count);
}

int32_t serial_close(int32_t fd) {
    const int result = close(fd);
    if (result == -1) {
        DIAGNOSTIC("close errno = %d\n", errno);
    }
    return result;
}

void tty_set_raw(int32_t fd) {
    termios settings = readAttributes(fd);
    cfmakeraw(&settings);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    applyAttributes(fd, settings);
}

void tty_set_attributes(int32_t fd) {
    termios settings = readAttributes(fd);
    settings.c_iflag &=
        ~static_cast<tcflag_t>(BRKINT | INPCK | ISTRIP | ICRNL | IXON | IXANY | IXOFF);
    settings.c_oflag &= ~static_cast<tcflag_t>(OPOST | ONLCR);
    // Hardware flow control is left as the device had it
    // (docs/compatibility.md: flow-control-left).
    settings.c_cflag |= CS8 | CREAD | CLOCAL;
    settings.c_cflag &= ~static_cast<tcflag_t>(PARENB | CSTOPB);
    settings.c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHONL | IEXTEN);
    cfsetispeed(&settings, B9600);
    cfsetospeed(&settings, B9600);
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = sensorTimeout_ds;
    applyAttributes(fd, settings);
}

int32_t SerialPort_Open(const char* path) {
    const int32_t fd = serial_open(path);
    tty_set_raw(fd);
    if (fd != -1) {
        const ScopedLock lock(applyingMutex);
        applyLineSettings(fd);
    }
    fd_ = fd;
    return fd;
}

bool SerialPort_Reopen(const char* path) {
    if (access(path, R_OK | W_OK) != 0) {
        return false;
    }
    const int32_t fd = serial_open(path);
    if (fd == -1) {
        return false;
    }
    tty_set_raw(fd);
    // Settings that are made meanwhile wait, and then meet the new device.
    const ScopedLock lock(applyingMutex);
    applyLineSettings(fd);
    publish(fd);
    return true;
}

uint8_t SerialPort_getc() {
    return serial_getc(fd_);
}

int32_t SerialPort_gets(char* buffer, size_t length) {
    const ThreadRest rest;
    return serial_gets(fd_, buffer, length);
}

int32_t SerialPort_puts(const char* text) {
    const ThreadRest rest; // the peer may hold the line
    return serial_puts(fd_, text);
}

void SerialPort_flush() {
    tcflush(fd_, TCIOFLUSH);
}

const std::atomic<int32_t>* SerialPort_getfd() {
    return &fd_;
}

int32_t SerialPort_GetConfig(termios* settings) {
    const int result = tcgetattr(fd_, settings);
    if (result != 0) {
        DIAGNOSTIC("tcgetattr errno = %d\n", errno);
    }
    return result;
}

int32_t SerialPort_SetConfig(const termios* settings) {
    const ThreadRest rest; // what waits to be sent goes first, and the peer may hold the line
    const ScopedLock lock(applyingMutex);
    remember(*settings);
    const int result = retryInterrupted([&] { return tcsetattr(fd_, TCSAFLUSH, settings); });
    if (result != 0) {
        DIAGNOSTIC("tcsetattr errno = %d\n", errno);
    }
    return result;
}

bool SerialPort_GetRemembered(termios* settings) {
    const LineSettings chosen = remembered();
    if (chosen.areKnown) {
        *settings = chosen.settings;
    }
    return chosen.areKnown;
}

int32_t SerialPort_Close() {
    return serial_close(fd_.exchange(-1));
}
