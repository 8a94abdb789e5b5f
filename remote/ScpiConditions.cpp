#include "ScpiConditions.h"

#include "Configuration.h"
#include "ScpiErrors.h"
#include "ScpiReaders.h"
#include "ScpiRecord.h"
#include "SensorPortHandler.h"

namespace {

bool usbSlotSupportsTriggeredGates(size_t slot) {
    SENSOR_CONFIGS config{};
    sensorPortHandler_getSensorConfigs(&config, sensorPort_USB1 + static_cast<uint32_t>(slot));
    return config.bSupportsTriggeredGates;
}

/// The error of the first condition that does not hold, 0 when all do.
int16_t firstFailure(const PulseSensorConditions& conditions, size_t channel) {
    // The first serial port only, by its number and not by the sensor's kind: remote programs rely
    // on the answers of the second one (docs/compatibility.md: first-serial-port-only).
    if (conditions.bPulseSensor && ScpiRecord_sensorPort(channel) == sensorPort_Serial1) {
        return scpiErrorNotPulseSensor;
    }
    if (conditions.bPulseMode && !configuration_getPulseMode()) {
        return scpiErrorCwMode;
    }
    // The channel's number is taken as the USB slot, wherever the sensor sits: remote programs
    // rely on it (docs/compatibility.md: channel-is-usb-slot).
    if (conditions.b3164 && !usbSlotSupportsTriggeredGates(channel)) {
        return scpiErrorNot3163;
    }
    const bool modelMatters = conditions.bTriggeredGate || conditions.bPulseGate;
    const bool modelIsTriggered =
        modelMatters && ScpiRecord_workingCopy(channel).config.bModelIsTriggeredGates;
    if (conditions.bTriggeredGate && !modelIsTriggered) {
        return scpiErrorPulseGateModel;
    }
    if (conditions.bPulseGate && modelIsTriggered) {
        return scpiErrorTriggeredGateModel;
    }
    return 0;
}

} // namespace

scpi_result_t SCPI_CheckConditions(scpi_t* context, const PulseSensorConditions& conditions,
                                   size_t channel) {
    const int16_t error = firstFailure(conditions, channel);
    if (error == 0) {
        return SCPI_RES_OK;
    }
    pushCustomScpiError(context, error);
    return SCPI_RES_ERR;
}

scpi_result_t ScpiConditions_readChannel(scpi_t* context, const PulseSensorConditions& conditions,
                                         size_t* channel) {
    return SCPI_ReadChannelParameter(context, channel) == SCPI_RES_OK
               ? SCPI_CheckConditions(context, conditions, *channel)
               : SCPI_RES_ERR;
}
