#include "UsbSensorConfig.h"

#include "LogManager.h"
#include "SensorPortSignals.h"
#include "Threads.h"
#include "message.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>

namespace {

constexpr float cwPeriod_s = 0.01F;
constexpr uint32_t waitingPeriod_ms = 100; ///< how often a caller is asked whether it waits on

/// What is said when a setting fails. "%d" stands for the number of a measurement state.
struct SettingRow {
    sensor_cmd_e command; ///< that of the first state for the four states' commands
    const char* words;
    const char* error;
};

constexpr std::array<SettingRow, 17> settingRows = {{
    {C_SENSE_FREQ_AUTO, "frequency auto command", "Freq Auto is not valid"},
    {C_SENSE_FREQ, "frequency command", "Freq is not valid"},
    {C_SENSE_RELFECT_EN, "reflected enable command", "Refl Enable is not valid"},
    {C_SENSE_PER_AUTO, "period auto command", "Period Auto is not valid"},
    {C_SENSE_SWE_TIME_AUTO, "sweep time auto command", "Sweep Time Auto is not valid"},
    {C_SENSE_PER, "period command", "Period is not valid"},
    {C_SENSE_SWE_TIME, "sweep time command", "Sweep Time is not valid"},
    {C_TRIGGER_SOURCE, "trigger source command", "Trigger Source is not valid"},
    {C_TRIGGER_LEVEL_AUTO, "trigger level auto command", "Trigger Level Auto is not valid"},
    {C_TRIGGER_LEVEL, "trigger level command", "Trigger Level is not valid"},
    {C_TRIGGER_SLOPE, "trigger slope command", "Trigger Slope is not valid"},
    {C_TRIGGER_DELAY, "trigger delay command", "Trigger Delay is not valid"},
    {C_CALCULATE_STATE1_BEGIN, "state %d begin command", "State %d Begin is not valid"},
    {C_CALCULATE_STATE1_END, "state %d end command", "State %d End is not valid"},
    {C_CALCULATE_STATE1_EN, "state %d enable command", "State Enable is not valid"},
    {C_CALC_GATE_BEGIN_DELAY, "gate begin delay command", "Gate Begin is not valid"},
    {C_CALC_GATE_END_DELAY, "gate end delay command", "Gate End is not valid"},
}};

/// The rows of CW mode. Both period commands have the frequency's label, by which their errors are
/// known (docs/compatibility.md: cw-labels).
constexpr std::array<SettingRow, 4> cwRows = {{
    {C_SENSE_PER_AUTO, "period auto command", "Freq Auto is not valid"},
    {C_SENSE_SWE_TIME_AUTO, "sweep time auto command", "Sweep Time Auto is not valid"},
    {C_SENSE_PER, "period command", "Freq Auto is not valid"},
    {C_SENSE_SWE_TIME, "sweep time command", "Sweep Time is not valid"},
}};

/// The port number as messages show it.
int channelOf(const USB_HANDLER_DATA_STRUCT* handler) {
    return static_cast<int>(sensorUsbHandler_port(handler));
}

using Text = std::array<char, 48>;

/// A row's text with the number of its state in it.
Text withState(const char* text, uint32_t state) {
    Text result{};
    const char* number = strstr(text, "%d");
    if (number == nullptr) {
        snprintf(result.data(), result.size(), "%s", text);
    } else {
        snprintf(result.data(), result.size(), "%.*s%u%s", static_cast<int>(number - text), text,
                 state + 1, number + 2);
    }
    return result;
}

cmd_type integer(bool value) {
    return {value ? 1 : 0, 0.0F, {}};
}

cmd_type number(float value) {
    return {0, value, {}};
}

cmd_type text(const char* value) {
    cmd_type result{};
    snprintf(result.sval, sizeof result.sval, "%s", value);
    return result;
}

/// One sending: the settings go out one after the other until a transport error ends it.
struct Sending {
    USB_HANDLER_DATA_STRUCT* handler;
    USBTMC_PARAM_ERRORS* errors;
    bool isAlive;
};

/// Sends one setting, or nothing after a transport error. What the sensor refuses is logged and
/// collected, and the sending goes on.
void sendRow(Sending* sending, const SettingRow& row, cmd_type value, uint32_t state = 0) {
    if (!sending->isAlive) {
        return;
    }
    USB_PORT_DATA_STRUCT& port = sending->handler->usbPort;
    const int channel = channelOf(sending->handler);
    const Text words = withState(row.words, state);
    const enUSBTMCErrors status = handleCmdWithStatus(
        port.fd, port.rxBuffer, UsbTmcCommands_commandOfState(row.command, state), &value);
    if (status == usbtmc_transportError) {
        USER_ERROR("USB sensor %d %s failed with a transport error %d.\n", channel, words.data(),
                   static_cast<int>(status));
        sending->isAlive = false;
    } else if (status != usbtmc_success) {
        USER_WARNING("USB sensor %d %s failed with error %d.\n", channel, words.data(),
                     static_cast<int>(status));
        usbtmcAddError(sending->errors, withState(row.error, state).data());
    }
}

void send(Sending* sending, sensor_cmd_e command, const cmd_type& value, uint32_t state = 0) {
    const auto* row =
        std::find_if(settingRows.begin(), settingRows.end(),
                     [command](const SettingRow& one) { return one.command == command; });
    if (row != settingRows.end()) {
        sendRow(sending, *row, value, state);
    }
}

void sendFrequency(Sending* sending, const SENSOR_CONFIGS& configs) {
    send(sending, C_SENSE_FREQ_AUTO, integer(configs.bAutoFrequency));
    if (!configs.bAutoFrequency) {
        send(sending, C_SENSE_FREQ, number(configs.freqVal / hzPerMHz));
    }
    send(sending, C_SENSE_RELFECT_EN, integer(true));
}

void sendPeriod(Sending* sending, const SENSOR_CONFIGS& configs) {
    send(sending, C_SENSE_PER_AUTO, integer(configs.bAutoPeriod));
    send(sending, C_SENSE_SWE_TIME_AUTO, integer(configs.bAutoPeriod));
    if (!configs.bAutoPeriod) {
        send(sending, C_SENSE_PER, number(configs.prdVal));
        send(sending, C_SENSE_SWE_TIME, number(configs.prdVal));
    }
}

void sendTrigger(Sending* sending, const SENSOR_CONFIGS& configs) {
    send(sending, C_TRIGGER_SOURCE, text("INT"));
    // A text command that is given a number: it is never sent
    // (docs/compatibility.md: auto-level-not-sent).
    send(sending, C_TRIGGER_LEVEL_AUTO, integer(configs.bAutoTriggerLevel));
    if (!configs.bAutoTriggerLevel) {
        send(sending, C_TRIGGER_LEVEL, number(configs.trigLevelVal));
    }
    // Like the source, sent every time (docs/compatibility.md: texts-always-sent).
    send(sending, C_TRIGGER_SLOPE, text(configs.trigSlope == 1 ? "POS" : "NEG"));
    send(sending, C_TRIGGER_DELAY, number(configs.trigDelayVal));
}

void sendStates(Sending* sending, const SENSOR_CONFIGS& configs) {
    for (uint32_t state = 0; state < pulseStateCount; ++state) {
        const PULSE_STATE_INTVL& interval = configs.pulseStates[state];
        if (interval.bEnabled) {
            send(sending, C_CALCULATE_STATE1_BEGIN, number(interval.begin), state);
            send(sending, C_CALCULATE_STATE1_END, number(interval.end), state);
        }
        send(sending, C_CALCULATE_STATE1_EN, integer(interval.bEnabled), state);
    }
}

void sendGates(Sending* sending, const SENSOR_CONFIGS& configs) {
    if (configs.bSupportsTriggeredGates && configs.bModelIsTriggeredGates) {
        sendStates(sending, configs);
        return;
    }
    send(sending, C_CALC_GATE_BEGIN_DELAY, number(configs.gateBegin));
    send(sending, C_CALC_GATE_END_DELAY, number(configs.gateEnd));
}

void sendAll(Sending* sending, const SENSOR_CONFIGS& configs) {
    sendFrequency(sending, configs);
    // The three capability flags are set together.
    if (configs.bSupportsAutoTiggerLevel) {
        sendPeriod(sending, configs);
        sendTrigger(sending, configs);
    }
    sendGates(sending, configs);
}

/// A configuration that waits is taken for sending: copied and unmarked together, so that a change
/// made while it is being sent waits again. False when none waits.
bool takeForSending(USB_HANDLER_DATA_STRUCT* handler, SENSOR_CONFIGS* configs) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    if (!handler->newConfig) {
        return false;
    }
    *configs = handler->sensorConfigs;
    handler->newConfig = false;
    handler->sendingNumber = handler->requestNumber;
    return true;
}

