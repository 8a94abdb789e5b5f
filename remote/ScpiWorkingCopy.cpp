#include "ScpiWorkingCopy.h"

#include "SensorPortHandler.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

bool sameStates(const SENSOR_CONFIGS& first, const SENSOR_CONFIGS& second) {
    return std::equal(std::begin(first.pulseStates), std::end(first.pulseStates),
                      std::begin(second.pulseStates),
                      [](const PULSE_STATE_INTVL& a, const PULSE_STATE_INTVL& b) {
                          return a.bEnabled == b.bEnabled && a.begin == b.begin && a.end == b.end;
                      });
}

/// All that can be changed remotely.
bool sameSettings(const SENSOR_CONFIGS& first, const SENSOR_CONFIGS& second) {
    return first.bAutoFrequency == second.bAutoFrequency && first.freqVal == second.freqVal &&
           first.bAutoPeriod == second.bAutoPeriod && first.prdVal == second.prdVal &&
           first.bAutoTriggerLevel == second.bAutoTriggerLevel &&
           first.trigLevelVal == second.trigLevelVal && first.trigDelayVal == second.trigDelayVal &&
           first.trigSlope == second.trigSlope &&
           first.bModelIsTriggeredGates == second.bModelIsTriggeredGates &&
           first.gateBegin == second.gateBegin && first.gateEnd == second.gateEnd &&
           sameStates(first, second);
}

bool hasStarted(uint32_t port) {
    return sensorPortHandler_getSensorStatus(port).status == isReady;
}

/// The configuration that a sensor has. Empty while it is starting: its port then holds the stored
/// configuration, or some of the sensor's own.
std::optional<SENSOR_CONFIGS> sensorsOwn(uint32_t port) {
    if (!hasStarted(port)) {
        return {};
    }
    SENSOR_CONFIGS config{};
    sensorPortHandler_getSensorConfigs(&config, port);
    // Asked twice: another sensor may have come in between.
    return hasStarted(port) ? std::optional(config) : std::nullopt;
}

} // namespace

void ScpiWorkingCopy_refresh(size_t channel, uint32_t port) {
    const std::optional<SENSOR_CONFIGS> own = sensorsOwn(port);
    if (own) {
        ScpiRecord_refreshCopy(channel, port, *own);
    }
}

bool ScpiWorkingCopy_synchronize(size_t channel, uint32_t port) {
    const std::optional<SENSOR_CONFIGS> own = sensorsOwn(port);
    if (own) {
        ScpiRecord_synchronizeCopy(channel, port, *own);
    }
    return own.has_value();
}

void ScpiWorkingCopy_arrangeStates(SENSOR_CONFIGS* config) {
    PULSE_STATE_INTVL* states = config->pulseStates;
    PULSE_STATE_INTVL* end = std::end(config->pulseStates);
    const auto isEnabled = [](const PULSE_STATE_INTVL& state) { return state.bEnabled; };

    config->numStates = static_cast<uint8_t>(std::count_if(states, end, isEnabled));
    // With all four enabled there is nothing to move.
    for (PULSE_STATE_INTVL* state = states; state < states + config->numStates; ++state) {
        PULSE_STATE_INTVL* later = std::find_if(state, end, isEnabled);
        if (!state->bEnabled && later != end) {
            *state = *later;
            later->bEnabled = false;
        }
    }
}

bool ScpiWorkingCopy_takeForCommit(size_t channel, SENSOR_CONFIGS* config) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount) {
        return false;
    }
    const ScopedLock lock(record->lock);
    scpi_sensor_config& copy = record->configs[channel];
    if (copy.state != Modified) {
        return false;
    }
    ScpiWorkingCopy_arrangeStates(&copy.config);
    *config = copy.config;
    return true;
}

void ScpiWorkingCopy_committed(size_t channel, uint32_t port, const SENSOR_CONFIGS& config) {
    SCPI_S* record = scpi;
    if (record == nullptr || channel >= scpiChannelCount ||
        ScpiRecord_sensorPort(channel) != port) {
        return;
    }
    const ScopedLock lock(record->lock);
    scpi_sensor_config& copy = record->configs[channel];
    if (copy.state == Modified && sameSettings(copy.config, config)) {
        copy.state = Syncronized;
    }
}
