#include "SerialCommandHandler.h"

#include "SensorDisplays.h"
#include "SensorPortHandler.h"
#include "SerialReading.h"
#include "SerialReset.h"
#include "SerialStatus.h"
#include "Threads.h"

#include <algorithm>

namespace {

constexpr int lastRange = 17;

SerialCommandSettings settings_{
    TRIGGER_MODE_1, MEASURE_SELECT_FORWARD, false, 0, 0, true,
};
pthread_mutex_t settingsMutex = PTHREAD_MUTEX_INITIALIZER;

void setTriggerMode(trigger_mode_t mode) {
    const ScopedLock lock(settingsMutex);
    settings_.trigger_mode = mode;
    if (mode == TRIGGER_MODE_5) {
        settings_.measurement_selected = false;
    }
}

void select(measure_select_t selection) {
    const ScopedLock lock(settingsMutex);
    settings_.measure_select = selection;
    settings_.measurement_selected = true;
}

/// False when trigger mode 5 has nothing to answer; a waiting selection is used up.
bool takeSelection(measure_select_t* selection) {
    const ScopedLock lock(settingsMutex);
    *selection = settings_.measure_select;
    if (settings_.trigger_mode != TRIGGER_MODE_5) {
        return true;
    }
    const bool wasSelected = settings_.measurement_selected;
    settings_.measurement_selected = false;
    return wasSelected;
}

/// The range to answer in; an automatic one moves with the power, and stays where it has moved to.
uint32_t rangeFor(measure_select_t selection, float power_W, float minPower_W) {
    const ScopedLock lock(settingsMutex);
    int& range =
        selection == MEASURE_SELECT_FORWARD ? settings_.forward_range : settings_.reflected_range;
    if (settings_.autoscale) {
        range = static_cast<int>(
            SerialReading_autoRange(power_W, minPower_W, static_cast<uint32_t>(range)));
    }
    return static_cast<uint32_t>(range);
}

size_t writeReading(uint32_t port, measure_select_t selection, char* buffer, size_t capacity) {
    const SENSOR_MEASUREMENTS measured = sensorPortHandler_getSensorMeasurements(port);
    const bool isForward = selection == MEASURE_SELECT_FORWARD;
    const float power_W = isForward ? measured.fwdPwrVal : measured.rflPwrVal;
    const uint32_t range = rangeFor(selection, power_W, sensorPortHandler_getSensorMinPower(port));
    return format_power(buffer, capacity, isForward ? "FC" : "RC", power_W,
                        sensorPortHandler_getSensorMaxPower(port), range);
}

} // namespace

void serial_command_handler_reset() {
    const ScopedLock lock(settingsMutex);
    settings_ = {
        TRIGGER_MODE_1, MEASURE_SELECT_FORWARD, settings_.measurement_selected, 0, 0, true};
}

SerialCommandSettings serial_command_handler_getSettings() {
    const ScopedLock lock(settingsMutex);
    return settings_;
}

trigger_mode_t serial_command_handler_get_triggerMode() {
    return serial_command_handler_getSettings().trigger_mode;
}

void SerialRange_Setrange(int range) {
    const ScopedLock lock(settingsMutex);
    settings_.forward_range = std::clamp(range, 0, lastRange);
    settings_.reflected_range = std::max(settings_.forward_range - 1, 0);
    settings_.autoscale = false;
}

void setAutoScale(bool on) {
    const ScopedLock lock(settingsMutex);
    settings_.autoscale = on;
}

void serial_command_handle_command(command_t command) {
    if (command >= COMMAND_R00 && command <= COMMAND_R17) {
        SerialRange_Setrange(command - COMMAND_R00);
        return;
    }
    switch (command) {
    case COMMAND_TRIGGER_1:
        setTriggerMode(TRIGGER_MODE_1);
        break;
    case COMMAND_TRIGGER_5:
        setTriggerMode(TRIGGER_MODE_5);
        break;
    case COMMAND_FORWARD:
        select(MEASURE_SELECT_FORWARD);
        break;
    case COMMAND_REFLECTED:
        select(MEASURE_SELECT_REFLECTED);
        break;
    case COMMAND_RNN:
        setAutoScale(false);
        break;
    case COMMAND_RYY:
        setAutoScale(true);
        break;
    case COMMAND_STATUS0:
        SerialStatus_HandleCommand0();
        break;
    case COMMAND_STATUS1:
        SerialStatus_HandleCommand1();
        break;
    case COMMAND_STATUS2:
        SerialStatus_HandleCommand2();
        break;
    case COMMAND_STATUSA:
        SerialStatus_HandleCommandA();
        break;
    case COMMAND_RESET:
        SerialReset_HandleCommand();
        setTriggerMode(TRIGGER_MODE_1);
        break;
    case COMMAND_SELFTEST:
        SerialStatus_SetSelfTestStatus(true); // the self test always passes
        break;
    default:
        break; // ENT is answered by the output thread
    }
}

uint32_t serial_command_handler_choosePort() {
    for (const SensorDisplayInstance& display : sensorDisplays) {
        const uint32_t port = display.sensorPort;
        if (port != sensorPort_None && sensorPortHandler_getIsConnected(port)) {
            return port;
        }
    }
    return sensorPort_None;
}

size_t serial_command_handle_response(command_t command, char* buffer, size_t capacity) {
    measure_select_t selection = MEASURE_SELECT_FORWARD;
    buffer[0] = '\0';
    if (command != COMMAND_ENTER || !takeSelection(&selection)) {
        return 0;
    }
    const uint32_t port = serial_command_handler_choosePort();
    return port == sensorPort_None ? 0 : writeReading(port, selection, buffer, capacity);
}