/// A configuration that got stuck waits again.
void putBack(USB_HANDLER_DATA_STRUCT* handler) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->newConfig = true;
    handler->sendingNumber = handler->completedNumber;
}

void storeErrors(USB_HANDLER_DATA_STRUCT* handler, const USBTMC_PARAM_ERRORS& errors) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->usbtmc_Errors = errors;
}

/// Queries of the configuration, each with its message. After a failure nothing more is asked.
struct Reading {
    USB_HANDLER_DATA_STRUCT* handler;
    bool isAlive;
};

/// The answer, if there is one. A reply of exactly one byte counts as failed: the sensors always
/// end theirs with a line end (docs/compatibility.md: one-byte-fails). A question that the sensor
/// leaves unanswered fails nothing: it is configured all the same.
std::optional<qry_type> ask(Reading* reading, sensor_qry_e query, const char* words) {
    if (!reading->isAlive) {
        return std::nullopt;
    }
    USB_PORT_DATA_STRUCT& port = reading->handler->usbPort;
    qry_type reply{};
    const ssize_t count = handleQuery(port.fd, port.rxBuffer, query, &reply);
    if (count == 1) {
        USER_ERROR("USB sensor %d %s query failed\n", channelOf(reading->handler), words);
        reading->isAlive = false;
        return std::nullopt;
    }
    if (count <= 0) {
        logManager_printToLog(SensorCommunications, "USB sensor %d %s query was not answered\n",
                              channelOf(reading->handler), words);
        return std::nullopt;
    }
    return reply;
}

