#ifndef SENSORS_SENSOR_POLLING_H
#define SENSORS_SENSOR_POLLING_H

#include "SensorTypes.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// Finds out which ports have a sensor: a serial sensor draws supply current through the INA219
/// monitor of its port; a USB sensor has a device node.

constexpr size_t currentMonitorPathSize = 51;

/// Current file of the monitor of Serial1 and Serial2, empty when none was found. Written by
/// findINA219Devices before any other thread exists.
extern std::array<std::array<char, currentMonitorPathSize>, 2> ina219CurrentMonitors;

/// Locates the two current monitors. Main thread, once at start-up.
void findINA219Devices();

/// True when more than 250 mA flow to serial port 0 or 1; false for any other index or a monitor
/// that cannot be read. hwPollingThread.
bool pollI2CCurrentMonitor(uint32_t port);

/// Opens the device nodes that have appeared and lets go of those that have gone; sets the bits of
/// the occupied USB slots in the record, where they are clear before. The first sensor found takes
/// USB1. A node that cannot be opened leaves both bits clear for this cycle. hwPollingThread.
void pollUsbTmcMonitor(CONNECTED_SENSORS* record);

/// Read one attribute of a monitor; all three hold i2cMutex meanwhile and return -1 on failure.
/// The name is terminated and at most `length` - 1 characters long; its length is returned.
int getDeviceName(const char* path, char* buffer, size_t length);
/// Device-tree address cell (4 bytes, big-endian).
int getDeviceAddr(const char* path);
/// Milliamperes. A reading below zero cannot be told from a failure.
int getDeviceCurrent(const char* path);

#endif
