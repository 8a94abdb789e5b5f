// USB sensors as message channels: the far side is played by the test.

#include "World.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <linux/usb/tmc.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char* path = "/dev/usbtmc0";

void sendPacket(int fd, const std::string& packet) {
    ASSERT_EQ(send(fd, packet.data(), packet.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(packet.size()));
}

/// The next packet, empty when the program has closed.
std::string receivePacket(int fd) {
    char buffer[4096];
    const ssize_t count = recv(fd, buffer, sizeof buffer, 0);
    return count > 0 ? std::string(buffer, static_cast<size_t>(count)) : "";
}

int64_t realTime_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_RAW, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

/// The thread that runs the tests waits for something.
bool isMainThreadAsleep() {
    const std::string process = std::to_string(getpid());
    std::ifstream file("/proc/self/task/" + process + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t name = line.rfind(") ");
    return name != std::string::npos && line.compare(name + 2, 1, "S") == 0;
}

class UsbTmc : public testing::Test {
protected:
    void SetUp() override {
        const std::string name = World_folder() + "/usbtmc0.sock";
        unlink(name.c_str());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        snprintf(address.sun_path, sizeof address.sun_path, "%s", name.c_str());
        listener = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(listen(listener, 1), 0);
        World_writeFile(path, "");
        fd = open(path, O_RDWR | O_CLOEXEC);
        ASSERT_GE(fd, 0);
        sensor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        ASSERT_GE(sensor, 0);
    }
    void TearDown() override {
        World_setSpeed(1);
        close(fd);
        close(sensor);
        close(listener);
        World_removeFile(path);
    }

    /// Plays the far side while the program's call runs.
    void whileSensor(const std::function<void()>& plays, const std::function<void()>& call) const {
        std::thread thread(plays);
        call();
        thread.join();
    }
    void acknowledge(const std::string& expected, const std::string& answer = "A0") const {
        EXPECT_EQ(receivePacket(sensor), expected);
        sendPacket(sensor, answer);
    }
    std::string readReply(size_t size) const {
        std::string buffer(size, '\0');
        const ssize_t count = read(fd, buffer.data(), size);
        return count < 0 ? "errno " + std::to_string(errno)
                         : buffer.substr(0, static_cast<size_t>(count));
    }

    int listener = -1;
    int sensor = -1;
    int fd = -1;
};

} // namespace

TEST_F(UsbTmc, OneWriteIsOneMessage) {
    whileSensor(
        [this] {
            acknowledge("W*IDN?\n");
            acknowledge("WINIT\n");
        },
        [this] {
            EXPECT_EQ(write(fd, "*IDN?\n", 6), 6);
            EXPECT_EQ(write(fd, "INIT\n", 5), 5);
        });
}

TEST_F(UsbTmc, AReplyIsReadOnceAndInPiecesWhenItIsLong) {
    sendPacket(sensor, "R1.25E0\n");
    sendPacket(sensor, "R0123456789");
    EXPECT_EQ(readReply(64), "1.25E0\n");
    EXPECT_EQ(readReply(4), "0123");
    EXPECT_EQ(readReply(64), "456789");
}

TEST_F(UsbTmc, AReplyThatOvertakesTheAcknowledgementIsKept) {
    whileSensor(
        [this] {
            EXPECT_EQ(receivePacket(sensor), "W*OPC?\n");
            sendPacket(sensor, "R1\n");
            sendPacket(sensor, "A0");
        },
        [this] { EXPECT_EQ(write(fd, "*OPC?\n", 6), 6); });
    EXPECT_EQ(readReply(64), "1\n");
}

TEST_F(UsbTmc, ASilentSensorTimesOutAfterFiveSecondsOfTheBench) {
    World_setSpeed(20);
    const int64_t start = realTime_ms();
    EXPECT_EQ(readReply(64), "errno " + std::to_string(ETIMEDOUT));
    EXPECT_GE(realTime_ms() - start, 245);
    EXPECT_LT(realTime_ms() - start, 3000);
    sendPacket(sensor, "Rlate\n");
    EXPECT_EQ(readReply(64), "late\n");
}

TEST_F(UsbTmc, WhatComesForATransferThatWasGivenUpIsNotTakenForALaterOne) {
    World_setSpeed(20);
    EXPECT_EQ(write(fd, "FIRST?\n", 7), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    for (const char* packet : {"A0", "Rfirst\n", "A0"}) {
        sendPacket(sensor, packet);
    }
    EXPECT_EQ(receivePacket(sensor), "WFIRST?\n");
    EXPECT_EQ(receivePacket(sensor), "C");
    for (const char* reply : {"second\n", "third\n"}) {
        whileSensor(
            [this, reply] {
                acknowledge("WNEXT?\n");
                sendPacket(sensor, std::string("R") + reply);
            },
            [this] { EXPECT_EQ(write(fd, "NEXT?\n", 6), 6); });
        EXPECT_EQ(readReply(64), reply);
    }
}

TEST_F(UsbTmc, TheThreeRequestsReachTheSensorAndClearForgetsReplies) {
    whileSensor(
        [this] {
            acknowledge("O");
            acknowledge("I");
            sendPacket(sensor, "Rstale");
            acknowledge("C");
        },
        [this] {
            EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR_OUT_HALT), 0);
            EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR_IN_HALT), 0);
            EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR), 0);
        });
    sendPacket(sensor, "Rfresh");
    EXPECT_EQ(readReply(64), "fresh");
    EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_ABORT_BULK_IN), -1);
    EXPECT_EQ(errno, ENOTTY);
}