/// Without an answer the flag stays as it was.
void askFlag(Reading* reading, sensor_qry_e query, const char* words, bool was, bool* flag) {
    const std::optional<qry_type> reply = ask(reading, query, words);
    *flag = reply ? reply->ival != 0 : was;
}

/// Without an answer the value stays as it was. `unit` is that of the reply.
void askValue(Reading* reading, sensor_qry_e query, const char* words, float was, float* value,
              float unit = 1.0F) {
    const std::optional<qry_type> reply = ask(reading, query, words);
    *value = reply ? reply->fval * unit : was;
}

float askPeriod(Reading* reading) {
    qry_type reply{};
    USB_PORT_DATA_STRUCT& port = reading->handler->usbPort;
    if (reading->isAlive && handleQueryWithStatus(port.fd, port.rxBuffer, Q_SENSE_PERIOD, &reply) ==
                                usbtmc_transportError) {
        USER_ERROR("USB sensor %d period query failed\n", channelOf(reading->handler));
        reading->isAlive = false;
    }
    return reply.fval;
}

/// The state queries' messages count the states from 0.
void readState(Reading* reading, uint32_t state, const PULSE_STATE_INTVL& was,
               PULSE_STATE_INTVL* interval) {
    std::array<char, 32> words{};
    const auto named = [&words, state](const char* what) {
        snprintf(words.data(), words.size(), "state %u %s", state, what);
        return words.data();
    };
    askFlag(reading, UsbTmcCommands_queryOfState(Q_CALCULATE_STATE1_EN, state), named("enable"),
            was.bEnabled, &interval->bEnabled);
    askValue(reading, UsbTmcCommands_queryOfState(Q_CALCULATE_STATE1_BEGIN, state), named("begin"),
             was.begin, &interval->begin);
    askValue(reading, UsbTmcCommands_queryOfState(Q_CALCULATE_STATE1_END, state), named("end"),
             was.end, &interval->end);
}

void readTrigger(Reading* reading, const SENSOR_CONFIGS& was, SENSOR_CONFIGS* configs) {
    askFlag(reading, Q_TRIGGER_LEVEL_AUTO, "trigger level auto", was.bAutoTriggerLevel,
            &configs->bAutoTriggerLevel);
    askValue(reading, Q_TRIGGER_LEVEL, "trigger level", was.trigLevelVal, &configs->trigLevelVal);
    askValue(reading, Q_TRIGGER_DELAY, "trigger delay", was.trigDelayVal, &configs->trigDelayVal);
}

