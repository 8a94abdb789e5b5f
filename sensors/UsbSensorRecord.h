#ifndef SENSORS_USB_SENSOR_RECORD_H
#define SENSORS_USB_SENSOR_RECORD_H

#include "SensorRecords.h"
#include "UsbTmcPort.h"

#include <cstdint>
#include <pthread.h>

/// The record of a USB port's handler, whose parts the modules of the handler share.

enum sensorUsbCommState : uint32_t {
    stateUsbStart = 0,
    stateUsbConnect = 1,
    stateUsbIdent = 2,
    stateUsbGetConfig = 3,
    stateUsbSendConfig = 4,
    stateUsbSendConfigCW = 5,
    stateUsbSendConfigPulse = 6,
    stateUsbResendConfigPulse = 7,
    stateUsbInit = 8,
    stateUsbCwMeasure = 9,
    stateUsbPulseMeasure = 10,
    stateUsbIdle = 11
};

/// Of the handler's thread alone, but for portState, which the port's sensorPortConfigMutex guards.
struct USB_PORT_DATA_STRUCT {
    int channelIndex; ///< 0 = USB1, 1 = USB2; never changes
    char usbPortName[32];
    sensorPortState portState;
    bool portClosed;
    char rxBuffer[usbTmcReplySize + 1];
    int fd;           ///< -1 when not open
    bool initTimeout; ///< the last trigger timed out
    bool configDone;  ///< identification and configuration have finished
};

/// Error texts that were collected while a configuration was sent.
struct USBTMC_PARAM_ERRORS {
    int count;
    char errors[5][32];
    bool sensorHasGone; ///< the configuration did not reach a sensor
};

/// Only the handler's thread writes, and so reads its own fields without their locks, but for the
/// configuration and its request, which other threads write, too.
struct USB_HANDLER_DATA_STRUCT : SENSOR_HANDLER_RECORD {
    // Of the handler's thread alone.
    sensorUsbCommState sensorState;
    uint32_t usbtmcSubstate;
    uint32_t usbtmcRetryCount;
    bool sensorPulseModeEnabled; ///< the pulse mode last applied to the sensor
    USB_PORT_DATA_STRUCT usbPort;

    // Under the port's sensorPortConfigMutex.
    SENSOR_CONFIGS sensorConfigs;
    USBTMC_PARAM_ERRORS usbtmc_Errors; ///< of the latest sending
    bool newConfig;                    ///< a configuration waits to be sent
    bool isServing;                    ///< a sensor is connected and served
    uint32_t requestNumber;            ///< of the latest request to send a configuration
    uint32_t sendingNumber;            ///< of the latest request that was taken for sending
    uint32_t completedNumber;          ///< of the latest request whose sending was completed
    uint32_t endedConnections;         ///< grows with every sensor that has gone
    /// Signalled when a configuration has been sent, and when there is no sensor any more.
    pthread_cond_t usbtmcConfigureComplete;
};

extern USB_HANDLER_DATA_STRUCT sensorUsbHandlerData[usbSensorCount];

/// The port number (2 or 3) of a handler, as in messages and flags.
uint32_t sensorUsbHandler_port(const USB_HANDLER_DATA_STRUCT* handler);

/// A copy of the handler's configuration. Any thread.
SENSOR_CONFIGS UsbSensorRecord_copyConfigs(const USB_HANDLER_DATA_STRUCT* handler);

#endif
