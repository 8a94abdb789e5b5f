#include "UsbSensorHandler.h"

#include "Configuration.h"
#include "LogManager.h"
#include "PulseConfig.h"
#include "SensorPortSignals.h"
#include "SensorRecords.h"
#include "Threads.h"
#include "UsbPnPFile.h"
#include "UsbSensorConfig.h"
#include "UsbSensorMeasure.h"
#include "UsbSensorSlots.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr uint32_t noDevicePause_ms = 100;
constexpr uint32_t clearPause_ms = 1000;
constexpr uint32_t stepPause_ms = 500;
constexpr uint32_t idlePause_ms = 20;
constexpr uint32_t statusRetries = 25;
constexpr uint32_t modelRetries = 5;
constexpr size_t longestModel = 20;
constexpr size_t shortestModel = 4;

/// What a family of models can do. A model that no row names can do everything
/// (docs/compatibility.md: model-by-text).
struct ModelRow {
    std::string_view text; ///< contained in the model's text
    bool hasPulseFeatures; ///< automatic period and trigger level, triggered gates
};

constexpr std::array<ModelRow, 2> modelRows = {{{"3163", false}, {"3165", false}}};

bool hasPulseFeatures(std::string_view model) {
    for (const ModelRow& row : modelRows) {
        if (model.find(row.text) != std::string_view::npos) {
            return row.hasPulseFeatures;
        }
    }
    return true;
}

/// Length of a text without the white space at its end.
size_t trimmedLength(const char* text, size_t longest) {
    size_t length = strnlen(text, longest);
    while (length > 0 && isspace(static_cast<unsigned char>(text[length - 1])) != 0) {
        --length;
    }
    return length;
}

SensorRecords recordsOf(USB_HANDLER_DATA_STRUCT* handler) {
    return SensorRecords_of(sensorUsbHandler_port(handler), handler);
}

void setStatus(USB_HANDLER_DATA_STRUCT* handler, SensorStatus status) {
    SensorRecords_setStatus(recordsOf(handler), status);
}

/// Identification and configuration have finished.
void setReady(USB_HANDLER_DATA_STRUCT* handler) {
    handler->usbPort.configDone = true;
    handler->isInitialized = true;
    setStatus(handler, isReady);
}

bool ask(USB_HANDLER_DATA_STRUCT* handler, sensor_qry_e query, qry_type* reply) {
    return handleQuery(handler->usbPort.fd, handler->usbPort.rxBuffer, query, reply) > 0;
}

bool sendPlain(USB_HANDLER_DATA_STRUCT* handler, sensor_cmd_e command) {
    cmd_type none{};
    return handleCmd(handler->usbPort.fd, handler->usbPort.rxBuffer, command, &none) > 0;
}

sensorUsbCommState startState(USB_HANDLER_DATA_STRUCT* handler) {
    if (handleUsbTmcClear(handler->usbPort.fd) < 0) {
        Thread_sleep_ms(stepPause_ms);
        return stateUsbStart;
    }
    Thread_sleep_ms(clearPause_ms);
    handler->usbtmcSubstate = 0;
    return stateUsbConnect;
}

/// Uses up a retry; without one left the sensor is cleared and reset again.
sensorUsbCommState retry(USB_HANDLER_DATA_STRUCT* handler, sensorUsbCommState sameState) {
    if (--handler->usbtmcRetryCount == 0) {
        return stateUsbStart;
    }
    Thread_sleep_ms(stepPause_ms);
    return sameState;
}

sensorUsbCommState resetStep(USB_HANDLER_DATA_STRUCT* handler) {
    if (!sendPlain(handler, C_COMMON_RST)) {
        return stateUsbStart;
    }
    Thread_sleep_ms(stepPause_ms);
    handler->usbtmcSubstate = 1;
    handler->usbtmcRetryCount = statusRetries;
    return stateUsbConnect;
}

/// A sensor that has come up after its reset reports a status other than 0.
sensorUsbCommState awaitStatusStep(USB_HANDLER_DATA_STRUCT* handler) {
    qry_type reply;
    if (!ask(handler, Q_COMMON_STB, &reply) || reply.ival == 0) {
        return retry(handler, stateUsbConnect);
    }
    Thread_sleep_ms(stepPause_ms);
    handler->usbtmcSubstate = 2;
    return stateUsbConnect;
}

void clearModel(USB_HANDLER_DATA_STRUCT* handler) {
    const ScopedLock lock(sensorPortInfoMutex[sensorUsbHandler_port(handler)]);
    memset(handler->sensorIdentity.sensorModel, 0, sizeof handler->sensorIdentity.sensorModel);
    memset(handler->serialNumber, 0, sizeof handler->serialNumber);
}