/// What is not asked for is 0 in the record: the trigger's slope, the kind of the gates, the number
/// of states and the gate's times (docs/compatibility.md: read-forgets-gate).
void readAll(Reading* reading, const SENSOR_CONFIGS& was, SENSOR_CONFIGS* configs) {
    SensorConfigs_takeCapabilities(configs, was);
    if (configs->bSupportsAutoPeriod) {
        askFlag(reading, Q_SENSE_PERIOD_AUTO, "period auto", was.bAutoPeriod,
                &configs->bAutoPeriod);
        configs->prdVal = askPeriod(reading);
    }
    askFlag(reading, Q_SENSE_FREQUENCY_AUTO, "frequency auto", was.bAutoFrequency,
            &configs->bAutoFrequency);
    askValue(reading, Q_SENSE_FREQUENCY, "frequency", was.freqVal, &configs->freqVal, hzPerMHz);
    if (configs->bSupportsAutoTiggerLevel) {
        readTrigger(reading, was, configs);
    }
    if (configs->bSupportsTriggeredGates) {
        for (uint32_t state = 0; state < pulseStateCount; ++state) {
            readState(reading, state, was.pulseStates[state], &configs->pulseStates[state]);
        }
    }
}

USB_HANDLER_DATA_STRUCT* handlerOf(uint32_t channel) {
    return SensorPort_isUsb(channel) ? &sensorUsbHandlerData[channel - sensorPort_USB1] : nullptr;
}

bool isGivenUp(const SensorConfigsWait* wait) {
    return wait != nullptr &&
           (wait->isCancelled || (wait->isOver != nullptr && wait->isOver(wait->context)));
}

/// Until something has been sent or has ended, or the caller is to be asked again. Config mutex
/// held.
void waitForNews(USB_HANDLER_DATA_STRUCT* handler, pthread_mutex_t* mutex,
                 const SensorConfigsWait* wait) {
    if (wait == nullptr || wait->isOver == nullptr) {
        pthread_cond_wait(&handler->usbtmcConfigureComplete, mutex);
        return;
    }
    const timespec deadline = Thread_deadline(waitingPeriod_ms);
    pthread_cond_clockwait(&handler->usbtmcConfigureComplete, mutex, CLOCK_MONOTONIC, &deadline);
}

/// Waits for the end of one request's sending; false when the sensor has gone, or the caller does
/// not want to wait any more. Config mutex held.
bool waitForRequest(USB_HANDLER_DATA_STRUCT* handler, uint32_t request, pthread_mutex_t* mutex,
                    const SensorConfigsWait* wait) {
    // Numbers wrap; the signed distance tells which of two is the later one.
    const auto isPending = [handler, request] {
        return static_cast<int32_t>(handler->completedNumber - request) < 0;
    };
    const uint32_t connection = handler->endedConnections;
    while (handler->endedConnections == connection && isPending() && !isGivenUp(wait)) {
        waitForNews(handler, mutex, wait);
    }
    return handler->endedConnections == connection && !isPending();
}

} // namespace

USBTMC_PARAM_ERRORS sensorPortHandler_setSensorConfigs(const SENSOR_CONFIGS& config,
                                                       uint32_t channel, SensorConfigsWait* wait) {
    USB_HANDLER_DATA_STRUCT* handler = handlerOf(channel);
    if (handler == nullptr) {
        return {};
    }
    const USBTMC_PARAM_ERRORS gone = {0, {}, true};
    const ScopedLock lock(sensorPortConfigMutex[channel]);
    if (!handler->isServing || isGivenUp(wait)) {
        return gone;
    }
    SENSOR_CONFIGS wanted = config;
    SensorConfigs_takeCapabilities(&wanted, handler->sensorConfigs);
    handler->sensorConfigs = wanted;
    handler->newConfig = true;
    const uint32_t request = ++handler->requestNumber;
    if (!waitForRequest(handler, request, &sensorPortConfigMutex[channel], wait)) {
        return gone;
    }
    return handler->usbtmc_Errors;
}

