#include "SerialPort.h"

#include "Threads.h"
#include "World.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr uint32_t limit_ms = 30000;
constexpr const char* missingDevice = "/dev/ttyS2";

int64_t monotonic_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

int pendingInput(int fd) {
    int count = 0;
    ioctl(fd, FIONREAD, &count);
    return count;
}

termios settingsOf(int fd) {
    termios settings{};
    EXPECT_EQ(tcgetattr(fd, &settings), 0);
    return settings;
}

/// Leaves the port as unlike as possible to what a sensor needs.
void spoilSettings(const char* path) {
    const int fd = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings = settingsOf(fd);
    settings.c_iflag |= BRKINT | INPCK | ISTRIP | ICRNL | IXON | IXANY | IXOFF;
    settings.c_oflag |= OPOST | ONLCR;
    settings.c_cflag &= ~static_cast<tcflag_t>(CSIZE | CREAD | CLOCAL);
    settings.c_cflag |= CS7 | PARENB | PARODD | CSTOPB | CRTSCTS;
    settings.c_lflag |= ISIG | ICANON | ECHO | ECHONL | IEXTEN;
    settings.c_cc[VMIN] = 7;
    settings.c_cc[VTIME] = 7;
    cfsetspeed(&settings, B300);
    EXPECT_EQ(tcsetattr(fd, TCSANOW, &settings), 0);
    close(fd);
}

/// A sensor port with the far side in the test's hands.
class SensorPort : public testing::Test {
protected:
    SensorPort() {
        World_clearSyslog();
        World_resetSerialSettings();
        World_unplugTerminal(missingDevice);
        farSide = World_plugTerminal(serialPort1Name);
    }
    ~SensorPort() override {
        if (fd >= 0) {
            close(fd);
        }
        World_unplugTerminal(serialPort1Name);
    }

