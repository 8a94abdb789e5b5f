// Common commands, status and identity.
#include "ScpiAnswers.h"
#include "ScpiCallback.h"
#include "ScpiReaders.h"
#include "ScpiRecord.h"
#include "SensorPortHandler.h"

#ifdef QUORVEL_SCPI_LACKS_EVENT_CLEAR
// Some releases of the library declare this and leave it out.
void SCPI_EventClear(scpi_t* context) {
    SCPI_RegSet(context, SCPI_REG_ESR, 0);
}
#endif

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
    sensorPortHandler_getSensorInformation(scpi_sensorPort(channel), &texts->identity,
                                           texts->serialNumber, sizeof texts->serialNumber);
    return SCPI_RES_OK;
}

} // namespace

scpi_result_t SCPI_ClearStatusCmd(scpi_t* context) {
    SCPI_EventClear(context);
    SCPI_ErrorClear(context);
    SCPI_RegSet(context, SCPI_REG_OPER, 0);
    SCPI_RegSet(context, SCPI_REG_QUES, 0);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_IdentCmd(scpi_t* context) {
    const SCPI_S* record = scpi;
    scpi_answerText(context, context->idn[0]);
    scpi_answerText(context, record->modelNum);
    scpi_answerText(context, record->serialNum);
    return scpi_answerText(context, record->fwVersion);
}

scpi_result_t SCPI_ResetCmd(scpi_t* context) {
    if (context == nullptr || context->interface == nullptr ||
        context->interface->reset == nullptr) {
        return SCPI_RES_ERR;
    }
    return context->interface->reset(context);
}

scpi_result_t My_CoreTstQ(scpi_t* context) {
    return scpi_answerInteger(context, 0);
}

scpi_result_t SCPI_SystemVersion(scpi_t* context) {
    return scpi_answerText(context, "1999.0");
}

scpi_result_t SCPI_StatusPresetCmd(scpi_t* context) {
    SCPI_RegSet(context, SCPI_REG_QUES, 0);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemIdentifyModel(scpi_t* context) {
    return scpi_answerText(context, scpi.load()->modelNum);
}

scpi_result_t SCPI_SystemIdentifySerial(scpi_t* context) {
    return scpi_answerText(context, scpi.load()->serialNum);
}

scpi_result_t SCPI_SystemIdentifyFirmware(scpi_t* context) {
    return scpi_answerText(context, scpi.load()->fwVersion);
}

scpi_result_t SCPI_SystemIdentifySensorModel(scpi_t* context) {
    SensorTexts texts;
    return readSensorTexts(context, &texts) == SCPI_RES_OK
               ? scpi_answerText(context, texts.identity.sensorModel)
               : SCPI_RES_ERR;
}

scpi_result_t SCPI_SystemIdentifySensorSerial(scpi_t* context) {
    SensorTexts texts;
    return readSensorTexts(context, &texts) == SCPI_RES_OK
               ? scpi_answerText(context, texts.serialNumber)
               : SCPI_RES_ERR;
}

scpi_result_t SCPI_SystemIdentifySensorFirmware(scpi_t* context) {
    SensorTexts texts;
    return readSensorTexts(context, &texts) == SCPI_RES_OK
               ? scpi_answerText(context, texts.identity.sensorFirmwareRevision)
               : SCPI_RES_ERR;
}
