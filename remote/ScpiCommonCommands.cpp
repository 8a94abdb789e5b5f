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

scpi_result_t SCPI_ClearStatusCmd(scpi_t* context) {
    SCPI_EventClear(context);
    SCPI_ErrorClear(context);
    SCPI_RegSet(context, SCPI_REG_OPER, 0);
    SCPI_RegSet(context, SCPI_REG_QUES, 0);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_IdentCmd(scpi_t* context) {
    const SCPI_S* record = scpi;
    ScpiAnswers_text(context, context->idn[0]);
    ScpiAnswers_text(context, record->modelNum);
    ScpiAnswers_text(context, record->serialNum);
    return ScpiAnswers_text(context, record->fwVersion);
}

scpi_result_t SCPI_ResetCmd(scpi_t* context) {
    if (context == nullptr || context->interface == nullptr ||
        context->interface->reset == nullptr) {
        return SCPI_RES_ERR;
    }
    return context->interface->reset(context);
}

scpi_result_t My_CoreTstQ(scpi_t* context) {
    return ScpiAnswers_integer(context, 0);
}

scpi_result_t SCPI_SystemVersion(scpi_t* context) {
    return ScpiAnswers_text(context, "1999.0");
}

scpi_result_t SCPI_StatusPresetCmd(scpi_t* context) {
    SCPI_RegSet(context, SCPI_REG_QUES, 0);
    return SCPI_RES_OK;
}

// clang-format off
constexpr scpi_command_t rows[] = {
    {"*CLS", SCPI_ClearStatusCmd, 0},
    {"*ESE", SCPI_CoreEse, 0},
    {"*ESE?", SCPI_CoreEseQ, 0},
    {"*ESR?", SCPI_CoreEsrQ, 0},
    {"*IDN?", SCPI_IdentCmd, 0},
    {"*OPC", SCPI_CoreOpc, 0},
    {"*OPC?", SCPI_CoreOpcQ, 0},
    {"*RST", SCPI_ResetCmd, 0},
    {"*SRE", SCPI_CoreSre, 0},
    {"*SRE?", SCPI_CoreSreQ, 0},
    {"*STB?", SCPI_CoreStbQ, 0},
    {"*TST?", My_CoreTstQ, 0},
    {"*WAI", SCPI_CoreWai, 0},
    {"SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ, 0},
    {"SYSTem:ERRor:COUNt?", SCPI_SystemErrorCountQ, 0},
    {"SYSTem:VERSion?", SCPI_SystemVersion, 0},
    {"STATus:QUEStionable[:EVENt]?", SCPI_StatusQuestionableEventQ, 0},
    {"STATus:QUEStionable:ENABle", SCPI_StatusQuestionableEnable, 0},
    {"STATus:QUEStionable:ENABle?", SCPI_StatusQuestionableEnableQ, 0},
    {"STATus:PRESet", SCPI_StatusPresetCmd, 0},
};
// clang-format on

} // namespace

constinit const std::span<const scpi_command_t> scpiCommonCommands = rows;
