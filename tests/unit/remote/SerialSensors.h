#ifndef TESTS_UNIT_REMOTE_SERIAL_SENSORS_H
#define TESTS_UNIT_REMOTE_SERIAL_SENSORS_H

#include <cstdint>

/// Serial sensors on ports 0 and 1 whose handlers do not run: a test says what they measure.

/// Nothing is connected, the displays are empty, limits are 0 W to 1 GW.
void SerialSensors_reset();

/// Shows a port on a display, connected.
void SerialSensors_show(uint32_t display, uint32_t port);

void SerialSensors_setLimits(uint32_t port, float minPower_W, float maxPower_W);

/// Stores powers, as a handler in the middle of its cycle.
void SerialSensors_store(uint32_t port, float forward_W, float reflected_W);

/// A whole measuring cycle, told to the listener.
void SerialSensors_measure(uint32_t port, float forward_W, float reflected_W);

#endif
