#include "SerialCommandSettings.h"

#include "SerialReading.h"
#include "Threads.h"

#include <algorithm>
#include <pthread.h>

namespace {

constexpr SerialCommandSettings initialSettings{
    TRIGGER_MODE_1, MEASURE_SELECT_FORWARD, false, 0, 0, true,
};

SerialCommandSettings settings = initialSettings;
pthread_mutex_t settingsMutex = PTHREAD_MUTEX_INITIALIZER;

} // namespace

void serial_command_handler_reset() {
    const ScopedLock lock(settingsMutex);
    const bool measurementSelected = settings.measurement_selected;
    settings = initialSettings;
    settings.measurement_selected = measurementSelected;
}

SerialCommandSettings SerialCommandSettings_get() {
    const ScopedLock lock(settingsMutex);
    return settings;
}

trigger_mode_t serial_command_handler_get_triggerMode() {
    return SerialCommandSettings_get().trigger_mode;
}

void SerialRange_Setrange(int range) {
    const ScopedLock lock(settingsMutex);
    settings.forward_range = std::clamp(range, 0, lastSerialRange);
    settings.reflected_range = std::max(settings.forward_range - 1, 0);
    settings.autoscale = false;
}

void setAutoScale(bool on) {
    const ScopedLock lock(settingsMutex);
    settings.autoscale = on;
}

void SerialCommandSettings_setTriggerMode(trigger_mode_t mode) {
    const ScopedLock lock(settingsMutex);
    settings.trigger_mode = mode;
    if (mode == TRIGGER_MODE_5) {
        settings.measurement_selected = false;
    }
}

void SerialCommandSettings_select(measure_select_t selection) {
    const ScopedLock lock(settingsMutex);
    settings.measure_select = selection;
    settings.measurement_selected = true;
}

bool SerialCommandSettings_takeSelection(measure_select_t* selection) {
    const ScopedLock lock(settingsMutex);
    *selection = settings.measure_select;
    if (settings.trigger_mode != TRIGGER_MODE_5) {
        return true;
    }
    const bool wasSelected = settings.measurement_selected;
    settings.measurement_selected = false;
    return wasSelected;
}

uint32_t SerialCommandSettings_moveRange(measure_select_t selection, float power_W,
                                         float minPower_W) {
    const ScopedLock lock(settingsMutex);
    int& range =
        selection == MEASURE_SELECT_FORWARD ? settings.forward_range : settings.reflected_range;
    if (settings.autoscale) {
        range = static_cast<int>(
            SerialReading_autoRange(power_W, minPower_W, static_cast<uint32_t>(range)));
    }
    return static_cast<uint32_t>(range);
}
