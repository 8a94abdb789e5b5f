// The instrument's serial ports: what is set, what is read back, and how long a read waits.

#include "World.h"

#include <gtest/gtest.h>

#include <asm/ioctls.h>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr const char* path = "/dev/ttyS4";

class Terminal : public testing::Test {
protected:
    void SetUp() override {
        World_resetSerialSettings();
        farSide = World_plugTerminal(path);
        ASSERT_GE(farSide, 0);
        fd = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
        ASSERT_GE(fd, 0);
    }
    void TearDown() override {
        World_setSpeed(1);
        close(fd);
        World_unplugTerminal(path);
    }

    termios settings() const {
        termios read{};
        EXPECT_EQ(tcgetattr(fd, &read), 0);
        return read;
    }
    void apply(tcflag_t flags, speed_t speed) const {
        termios wanted = settings();
        cfmakeraw(&wanted);
        wanted.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CSTOPB | CMSPAR);
        wanted.c_cflag |= flags;
        cfsetspeed(&wanted, speed);
        EXPECT_EQ(tcsetattr(fd, TCSANOW, &wanted), 0);
    }

    int farSide = -1;
    int fd = -1;
};

struct Case {
    const char* text;
    tcflag_t flags;
    speed_t speed;
};
constexpr Case cases[] = {
    {"1200 7 E 2", CS7 | PARENB | CSTOPB, B1200},
    {"9600 8 N 1", CS8, B9600},
    {"19200 8 O 1", CS8 | PARENB | PARODD, B19200},
    {"300 5 M 1", CS5 | PARENB | PARODD | CMSPAR, B300},
    {"115200 6 S 2", CS6 | PARENB | CMSPAR | CSTOPB, B115200},
};
constexpr tcflag_t comparedFlags = CSIZE | PARENB | PARODD | CSTOPB | CMSPAR;

int64_t realTime_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_RAW, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

} // namespace

TEST_F(Terminal, APortStartsAsItsDriverLeavesIt) {
    const termios start = settings();
    EXPECT_EQ(start.c_cflag & comparedFlags, static_cast<tcflag_t>(CS8));
    EXPECT_EQ(start.c_cflag & (CREAD | HUPCL | CLOCAL | CRTSCTS),
              static_cast<tcflag_t>(CREAD | HUPCL | CLOCAL));
    EXPECT_EQ(cfgetispeed(&start), static_cast<speed_t>(B9600));
    EXPECT_EQ(cfgetospeed(&start), static_cast<speed_t>(B9600));
    EXPECT_EQ(World_serialSettings(path), "9600 8 N 1");
}

TEST_F(Terminal, SizeParitySpeedAndStopBitsAreReadBackAsSet) {
    for (const Case& row : cases) {
        SCOPED_TRACE(row.text);
        apply(row.flags, row.speed);
        const termios now = settings();
        EXPECT_EQ(now.c_cflag & comparedFlags, row.flags);
        EXPECT_EQ(cfgetispeed(&now), row.speed);
        EXPECT_EQ(cfgetospeed(&now), row.speed);
        EXPECT_EQ(World_serialSettings(path), row.text);
    }
}

TEST_F(Terminal, SettingsOutliveTheDescriptorUntilAPowerCycle) {
    apply(CS7 | PARENB | CSTOPB, B1200);
    close(fd);
    fd = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(World_serialSettings(path), "1200 7 E 2");
    EXPECT_EQ(settings().c_cflag & CSIZE, static_cast<tcflag_t>(CS7));
    close(fd);
    World_resetSerialSettings();
    fd = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(World_serialSettings(path), "9600 8 N 1");
}

TEST_F(Terminal, TheSystemsOwnRequestsAgreeWithTheLibraryCalls) {
    apply(CS7 | PARENB, B4800);
    struct {
        tcflag_t flags[4];
        unsigned char rest[32];
    } record{};
    ASSERT_EQ(ioctl(fd, TCGETS, &record), 0);
    EXPECT_EQ(record.flags[2], settings().c_cflag);
    record.flags[2] = (record.flags[2] & ~static_cast<tcflag_t>(CSIZE)) | CS6;
    ASSERT_EQ(ioctl(fd, TCSETS, &record), 0);
    EXPECT_EQ(World_serialSettings(path), "4800 6 E 1");
}

TEST_F(Terminal, AShellsSttySeesAndSetsTheSamePort) {
    EXPECT_EQ(system("stty -F /dev/ttyS4 2400 cs7 parenb parodd -cstopb"), 0);
    EXPECT_EQ(World_serialSettings(path), "2400 7 O 1");
    EXPECT_EQ(system("stty -a < /dev/ttyS4 | grep -q 'speed 2400 baud'"), 0);
}

TEST_F(Terminal, BytesPassUnalteredInBothDirections) {
    apply(CS8, B9600);
    std::string every;
    for (int value = 0; value < 256; ++value) {
        every.push_back(static_cast<char>(value));
    }
    for (const auto& [from, to] : {std::pair{fd, farSide}, std::pair{farSide, fd}}) {
        ASSERT_EQ(write(from, every.data(), every.size()), 256);
        std::string got;
        while (got.size() < every.size()) {
            char buffer[256];
            const ssize_t count = read(to, buffer, sizeof buffer);
            ASSERT_GT(count, 0);
            got.append(buffer, static_cast<size_t>(count));
        }
        EXPECT_EQ(got, every);
    }
}

TEST_F(Terminal, OtherTerminalsAreLeftAlone) {
    const int other = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios plain{};
    ASSERT_EQ(tcgetattr(other, &plain), 0);
    EXPECT_NE(cfgetospeed(&plain), static_cast<speed_t>(B9600));
    close(other);
}

TEST_F(Terminal, AReadsTimeLimitRunsAtTheBenchsSpeed) {
    termios limited = settings();
    cfmakeraw(&limited);
    limited.c_cc[VMIN] = 0;
    limited.c_cc[VTIME] = 10;
    ASSERT_EQ(tcsetattr(fd, TCSANOW, &limited), 0);
    constexpr uint32_t limit_ms = 10000;
    for (const double speed : {1.0, 20.0}) {
        World_setSpeed(speed);
        // A machine that stands still lengthens one of them, but hardly every one.
        const auto isInTime = [&] {
            char byte = 0;
            const int64_t start = realTime_ms();
            EXPECT_EQ(read(fd, &byte, 1), 0);
            const auto took_ms = static_cast<double>(realTime_ms() - start);
            EXPECT_GE(took_ms, 990 / speed - 1);
            return took_ms < 990 / speed + 800;
        };
        EXPECT_TRUE(World_waitUntil(isInTime, limit_ms)) << speed;
    }
    ASSERT_EQ(write(farSide, "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(fd, &byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST_F(Terminal, APortThatIsPulledEndsItsReader) {
    apply(CS8, B9600);
    World_unplugTerminal(path);
    char byte = 0;
    EXPECT_LE(read(fd, &byte, 1), 0);
    EXPECT_EQ(open(path, O_RDWR | O_NOCTTY), -1);
    EXPECT_EQ(errno, ENOENT);
}
