#ifndef SENSORS_USB_SENSOR_MEASURE_H
#define SENSORS_USB_SENSOR_MEASURE_H

#include "UsbSensorRecord.h"

/// The measuring states of a USB sensor's handler: each runs its state's step and returns the state
/// that follows. Handler's thread.

/// Triggers a measurement, waits for its end, and reads the sensor's status.
sensorUsbCommState UsbSensorMeasure_init(USB_HANDLER_DATA_STRUCT* handler);

/// Fetches forward and reflected power, frequency and temperature.
sensorUsbCommState UsbSensorMeasure_cw(USB_HANDLER_DATA_STRUCT* handler);

/// Fetches the pulse values, and those of the triggered states or of the gate.
sensorUsbCommState UsbSensorMeasure_pulse(USB_HANDLER_DATA_STRUCT* handler);

#endif
