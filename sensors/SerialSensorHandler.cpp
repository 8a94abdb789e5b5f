#include "SerialSensorHandler.h"

#include "CSimpleTimer.h"
#include "LogManager.h"
#include "SensorPortSignals.h"
#include "SensorRecords.h"
#include "SerialPort.h"
#include "SerialSensorProtocol.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <bit>
#include <cstdio>
#include <cstring>

namespace {

/// Records are read by other threads before the handler's thread exists.
constexpr SERIAL_HANDLER_DATA_STRUCT emptyHandler(int channel) {
    SERIAL_HANDLER_DATA_STRUCT empty{};
    empty.serialPort.channelIndex = channel;
    empty.serialPort.fd = -1;
    empty.sensorMeasurements = SensorMeasurements_none();
    empty.sensorIdentity = SensorRecords_noIdentity();
    return empty;
}

} // namespace

SERIAL_HANDLER_DATA_STRUCT sensorSerialHandlerData[serialSensorCount] = {emptyHandler(0),
                                                                         emptyHandler(1)};

namespace {

uint32_t portOf(const SERIAL_HANDLER_DATA_STRUCT* handler) {
    return handler->serialPort.channelIndex == 0 ? sensorPort_Serial1 : sensorPort_Serial2;
}

const char* stateName(int state) {
    constexpr std::array names = {"Connect", "Flush", "InitialSync", "Identify", "SerialNum",
                                  "Fwd",     "Rfl",   "Freq",        "Temp",     "FramingSync"};
    return state >= 0 && static_cast<size_t>(state) < names.size()
               ? names[static_cast<size_t>(state)]
               : "unknown";
}

SensorRecords recordsOf(SERIAL_HANDLER_DATA_STRUCT* handler) {
    return SensorRecords_of(portOf(handler), handler);
}

void setStatus(SERIAL_HANDLER_DATA_STRUCT* handler, SensorStatus status) {
    SensorRecords_setStatus(recordsOf(handler), status);
}

void setReady(SERIAL_HANDLER_DATA_STRUCT* handler) {
    handler->isInitialized = true;
    setStatus(handler, isReady);
}

/// Runs one measuring command and stores its value, squared for the powers: the sensor sends the
/// square root of the power (docs/compatibility.md: squared-power).
bool measure(SERIAL_HANDLER_DATA_STRUCT* handler, const char* command,
             float SENSOR_MEASUREMENTS::*field, bool isSquareRoot) {
    SERIAL_PORT_DATA_STRUCT& port = handler->serialPort;
    if (!handleMeasCommand(port.fd, port.rxBuffer, command)) {
        return false;
    }
    const float value = parseMeasurement(port.rxBuffer);
    const ScopedLock lock(sensorPortMeasureMutex[portOf(handler)]);
    handler->sensorMeasurements.*field = isSquareRoot ? value * value : value;
    SensorPortSignals_breakSilence(portOf(handler));
    return true;
}

sensorSerCommState flushState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    SERIAL_PORT_DATA_STRUCT& port = handler->serialPort;
    return flushSensorBuffer(port.fd, port.rxBuffer) ? stateSerInitialSync : stateSerFlush;
}

sensorSerCommState initialSyncState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    SERIAL_PORT_DATA_STRUCT& port = handler->serialPort;
    // A sensor that stood still answers all at once, each try of this command, too: what is left
    // would count as the first bytes of its identity.
    if (!handleCommandS(port.fd, port.rxBuffer) ||
        !discardKeptAnswers(port.fd, port.rxBuffer, handler->wasSilent)) {
        return stateSerFlush;
    }
    handler->wasSilent = false;
    return stateSerIdentify;
}

void storeIdentity(SERIAL_HANDLER_DATA_STRUCT* handler, const SENSOR_IDENTITY& identity) {
    const ScopedLock lock(sensorPortInfoMutex[portOf(handler)]);
    handler->sensorIdentity = identity;
}

/// Bit by bit: noise may have made a limit not-a-number, which equals nothing.
bool isSameLimit(float one, float other) {
    return std::bit_cast<uint32_t>(one) == std::bit_cast<uint32_t>(other);
}

