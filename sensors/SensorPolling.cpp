#include "SensorPolling.h"

#include "Files.h"
#include "I2cBus.h"
#include "LogManager.h"
#include "SensorManager.h"
#include "SensorPortHandler.h"
#include "Threads.h"
#include "UsbSensorSlots.h"
#include "UsbTmcPort.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string_view>
#include <unistd.h>

std::array<std::array<char, currentMonitorPathSize>, 2> ina219CurrentMonitors;

namespace {

constexpr char monitorFolder[] = "/sys/class/hwmon/";
constexpr int detectionThreshold_mA = 250;
constexpr size_t nameSize = 51;
constexpr size_t entryPathSize = sizeof monitorFolder + 256 + sizeof "/device/of_node/reg";

using EntryPath = std::array<char, entryPathSize>;

/// Bus address of each serial port's monitor.
constexpr std::array<int, 2> monitorAddresses = {0x40, 0x45};

/// An attribute of one entry of the monitors' folder.
EntryPath attributePath(const char* entry, const char* attribute) {
    EntryPath path{};
    snprintf(path.data(), path.size(), "%s%s/%s", monitorFolder, entry, attribute);
    return path;
}

bool isIna219(const char* entry) {
    std::array<char, nameSize> name{};
    if (getDeviceName(attributePath(entry, "name").data(), name.data(), name.size()) < 0) {
        logManager_printToLog(SensorDetection, "findINA219Devices: getDeviceName failed (%s)\n",
                              strerror(errno));
        return false;
    }
    return strstr(name.data(), "ina219") != nullptr;
}

/// Keeps the entry's current file if the entry is the monitor of a serial port.
void takeMonitor(const char* entry) {
    if (!isIna219(entry)) {
        return;
    }
    const int address = getDeviceAddr(attributePath(entry, "device/of_node/reg").data());
    for (size_t port = 0; port < monitorAddresses.size(); ++port) {
        const EntryPath path = attributePath(entry, "curr1_input");
        // A path that does not fit is of no use cut.
        if (address == monitorAddresses[port] && strlen(path.data()) < currentMonitorPathSize) {
            snprintf(ina219CurrentMonitors[port].data(), currentMonitorPathSize, "%s", path.data());
        }
    }
}

/// Gives a node that has appeared to the free slot; false when it cannot be opened, which ends the
/// poll for both sensors (docs/compatibility.md: first-is-usb1, failed-open-hides-both).
bool openNode(const char* name) {
    const int fd = UsbTmcPort_Open(0, name);
    if (fd < 0) {
        logManager_printToLog(SensorDetection, "pollUsbTmcMonitor: Failed to open %s (%s)\n", name,
                              strerror(errno));
        return false;
    }
    if (!UsbSensorSlots_offer(name, fd)) {
        UsbTmcPort_Close(fd);
    }
    return true;
}

bool pollNode(const char* name) {
    if (access(name, F_OK) != 0) {
        UsbSensorSlots_release(name);
        return true;
    }
    return UsbSensorSlots_hasNode(name) || openNode(name);
}

/// A handler that found its device gone while the node is still there gets it anew: a sensor that
/// was replugged within a cycle, or whose transfer broke. An admitted sensor keeps its channel and
/// its port is connected again. False when the device cannot be opened.
bool recoverSlot(uint32_t slot) {
    std::array<char, 32> name{};
    const UsbSlotLoss loss = UsbSensorSlots_getLoss(slot, name.data(), name.size());
    if (loss == UsbSlotLoss::none) {
        return true;
    }
    if (loss == UsbSlotLoss::lost) {
        const int fd = UsbTmcPort_Open(0, name.data());
        if (fd < 0) {
            return false;
        }
        UsbSensorSlots_offerAgain(slot, fd);
    }
    UsbSensorSlots_forgetLoss(slot);
    if (SensorManager_IsSensorActive(sensorPort_USB1 + slot)) {
        sensorPortHandler_setIsConnected(sensorPort_USB1 + slot, true);
    }
    return true;
}

} // namespace

void findINA219Devices() {
    ina219CurrentMonitors = {};
    DIR* folder = opendir(monitorFolder);
    if (folder == nullptr) {
        logManager_printToLog(SensorDetection, "findINA219Devices: Failed to open %s\n",
                              monitorFolder);
        return;
    }
    for (const dirent* entry = readdir(folder); entry != nullptr; entry = readdir(folder)) {
        if (strstr(entry->d_name, "hwmon") != nullptr) {
            takeMonitor(entry->d_name);
        }
    }
    closedir(folder);
}

bool pollI2CCurrentMonitor(uint32_t port) {
    if (port >= ina219CurrentMonitors.size()) {
        logManager_printToLog(
            SensorDetection,
            "pollI2CCurrentMonitor: Invalid port index: %d. Index must be 0 or 1.\n",
            static_cast<int>(port));
        return false;
    }
    const int current_mA = getDeviceCurrent(ina219CurrentMonitors[port].data());
    if (current_mA < 0) {
        logManager_printToLog(SensorDetection,
                              "pollI2CCurrentMonitor: Error: current at port %d = %d\n",
                              static_cast<int>(port), current_mA);
        return false;
    }
    logManager_printToLog(SensorDetection, "pollI2CCurrentMonitor: current at port %d = %d\n",
                          static_cast<int>(port), current_mA);
    return current_mA > detectionThreshold_mA;
}

void pollUsbTmcMonitor(CONNECTED_SENSORS* record) {
    for (const char* name : {usbPort1Name, usbPort2Name}) {
        if (!pollNode(name)) {
            return;
        }
    }
    for (uint32_t slot = 0; slot < usbSensorCount; ++slot) {
        if (!recoverSlot(slot)) {
            return;
        }
    }
    for (uint32_t slot = 0; slot < usbSensorCount; ++slot) {
        if (UsbSensorSlots_isOpen(slot)) {
            record->detectedSensors |= SensorPort_bit(sensorPort_USB1 + slot);
        }
    }
}

int getDeviceName(const char* path, char* buffer, size_t length) {
    if (length == 0) {
        return -1;
    }
    const ScopedLock lock(i2cMutex);
    const long count = File_readStart(path, buffer, length - 1);
    buffer[count > 0 ? count : 0] = '\0';
    return count < 0 ? -1 : static_cast<int>(count);
}

int getDeviceAddr(const char* path) {
    std::array<unsigned char, 4> cell{};
    const ScopedLock lock(i2cMutex);
    if (File_readStart(path, reinterpret_cast<char*>(cell.data()), cell.size()) !=
        static_cast<long>(cell.size())) {
        return -1;
    }
    // No device has an address in the upper half, which would look like a failure.
    if ((cell[0] & 0x80) != 0) {
        return -1;
    }
    return (cell[0] << 24) | (cell[1] << 16) | (cell[2] << 8) | cell[3];
}

int getDeviceCurrent(const char* path) {
    std::array<char, 32> text{};
    const ScopedLock lock(i2cMutex);
    if (File_readStart(path, text.data(), text.size() - 1) <= 0) {
        return -1;
    }
    char* end = nullptr;
    errno = 0;
    const long current_mA = strtol(text.data(), &end, 10);
    constexpr long most_mA = 1'000'000;
    if (end == text.data() || errno != 0 || current_mA < -most_mA || current_mA > most_mA) {
        return -1;
    }
    return static_cast<int>(current_mA);
}
