#include "ScpiErrors.h"

const scpi_user_error_t scpi_user_errors[] = {
    {scpiErrorChannel, SCPI_ERROR_PARAMETER_ERROR, "The channel number is not valid"},
    {scpiErrorNoSensor, SCPI_ERROR_PARAMETER_ERROR, "No sensor connected on the channel"},
    {scpiErrorState, SCPI_ERROR_PARAMETER_ERROR, "The state is not valid"},
    {scpiErrorCwMode, SCPI_ERROR_COMMAND, "The command is not valid in CW mode."},
    {scpiErrorNot3163, SCPI_ERROR_COMMAND, "The command is not supported in 3163 family sensors."},
    {scpiErrorFromSensor, SCPI_ERROR_PARAMETER_ERROR, nullptr},
    {scpiErrorPulseModel, SCPI_ERROR_PARAMETER_ERROR, "The pulse model is not valid"},
    {scpiErrorPulseGateModel, SCPI_ERROR_COMMAND,
     "The command is not supported when using the Pulse Gate model."},
    {scpiErrorTriggeredGateModel, SCPI_ERROR_COMMAND,
     "The command is not supported when using the Triggered Gate model."},
    {scpiErrorNotPulseSensor, SCPI_ERROR_COMMAND,
     "The command is not supported for 513x CW sensors."},
    {0, 0, nullptr},
};

namespace {

const scpi_user_error_t* findRow(int16_t code) {
    for (const scpi_user_error_t* row = scpi_user_errors; row->customCode != 0; ++row) {
        if (row->customCode == code) {
            return row;
        }
    }
    return nullptr;
}

void push(scpi_t* context, int16_t code, const char* text) {
    // The library copies the text but does not say so.
    SCPI_ErrorPushEx(context, code, const_cast<char*>(text), 0);
}

} // namespace

scpi_result_t ScpiErrors_refuse(scpi_t* context, int16_t code) {
    SCPI_ErrorPush(context, code);
    return SCPI_RES_ERR;
}

void pushCustomScpiError(scpi_t* context, int16_t code) {
    const scpi_user_error_t* row = findRow(code);
    if (row == nullptr) {
        SCPI_ErrorPush(context, code);
        return;
    }
    push(context, row->scpiCode, row->text);
}

void pushCustomScpiErrorWithMsg(scpi_t* context, int16_t code, const char* text) {
    const scpi_user_error_t* row = findRow(code);
    push(context, row == nullptr ? code : row->scpiCode, text);
}
