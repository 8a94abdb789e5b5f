#include "CSensorDisplayNames.h"

#include "SensorDisplayState.h"
#include "SensorTypes.h"

#include <array>
#include <span>

namespace {

constexpr std::array<const char*, sensorDisplayEventCount> eventNames = {
    "evSensorDetected", "evSensorDisconnect", "evSensorReady",
    "evSensorError",    "evSetPulse",         "evSetCW",
    "evShowGraph",      "evHideGraph",        "evUpdateMeasurements",
    "evUseFullDisplay", "evUseHalfDisplay",   "evActivate",
    "evDeactivate"};
constexpr std::array<const char*, 4> stateNames = {"NotConnected", "Connecting", "SensorError",
                                                   "Measuring"};
constexpr std::array<const char*, 2> typeSubStateNames = {"Pulse", "CW"};
constexpr std::array<const char*, 2> graphSubStateNames = {"ShowGraph", "HideGraph"};
constexpr std::array<const char*, 2> countSubStateNames = {"SingleSensor", "DualSensors"};
constexpr std::array<const char*, sensorPortCount> portNames = {"Serial1", "Serial2", "USB1",
                                                                "USB2"};

const char* nameOf(std::span<const char* const> names, uint32_t value, const char* otherwise) {
    return value < names.size() ? names[value] : otherwise;
}

} // namespace

const char* CSensorDisplayFSM_getEventName(uint32_t event) {
    return nameOf(eventNames, event, "Unknown event");
}

const char* CSensorDisplayFSM_getStateName(uint32_t state) {
    return nameOf(stateNames, state, "Unknown state");
}

const char* CSensorDisplayFSM_getTypeSubStateName(uint32_t subState) {
    return nameOf(typeSubStateNames, subState, "Unknown substate");
}

const char* CSensorDisplayFSM_getGraphSubStateName(uint32_t subState) {
    return nameOf(graphSubStateNames, subState, "Unknown substate");
}

const char* CSensorDisplayFSM_getCountSubStateName(uint32_t subState) {
    return nameOf(countSubStateNames, subState, "Unknown substate");
}

const char* CSensorDisplayFSM_getSensorPortName(uint32_t port) {
    return port == sensorPort_None ? "None" : nameOf(portNames, port, "Unknown port");
}
