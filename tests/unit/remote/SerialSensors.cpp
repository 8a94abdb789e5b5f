#include "SerialSensors.h"

#include "SensorDisplays.h"
#include "SensorPortHandler.h"
#include "SerialSensorHandler.h"
#include "Threads.h"

namespace {

constexpr float highLimit_W = 1.0e9F;
constexpr float frequency_Hz = 1.0e6F;
constexpr float temperature_C = 25.0F;

} // namespace

void SerialSensors_reset() {
    for (SensorDisplayInstance& display : sensorDisplays) {
        display.sensorPort = sensorPort_None;
    }
    for (uint32_t port = 0; port < 2; ++port) {
        sensorPortHandler_setIsConnected(port, false);
        SerialSensors_setLimits(port, 0.0F, highLimit_W);
    }
}

void SerialSensors_show(uint32_t display, uint32_t port) {
    sensorDisplays[display].sensorPort = port;
    sensorPortHandler_setIsConnected(port, true);
}

void SerialSensors_setLimits(uint32_t port, float minPower_W, float maxPower_W) {
    const ScopedLock lock(sensorPortInfoMutex[port]);
    sensorSerialHandlerData[port].sensorIdentity.sensorPower = {minPower_W, maxPower_W};
}

void SerialSensors_store(uint32_t port, float forward_W, float reflected_W) {
    SensorPortHandler_setSimulatedMeasurements(port, forward_W, reflected_W, frequency_Hz,
                                               temperature_C, 0.0F);
}

void SerialSensors_measure(uint32_t port, float forward_W, float reflected_W) {
    SensorPortSignals_beginReading(port);
    SerialSensors_store(port, forward_W, reflected_W);
    SensorPortSignals_countReading(port, true);
    SensorPortSignals_tellOfReading();
}