    void openPort() {
        fd = serial_open_forsensor(serialPort1Name);
        ASSERT_GT(fd, 0);
    }
    void feed(const std::string& bytes) const {
        ASSERT_EQ(write(farSide, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void feedAndWait(const std::string& bytes) const {
        feed(bytes);
        const int count = static_cast<int>(bytes.size());
        ASSERT_TRUE(World_waitUntil([&] { return pendingInput(fd) >= count; }, limit_ms));
    }

    int farSide = -1;
    int fd = -1;
};

TEST_F(SensorPort, IsSetTo9600Baud8N1WithoutTranslationWhateverItWasBefore) {
    spoilSettings(serialPort1Name);
    openPort();
    const termios settings = settingsOf(fd);
    EXPECT_EQ(settings.c_iflag & (BRKINT | INPCK | ISTRIP | ICRNL | IXON | IXANY | IXOFF), 0U);
    EXPECT_EQ(settings.c_oflag & (OPOST | ONLCR), 0U);
    EXPECT_EQ(settings.c_cflag & (CSIZE | CREAD | CLOCAL | PARENB | CSTOPB),
              static_cast<tcflag_t>(CS8 | CREAD | CLOCAL));
    EXPECT_EQ(settings.c_lflag & (ISIG | ICANON | ECHO | ECHONL | IEXTEN), 0U);
    EXPECT_EQ(cfgetispeed(&settings), static_cast<speed_t>(B9600));
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B9600));
    EXPECT_EQ(settings.c_cc[VMIN], 0);
    EXPECT_EQ(settings.c_cc[VTIME], 10);
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(SensorPort, LeavesHardwareFlowControlAsTheDeviceHadIt) {
    openPort();
    EXPECT_EQ(settingsOf(fd).c_cflag & CRTSCTS, 0U);
    close(fd);
    spoilSettings(serialPort1Name);
    openPort();
    EXPECT_NE(settingsOf(fd).c_cflag & CRTSCTS, 0U);
}

TEST_F(SensorPort, IsOpenedBlockingAndCloseOnExec) {
    openPort();
    EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(fcntl(fd, F_GETFL) & (O_ACCMODE | O_NONBLOCK), O_RDWR);
}

TEST_F(SensorPort, ReadWithoutASensorReturnsNothingAfterOneSecond) {
    openPort();
    // A machine that stands still lengthens one of them, but hardly every one.
    const auto takesASecond = [this] {
        char buffer[4];
        const int64_t start = monotonic_ms();
        EXPECT_EQ(serial_gets(fd, buffer, sizeof buffer), 0);
        const int64_t elapsed_ms = monotonic_ms() - start;
        EXPECT_GE(elapsed_ms, 950);
        return elapsed_ms < 2000;
    };
    EXPECT_TRUE(World_waitUntil(takesASecond, limit_ms));
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(SensorPort, ReadReturnsWhatIsThereUpToTheGivenLengthAndAddsNoTerminator) {
    openPort();
    feedAndWait(std::string("\0\x0d\x0a\x11", 4));
    char buffer[5] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(serial_gets(fd, buffer, 3), 3);
    EXPECT_EQ(std::string(buffer, 5), std::string("\0\x0d\x0axx", 5));
    EXPECT_EQ(serial_gets(fd, buffer, 3), 1);
    EXPECT_EQ(buffer[0], '\x11');
}

TEST_F(SensorPort, SingleBytesAreReadInTheirOrder) {
    openPort();
    feedAndWait("\xff!");
    EXPECT_EQ(serial_getc(fd), 0xff);
    EXPECT_EQ(serial_getc(fd), '!');
}

TEST_F(SensorPort, TextIsWrittenWithoutAnythingAppended) {
    openPort();
    EXPECT_EQ(serial_puts(fd, "Sync\n"), 5);
    char buffer[16];
    EXPECT_EQ(read(farSide, buffer, sizeof buffer), 5);
    EXPECT_EQ(std::string(buffer, 5), "Sync\n");
}

TEST_F(SensorPort, ApplyingTheSettingsDiscardsPendingInput) {
    openPort();
    feedAndWait("stale");
    tty_set_attributes(fd);
    EXPECT_EQ(pendingInput(fd), 0);
    feedAndWait("stale again");
    tty_set_raw(fd);
    EXPECT_EQ(pendingInput(fd), 0);
}

TEST_F(SensorPort, MissingDeviceLogsTheOpeningAndTheSettingsThatWereStillTried) {
    EXPECT_LT(serial_open_forsensor(missingDevice), 0);
    ASSERT_EQ(World_syslog().size(), 3U);
    EXPECT_TRUE(World_syslogContains("<7> DIAGNOSTIC:SerialPort.cpp:"));
    EXPECT_TRUE(World_syslogContains("serial_open(): open errno=" + std::to_string(ENOENT)));
    EXPECT_TRUE(World_syslogContains("(): tcgetattr errno=" + std::to_string(EBADF)));
    EXPECT_TRUE(World_syslogContains("(): tcsetattr errno=" + std::to_string(EBADF)));
}

TEST_F(SensorPort, FailuresAreLoggedAndHandedBack) {
    const std::string badDescriptor = std::to_string(EBADF);
    char buffer[4];
    EXPECT_EQ(serial_getc(-1), 0);
    EXPECT_TRUE(World_syslogContains("serial_getc(): read errno=" + badDescriptor));
    EXPECT_EQ(serial_gets(-1, buffer, sizeof buffer), -1);
    EXPECT_TRUE(World_syslogContains("serial_gets(): read errno=" + badDescriptor));
    EXPECT_EQ(serial_puts(-1, "text"), -1);
    EXPECT_TRUE(World_syslogContains("serial_puts(): write errno = " + badDescriptor));
    EXPECT_EQ(serial_close(-1), -1);
    EXPECT_TRUE(World_syslogContains("serial_close(): close errno = " + badDescriptor));
}

TEST_F(SensorPort, EmptyTextWritesNothingAndIsNoError) {
    openPort();
    EXPECT_EQ(serial_puts(fd, ""), 0);
    EXPECT_EQ(serial_puts(-1, ""), 0);
    EXPECT_TRUE(World_syslog().empty());
}

struct Reader {
    int fd;
    std::atomic<int> byte{-1};
};

void* readOneByte(void* context) {
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    auto* reader = static_cast<Reader*>(context);
    reader->byte = serial_getc(reader->fd);
    return nullptr;
}

TEST_F(SensorPort, RawReadBlocksThroughSignalsUntilAByteArrives) {
    struct sigaction action {};
    action.sa_handler = [](int) {}; // and no SA_RESTART: every read is interrupted
    sigaction(SIGUSR1, &action, nullptr);
    fd = serial_open(serialPort1Name);
    tty_set_raw(fd);
    Reader reader{fd, -1};
    pthread_t thread{};
    ASSERT_EQ(Thread_startJoinable(&thread, "reader", readOneByte, &reader), 0);
    for (int count = 0; count < 20; ++count) {
        pthread_kill(thread, SIGUSR1);
        usleep(1000);
    }
    EXPECT_EQ(reader.byte, -1);
    feed("Z");
    EXPECT_TRUE(World_waitUntil([&] { return reader.byte == 'Z'; }, limit_ms));
    pthread_join(thread, nullptr);
    signal(SIGUSR1, SIG_DFL);
    EXPECT_TRUE(World_syslog().empty());
}

constexpr tcflag_t lineFlags = CSIZE | CSTOPB | PARENB | PARODD;
constexpr tcflag_t sevenEvenTwo = CS7 | PARENB | CSTOPB;

/// The command port; the module keeps the last settings from one test to the next.
class CommandPort : public testing::Test {
protected:
    CommandPort() {
        World_clearSyslog();
        World_resetSerialSettings();
        World_unplugTerminal(missingDevice);
        farSide = World_plugTerminal(serialCommandPortName);
    }
    ~CommandPort() override {
        if (*SerialPort_getfd() >= 0) {
            SerialPort_Close();
        }
        World_unplugTerminal(serialCommandPortName);
    }

    static void setLine(tcflag_t flags, speed_t speed) {
        termios settings{};
        SerialPort_GetConfig(&settings);
        settings.c_cflag = (settings.c_cflag & ~lineFlags) | flags;
        cfsetspeed(&settings, speed);
        SerialPort_SetConfig(&settings);
    }
    static void expectLine(tcflag_t flags, speed_t speed) {
        termios settings{};
        ASSERT_EQ(SerialPort_GetConfig(&settings), 0);
        EXPECT_EQ(settings.c_cflag & lineFlags, flags);
        EXPECT_EQ(cfgetispeed(&settings), speed);
        EXPECT_EQ(cfgetospeed(&settings), speed);
    }

    int farSide = -1;
};

TEST_F(CommandPort, IsOpenedInRawModeWithBlockingReads) {
    spoilSettings(serialCommandPortName);
    const int fd = SerialPort_Open(serialCommandPortName);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(*SerialPort_getfd(), fd);
    const termios settings = settingsOf(fd);
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), 0U);
    EXPECT_EQ(settings.c_iflag & (ICRNL | IXON | ISTRIP), 0U);
    EXPECT_EQ(settings.c_oflag & OPOST, 0U);
    EXPECT_EQ(settings.c_cc[VMIN], 1);
    EXPECT_EQ(settings.c_cc[VTIME], 0);
}

TEST_F(CommandPort, BytesGoBothWays) {
    ASSERT_GE(SerialPort_Open(serialCommandPortName), 0);
    ASSERT_EQ(write(farSide, "ABC", 3), 3);
    EXPECT_EQ(SerialPort_getc(), 'A');
    char buffer[8] = "";
    EXPECT_EQ(SerialPort_gets(buffer, sizeof buffer), 2);
    EXPECT_STREQ(buffer, "BC");
    EXPECT_EQ(SerialPort_puts("OK\r\n"), 4);
    EXPECT_EQ(read(farSide, buffer, sizeof buffer), 4);
}

TEST_F(CommandPort, FlushDiscardsPendingInput) {
    const int fd = SerialPort_Open(serialCommandPortName);
    ASSERT_EQ(write(farSide, "stale", 5), 5);
    ASSERT_TRUE(World_waitUntil([&] { return pendingInput(fd) == 5; }, limit_ms));
    SerialPort_flush();
    EXPECT_EQ(pendingInput(fd), 0);
}

TEST_F(CommandPort, KeepsTheUsersLineSettingsThroughEveryReopening) {
    ASSERT_GE(SerialPort_Open(serialCommandPortName), 0);
    setLine(sevenEvenTwo, B1200);
    for (int count = 0; count < 3; ++count) {
        SerialPort_Close();
        ASSERT_GE(SerialPort_Open(serialCommandPortName), 0);
        expectLine(sevenEvenTwo, B1200);
    }
    setLine(CS8 | PARENB | PARODD, B300);
    SerialPort_Close();
    World_resetSerialSettings(); // as a driver does that forgets them
    ASSERT_GE(SerialPort_Open(serialCommandPortName), 0);
    expectLine(CS8 | PARENB | PARODD, B300);
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(CommandPort, TakesSettingsThatWereMadeWhileItWasMissing) {
    World_unplugTerminal(serialCommandPortName);
    EXPECT_EQ(SerialPort_Open(serialCommandPortName), -1);
    termios settings{};
    settings.c_cflag = sevenEvenTwo;
    cfsetspeed(&settings, B600);
    EXPECT_NE(SerialPort_SetConfig(&settings), 0);
    farSide = World_plugTerminal(serialCommandPortName);
    ASSERT_GE(SerialPort_Open(serialCommandPortName), 0);
    expectLine(sevenEvenTwo, B600);
}

TEST_F(CommandPort, ADeviceThatComesBackIsOpenedUnderItsOldNumberWithTheUsersSettings) {
    const int fd = SerialPort_Open(serialCommandPortName);
    ASSERT_GE(fd, 0);
    setLine(sevenEvenTwo, B1200);
    World_unplugTerminal(serialCommandPortName);
    EXPECT_FALSE(SerialPort_Reopen(serialCommandPortName));
    EXPECT_TRUE(World_syslog().empty()) << "it is asked for again and again";
    World_resetSerialSettings();
    farSide = World_plugTerminal(serialCommandPortName);
    ASSERT_TRUE(SerialPort_Reopen(serialCommandPortName));
    EXPECT_EQ(*SerialPort_getfd(), fd);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(settingsOf(fd).c_lflag & (ICANON | ECHO), 0U);
    expectLine(sevenEvenTwo, B1200);
    ASSERT_EQ(write(farSide, "Z", 1), 1);
    EXPECT_EQ(SerialPort_getc(), 'Z');
    EXPECT_TRUE(World_syslog().empty());
}

TEST_F(CommandPort, AMissingDeviceIsOpenedOnceItIsThere) {
    World_unplugTerminal(serialCommandPortName);
    EXPECT_EQ(SerialPort_Open(serialCommandPortName), -1);
    farSide = World_plugTerminal(serialCommandPortName);
    EXPECT_TRUE(SerialPort_Reopen(serialCommandPortName));
    EXPECT_EQ(SerialPort_puts("OK"), 2);
}

TEST_F(CommandPort, AReopeningThatFailsLeavesTheDescriptor) {
    const int fd = SerialPort_Open(serialCommandPortName);
    ASSERT_TRUE(World_fail(WorldFault::open, serialCommandPortName, EBUSY));
    EXPECT_FALSE(SerialPort_Reopen(serialCommandPortName));
    World_clearFaults();
    EXPECT_TRUE(World_syslogContains("open errno=" + std::to_string(EBUSY)));
    EXPECT_EQ(*SerialPort_getfd(), fd);
    EXPECT_EQ(SerialPort_puts("OK"), 2);
}

TEST_F(CommandPort, FailuresOfTheSettingsAreLoggedWithBlanksAroundTheEqualsSign) {
    EXPECT_EQ(SerialPort_Open(missingDevice), -1);
    World_clearSyslog();
    termios settings{};
    EXPECT_NE(SerialPort_GetConfig(&settings), 0);
    EXPECT_TRUE(
        World_syslogContains("SerialPort_GetConfig(): tcgetattr errno = " + std::to_string(EBADF)));
    settings.c_cflag = CS8;
    cfsetspeed(&settings, B9600);
    EXPECT_NE(SerialPort_SetConfig(&settings), 0);
    EXPECT_TRUE(
        World_syslogContains("SerialPort_SetConfig(): tcsetattr errno = " + std::to_string(EBADF)));
}

TEST_F(CommandPort, HasNoDescriptorWhileItIsClosedSoThatNoLateCallMeetsAnotherDevice) {
    ASSERT_GE(SerialPort_Open(serialCommandPortName), 0);
    EXPECT_EQ(SerialPort_Close(), 0);
    EXPECT_EQ(*SerialPort_getfd(), -1);
    const int other = World_plugTerminal(serialPort1Name);
    const int sensorPort = serial_open_forsensor(serialPort1Name);
    EXPECT_EQ(SerialPort_puts("late"), -1);
    EXPECT_EQ(SerialPort_Close(), -1);
    EXPECT_EQ(pendingInput(other), 0);
    EXPECT_NE(fcntl(sensorPort, F_GETFD), -1);
    close(sensorPort);
    World_unplugTerminal(serialPort1Name);
}

TEST_F(CommandPort, SecondOpeningReplacesTheDescriptor) {
    const int first = SerialPort_Open(serialCommandPortName);
    const int second = SerialPort_Open(serialCommandPortName);
    EXPECT_NE(first, second);
    EXPECT_EQ(*SerialPort_getfd(), second);
    close(first);
}

} // namespace
