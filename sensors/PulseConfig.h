#ifndef SENSORS_PULSE_CONFIG_H
#define SENSORS_PULSE_CONFIG_H

#include "SensorTypes.h"

/// The stored pulse configuration of the USB sensors: one JSON file for all sensors and ports. The
/// capability flags of the record are never stored; they come from the connected sensor. Failures
/// are logged only. The functions take no lock; writers replace the file whole.

/// Remembers the file's name (at most 64 characters; null or empty selects the standard one) and
/// creates its directory; what killed writers have left beside it is removed. Main thread, before
/// any other function.
void sensorPortHandler_setPulseConfigFile(const char* path);

/// Fills every stored field from the file; a missing key, or one of another type, reads as 0. A
/// file that cannot be parsed gives the defaults.
void getPulseSensorConfig(SENSOR_CONFIGS* configs);

/// Replaces the file. A value that the file cannot hold (NaN) leaves the old one.
void setPulseSensorConfig(const SENSOR_CONFIGS* configs);

/// Loads the stored fields into the record; a missing file is written with the defaults first. The
/// record's capability flags stay.
void sensorPortHandler_loadSensorConfig(SENSOR_CONFIGS* configs);

/// Stores the record without its capability flags.
void sensorPortHandler_saveSensorConfig(const SENSOR_CONFIGS* configs);

/// Stores the defaults.
void sensorPortHandler_presetSensorConfig();

#endif
