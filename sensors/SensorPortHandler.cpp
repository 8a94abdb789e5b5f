#include "SensorPortHandler.h"

#include "Process.h"
#include "SerialPort.h"
#include "SerialSensorHandler.h"
#include "Threads.h"
#include "message.h"

#include <array>
#include <cstdio>

namespace {

/// Where a port's handler keeps what others copy.
struct PortRecords {
    SENSOR_STATUS* status;
    SENSOR_MEASUREMENTS* measurements;
    SENSOR_IDENTITY* identity;
    char* serialNumber; ///< sensorSerialNumberSize characters
};

PortRecords recordsOf(SERIAL_HANDLER_DATA_STRUCT& handler) {
    return {&handler.sensorStatus, &handler.sensorMeasurements, &handler.sensorIdentity,
            handler.serialNumber};
}

/// The records of a port; all null for a port without a handler.
PortRecords recordsOfPort(uint32_t port) {
    return port < serialSensorCount ? recordsOf(sensorSerialHandlerData[port]) : PortRecords{};
}

void* runSerialHandler(void* handler) {
    sensorSerialHandlerThread(static_cast<SERIAL_HANDLER_DATA_STRUCT*>(handler));
    return nullptr;
}

void createSerialHandler(uint32_t index) {
    struct SerialPortNames {
        const char* device;
        const char* thread;
    };
    constexpr std::array<SerialPortNames, serialSensorCount> names = {
        {{serialPort1Name, "sensorSerial1"}, {serialPort2Name, "sensorSerial2"}}};
    SERIAL_HANDLER_DATA_STRUCT* handler = &sensorSerialHandlerData[index];
    sensorSerialHandler_initSensorData(handler, names[index].device);
    const int error =
        Thread_startJoinable(&handler->thread_id, names[index].thread, runSerialHandler, handler);
    if (error != 0) {
        DIAGNOSTIC("Fail...Cannot spawn the sensorSerialHandlerThread.\n");
        Process_leave(processStatusFatal);
    }
    pthread_detach(handler->thread_id);
}

float powerLimit(uint32_t port, float PULSE_RANGES::*limit) {
    const PortRecords records = recordsOfPort(port);
    if (records.identity == nullptr) {
        return 0.0F;
    }
    const ScopedLock lock(sensorPortInfoMutex[port]);
    return records.identity->sensorPower.*limit;
}

} // namespace

void sensorPortHandler_createAll() {
    for (uint32_t index = 0; index < serialSensorCount; ++index) {
        createSerialHandler(index);
    }
}

SENSOR_STATUS sensorPortHandler_getSensorStatus(uint32_t port) {
    const PortRecords records = recordsOfPort(port);
    if (records.status == nullptr || !sensorPort_isServed(port)) {
        return {};
    }
    const ScopedLock lock(sensorPortInfoMutex[port]);
    return *records.status;
}

SENSOR_MEASUREMENTS sensorPortHandler_getSensorMeasurements(uint32_t port) {
    const PortRecords records = recordsOfPort(port);
    if (records.measurements == nullptr) {
        return sensorMeasurements_none();
    }
    const ScopedLock lock(sensorPortMeasureMutex[port]);
    return *records.measurements;
}

float sensorPortHandler_getSensorMaxPower(uint32_t port) {
    return powerLimit(port, &PULSE_RANGES::max);
}

float sensorPortHandler_getSensorMinPower(uint32_t port) {
    return powerLimit(port, &PULSE_RANGES::min);
}

void sensorPortHandler_getSensorInformation(uint32_t port, SENSOR_IDENTITY* identity,
                                            char* serialNumber, size_t serialSize) {
    *identity = {};
    if (serialSize > 0) {
        serialNumber[0] = '\0';
    }
    const PortRecords records = recordsOfPort(port);
    if (records.identity == nullptr) {
        return;
    }
    const ScopedLock lock(sensorPortInfoMutex[port]);
    *identity = *records.identity;
    snprintf(serialNumber, serialSize, "%s", records.serialNumber);
}

void sensorPortHandler_getSensorConfigs(SENSOR_CONFIGS* configs, uint32_t /*port*/) {
    *configs = {};
}

void sensorPortHandler_setMeasurementsToDefault(SENSOR_MEASUREMENTS* measurements) {
    *measurements = sensorMeasurements_none();
}

void SensorPortHandler_setSimulatedMeasurements(uint32_t channel, float fwd_W, float rfl_W,
                                                float freq_Hz, float temperature_C, float battery) {
    if (channel >= serialSensorCount) {
        return;
    }
    SERIAL_HANDLER_DATA_STRUCT& handler = sensorSerialHandlerData[channel];
    {
        const ScopedLock lock(sensorPortInfoMutex[channel]);
        snprintf(handler.serialNumber, sizeof handler.serialNumber, "200201170");
        snprintf(handler.sensorIdentity.sensorModel, sizeof handler.sensorIdentity.sensorModel,
                 "5134");
    }
    const ScopedLock lock(sensorPortMeasureMutex[channel]);
    SENSOR_MEASUREMENTS& measurements = handler.sensorMeasurements;
    measurements.fwdPwrVal = fwd_W;
    measurements.rflPwrVal = rfl_W;
    measurements.freqVal = freq_Hz;
    measurements.temperatureVal = temperature_C;
    measurements.batteryVal = battery;
}