void sensorPortHandler_cancelSensorConfigs(uint32_t channel, SensorConfigsWait* wait) {
    USB_HANDLER_DATA_STRUCT* handler = handlerOf(channel);
    if (handler == nullptr) {
        return;
    }
    const ScopedLock lock(sensorPortConfigMutex[channel]);
    wait->isCancelled = true;
    pthread_cond_broadcast(&handler->usbtmcConfigureComplete);
}

void sensorPortHandler_resendSensorConfig(uint32_t channel) {
    USB_HANDLER_DATA_STRUCT* handler = handlerOf(channel);
    if (handler == nullptr) {
        return;
    }
    const ScopedLock lock(sensorPortConfigMutex[channel]);
    if (handler->usbPort.portState == sensorPortConnected) {
        handler->newConfig = true;
    }
}

void usbtmcClearErrors(USBTMC_PARAM_ERRORS* errors) {
    *errors = {};
}

void usbtmcAddError(USBTMC_PARAM_ERRORS* errors, const char* errorText) {
    constexpr int most = 5;
    if (errors->count < most) {
        constexpr int longest = sizeof errors->errors[0] - 1;
        snprintf(errors->errors[errors->count], sizeof errors->errors[0], "%.*s", longest,
                 errorText);
        ++errors->count;
    }
}

bool sensorPortHandler_sendConfigToSensor(USB_HANDLER_DATA_STRUCT* handler) {
    SENSOR_CONFIGS configs;
    if (!takeForSending(handler, &configs)) {
        return true;
    }
    USBTMC_PARAM_ERRORS errors{};
    Sending sending = {handler, &errors, true};
    sendAll(&sending, configs);
    storeErrors(handler, errors);
    if (!sending.isAlive) {
        putBack(handler);
    }
    return sending.isAlive;
}

bool UsbSensorConfig_sendCw(USB_HANDLER_DATA_STRUCT* handler) {
    USBTMC_PARAM_ERRORS errors{};
    Sending sending = {handler, &errors, true};
    if (UsbSensorRecord_copyConfigs(handler).bSupportsAutoPeriod) {
        const std::array<cmd_type, cwRows.size()> values = {integer(false), integer(false),
                                                            number(cwPeriod_s), number(cwPeriod_s)};
        for (size_t row = 0; row < cwRows.size(); ++row) {
            sendRow(&sending, cwRows[row], values[row]);
        }
    }
    storeErrors(handler, errors);
    return sending.isAlive;
}

bool sensorPortHandler_readSensorConfig(USB_HANDLER_DATA_STRUCT* handler) {
    const uint32_t port = sensorUsbHandler_port(handler);
    SENSOR_CONFIGS configs{};
    Reading reading = {handler, true};
    readAll(&reading, UsbSensorRecord_copyConfigs(handler), &configs);
    const ScopedLock lock(sensorPortConfigMutex[port]);
    const bool isRequestWaiting = handler->requestNumber != handler->sendingNumber;
    if (reading.isAlive && !isRequestWaiting) {
        handler->sensorConfigs = configs;
        handler->newConfig = false;
    }
    return reading.isAlive;
}

void UsbSensorConfig_logErrors(const USB_HANDLER_DATA_STRUCT* handler) {
    const USBTMC_PARAM_ERRORS& errors = handler->usbtmc_Errors;
    for (int index = 0; index < errors.count; ++index) {
        USER_ERROR("SCPIErrors: channel %d, error[%d] = %s.\n", channelOf(handler), index,
                   errors.errors[index]);
    }
}

void UsbSensorConfig_complete(USB_HANDLER_DATA_STRUCT* handler) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->completedNumber = handler->sendingNumber;
    pthread_cond_broadcast(&handler->usbtmcConfigureComplete);
}

void UsbSensorConfig_setServing(USB_HANDLER_DATA_STRUCT* handler, bool isServing) {
    const ScopedLock lock(sensorPortConfigMutex[sensorUsbHandler_port(handler)]);
    handler->isServing = isServing;
    // What was asked of a sensor that has gone is not sent to the next one.
    handler->newConfig = false;
    handler->sendingNumber = handler->requestNumber;
    handler->completedNumber = handler->requestNumber;
    handler->usbtmc_Errors = {};
    handler->endedConnections += isServing ? 0U : 1U;
    pthread_cond_broadcast(&handler->usbtmcConfigureComplete);
}
