#include "PulseMeter.h"

#include "Configuration.h"

SENSOR_CONFIGS PulseMeter_config() {
    SENSOR_CONFIGS config{};
    config.bSupportsAutoPeriod = true;
    config.bSupportsTriggeredGates = true;
    config.bAutoFrequency = true;
    config.freqVal = 250e6F;
    config.prdVal = 0.002F;
    config.trigLevelVal = 1.5F;
    config.trigDelayVal = 0.25F;
    config.trigSlope = 1;
    config.gateBegin = 0.125F;
    config.gateEnd = 0.5F;
    return config;
}

PulseMeter::PulseMeter(const SENSOR_CONFIGS& config) {
    configuration_setPulseMode(true);
    setSensorConfig(sensorPort_USB1, config);
    plug(sensorPort_USB1, 0);
}
