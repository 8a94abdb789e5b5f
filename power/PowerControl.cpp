#include "PowerControl.h"

#include "BatteryMonitor.h"
#include "Files.h"
#include "I2cBus.h"
#include "LogManager.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr const char* keepOnFile = "/sys/class/leds/quorvel8830k:KeepOn/brightness";
constexpr size_t commandSize = 96;

void selectDevice(int fd, uint8_t address) {
    ioctl(fd, I2C_SLAVE, static_cast<long>(address));
}

} // namespace

int initGPIO() {
    std::array<char, commandSize> command{};
    snprintf(command.data(), command.size(), "echo 1 > %s", keepOnFile);
    logManager_fprintf_wrapper("initGPIO - \"%s\"\n", command.data());
    File_runShellCommand(command.data());
    return 1;
}

int initI2CDevices() {
    const int error = pthread_mutex_init(&i2cMutex, nullptr);
    if (error != 0) {
        DIAGNOSTIC("pthread_mutex_init FAILED for i2cMutex\n");
    }
    const ScopedLock lock(i2cMutex);
    DIAGNOSTIC("**************** initI2CDevices ****************\n");
    const int result = initBatteryMonitor();
    if (result != 0) {
        DIAGNOSTIC("**************** Failed to initialize the battery monitor\n");
    } else {
        int percent = 0;
        if (pollBatteryPercent(&percent)) {
            batteryPercent = percent;
        }
    }
    return result;
}

uint16_t readLTC4162Register(int fd, uint8_t address, uint8_t command) {
    selectDevice(fd, address);
    if (write(fd, &command, 1) != 1) {
        const int error = errno;
        logManager_printToLog(
            I2CTransactions,
            "readLTC4162Register failed to write to i2c bus: command code = 0x%02X\n", command);
        logManager_printToLog(I2CTransactions, "%s\n", strerror(error));
        return 0;
    }
    selectDevice(fd, address);
    std::array<uint8_t, 2> bytes{};
    if (read(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        return 0;
    }
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}
