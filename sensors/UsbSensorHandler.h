#ifndef SENSORS_USB_SENSOR_HANDLER_H
#define SENSORS_USB_SENSOR_HANDLER_H

#include "UsbSensorRecord.h"

#include <cstdint>

/// The handler of one USB port: a thread that resets and identifies the CW and pulse sensor on it,
/// reads and sends its configuration, and measures for as long as it is connected.

/// Names the device (cut at 31 characters), marks it as not open, resets the sensor information.
void sensorUsbHandler_initSensorData(USB_HANDLER_DATA_STRUCT* handler, const char* portName);

/// Forgets the sensor: identity cleared but for a maximum power of 199990 W, no serial number, no
/// readings. Takes the port's mutexes.
void sensorUsbHandler_resetSensorInformation(USB_HANDLER_DATA_STRUCT* handler);

/// The thread's body; never returns.
void sensorUsbHandlerThread(USB_HANDLER_DATA_STRUCT* handler);

/// Serves one sensor from its plugging to its pulling; then the device, if it has gone, is closed.
void sensorUsbHandler_serveConnection(USB_HANDLER_DATA_STRUCT* handler, uint32_t connection);

/// One step of the state machine; nothing but a pause while no device is open. False when the step
/// found the sensor unplugged.
bool sensorUsbHandler_handleSensorStates(USB_HANDLER_DATA_STRUCT* handler);

/// Name of a state for diagnostics.
const char* SensorPortHandler_getSensorUSBStateName(uint32_t state);

/// True when the text has four characters or more and the first four contain "941", "316", "317" or
/// "319".
bool sensorUsbHandler_ModelIsValid(const char* model);

#endif