sensorUsbCommState clearStatusStep(USB_HANDLER_DATA_STRUCT* handler) {
    if (!sendPlain(handler, C_COMMON_CLS)) {
        return stateUsbStart;
    }
    Thread_sleep_ms(stepPause_ms);
    handler->usbtmcSubstate = 0;
    handler->usbtmcRetryCount = modelRetries;
    // After a fall back the identification is skipped: what it found then must stay
    // (docs/compatibility.md: identified-once).
    if (!handler->usbPort.configDone) {
        clearModel(handler);
    }
    return stateUsbIdent;
}

void setCapabilities(USB_HANDLER_DATA_STRUCT* handler, bool supported) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->sensorConfigs.bSupportsAutoPeriod = supported;
    handler->sensorConfigs.bSupportsAutoTiggerLevel = supported;
    handler->sensorConfigs.bSupportsTriggeredGates = supported;
}

/// Stores a reply as an identity text, without the white space at its end.
template <size_t size>
void storeText(USB_HANDLER_DATA_STRUCT* handler, char (SENSOR_IDENTITY::*field)[size],
               const char* text, size_t longest) {
    const size_t length = trimmedLength(text, longest);
    const ScopedLock lock(sensorPortInfoMutex[sensorUsbHandler_port(handler)]);
    snprintf(handler->sensorIdentity.*field, size, "%.*s", static_cast<int>(length), text);
}

sensorUsbCommState modelStep(USB_HANDLER_DATA_STRUCT* handler) {
    qry_type reply;
    if (!ask(handler, Q_SYSTEM_MODEL, &reply)) {
        return stateUsbStart;
    }
    storeText(handler, &SENSOR_IDENTITY::sensorModel, reply.sval, longestModel);
    const size_t length = trimmedLength(reply.sval, longestModel);
    if (length < shortestModel) {
        return retry(handler, stateUsbIdent);
    }
    setCapabilities(handler, hasPulseFeatures(std::string_view(reply.sval, length)));
    handler->usbtmcSubstate = 1;
    return stateUsbIdent;
}

sensorUsbCommState serialNumberStep(USB_HANDLER_DATA_STRUCT* handler) {
    qry_type reply;
    if (!ask(handler, Q_SYSTEM_SERIAL_NUM, &reply)) {
        return stateUsbStart;
    }
    SensorRecords_storeSerialNumber(recordsOf(handler), reply.sval);
    handler->usbtmcSubstate = 2;
    return stateUsbIdent;
}

sensorUsbCommState firmwareStep(USB_HANDLER_DATA_STRUCT* handler) {
    qry_type reply;
    if (!ask(handler, Q_SYSTEM_FIRMWARE_REV, &reply)) {
        return stateUsbStart;
    }
    constexpr size_t longest = sizeof(SENSOR_IDENTITY::sensorFirmwareRevision) - 1;
    storeText(handler, &SENSOR_IDENTITY::sensorFirmwareRevision, reply.sval, longest);
    handler->usbtmcSubstate = 3;
    return stateUsbIdent;
}

void storeIdentity(USB_HANDLER_DATA_STRUCT* handler, const SENSOR_IDENTITY& identity) {
    const ScopedLock lock(sensorPortInfoMutex[sensorUsbHandler_port(handler)]);
    handler->sensorIdentity = identity;
}

sensorUsbCommState limitsStep(USB_HANDLER_DATA_STRUCT* handler) {
    std::array<char, pnpBlockSize + 1> block;
    SENSOR_IDENTITY identity = handler->sensorIdentity;
    if (getMinMaxParameters(handler->usbPort.fd, block.data(), &identity) < 0) {
        return stateUsbStart;
    }
    storeIdentity(handler, identity);
    SensorRecords_logIdentity(sensorUsbHandler_port(handler), identity);
    return stateUsbGetConfig;
}

using StepFunction = sensorUsbCommState (*)(USB_HANDLER_DATA_STRUCT*);

/// The step that the substate points to; beyond the last one the sensor is started again.
template <size_t size>
sensorUsbCommState runStep(USB_HANDLER_DATA_STRUCT* handler,
                           const std::array<StepFunction, size>& steps) {
    return handler->usbtmcSubstate < size ? steps[handler->usbtmcSubstate](handler) : stateUsbStart;
}

sensorUsbCommState connectState(USB_HANDLER_DATA_STRUCT* handler) {
    constexpr std::array<StepFunction, 3> steps = {resetStep, awaitStatusStep, clearStatusStep};
    return runStep(handler, steps);
}

