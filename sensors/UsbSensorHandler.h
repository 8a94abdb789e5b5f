#ifndef SENSORS_USB_SENSOR_HANDLER_H
#define SENSORS_USB_SENSOR_HANDLER_H

#include "SensorTypes.h"
#include "UsbSensorSlots.h"
#include "UsbTmcPort.h"

#include <cstdint>
#include <pthread.h>

/// The handler of one USB port: a thread that resets and identifies the CW and pulse sensor on it,
/// reads and sends its configuration, and measures for as long as it is connected.

constexpr uint32_t usbSensorCount = usbSlotCount;

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

struct USB_PORT_DATA_STRUCT {
    int channelIndex; ///< 0 = USB1, 1 = USB2
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

/// Identity, serial number and status are guarded by the port's sensorPortInfoMutex, measurements
/// by its sensorPortMeasureMutex, configuration, newConfig, port state and the request numbers by
/// its sensorPortConfigMutex; everything else belongs to the handler's thread.
struct USB_HANDLER_DATA_STRUCT {
    pthread_t thread_id;
    sensorUsbCommState sensorState;
    uint32_t usbtmcSubstate;
    uint32_t usbtmcRetryCount;
    bool sensorPulseModeEnabled; ///< the pulse mode last applied to the sensor
    bool isInitialized;
    SENSOR_STATUS sensorStatus;
    bool newConfig; ///< a configuration waits to be sent
    bool isServing; ///< a sensor is connected and served
    USB_PORT_DATA_STRUCT usbPort;
    double start_time_ms;
    double finish_time_ms;
    double measCycle_time_ms;
    SENSOR_MEASUREMENTS sensorMeasurements;
    SENSOR_CONFIGS sensorConfigs;
    SENSOR_IDENTITY sensorIdentity;
    char serialNumber[sensorSerialNumberSize];
    USBTMC_PARAM_ERRORS usbtmc_Errors; ///< of the latest sending
    /// Signalled when a configuration has been sent, and when there is no sensor any more. Waits
    /// with the port's sensorPortConfigMutex.
    pthread_cond_t usbtmcConfigureComplete;
    uint32_t requestNumber;    ///< of the latest request to send a configuration
    uint32_t sendingNumber;    ///< of the latest request that was taken for sending
    uint32_t completedNumber;  ///< of the latest request whose sending was completed
    uint32_t endedConnections; ///< grows with every sensor that has gone
};

extern USB_HANDLER_DATA_STRUCT sensorUsbHandlerData[usbSensorCount];

/// The port number (2 or 3) of a handler, as in messages and flags.
uint32_t sensorUsbHandler_port(const USB_HANDLER_DATA_STRUCT* handler);

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
