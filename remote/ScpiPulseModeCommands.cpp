// The instrument's pulse mode, and what becomes of a remote working copy: it is taken from the
// sensor or sent to it.
#include "Configuration.h"
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiConditions.h"
#include "ScpiErrors.h"
#include "ScpiReaders.h"
#include "ScpiWorkingCopy.h"
#include "SensorPortHandler.h"
#include "UsbSensorConfig.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace {

scpi_result_t reportSensorErrors(scpi_t* context, const USBTMC_PARAM_ERRORS& errors) {
    if (errors.sensorHasGone) {
        pushCustomScpiError(context, scpiErrorNoSensor);
        return SCPI_RES_ERR;
    }
    const int count = std::clamp(errors.count, 0, static_cast<int>(std::size(errors.errors)));
    for (int i = 0; i < count; ++i) {
        pushCustomScpiErrorWithMsg(context, scpiErrorFromSensor, errors.errors[i]);
    }
    return count == 0 ? SCPI_RES_OK : SCPI_RES_ERR;
}

scpi_result_t SCPI_SystemPulseEnable(scpi_t* context) {
    const std::optional<bool> isOn = SCPI_ReadBooleanParameter(context);
    if (!isOn) {
        return SCPI_RES_ERR;
    }
    configuration_setPulseMode(*isOn);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemPulseEnableQ(scpi_t* context) {
    return ScpiAnswers_integer(context, configuration_getPulseMode() ? 1 : 0);
}

scpi_result_t SCPI_SystemPulseConfigSync(scpi_t* context) {
    size_t channel = 0;
    if (ScpiConditions_readChannel(context, forPulseSensor, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    if (!ScpiWorkingCopy_synchronize(channel, ScpiRecord_sensorPort(channel))) {
        pushCustomScpiError(context, scpiErrorNoSensor);
        return SCPI_RES_ERR;
    }
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemPulseConfigCommit(scpi_t* context) {
    size_t channel = 0;
    SENSOR_CONFIGS config{};
    if (ScpiConditions_readChannel(context, inPulseMode, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    const uint32_t port = ScpiRecord_sensorPort(channel);
    if (!ScpiWorkingCopy_takeForCommit(channel, &config)) {
        return SCPI_RES_OK;
    }
    // The wait for the sensor holds no lock: the other link goes on.
    const USBTMC_PARAM_ERRORS errors = sensorPortHandler_setSensorConfigs(config, port);
    if (reportSensorErrors(context, errors) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    ScpiWorkingCopy_committed(channel, port, config);
    return SCPI_RES_OK;
}

// SYNCronize is spelled so because remote programs send it (docs/compatibility.md: syncronize).
// clang-format off
constexpr scpi_command_t rows[] = {
    {"SYSTem:PULSe[:ENABle]", SCPI_SystemPulseEnable, 0},
    {"SYSTem:PULSe[:ENABle]?", SCPI_SystemPulseEnableQ, 0},
    {"SYSTem:PULSe:CONFig[:SYNCronize]", SCPI_SystemPulseConfigSync, 0},
    {"SYSTem:PULSe:CONFig:COMMit", SCPI_SystemPulseConfigCommit, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiPulseModeCommands = rows;
