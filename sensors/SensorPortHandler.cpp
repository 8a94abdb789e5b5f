#include "SensorPortHandler.h"

#include "Process.h"
#include "SensorRecords.h"
#include "SerialPort.h"
#include "SerialSensorHandler.h"
#include "Threads.h"
#include "UsbSensorHandler.h"
#include "message.h"

#include <array>
#include <cstdio>

namespace {

/// The records of a port; all null for a port without a handler.
SensorRecords recordsOfPort(uint32_t port) {
    if (port < serialSensorCount) {
        return SensorRecords_of(port, &sensorSerialHandlerData[port]);
    }
    return SensorPort_isUsb(port)
               ? SensorRecords_of(port, &sensorUsbHandlerData[port - sensorPort_USB1])
               : SensorRecords{};
}

void* runSerialHandler(void* handler) {
    sensorSerialHandlerThread(static_cast<SERIAL_HANDLER_DATA_STRUCT*>(handler));
    return nullptr;
}

void* runUsbHandler(void* handler) {
    sensorUsbHandlerThread(static_cast<USB_HANDLER_DATA_STRUCT*>(handler));
    return nullptr;
}

/// What differs from port to port when its handler is created.
struct HandlerNames {
    const char* device;
    const char* thread;
};

constexpr std::array<HandlerNames, serialSensorCount> serialNames = {
    {{serialPort1Name, "sensorSerial1"}, {serialPort2Name, "sensorSerial2"}}};
constexpr std::array<HandlerNames, usbSensorCount> usbNames = {
    {{usbPort1Name, "sensorUsb1"}, {usbPort2Name, "sensorUsb2"}}};

void startHandler(pthread_t* thread, const char* name, void* (*run)(void*), void* handler) {
    if (Thread_startJoinable(thread, name, run, handler) != 0) {
        DIAGNOSTIC("Fail...Cannot spawn the %s thread.\n", name);
        Process_leave(processStatusFatal);
    }
    pthread_detach(*thread);
}

float powerLimit(uint32_t port, float PULSE_RANGES::*limit) {
    const SensorRecords records = recordsOfPort(port);
    if (records.identity == nullptr) {
        return 0.0F;
    }
    const ScopedLock lock(sensorPortInfoMutex[port]);
    return records.identity->sensorPower.*limit;
}

} // namespace

void sensorPortHandler_createAll() {
    for (uint32_t index = 0; index < serialSensorCount; ++index) {
        SERIAL_HANDLER_DATA_STRUCT& handler = sensorSerialHandlerData[index];
        sensorSerialHandler_initSensorData(&handler, serialNames[index].device);
        startHandler(&handler.thread_id, serialNames[index].thread, runSerialHandler, &handler);
    }
    for (uint32_t index = 0; index < usbSensorCount; ++index) {
        USB_HANDLER_DATA_STRUCT& handler = sensorUsbHandlerData[index];
        sensorUsbHandler_initSensorData(&handler, usbNames[index].device);
        startHandler(&handler.thread_id, usbNames[index].thread, runUsbHandler, &handler);
    }
}

SENSOR_STATUS sensorPortHandler_getSensorStatus(uint32_t port) {
    const SensorRecords records = recordsOfPort(port);
    if (records.status == nullptr || !SensorPortSignals_isServed(port)) {
        return {};
    }
    const ScopedLock lock(sensorPortInfoMutex[port]);
    return *records.status;
}

SENSOR_MEASUREMENTS sensorPortHandler_getSensorMeasurements(uint32_t port) {
    const SensorRecords records = recordsOfPort(port);
    if (records.measurements == nullptr) {
        return SensorMeasurements_none();
    }
    const ScopedLock lock(sensorPortMeasureMutex[port]);
    return *records.measurements;
}

SensorSilence sensorPortHandler_getSilence(uint32_t port) {
    return SensorPortSignals_silence(port);
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
    const SensorRecords records = recordsOfPort(port);
    if (records.identity == nullptr) {
        return;
    }
    const ScopedLock lock(sensorPortInfoMutex[port]);
    *identity = *records.identity;
    snprintf(serialNumber, serialSize, "%s", records.serialNumber);
}

void sensorPortHandler_getSensorConfigs(SENSOR_CONFIGS* configs, uint32_t port) {
    *configs = {};
    if (SensorPort_isUsb(port)) {
        const ScopedLock lock(sensorPortConfigMutex[port]);
        *configs = sensorUsbHandlerData[port - sensorPort_USB1].sensorConfigs;
    }
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
    SensorPortSignals_breakSilence(channel);
}
