#include "PowerControl.h"

#include "BatteryMonitor.h"
#include "I2cBus.h"
#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

const std::string keepOnFile = "/sys/class/leds/quorvel8830k:KeepOn/brightness";

} // namespace

TEST(PowerControl, KeepOnOutputIsSetToOne) {
    World_writeFile(keepOnFile, "0\n");
    EXPECT_EQ(initGPIO(), 1);
    EXPECT_EQ(World_readFile(keepOnFile), "1\n");
}

TEST(PowerControl, MissingKeepOnOutputDoesNotStopTheStart) {
    World_removeFile("/sys/class/leds/quorvel8830k:KeepOn");
    EXPECT_EQ(initGPIO(), 1);
}

TEST(PowerControl, MonitorFailureIsAlwaysLoggedAndThePercentageStaysZero) {
    World_clearSyslog();
    EXPECT_EQ(initI2CDevices(), 1);
    EXPECT_TRUE(World_syslogContains("**************** initI2CDevices ****************"));
    EXPECT_TRUE(World_syslogContains("**************** Failed to initialize the battery monitor"));
    EXPECT_EQ(batteryPercent, 0);
    EXPECT_EQ(pthread_mutex_trylock(&i2cMutex), 0) << "the bus is free afterwards";
    pthread_mutex_unlock(&i2cMutex);
}

TEST(PowerControl, BusLockThatCannotBeMadeIsLoggedAndTheStartGoesOn) {
    World_clearSyslog();
    WrappedCalls_fail(Call::mutexInit, ENOMEM);
    EXPECT_EQ(initI2CDevices(), 1);
    WrappedCalls_reset();
    EXPECT_TRUE(World_syslogContains("pthread_mutex_init FAILED for i2cMutex"));
    EXPECT_TRUE(World_syslogContains("**************** initI2CDevices ****************"));
}

TEST(PowerControl, BusThatCannotBeWrittenReadsAsZero) {
    const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(readLTC4162Register(fd, 0x68, 0x34), 0);
    close(fd);
    EXPECT_EQ(readLTC4162Register(-1, 0x68, 0x34), 0);
}

TEST(PowerControl, RegisterIsReadLeastSignificantByteFirst) {
    // A file stands for the bus: the command byte is written first, the reply lies behind it.
    const std::string path = World_realPath("/tmp/debug");
    World_writeFile("/tmp/debug", "c\x34\x12");
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(readLTC4162Register(fd, 0x68, 0x34), 0x1234);
    close(fd);
    World_removeFile("/tmp/debug");
}