bool isSameIdentity(const SENSOR_IDENTITY& one, const SENSOR_IDENTITY& other) {
    return strcmp(one.sensorModel, other.sensorModel) == 0 &&
           strcmp(one.sensorFirmwareRevision, other.sensorFirmwareRevision) == 0 &&
           strcmp(one.sensorSupportedCommands, other.sensorSupportedCommands) == 0 &&
           isSameLimit(one.sensorPower.max, other.sensorPower.max) &&
           isSameLimit(one.sensorPower.min, other.sensorPower.min);
}

/// A sensor was ready, or replaces one that was.
bool hasPredecessor(const SERIAL_HANDLER_DATA_STRUCT* handler) {
    return handler->isInitialized || handler->awaitsReading;
}

/// Another sensor answers than before: it was exchanged faster than detection looks. What its
/// predecessor told must not stand beside what it tells, so it is ready with its first reading.
void beginSuccessor(SERIAL_HANDLER_DATA_STRUCT* handler, const SENSOR_IDENTITY& identity) {
    handler->isInitialized = false;
    handler->awaitsReading = true;
    setStatus(handler, notReady);
    sensorSerialHandler_resetSensorInformation(handler);
    storeIdentity(handler, identity);
}

void setReadyOnceIdentified(SERIAL_HANDLER_DATA_STRUCT* handler) {
    if (!handler->awaitsReading) {
        setReady(handler);
    }
}

void setReadyOnceRead(SERIAL_HANDLER_DATA_STRUCT* handler) {
    if (handler->awaitsReading) {
        handler->awaitsReading = false;
        setReady(handler);
    }
}

sensorSerCommState identifyState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    SERIAL_PORT_DATA_STRUCT& port = handler->serialPort;
    if (!handleCommandI(port.fd, port.rxBuffer)) {
        return stateSerFlush;
    }
    SENSOR_IDENTITY identity = SensorRecords_noIdentity();
    parseIdentity(port.rxBuffer, &identity);
    if (hasPredecessor(handler) && !isSameIdentity(identity, handler->sensorIdentity)) {
        beginSuccessor(handler, identity);
    } else {
        storeIdentity(handler, identity);
    }
    SensorRecords_logIdentity(portOf(handler), identity);
    if (!SerialSensorProtocol_hasNoSerialNumber(identity.sensorModel)) {
        return stateSerSerialNum;
    }
    setReadyOnceIdentified(handler);
    return stateSerFwd;
}

sensorSerCommState serialNumState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    SERIAL_PORT_DATA_STRUCT& port = handler->serialPort;
    if (!handleCommandZ(port.fd, port.rxBuffer, serialNumberAddress, serialNumberCount)) {
        return stateSerFlush;
    }
    std::array<char, sensorSerialNumberSize> serialNumber{};
    validateSerialNumber(serialNumber.data(), port.rxBuffer);
    if (hasPredecessor(handler) && strcmp(serialNumber.data(), handler->serialNumber) != 0) {
        beginSuccessor(handler, SENSOR_IDENTITY(handler->sensorIdentity));
    }
    SensorRecords_storeSerialNumber(recordsOf(handler), port.rxBuffer);
    setReadyOnceIdentified(handler);
    return stateSerFwd;
}

sensorSerCommState forwardState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    const uint32_t port = portOf(handler);
    newMeasurementIsAvailable[port] = false;
    SensorPortSignals_beginReading(port);
    handler->start_time_ms = getTime_ms();
    if (!measure(handler, "F", &SENSOR_MEASUREMENTS::fwdPwrVal, true)) {
        return stateSerFlush;
    }
    newMeasurementIsAvailable[port] = true;
    return stateSerRfl;
}

sensorSerCommState reflectedState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    const uint32_t port = portOf(handler);
    const bool isRead = measure(handler, "R", &SENSOR_MEASUREMENTS::rflPwrVal, true);
    if (isRead) {
        setReadyOnceRead(handler);
    }
    // A forward reading is announced even if the reflected one of the same cycle is missing
    // (docs/compatibility.md: reading-without-reflected).
    if (newMeasurementIsAvailable[port]) {
        SensorPortSignals_countReading(port, true);
        SensorPortSignals_tellOfReading();
    }
    return isRead ? stateSerFreq : stateSerFlush;
}

