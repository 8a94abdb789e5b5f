#ifndef SENSORS_SENSOR_DETECT_H
#define SENSORS_SENSOR_DETECT_H

#include "SensorTypes.h"

#include <cstdint>

/// One detection cycle: polls the ports, lets the sensor manager admit and release sensors, and
/// returns the new record with what changed since `previous`. hwPollingThread, every 500 ms.
CONNECTED_SENSORS SensorDetect_getConnectedSensors(const CONNECTED_SENSORS& previous);

/// Number of ports with a sensor.
uint32_t SensorDetect_getConnectedCount(const CONNECTED_SENSORS& record);

#endif