sensorUsbCommState identState(USB_HANDLER_DATA_STRUCT* handler) {
    constexpr std::array<StepFunction, 4> steps = {modelStep, serialNumberStep, firmwareStep,
                                                   limitsStep};
    return handler->usbPort.configDone ? stateUsbGetConfig : runStep(handler, steps);
}

sensorUsbCommState getConfigState(USB_HANDLER_DATA_STRUCT* handler) {
    handler->sensorPulseModeEnabled = configuration_getPulseMode();
    if (!sensorPortHandler_readSensorConfig(handler)) {
        return stateUsbStart;
    }
    if (!handler->sensorPulseModeEnabled) {
        return stateUsbSendConfigCW;
    }
    setReady(handler);
    return stateUsbInit;
}

sensorUsbCommState sendConfigState(USB_HANDLER_DATA_STRUCT* handler) {
    const bool isPulseMode = configuration_getPulseMode();
    if (isPulseMode == handler->sensorPulseModeEnabled) {
        return isPulseMode ? stateUsbSendConfigPulse : stateUsbInit;
    }
    handler->sensorPulseModeEnabled = isPulseMode;
    if (!isPulseMode) {
        return stateUsbSendConfigCW;
    }
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->newConfig = true;
    return stateUsbResendConfigPulse;
}

sensorUsbCommState sendConfigCwState(USB_HANDLER_DATA_STRUCT* handler) {
    if (!UsbSensorConfig_sendCw(handler)) {
        return stateUsbStart;
    }
    UsbSensorConfig_logErrors(handler);
    setReady(handler);
    return stateUsbInit;
}

sensorUsbCommState sendConfigPulseState(USB_HANDLER_DATA_STRUCT* handler) {
    if (!sensorPortHandler_sendConfigToSensor(handler)) {
        return stateUsbStart;
    }
    UsbSensorConfig_complete(handler);
    setReady(handler);
    return stateUsbInit;
}

sensorUsbCommState resendConfigPulseState(USB_HANDLER_DATA_STRUCT* handler) {
    if (!sensorPortHandler_sendConfigToSensor(handler)) {
        return stateUsbStart;
    }
    if (handler->usbtmc_Errors.count == 0) {
        return stateUsbInit;
    }
    UsbSensorConfig_logErrors(handler);
    return stateUsbGetConfig;
}

sensorUsbCommState idleState(USB_HANDLER_DATA_STRUCT* handler) {
    Thread_sleep_ms(idlePause_ms);
    return handler->usbPort.portClosed ? stateUsbIdle : stateUsbSendConfig;
}

struct StateRow {
    const char* name;
    StepFunction run;
};

constexpr std::array<StateRow, 12> stateRows = {{
    {"stateUsbStart", startState},
    {"stateUsbConnect", connectState},
    {"stateUsbIdent", identState},
    {"stateUsbGetConfig", getConfigState},
    {"stateUsbSendConfig", sendConfigState},
    {"stateUsbSendConfigCW", sendConfigCwState},
    {"stateUsbSendConfigPulse", sendConfigPulseState},
    {"stateUsbResendConfigPulse", resendConfigPulseState},
    {"stateUsbInit", UsbSensorMeasure_init},
    {"stateUsbCwMeasure", UsbSensorMeasure_cw},
    {"stateUsbPulseMeasure", UsbSensorMeasure_pulse},
    {"stateUsbIdle", idleState},
}};

void setPortState(USB_HANDLER_DATA_STRUCT* handler, sensorPortState state) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->usbPort.portState = state;
}

/// The initial state of a slot without a device.
void resetHandler(USB_HANDLER_DATA_STRUCT* handler) {
    handler->sensorState = stateUsbStart;
    handler->isInitialized = false;
    setStatus(handler, notReady);
    setPortState(handler, sensorPortDisconnected);
    sensorUsbHandler_resetSensorInformation(handler);
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->sensorConfigs = {};
}

void useDevice(USB_HANDLER_DATA_STRUCT* handler, int fd) {
    UsbTmcPort_Close(handler->usbPort.fd);
    handler->usbPort.fd = fd;
    handler->usbPort.portClosed = fd < 1;
    if (handler->usbPort.portClosed) {
        resetHandler(handler);
    }
}

/// Follows what detection has done to the slot. This thread alone closes the device, so that its
/// descriptor's number cannot have become another file's while it is used.
void followSlot(USB_HANDLER_DATA_STRUCT* handler) {
    const UsbSlotChange change =
        UsbSensorSlots_take(static_cast<uint32_t>(handler->usbPort.channelIndex));
    if (change.hasChanged) {
        useDevice(handler, change.fd);
    }
}