TEST_F(UsbTmc, ErrorsOfTheSensorBecomeErrorsOfTheCall) {
    whileSensor(
        [this] {
            acknowledge("WX\n", "A" + std::to_string(EPIPE));
            acknowledge("C", "A" + std::to_string(EIO));
        },
        [this] {
            EXPECT_EQ(write(fd, "X\n", 2), -1);
            EXPECT_EQ(errno, EPIPE);
            EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR), -1);
            EXPECT_EQ(errno, EIO);
        });
    sendPacket(sensor, "E" + std::to_string(EPIPE));
    EXPECT_EQ(readReply(64), "errno " + std::to_string(EPIPE));
}

TEST_F(UsbTmc, AHaltOfBulkInFailsEveryReadUntilItIsEnded) {
    sendPacket(sensor, "H1");
    for (int count = 0; count < 2; ++count) {
        EXPECT_EQ(readReply(64), "errno " + std::to_string(EPIPE));
        whileSensor([this] { acknowledge("C"); },
                    [this] { EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR), 0); });
    }
    whileSensor(
        [this] {
            acknowledge("W*OPC?\n");
            EXPECT_EQ(receivePacket(sensor), "I");
            sendPacket(sensor, "H0");
            sendPacket(sensor, "A0");
            sendPacket(sensor, "R1\n");
        },
        [this] {
            EXPECT_EQ(write(fd, "*OPC?\n", 6), 6);
            EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR_IN_HALT), 0);
        });
    EXPECT_EQ(readReply(64), "1\n");
}

TEST_F(UsbTmc, ATimeOutThatTheFarSideTellsTakesItsFiveSecondsOfTheBench) {
    timespec before{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const int64_t start = realTime_ms();
    sendPacket(sensor, "E" + std::to_string(ETIMEDOUT));
    EXPECT_EQ(readReply(64), "errno " + std::to_string(ETIMEDOUT));
    timespec after{};
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_GE(after.tv_sec - before.tv_sec, 5);
    EXPECT_LT(realTime_ms() - start, 4000);
}

TEST_F(UsbTmc, ARequestThatIsNeverAnsweredTimesOutAndLeavesNothingBehind) {
    World_setSpeed(20);
    sendPacket(sensor, "N");
    EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_EQ(receivePacket(sensor), "C");
    whileSensor([this] { acknowledge("W*OPC?\n"); },
                [this] { EXPECT_EQ(write(fd, "*OPC?\n", 6), 6); });
}

TEST_F(UsbTmc, AReplyWithoutAByteIsReadOnce) {
    sendPacket(sensor, "R");
    sendPacket(sensor, "R1\n");
    EXPECT_EQ(readReply(64), "");
    EXPECT_EQ(readReply(64), "1\n");
}

TEST_F(UsbTmc, APulledSensorIsNoDeviceForTheNextCall) {
    close(sensor);
    EXPECT_EQ(readReply(64), "errno " + std::to_string(ENODEV));
    EXPECT_EQ(write(fd, "X\n", 2), -1);
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(ioctl(fd, USBTMC_IOCTL_CLEAR), -1);
    EXPECT_EQ(errno, ENODEV);
}

TEST_F(UsbTmc, ASensorThatIsPulledInTheMiddleOfAMessageBreaksIt) {
    whileSensor(
        [this] {
            EXPECT_EQ(receivePacket(sensor), "WX\n");
            shutdown(sensor, SHUT_RDWR);
        },
        [this] {
            EXPECT_EQ(write(fd, "X\n", 2), -1);
            EXPECT_EQ(errno, ESHUTDOWN);
        });
    EXPECT_EQ(readReply(64), "errno " + std::to_string(ENODEV));
}

TEST_F(UsbTmc, ASensorThatIsPulledWhileItsReplyIsWaitedForBreaksTheRead) {
    whileSensor(
        [this] {
            while (!isMainThreadAsleep()) {
                std::this_thread::yield();
            }
            shutdown(sensor, SHUT_RDWR);
        },
        [this] { EXPECT_EQ(readReply(64), "errno " + std::to_string(ESHUTDOWN)); });
}

TEST_F(UsbTmc, WithoutANodeOrAPlayerThereIsNoDevice) {
    EXPECT_EQ(open("/dev/usbtmc1", O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    World_writeFile("/dev/usbtmc1", "");
    EXPECT_EQ(access("/dev/usbtmc1", F_OK), 0);
    EXPECT_EQ(open("/dev/usbtmc1", O_RDWR), -1);
    EXPECT_EQ(errno, ENODEV);
    World_removeFile("/dev/usbtmc1");
}

TEST_F(UsbTmc, ADescriptorNumberThatIsUsedAgainIsAnOrdinaryFile) {
    close(fd);
    World_writeFile("/tmp/debug", "text");
    const int again = open("/tmp/debug", O_RDWR | O_CLOEXEC);
    EXPECT_EQ(again, fd);
    char buffer[8];
    EXPECT_EQ(read(again, buffer, sizeof buffer), 4);
}

TEST_F(UsbTmc, FiftyOpeningsLeaveNothingBehind) {
    for (int round = 0; round < 50; ++round) {
        close(fd);
        EXPECT_EQ(receivePacket(sensor), "");
        close(sensor);
        fd = open(path, O_RDWR | O_CLOEXEC);
        ASSERT_GE(fd, 0) << round;
        sensor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    }
    sendPacket(sensor, "Rhere");
    EXPECT_EQ(readReply(64), "here");
}
