#include "SensorDetect.h"

#include "SensorManager.h"
#include "SensorPolling.h"

#include <bit>

CONNECTED_SENSORS SensorDetect_getConnectedSensors(const CONNECTED_SENSORS& previous) {
    CONNECTED_SENSORS record{};
    for (const uint32_t port : {sensorPort_Serial1, sensorPort_Serial2}) {
        if (pollI2CCurrentMonitor(port)) {
            record.detectedSensors |= SensorPort_bit(port);
        }
    }
    pollUsbTmcMonitor(&record);
    record.detectedSensorsChanged = previous.detectedSensors ^ record.detectedSensors;
    SensorManager_UpdatePhysicalSensors(&record);
    return record;
}

uint32_t SensorDetect_getConnectedCount(const CONNECTED_SENSORS& record) {
    constexpr uint32_t allPorts =
        sensorPortBit_Serial1 | sensorPortBit_Serial2 | sensorPortBit_USB1 | sensorPortBit_USB2;
    return static_cast<uint32_t>(std::popcount(record.detectedSensors & allPorts));
}
