#ifndef SENSORS_SERIAL_SENSOR_HANDLER_H
#define SENSORS_SERIAL_SENSOR_HANDLER_H

#include "SensorRecords.h"

#include <cstdint>

/// The handler of one RS232 port: a thread that identifies the CW sensor on it and reads forward
/// power, reflected power, frequency and temperature for as long as it is connected.

enum sensorSerCommState : int {
    stateSerConnect = 0,
    stateSerFlush = 1,
    stateSerInitialSync = 2,
    stateSerIdentify = 3,
    stateSerSerialNum = 4,
    stateSerFwd = 5,
    stateSerRfl = 6,
    stateSerFreq = 7,
    stateSerTemp = 8,
    stateSerFramingSync = 9
};

struct SERIAL_PORT_DATA_STRUCT {
    int channelIndex; ///< 0 = Serial1, 1 = Serial2
    char serialPortName[32];
    sensorPortState portState;
    bool portClosed;
    char rxBuffer[64];
    int fd; ///< -1 when not open
};

/// But for the demonstration without sensors, only the handler's thread writes; so it reads its own
/// fields without their locks.
struct SERIAL_HANDLER_DATA_STRUCT : SENSOR_HANDLER_RECORD {
    // Of the handler's thread alone.
    sensorSerCommState sensorState;
    bool awaitsReading; ///< replaces a sensor that was ready, and has not been read yet
    bool wasSilent;     ///< a command has failed since it was last synchronised
    SERIAL_PORT_DATA_STRUCT serialPort;
};

extern SERIAL_HANDLER_DATA_STRUCT sensorSerialHandlerData[serialSensorCount];

/// Names the device (cut at 31 characters), marks it as not open, resets the sensor information.
void sensorSerialHandler_initSensorData(SERIAL_HANDLER_DATA_STRUCT* handler, const char* portName);

/// Forgets the sensor: identity cleared but for a maximum power of 199990 W, no serial number, no
/// readings. Takes the port's mutexes.
void sensorSerialHandler_resetSensorInformation(SERIAL_HANDLER_DATA_STRUCT* handler);

/// The thread's body; never returns. A device that cannot be opened is reported once, and the
/// thread goes on regardless.
void sensorSerialHandlerThread(SERIAL_HANDLER_DATA_STRUCT* handler);

/// Serves one sensor from its plugging to its pulling.
void sensorSerialHandler_serveConnection(SERIAL_HANDLER_DATA_STRUCT* handler, uint32_t connection);

/// One step of the protocol. A failed command leads back to stateSerFlush.
void sensorSerialHandler_handleSensorStates(SERIAL_HANDLER_DATA_STRUCT* handler);

#endif
