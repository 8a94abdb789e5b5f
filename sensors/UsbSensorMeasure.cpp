#include "UsbSensorMeasure.h"

#include "CSimpleTimer.h"
#include "Numbers.h"
#include "SensorPortSignals.h"
#include "SensorRecords.h"
#include "Threads.h"

#include <optional>

namespace {

constexpr float microsecondsPerSecond = 1e6F;
constexpr int errorQueueBit = 4;
constexpr int questionableBit = 8;
constexpr int pulseInvalidBit = 0x200; ///< of the questionable register: no pulse was found

using Handler = USB_HANDLER_DATA_STRUCT;

template <typename Value>
void store(Handler* handler, Value SENSOR_MEASUREMENTS::*field, Value value) {
    const ScopedLock lock(sensorPortMeasureMutex[sensorUsbHandler_port(handler)]);
    handler->sensorMeasurements.*field = value;
}

/// How a reply becomes a reading: value x factor / divisor.
struct Scale {
    float factor;
    float divisor;
};
constexpr Scale plain = {1.0F, 1.0F};
constexpr Scale fromMHz = {hzPerMHz, 1.0F};
constexpr Scale fromMicroseconds = {1.0F, microsecondsPerSecond};

/// Fetches one value; nothing when no reply arrives. A sensor that is given up is not asked: a
/// reading has many questions, and each would wait for its time-out.
std::optional<float> fetch(Handler* handler, sensor_qry_e query) {
    qry_type reply;
    if (UsbTmcPort_isGivenUp() ||
        handleQuery(handler->usbPort.fd, handler->usbPort.rxBuffer, query, &reply) <= 0) {
        return std::nullopt;
    }
    return sensor_qry_param[query].reply == reply_integer ? static_cast<float>(reply.ival)
                                                          : reply.fval;
}

bool fetchInto(Handler* handler, sensor_qry_e query, float SENSOR_MEASUREMENTS::*field,
               const Scale& scale = plain) {
    const std::optional<float> value = fetch(handler, query);
    if (!value) {
        return false;
    }
    store(handler, field, *value * scale.factor / scale.divisor);
    SensorPortSignals_breakSilence(sensorUsbHandler_port(handler));
    return true;
}

void signalIfNew(Handler* handler) {
    if (newMeasurementIsAvailable[sensorUsbHandler_port(handler)]) {
        SensorPortSignals_tellOfReading();
    }
}

/// Stores the status byte; false when the sensor does not tell it.
bool readStatusByte(Handler* handler, int* statusByte) {
    USB_PORT_DATA_STRUCT& port = handler->usbPort;
    if (handleReadStatusByteQuery(port.fd, port.rxBuffer) <= 0) {
        return false;
    }
    *statusByte = Numbers_toInt(port.rxBuffer);
    store(handler, &SENSOR_MEASUREMENTS::statusByte, *statusByte);
    return true;
}

/// Follows the status byte's summary bits. Without the questionable one, nothing is questionable.
void readStatusDetails(Handler* handler, int statusByte) {
    USB_PORT_DATA_STRUCT& port = handler->usbPort;
    if ((statusByte & errorQueueBit) != 0) {
        store(handler, &SENSOR_MEASUREMENTS::systemError, clearSysErrCount(port.fd, port.rxBuffer));
    }
    if ((statusByte & questionableBit) == 0) {
        store(handler, &SENSOR_MEASUREMENTS::questionable, 0);
    } else if (handleQuestionableEventQuery(port.fd, port.rxBuffer) > 0) {
        store(handler, &SENSOR_MEASUREMENTS::questionable, Numbers_toInt(port.rxBuffer));
    }
}

/// The sensor cannot tell the pulse: its values are blanked for this cycle.
void zeroPulseValues(Handler* handler, bool hasStates) {
    const ScopedLock lock(sensorPortMeasureMutex[sensorUsbHandler_port(handler)]);
    SENSOR_MEASUREMENTS& measurements = handler->sensorMeasurements;
    for (float SENSOR_MEASUREMENTS::*field :
         {&SENSOR_MEASUREMENTS::prdVal, &SENSOR_MEASUREMENTS::prfVal,
          &SENSOR_MEASUREMENTS::widthVal, &SENSOR_MEASUREMENTS::dutyCycleVal,
          &SENSOR_MEASUREMENTS::gateMean, &SENSOR_MEASUREMENTS::gateMax,
          &SENSOR_MEASUREMENTS::gateMin}) {
        measurements.*field = 0.0F;
    }
    for (uint32_t state = 0; hasStates && state < pulseStateCount; ++state) {
        measurements.pulseStates[state] = {};
    }
}

void fetchState(Handler* handler, uint32_t state) {
    struct StateValue {
        sensor_qry_e query; ///< of the first state
        float PULSE_STATES::*field;
    };
    constexpr StateValue values[] = {{Q_FETCH_STATE1_MEAN, &PULSE_STATES::mean},
                                     {Q_FETCH_STATE1_MAX, &PULSE_STATES::max},
                                     {Q_FETCH_STATE1_MIN, &PULSE_STATES::min}};
    for (const StateValue& one : values) {
        const std::optional<float> value =
            fetch(handler, UsbTmcCommands_queryOfState(one.query, state));
        if (value) {
            const ScopedLock lock(sensorPortMeasureMutex[sensorUsbHandler_port(handler)]);
            handler->sensorMeasurements.pulseStates[state].*one.field = *value;
            SensorPortSignals_breakSilence(sensorUsbHandler_port(handler));
        }
    }
}

void fetchStates(Handler* handler) {
    for (uint32_t state = 0; state < pulseStateCount; ++state) {
        const std::optional<float> isEnabled =
            fetch(handler, UsbTmcCommands_queryOfState(Q_CALCULATE_STATE1_EN, state));
        if (isEnabled && *isEnabled != 0.0F) {
            fetchState(handler, state);
        }
    }
}

void fetchGate(Handler* handler) {
    fetchInto(handler, Q_FETCH_GATE_MEAN, &SENSOR_MEASUREMENTS::gateMean);
    fetchInto(handler, Q_FETCH_GATE_MAX, &SENSOR_MEASUREMENTS::gateMax);
    fetchInto(handler, Q_FETCH_GATE_MIN, &SENSOR_MEASUREMENTS::gateMin);
}

void fetchPulse(Handler* handler) {
    fetchInto(handler, Q_FETCH_PERIOD, &SENSOR_MEASUREMENTS::prdVal, fromMicroseconds);
    fetchInto(handler, Q_FETCH_PRF, &SENSOR_MEASUREMENTS::prfVal);
    fetchInto(handler, Q_FETCH_WIDTH, &SENSOR_MEASUREMENTS::widthVal, fromMicroseconds);
    fetchInto(handler, Q_FETCH_DUTY_CYCLE, &SENSOR_MEASUREMENTS::dutyCycleVal);
}

} // namespace

