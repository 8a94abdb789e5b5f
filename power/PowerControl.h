#ifndef POWER_POWER_CONTROL_H
#define POWER_POWER_CONTROL_H

#include <cstdint>

/// Keep-on output and I2C devices.

/// Sets the keep-on output, without which the supply drops. Nothing in the program clears it: the
/// operating system's shutdown releases it. Returns 1. Main thread, once.
int initGPIO();

/// Initialises the battery monitor with i2cMutex held. Returns the monitor's result, which is 1 in
/// every case: the failure is therefore always logged, and the first percentage comes from
/// batteryThread. Main thread, once.
int initI2CDevices();

/// Reads one 16-bit register of the charger over an open I2C bus device, least significant byte
/// first. 0 when the bus fails. For diagnostics; not used in normal operation.
uint16_t readLTC4162Register(int fd, uint8_t address, uint8_t command);

#endif
