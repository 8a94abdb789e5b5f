#ifndef SENSORS_SENSOR_PORT_HANDLER_H
#define SENSORS_SENSOR_PORT_HANDLER_H

#include "SensorTypes.h"

#include <cstddef>

/// What the four port handlers have in common: the connected flags, and copies of what a handler
/// knows of its sensor. Every function takes a port of 0 to 3; any other port, sensorPort_None
/// included, gives notReady, NaN measurements, limits of 0, empty texts, and is otherwise ignored.

/// Creates the handlers of ports 0 to 3 in order and starts their threads. Exits the process if a
/// thread cannot be started. Main thread, once.
void sensorPortHandler_createAll();

/// Tells a port's handler whether a sensor is there; a waiting handler thread wakes at once.
/// Any thread.
void sensorPortHandler_setIsConnected(uint32_t port, bool isConnected);
bool sensorPortHandler_getIsConnected(uint32_t port);

/// Copies under the port's mutexes. Any thread.
SENSOR_STATUS sensorPortHandler_getSensorStatus(uint32_t port);
SENSOR_MEASUREMENTS sensorPortHandler_getSensorMeasurements(uint32_t port);
float sensorPortHandler_getSensorMaxPower(uint32_t port); ///< W
float sensorPortHandler_getSensorMinPower(uint32_t port); ///< W

/// Copies a port's identity and serial number (at most `serialSize` - 1 characters, terminated).
void sensorPortHandler_getSensorInformation(uint32_t port, SENSOR_IDENTITY* identity,
                                            char* serialNumber, size_t serialSize);

/// Copies a USB port's configuration; a serial port gives a zeroed record.
void sensorPortHandler_getSensorConfigs(SENSOR_CONFIGS* configs, uint32_t port);

/// A record without readings: all zero, but forward, reflected, frequency and temperature NaN.
void sensorPortHandler_setMeasurementsToDefault(SENSOR_MEASUREMENTS* measurements);

/// Demonstration without sensors: gives port 0 or 1 a model, a serial number and these readings.
void SensorPortHandler_setSimulatedMeasurements(uint32_t channel, float fwd_W, float rfl_W,
                                                float freq_Hz, float temperature_C, float battery);

/// Number of readings that a port has delivered since the program's start (a forward and reflected
/// pair counts once). Any thread, no lock.
uint32_t sensorPortHandler_getReadingNumber(uint32_t port);

/// Registers who is told, on the handler's thread, that a port has a new reading.
void sensorPortHandler_registerReadingListener(void (*listener)());

#endif
