// Measurement queries. Several patterns share a handler, which looks for keywords in the whole line
// as it was received: the first keyword of its list that stands anywhere decides, also when it
// belongs to another command on that line. Remote programs rely on it (docs/compatibility.md:
// keyword-of-the-line).
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiConditions.h"
#include "ScpiLink.h"
#include "ScpiRecord.h"
#include "ScpiTriggeredGate.h"

namespace {

constexpr float hertzPerMegahertz = 1e6F;
constexpr float microsecondsPerSecond = 1e6F;

struct PulseReading {
    const char* keyword;
    float SENSOR_MEASUREMENTS::*value;
    float factor;
};
constexpr PulseReading pulseReadings[] = {
    {"DCYC", &SENSOR_MEASUREMENTS::dutyCycleVal, 1},
    {"PER", &SENSOR_MEASUREMENTS::prdVal, microsecondsPerSecond},
    {"PRF", &SENSOR_MEASUREMENTS::prfVal, 1},
    {"WIDT", &SENSOR_MEASUREMENTS::widthVal, microsecondsPerSecond},
};

/// Reads the channel, checks the conditions and copies the channel's mirror.
scpi_result_t readMeasurements(scpi_t* context, const PulseSensorConditions& conditions,
                               SENSOR_MEASUREMENTS* measurements) {
    size_t channel = 0;
    if (ScpiConditions_readChannel(context, conditions, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    *measurements = ScpiRecord_measurements(channel);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_MeasureTemperatureQ(scpi_t* context) {
    SENSOR_MEASUREMENTS measured;
    if (readMeasurements(context, noConditions, &measured) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    return ScpiAnswers_number(context, measured.temperatureVal);
}

scpi_result_t SCPI_MeasurePowerFreqQ(scpi_t* context) {
    SENSOR_MEASUREMENTS measured;
    if (readMeasurements(context, noConditions, &measured) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    return ScpiAnswers_number(context, measured.freqVal / hertzPerMegahertz);
}

scpi_result_t SCPI_MeasurePowerPulseQ(scpi_t* context) {
    SENSOR_MEASUREMENTS measured;
    if (readMeasurements(context, inPulseGate, &measured) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    for (const PulseReading& reading : pulseReadings) {
        if (ScpiLink_lineContains(context, reading.keyword)) {
            return ScpiAnswers_number(context, measured.*reading.value * reading.factor);
        }
    }
    return SCPI_RES_ERR;
}

scpi_result_t SCPI_MeasurePowerAverageQ(scpi_t* context) {
    SENSOR_MEASUREMENTS measured;
    if (readMeasurements(context, noConditions, &measured) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    return ScpiAnswers_number(context, ScpiLink_lineContains(context, "REFL") ? measured.rflPwrVal
                                                                              : measured.fwdPwrVal);
}

scpi_result_t SCPI_MeasurePowerGateQ(scpi_t* context) {
    SENSOR_MEASUREMENTS measured;
    if (readMeasurements(context, inPulseGate, &measured) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    if (ScpiLink_lineContains(context, "MAX")) {
        return ScpiAnswers_number(context, measured.gateMax);
    }
    return ScpiAnswers_number(context, ScpiLink_lineContains(context, "MIN") ? measured.gateMin
                                                                             : measured.gateMean);
}

scpi_result_t SCPI_MeasurePowerStateQ(scpi_t* context) {
    SENSOR_MEASUREMENTS measured;
    if (readMeasurements(context, inTriggeredGate, &measured) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    const PULSE_STATES& state = measured.pulseStates[getTiggeredGateIndex(context)];
    if (ScpiLink_lineContains(context, "MAX")) {
        return ScpiAnswers_number(context, state.max);
    }
    return ScpiAnswers_number(context,
                              ScpiLink_lineContains(context, "MIN") ? state.min : state.mean);
}

// The digit of STATe1 belongs to the long form only; STAT1 is a row of its own, and a bare STAT is
// state 1.
// clang-format off
constexpr scpi_command_t rows[] = {
    {"MEASure[:SCALar]:TEMPerature?", SCPI_MeasureTemperatureQ, 0},
    {"MEASure[:SCALar][:POWer]:FREQuency?", SCPI_MeasurePowerFreqQ, 0},
    {"MEASure[:SCALar][:POWer]:DCYCle?", SCPI_MeasurePowerPulseQ, 0},
    {"MEASure[:SCALar][:POWer]:PERiod?", SCPI_MeasurePowerPulseQ, 0},
    {"MEASure[:SCALar][:POWer]:PRF?", SCPI_MeasurePowerPulseQ, 0},
    {"MEASure[:SCALar][:POWer]:WIDTh?", SCPI_MeasurePowerPulseQ, 0},
    {"MEASure[:SCALar][:POWer][:FORWard]:AVERage?", SCPI_MeasurePowerAverageQ, 0},
    {"MEASure[:SCALar][:POWer]:REFLected:AVERage?", SCPI_MeasurePowerAverageQ, 0},
    {"MEASure[:SCALar][:POWer]:GATE:MAXimum?", SCPI_MeasurePowerGateQ, 0},
    {"MEASure[:SCALar][:POWer]:GATE[:MEAN]?", SCPI_MeasurePowerGateQ, 0},
    {"MEASure[:SCALar][:POWer]:GATE:MINimum?", SCPI_MeasurePowerGateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe1[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe2[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe3[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe4[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT1[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT2[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT3[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT4[:MEAN]?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe1:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe2:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe3:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe4:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT1:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT2:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT3:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT4:MAXimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe1:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe2:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe3:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STATe4:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT1:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT2:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT3:MINimum?", SCPI_MeasurePowerStateQ, 0},
    {"MEASure[:SCALar][:POWer]:STAT4:MINimum?", SCPI_MeasurePowerStateQ, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiMeasureCommands = rows;