sensorUsbCommState UsbSensorMeasure_init(Handler* handler) {
    USB_PORT_DATA_STRUCT& port = handler->usbPort;
    newMeasurementIsAvailable[sensorUsbHandler_port(handler)] = false;
    SensorPortSignals_beginReading(sensorUsbHandler_port(handler));
    handler->start_time_ms = getTime_ms();
    const int result = handleInitCmd(port.fd, port.rxBuffer);
    if (result <= 0) {
        port.initTimeout = port.initTimeout || result == 0;
        return stateUsbStart;
    }
    port.initTimeout = false;
    int statusByte = 0;
    if (!readStatusByte(handler, &statusByte)) {
        port.initTimeout = true;
        return stateUsbStart;
    }
    readStatusDetails(handler, statusByte);
    return stateUsbCwMeasure;
}

sensorUsbCommState UsbSensorMeasure_cw(Handler* handler) {
    const uint32_t port = sensorUsbHandler_port(handler);
    if (fetchInto(handler, Q_FETCH_FORWARD_AVERAGE, &SENSOR_MEASUREMENTS::fwdPwrVal)) {
        newMeasurementIsAvailable[port] = true;
    }
    fetchInto(handler, Q_FETCH_REFLECTED_AVERAGE, &SENSOR_MEASUREMENTS::rflPwrVal);
    fetchInto(handler, Q_FETCH_FREQUENCY, &SENSOR_MEASUREMENTS::freqVal, fromMHz);
    // The temperature alone decides how it goes on: a sensor that has left one of the other
    // questions unanswered is not reset for it (docs/compatibility.md: temperature-decides).
    const bool isRead =
        fetchInto(handler, Q_FETCH_TEMPERATURE, &SENSOR_MEASUREMENTS::temperatureVal);
    SensorPortSignals_countReading(port, newMeasurementIsAvailable[port]);
    if (!handler->sensorPulseModeEnabled) {
        signalIfNew(handler);
    }
    handler->measCycle_time_ms =
        SensorRecords_endCycle(port, handler->start_time_ms, &handler->finish_time_ms);
    return isRead ? stateUsbPulseMeasure : stateUsbStart;
}

sensorUsbCommState UsbSensorMeasure_pulse(Handler* handler) {
    const SENSOR_CONFIGS configs = UsbSensorRecord_copyConfigs(handler);
    if ((handler->sensorMeasurements.questionable & pulseInvalidBit) != 0) {
        zeroPulseValues(handler, configs.bSupportsTriggeredGates);
    } else {
        // A value that cannot be fetched keeps its old reading, and the step ends all the same
        // (docs/compatibility.md: failed-pulse-query).
        fetchPulse(handler);
        if (configs.bSupportsTriggeredGates && configs.bModelIsTriggeredGates) {
            fetchStates(handler);
        } else {
            fetchGate(handler);
        }
    }
    signalIfNew(handler);
    return stateUsbIdle;
}