void loadStoredConfig(USB_HANDLER_DATA_STRUCT* handler) {
    SENSOR_CONFIGS stored{};
    sensorPortHandler_loadSensorConfig(&stored);
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->sensorConfigs = stored;
}

void beginConnection(USB_HANDLER_DATA_STRUCT* handler, uint32_t connection) {
    sensorUsbHandler_resetSensorInformation(handler);
    loadStoredConfig(handler);
    handler->isInitialized = false;
    setStatus(handler, notReady);
    handler->usbPort.configDone = false;
    handler->usbPort.initTimeout = false;
    handler->sensorState = stateUsbStart;
    handler->usbtmcSubstate = 0;
    setPortState(handler, sensorPortConnected);
    UsbSensorConfig_setServing(handler, true);
    SensorPortSignals_setServedConnection(sensorUsbHandler_port(handler), connection);
    Thread_sleep_ms(sensorSettlingPause_ms);
}

void endConnection(USB_HANDLER_DATA_STRUCT* handler) {
    UsbSensorConfig_setServing(handler, false);
    setPortState(handler, sensorPortDisconnected);
    followSlot(handler);
}

/// The sensor was pulled before detection noticed: its device is of no use any more.
void giveUpDevice(USB_HANDLER_DATA_STRUCT* handler, uint32_t connection) {
    const uint32_t port = sensorUsbHandler_port(handler);
    logManager_printToLog(SensorCommunications, "sensorUsbHandler: port %u: unplugged\n", port);
    const bool wasLast = SensorPortSignals_endConnection(port, connection);
    if (wasLast) {
        UsbSensorSlots_reportLost(static_cast<uint32_t>(handler->usbPort.channelIndex));
    }
}

} // namespace

void sensorUsbHandler_initSensorData(USB_HANDLER_DATA_STRUCT* handler, const char* portName) {
    snprintf(handler->usbPort.usbPortName, sizeof handler->usbPort.usbPortName, "%s", portName);
    handler->usbPort.fd = -1;
    handler->usbPort.portClosed = true;
    sensorUsbHandler_resetSensorInformation(handler);
}

void sensorUsbHandler_resetSensorInformation(USB_HANDLER_DATA_STRUCT* handler) {
    SensorRecords_reset(recordsOf(handler));
}

void sensorUsbHandlerThread(USB_HANDLER_DATA_STRUCT* handler) {
    const uint32_t port = sensorUsbHandler_port(handler);
    for (;;) {
        const uint32_t connection = SensorPortSignals_waitUntilConnectedOrWoken(port);
        followSlot(handler);
        if (connection != 0) {
            sensorUsbHandler_serveConnection(handler, connection);
        }
    }
}

void sensorUsbHandler_serveConnection(USB_HANDLER_DATA_STRUCT* handler, uint32_t connection) {
    beginConnection(handler, connection);
    bool isPlugged = true;
    while (isPlugged &&
           SensorPortSignals_isSameConnection(sensorUsbHandler_port(handler), connection)) {
        isPlugged = sensorUsbHandler_handleSensorStates(handler);
    }
    if (!isPlugged) {
        giveUpDevice(handler, connection);
    }
    endConnection(handler);
}

bool sensorUsbHandler_handleSensorStates(USB_HANDLER_DATA_STRUCT* handler) {
    if (handler->usbPort.fd < 1) {
        Thread_sleep_ms(noDevicePause_ms);
        return true;
    }
    UsbTmcPort_forgetUnplugged();
    const sensorUsbCommState state = handler->sensorState;
    handler->sensorState = state < stateRows.size() ? stateRows[state].run(handler) : stateUsbIdle;
    if (state != handler->sensorState) {
        logManager_printToLog(SensorCommunications, "sensorUsbHandler: port %u: %s -> %s\n",
                              sensorUsbHandler_port(handler),
                              SensorPortHandler_getSensorUSBStateName(state),
                              SensorPortHandler_getSensorUSBStateName(handler->sensorState));
    }
    return !UsbTmcPort_wasUnplugged();
}

const char* SensorPortHandler_getSensorUSBStateName(uint32_t state) {
    return state < stateRows.size() ? stateRows[state].name : "unknown";
}

bool sensorUsbHandler_ModelIsValid(const char* model) {
    constexpr std::array<std::string_view, 4> families = {"941", "316", "317", "319"};
    const std::string_view text(model);
    if (text.size() < shortestModel) {
        return false;
    }
    const std::string_view beginning = text.substr(0, shortestModel);
    for (const std::string_view family : families) {
        if (beginning.find(family) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}
