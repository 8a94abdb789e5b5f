#ifndef DISPLAY_PULSE_CONFIG_SENDING_H
#define DISPLAY_PULSE_CONFIG_SENDING_H

#include "SensorTypes.h"
#include "UsbSensorHandler.h"

#include <cstdint>

/// Sends a pulse configuration without keeping the main loop waiting: the sensor may take a whole
/// measuring cycle, and in CW mode it takes none.

/// What became of it; called on the main thread with the GDK lock held.
using PulseConfigSent = void (*)(const USBTMC_PARAM_ERRORS& errors, void* context);

/// Starts a thread that hands the configuration to the port and, if `isStored` and no error came
/// back, stores it; then `done` is called once, unless the sending has been cancelled. False if the
/// thread cannot be started. One sending at a time. GDK lock held.
bool PulseConfigSending_start(const SENSOR_CONFIGS& config, uint32_t port, bool isStored,
                              PulseConfigSent done, void* context);

/// Ends the wait, at whatever point the thread is: nothing is stored or told any more. GDK lock
/// held.
void PulseConfigSending_cancel();

/// True from the start to the end or the cancelling. GDK lock held.
bool PulseConfigSending_isActive();

#endif
