// Commands on the remote working copy of a channel's pulse configuration. A setter reads its value,
// then the channel, then checks its conditions; a query reads the channel and checks its own.
#include "Configuration.h"
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiConditions.h"
#include "ScpiErrors.h"
#include "ScpiLink.h"
#include "ScpiReaders.h"
#include "ScpiTriggeredGate.h"
#include "ScpiWorkingCopy.h"
#include "SensorPortHandler.h"
#include "UsbSensorConfig.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

namespace {

constexpr float hertzPerMegahertz = 1e6F;

template <typename Value> auto field(Value SENSOR_CONFIGS::*member) {
    return [member](auto& config) -> auto& {
        return config.*member;
    };
}

/// The begin or the end, whichever the received line asks for.
auto stateDelay(const scpi_t* context) {
    const size_t index = getTiggeredGateIndex(context);
    const auto member =
        ScpiLink_lineContains(context, "BEG") ? &PULSE_STATE_INTVL::begin : &PULSE_STATE_INTVL::end;
    return [ index, member ](auto& config) -> auto& {
        return config.pulseStates[index].*member;
    };
}

auto stateEnable(const scpi_t* context) {
    const size_t index = getTiggeredGateIndex(context);
    return [index](auto& config) -> auto& {
        return config.pulseStates[index].bEnabled;
    };
}

auto gateDelay(const scpi_t* context) {
    return field(ScpiLink_lineContains(context, "BEG") ? &SENSOR_CONFIGS::gateBegin
                                                       : &SENSOR_CONFIGS::gateEnd);
}

/// Stores a value that was read, after the channel has been read and checked.
template <typename Value, typename Place>
scpi_result_t store(scpi_t* context, const PulseSensorConditions& conditions, Place place,
                    const std::optional<Value>& value) {
    size_t channel = 0;
    if (!value || ScpiConditions_readChannel(context, conditions, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    if (!ScpiWorkingCopy_set(channel, place, *value)) {
        pushCustomScpiError(context, scpiErrorNoSensor);
        return SCPI_RES_ERR;
    }
    return SCPI_RES_OK;
}

/// The working copy of the channel that a query names. A sensor that is still starting has none.
std::optional<SENSOR_CONFIGS> readCopy(scpi_t* context, const PulseSensorConditions& conditions) {
    size_t channel = 0;
    if (ScpiConditions_readChannel(context, conditions, &channel) != SCPI_RES_OK) {
        return {};
    }
    const scpi_sensor_config copy = ScpiRecord_workingCopy(channel);
    if (copy.state == NotInitialized) {
        pushCustomScpiError(context, scpiErrorNoSensor);
        return {};
    }
    return copy.config;
}

template <typename Place>
scpi_result_t answerFlag(scpi_t* context, const PulseSensorConditions& conditions, Place place) {
    const std::optional<SENSOR_CONFIGS> config = readCopy(context, conditions);
    return config ? ScpiAnswers_integer(context, place(*config) ? 1 : 0) : SCPI_RES_ERR;
}

template <typename Place>
scpi_result_t answerValue(scpi_t* context, const PulseSensorConditions& conditions, Place place) {
    const std::optional<SENSOR_CONFIGS> config = readCopy(context, conditions);
    return config ? ScpiAnswers_number(context, place(*config)) : SCPI_RES_ERR;
}

/// A frequency in hertz; the number is taken in megahertz.
std::optional<float> readMegahertz(scpi_t* context) {
    const std::optional<float> megahertz = SCPI_ReadFrequencyParameter(context);
    if (!megahertz) {
        return {};
    }
    const float hertz = *megahertz * hertzPerMegahertz;
    if (!std::isfinite(hertz)) {
        SCPI_ErrorPush(context, SCPI_ERROR_PARAMETER_ERROR);
        return {};
    }
    return hertz;
}

scpi_result_t SCPI_CalculatePulseModel(scpi_t* context) {
    return store(context, inPulseMode3164, field(&SENSOR_CONFIGS::bModelIsTriggeredGates),
                 SCPI_ReadGateModelParameter(context));
}

scpi_result_t SCPI_CalculatePulseModelQ(scpi_t* context) {
    const std::optional<SENSOR_CONFIGS> config = readCopy(context, for3164);
    return config ? ScpiAnswers_text(context, config->bModelIsTriggeredGates ? "TRIG" : "PULS")
                  : SCPI_RES_ERR;
}

scpi_result_t SCPI_CalculateStateEnable(scpi_t* context) {
    return store(context, inTriggeredGate, stateEnable(context),
                 SCPI_ReadBooleanParameter(context));
}

scpi_result_t SCPI_CalculateStateEnableQ(scpi_t* context) {
    return answerFlag(context, for3164, stateEnable(context));
}

scpi_result_t SCPI_CalculateStateDelay(scpi_t* context) {
    return store(context, inTriggeredGate, stateDelay(context), SCPI_ReadTimeParameter(context));
}

scpi_result_t SCPI_CalculateStateDelayQ(scpi_t* context) {
    return answerValue(context, for3164, stateDelay(context));
}

scpi_result_t SCPI_CalculateGateDelay(scpi_t* context) {
    return store(context, inPulseGate, gateDelay(context), SCPI_ReadTimeParameter(context));
}

scpi_result_t SCPI_CalculateGateDelayQ(scpi_t* context) {
    return answerValue(context, forPulseSensor, gateDelay(context));
}

scpi_result_t SCPI_SenseFrequencyAuto(scpi_t* context) {
    return store(context, forPulseSensor, field(&SENSOR_CONFIGS::bAutoFrequency),
                 SCPI_ReadBooleanParameter(context));
}

scpi_result_t SCPI_SenseFrequencyAutoQ(scpi_t* context) {
    return answerFlag(context, forPulseSensor, field(&SENSOR_CONFIGS::bAutoFrequency));
}

scpi_result_t SCPI_SenseFrequency(scpi_t* context) {
    return store(context, forPulseSensor, field(&SENSOR_CONFIGS::freqVal), readMegahertz(context));
}

scpi_result_t SCPI_SenseFrequencyQ(scpi_t* context) {
    const std::optional<SENSOR_CONFIGS> config = readCopy(context, forPulseSensor);
    if (!config) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultDouble(
        context, static_cast<double>(ScpiAnswers_rounded(config->freqVal) / hertzPerMegahertz));
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SensePeriodAuto(scpi_t* context) {
    return store(context, inPulseGate3164, field(&SENSOR_CONFIGS::bAutoPeriod),
                 SCPI_ReadBooleanParameter(context));
}

scpi_result_t SCPI_SensePeriodAutoQ(scpi_t* context) {
    return answerFlag(context, for3164, field(&SENSOR_CONFIGS::bAutoPeriod));
}

scpi_result_t SCPI_SensePeriod(scpi_t* context) {
    return store(context, inPulseMode3164, field(&SENSOR_CONFIGS::prdVal),
                 SCPI_ReadTimeParameter(context));
}

scpi_result_t SCPI_SensePeriodQ(scpi_t* context) {
    return answerValue(context, for3164, field(&SENSOR_CONFIGS::prdVal));
}

scpi_result_t SCPI_TriggerLevelAuto(scpi_t* context) {
    return store(context, inPulseMode3164, field(&SENSOR_CONFIGS::bAutoTriggerLevel),
                 SCPI_ReadBooleanParameter(context));
}

scpi_result_t SCPI_TriggerLevelAutoQ(scpi_t* context) {
    return answerFlag(context, for3164, field(&SENSOR_CONFIGS::bAutoTriggerLevel));
}

scpi_result_t SCPI_TriggerLevel(scpi_t* context) {
    return store(context, inPulseMode3164, field(&SENSOR_CONFIGS::trigLevelVal),
                 SCPI_ReadLevelParameter(context));
}

scpi_result_t SCPI_TriggerLevelQ(scpi_t* context) {
    return answerValue(context, for3164, field(&SENSOR_CONFIGS::trigLevelVal));
}

scpi_result_t SCPI_TriggerDelay(scpi_t* context) {
    return store(context, inPulseMode3164, field(&SENSOR_CONFIGS::trigDelayVal),
                 SCPI_ReadTimeParameter(context));
}

scpi_result_t SCPI_TriggerDelayQ(scpi_t* context) {
    return answerValue(context, for3164, field(&SENSOR_CONFIGS::trigDelayVal));
}

scpi_result_t SCPI_TriggerSlope(scpi_t* context) {
    return store(context, inPulseMode3164, field(&SENSOR_CONFIGS::trigSlope),
                 SCPI_ReadSlopeParameter(context));
}

scpi_result_t SCPI_TriggerSlopeQ(scpi_t* context) {
    const std::optional<SENSOR_CONFIGS> config = readCopy(context, for3164);
    if (!config) {
        return SCPI_RES_ERR;
    }
    if (config->trigSlope == 1) {
        return ScpiAnswers_text(context, "POS");
    }
    // Four letters for whatever else a sensor may hold: remote programs know them
    // (docs/compatibility.md: slope-eith).
    return ScpiAnswers_text(context, config->trigSlope == 0 ? "NEG" : "EITH");
}

// Delay in the state rows beside DELay in the gate rows is spelled so because remote programs
// send it (docs/compatibility.md: short-delay). The digit of STATe1 belongs to the long form only;
// STAT1 is a row of its own, and a bare STAT is state 1.
// clang-format off
constexpr scpi_command_t rows[] = {
    {"CALCulate:PULSe[:MODel]", SCPI_CalculatePulseModel, 0},
    {"CALCulate:PULSe[:MODel]?", SCPI_CalculatePulseModelQ, 0},
    {"CALCulate:STATe1:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STATe1:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STAT1:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STAT1:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STATe2:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STATe2:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STAT2:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STAT2:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STATe3:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STATe3:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STAT3:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STAT3:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STATe4:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STATe4:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STAT4:ENABle?", SCPI_CalculateStateEnableQ, 0},
    {"CALCulate:STAT4:ENABle", SCPI_CalculateStateEnable, 0},
    {"CALCulate:STATe1:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe1:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT1:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT1:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe2:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe2:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT2:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT2:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe3:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe3:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT3:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT3:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe4:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe4:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT4:BEGin[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT4:BEGin[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe1:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe1:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT1:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT1:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe2:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe2:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT2:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT2:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe3:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe3:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT3:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT3:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STATe4:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STATe4:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:STAT4:END[:Delay]?", SCPI_CalculateStateDelayQ, 0},
    {"CALCulate:STAT4:END[:Delay]", SCPI_CalculateStateDelay, 0},
    {"CALCulate:GATE:BEGin[:DELay]?", SCPI_CalculateGateDelayQ, 0},
    {"CALCulate:GATE:BEGin[:DELay]", SCPI_CalculateGateDelay, 0},
    {"CALCulate:GATE:END[:DELay]?", SCPI_CalculateGateDelayQ, 0},
    {"CALCulate:GATE:END[:DELay]", SCPI_CalculateGateDelay, 0},
    {"SENSe:FREQuency:AUTO?", SCPI_SenseFrequencyAutoQ, 0},
    {"SENSe:FREQuency:AUTO", SCPI_SenseFrequencyAuto, 0},
    {"SENSe:FREQuency?", SCPI_SenseFrequencyQ, 0},
    {"SENSe:FREQuency", SCPI_SenseFrequency, 0},
    {"SENSe:PERiod:AUTO?", SCPI_SensePeriodAutoQ, 0},
    {"SENSe:PERiod:AUTO", SCPI_SensePeriodAuto, 0},
    {"SENSe:PERiod?", SCPI_SensePeriodQ, 0},
    {"SENSe:PERiod", SCPI_SensePeriod, 0},
    {"TRIGger:LEVel:AUTO?", SCPI_TriggerLevelAutoQ, 0},
    {"TRIGger:LEVel:AUTO", SCPI_TriggerLevelAuto, 0},
    {"TRIGger:LEVel?", SCPI_TriggerLevelQ, 0},
    {"TRIGger:LEVel", SCPI_TriggerLevel, 0},
    {"TRIGger:SLOPe?", SCPI_TriggerSlopeQ, 0},
    {"TRIGger:SLOPe", SCPI_TriggerSlope, 0},
    {"TRIGger:DELay?", SCPI_TriggerDelayQ, 0},
    {"TRIGger:DELay", SCPI_TriggerDelay, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiPulseCommands = rows;
