#ifndef SENSORS_SENSOR_PORT_HANDLER_H
#define SENSORS_SENSOR_PORT_HANDLER_H

#include "SensorPortSignals.h"
#include "SensorTypes.h"

#include <cstddef>

/// What the four port handlers have in common: their creation, and copies of what a handler knows
/// of its sensor. Every function takes a port of 0 to 3; any other port, sensorPort_None included,
/// gives notReady, NaN measurements, limits of 0, empty texts, and is otherwise ignored.

/// Creates the handlers of ports 0 to 3 in order and starts their threads. Exits the process if a
/// thread cannot be started. Main thread, once.
void sensorPortHandler_createAll();

/// Copies under the port's mutexes. Any thread. The status is notReady as long as the handler has
/// not taken up the sensor that is connected now, so that nothing of the previous sensor is shown.
SENSOR_STATUS sensorPortHandler_getSensorStatus(uint32_t port);
SENSOR_MEASUREMENTS sensorPortHandler_getSensorMeasurements(uint32_t port);
SensorSilence sensorPortHandler_getSilence(uint32_t port);
float sensorPortHandler_getSensorMaxPower(uint32_t port); ///< W
float sensorPortHandler_getSensorMinPower(uint32_t port); ///< W

/// Copies a port's identity and serial number (at most `serialSize` - 1 characters, terminated).
void sensorPortHandler_getSensorInformation(uint32_t port, SENSOR_IDENTITY* identity,
                                            char* serialNumber, size_t serialSize);

/// Copies a USB port's configuration; a serial port gives a zeroed record.
void sensorPortHandler_getSensorConfigs(SENSOR_CONFIGS* configs, uint32_t port);

/// Demonstration without sensors: gives port 0 or 1 the model "5134", the serial number "200201170"
/// and these readings. Any thread.
void SensorPortHandler_setSimulatedMeasurements(uint32_t channel, float fwd_W, float rfl_W,
                                                float freq_Hz, float temperature_C, float battery);

#endif
