#include "SensorChanges.h"

#include "CSensorDisplayFSM.h"
#include "SensorHandOff.h"
#include "SensorManager.h"

#include <array>

namespace {

/// Order in which ports are told to the displays.
constexpr std::array<uint32_t, sensorPortCount> portOrder = {
    sensorPort_USB1, sensorPort_USB2, sensorPort_Serial1, sensorPort_Serial2};

bool isIn(uint32_t portBits, uint32_t port) {
    return (portBits & SensorPort_bit(port)) != 0;
}

/// True when a port is shown on another display than its channel's.
bool isMisplaced(uint32_t port) {
    const uint32_t channel = SensorInstance_GetLogicalChannel(port);
    for (uint32_t display = UpperDisplay; display < NumberOfDisplays; ++display) {
        if (sensorFSM[display].port == port) {
            return channel != sensorLogicalNoChannel && channel != display;
        }
    }
    return false;
}

/// A replaced sensor may have been given the other channel: it moves there.
void moveMisplacedSensors() {
    uint32_t moved = 0;
    for (const uint32_t port : portOrder) {
        if (isMisplaced(port)) {
            moved |= SensorPort_bit(port);
            CSensorDisplayFSM_disconnect(port);
        }
    }
    for (const uint32_t port : portOrder) {
        if (isIn(moved, port)) {
            CSensorDisplayFSM_connect(port);
        }
    }
}

} // namespace

void SensorChanges_handle() {
    CONNECTED_SENSORS record{};
    const bool isChanged = SensorHandOff_take(&record);
    const uint32_t removed = record.detectedSensorsChanged & ~record.detectedSensors;
    const uint32_t added = record.detectedSensorsChanged & record.detectedSensors;
    for (const uint32_t port : portOrder) {
        if (isIn(removed, port)) {
            CSensorDisplayFSM_disconnect(port);
        }
    }
    if (isChanged || SensorManager_isChannelMissing()) {
        SensorManager_UpdateLogicalChannel();
        moveMisplacedSensors();
    }
    for (const uint32_t port : portOrder) {
        if (isIn(added, port)) {
            CSensorDisplayFSM_connect(port);
        }
    }
}
