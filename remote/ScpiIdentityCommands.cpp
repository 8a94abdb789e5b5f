// Who the instrument and its sensors are.
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiReaders.h"
#include "ScpiRecord.h"
#include "SensorPortHandler.h"

namespace {

struct SensorTexts {
    SENSOR_IDENTITY identity;
    char serialNumber[32];
};

/// What the sensor of the channel that the command names tells of itself.
scpi_result_t readSensorTexts(scpi_t* context, SensorTexts* texts) {
    size_t channel = 0;
    if (SCPI_ReadChannelParameter(context, &channel) != SCPI_RES_OK) {
        return SCPI_RES_ERR;
    }
    *texts = SensorTexts{};
    sensorPortHandler_getSensorInformation(ScpiRecord_sensorPort(channel), &texts->identity,
                                           texts->serialNumber, sizeof texts->serialNumber);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemIdentifyModel(scpi_t* context) {
    return ScpiAnswers_text(context, scpi.load()->modelNum);
}

scpi_result_t SCPI_SystemIdentifySerial(scpi_t* context) {
    return ScpiAnswers_text(context, scpi.load()->serialNum);
}

scpi_result_t SCPI_SystemIdentifyFirmware(scpi_t* context) {
    return ScpiAnswers_text(context, scpi.load()->fwVersion);
}

scpi_result_t SCPI_SystemIdentifySensorModel(scpi_t* context) {
    SensorTexts texts;
    return readSensorTexts(context, &texts) == SCPI_RES_OK
               ? ScpiAnswers_text(context, texts.identity.sensorModel)
               : SCPI_RES_ERR;
}

scpi_result_t SCPI_SystemIdentifySensorSerial(scpi_t* context) {
    SensorTexts texts;
    return readSensorTexts(context, &texts) == SCPI_RES_OK
               ? ScpiAnswers_text(context, texts.serialNumber)
               : SCPI_RES_ERR;
}

scpi_result_t SCPI_SystemIdentifySensorFirmware(scpi_t* context) {
    SensorTexts texts;
    return readSensorTexts(context, &texts) == SCPI_RES_OK
               ? ScpiAnswers_text(context, texts.identity.sensorFirmwareRevision)
               : SCPI_RES_ERR;
}

// clang-format off
constexpr scpi_command_t rows[] = {
    {"SYSTem:IDENtity[:8830K][:MODel]?", SCPI_SystemIdentifyModel, 0},
    {"SYSTem:IDENtity[:8830K]:SN?", SCPI_SystemIdentifySerial, 0},
    {"SYSTem:IDENtity[:8830K]:FWRev?", SCPI_SystemIdentifyFirmware, 0},
    {"SYSTem:IDENtity:SENSor[:MODel]?", SCPI_SystemIdentifySensorModel, 0},
    {"SYSTem:IDENtity:SENSor:SN?", SCPI_SystemIdentifySensorSerial, 0},
    {"SYSTem:IDENtity:SENSor:FWRev?", SCPI_SystemIdentifySensorFirmware, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiIdentityCommands = rows;
