#ifndef SENSORS_USB_SENSOR_CONFIG_H
#define SENSORS_USB_SENSOR_CONFIG_H

#include "UsbSensorRecord.h"

#include <atomic>

/// The measurement configuration of a USB sensor: how others hand one over, and how the handler
/// sends it and reads it back.

// For the dialogs and remote control. Any thread but those that hold the GDK lock.

/// A caller's wait, and what ends it before the sending does: another thread, under the port's
/// sensorPortConfigMutex, or the caller itself.
struct SensorConfigsWait {
    std::atomic<bool> isCancelled{false};
    /// Asked at the start and some times a second with that mutex held, so it must not wait. Null
    /// waits on.
    bool (*isOver)(void* context) = nullptr;
    void* context = nullptr;
};

/// Hands a configuration to a USB port and waits until the handler has sent it in pulse mode; in CW
/// mode that may last for ever. The capability flags stay those of the connected sensor. Returns
/// what the sensor refused. Without a sensor, or when it is pulled meanwhile, `sensorHasGone` is
/// set. A port that is not USB returns an empty list at once. `wait` may be null.
USBTMC_PARAM_ERRORS sensorPortHandler_setSensorConfigs(const SENSOR_CONFIGS& config,
                                                       uint32_t channel,
                                                       SensorConfigsWait* wait = nullptr);

/// Ends one caller's wait, whether it has begun or not: the caller returns with `sensorHasGone`
/// set. A configuration that is already handed over may still be sent later; one that is not, never
/// is.
void sensorPortHandler_cancelSensorConfigs(uint32_t channel, SensorConfigsWait* wait);

/// Lets a connected USB port send its configuration once more. Any thread.
void sensorPortHandler_resendSensorConfig(uint32_t channel);

/// Empties an error list, or appends a text (cut at 31 characters) while it holds fewer than five.
void usbtmcClearErrors(USBTMC_PARAM_ERRORS* errors);
void usbtmcAddError(USBTMC_PARAM_ERRORS* errors, const char* text);

// For the handler's thread.

/// Sends a waiting configuration, each setting only where the sensor differs. False when a
/// transport error stopped it: it waits on.
bool sensorPortHandler_sendConfigToSensor(USB_HANDLER_DATA_STRUCT* handler);

/// Sends the fixed settings of CW mode to a sensor that has them. False after a transport error.
bool UsbSensorConfig_sendCw(USB_HANDLER_DATA_STRUCT* handler);

/// Reads the sensor's own configuration and stores it whole, unless a request to send another one
/// waits. False, with the query's message logged, when a query failed.
bool sensorPortHandler_readSensorConfig(USB_HANDLER_DATA_STRUCT* handler);

/// Logs every text of the error list.
void UsbSensorConfig_logErrors(const USB_HANDLER_DATA_STRUCT* handler);

/// Tells the waiting callers that what was taken for sending has been sent.
void UsbSensorConfig_complete(USB_HANDLER_DATA_STRUCT* handler);

/// A sensor is served from now on, or not any more, which ends all waits.
void UsbSensorConfig_setServing(USB_HANDLER_DATA_STRUCT* handler, bool isServing);

#endif