sensorSerCommState frequencyState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    const bool isRead = measure(handler, "H", &SENSOR_MEASUREMENTS::freqVal, false);
    return isRead ? stateSerTemp : stateSerFlush;
}

sensorSerCommState temperatureState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    const bool isRead = measure(handler, "T", &SENSOR_MEASUREMENTS::temperatureVal, false);
    return isRead ? stateSerFramingSync : stateSerFlush;
}

sensorSerCommState framingSyncState(SERIAL_HANDLER_DATA_STRUCT* handler) {
    SERIAL_PORT_DATA_STRUCT& port = handler->serialPort;
    if (!handleCommandS(port.fd, port.rxBuffer)) {
        return stateSerFlush;
    }
    handler->measCycle_time_ms =
        SensorRecords_endCycle(portOf(handler), handler->start_time_ms, &handler->finish_time_ms);
    return stateSerFwd;
}

using StateFunction = sensorSerCommState (*)(SERIAL_HANDLER_DATA_STRUCT*);

/// By state. A state without a function of its own, and any number outside the table, leads to the
/// flush.
constexpr std::array<StateFunction, 10> stateFunctions = {
    nullptr,      flushState,     initialSyncState, identifyState,    serialNumState,
    forwardState, reflectedState, frequencyState,   temperatureState, framingSyncState};

void openPort(SERIAL_PORT_DATA_STRUCT* port) {
    port->fd = serial_open_forsensor(port->serialPortName);
    port->portClosed = port->fd < 1;
    if (port->portClosed) {
        USER_WARNING("Unable to open sensor port %d.\n", port->channelIndex);
    }
}

void beginConnection(SERIAL_HANDLER_DATA_STRUCT* handler, uint32_t connection) {
    sensorSerialHandler_resetSensorInformation(handler);
    handler->isInitialized = false;
    handler->awaitsReading = false;
    handler->wasSilent = false;
    setStatus(handler, notReady);
    handler->sensorState = stateSerFlush;
    handler->serialPort.portState = sensorPortConnected;
    SensorPortSignals_setServedConnection(portOf(handler), connection);
    Thread_sleep_ms(sensorSettlingPause_ms);
}

} // namespace

void sensorSerialHandler_initSensorData(SERIAL_HANDLER_DATA_STRUCT* handler, const char* portName) {
    snprintf(handler->serialPort.serialPortName, sizeof handler->serialPort.serialPortName, "%s",
             portName);
    handler->serialPort.fd = -1;
    sensorSerialHandler_resetSensorInformation(handler);
}

void sensorSerialHandler_resetSensorInformation(SERIAL_HANDLER_DATA_STRUCT* handler) {
    SensorRecords_reset(recordsOf(handler));
}

void sensorSerialHandlerThread(SERIAL_HANDLER_DATA_STRUCT* handler) {
    openPort(&handler->serialPort);
    const uint32_t port = portOf(handler);
    for (;;) {
        const uint32_t connection = SensorPortSignals_waitUntilConnected(port);
        sensorSerialHandler_serveConnection(handler, connection);
    }
}

void sensorSerialHandler_serveConnection(SERIAL_HANDLER_DATA_STRUCT* handler, uint32_t connection) {
    beginConnection(handler, connection);
    // A sensor that was replaced while a step was waiting is noticed by the connection's number.
    while (SensorPortSignals_isSameConnection(portOf(handler), connection)) {
        sensorSerialHandler_handleSensorStates(handler);
    }
    handler->serialPort.portState = sensorPortDisconnected;
}

void sensorSerialHandler_handleSensorStates(SERIAL_HANDLER_DATA_STRUCT* handler) {
    const sensorSerCommState state = handler->sensorState;
    const bool isKnown = state > stateSerConnect && state <= stateSerFramingSync;
    handler->sensorState =
        isKnown ? stateFunctions[static_cast<size_t>(state)](handler) : stateSerFlush;
    handler->wasSilent = handler->wasSilent || handler->sensorState == stateSerFlush;
    logManager_printToLog(SensorCommunications, "sensorSerialHandler: port %u: %s -> %s\n",
                          portOf(handler), stateName(state), stateName(handler->sensorState));
}
