/*
 * Stock handlers of common, SYSTem and STATus commands.
 */
#include "errorinfo.h"
#include "scpi/constants.h"
#include "scpi/error.h"
#include "scpi/ieee488.h"
#include "scpi/minimal.h"
#include "scpi/parser.h"
#include "status.h"

static scpi_result_t answerRegister(scpi_t* context, scpi_reg_name_t name) {
    (void)SCPI_ResultInt32(context, SCPI_RegGet(context, name));
    return SCPI_RES_OK;
}

static scpi_result_t answerAndClear(scpi_t* context, scpi_reg_name_t name) {
    (void)answerRegister(context, name);
    SCPI_RegSet(context, name, 0);
    return SCPI_RES_OK;
}

/* Any integer is taken, its low 16 bits are kept. */
static scpi_result_t readRegister(scpi_t* context, scpi_reg_name_t name) {
    int32_t value = 0;
    if (!SCPI_ParamInt32(context, &value, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_RegSet(context, name, (scpi_reg_val_t)((uint32_t)value & 0xffffu));
    return SCPI_RES_OK;
}

scpi_result_t SCPI_CoreCls(scpi_t* context) {
    SCPI_ErrorClear(context);
    scpiClearEvents(context);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_CoreEse(scpi_t* context) {
    return readRegister(context, SCPI_REG_ESE);
}

scpi_result_t SCPI_CoreEseQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_ESE);
}

scpi_result_t SCPI_CoreEsrQ(scpi_t* context) {
    return answerAndClear(context, SCPI_REG_ESR);
}

scpi_result_t SCPI_CoreIdnQ(scpi_t* context) {
    size_t i;
    for (i = 0; i < sizeof context->idn / sizeof context->idn[0]; i++) {
        const char* field = context->idn[i] ? context->idn[i] : "0";
        (void)SCPI_ResultMnemonic(context, field);
    }
    return SCPI_RES_OK;
}

scpi_result_t SCPI_CoreOpc(scpi_t* context) {
    SCPI_RegSetBits(context, SCPI_REG_ESR, ESR_OPC);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_CoreOpcQ(scpi_t* context) {
    (void)SCPI_ResultInt32(context, 1);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_CoreRst(scpi_t* context) {
    if (context && context->interface && context->interface->reset) {
        return context->interface->reset(context);
    }
    return SCPI_RES_OK;
}

scpi_result_t SCPI_CoreSre(scpi_t* context) {
    return readRegister(context, SCPI_REG_SRE);
}

scpi_result_t SCPI_CoreSreQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_SRE);
}

scpi_result_t SCPI_CoreStbQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_STB);
}

scpi_result_t SCPI_CoreTstQ(scpi_t* context) {
    return SCPI_StubQ(context);
}

scpi_result_t SCPI_CoreWai(scpi_t* context) {
    return SCPI_Stub(context);
}

scpi_result_t SCPI_Stub(scpi_t* context) {
    (void)context;
    return SCPI_RES_OK;
}

scpi_result_t SCPI_StubQ(scpi_t* context) {
    (void)SCPI_ResultInt32(context, 0);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemVersionQ(scpi_t* context) {
    (void)SCPI_ResultMnemonic(context, SCPI_STD_VERSION_REVISION);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemErrorNextQ(scpi_t* context) {
    scpi_error_t error;
    if (!SCPI_ErrorPop(context, &error)) {
        return SCPI_RES_ERR;
    }
    (void)SCPI_ResultError(context, &error);
    scpiErrorInfoFree(&error);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_SystemErrorCountQ(scpi_t* context) {
    (void)SCPI_ResultInt32(context, SCPI_ErrorCount(context));
    return SCPI_RES_OK;
}

scpi_result_t SCPI_StatusQuestionableEventQ(scpi_t* context) {
    return answerAndClear(context, SCPI_REG_QUES);
}

scpi_result_t SCPI_StatusQuestionableConditionQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_QUESC);
}

/* An unreadable number that pushed no error is ignored; one that did fails the command anyway. */
scpi_result_t SCPI_StatusQuestionableEnable(scpi_t* context) {
    (void)readRegister(context, SCPI_REG_QUESE);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_StatusQuestionableEnableQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_QUESE);
}

scpi_result_t SCPI_StatusOperationEventQ(scpi_t* context) {
    return answerAndClear(context, SCPI_REG_OPER);
}

scpi_result_t SCPI_StatusOperationConditionQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_OPERC);
}

scpi_result_t SCPI_StatusOperationEnable(scpi_t* context) {
    (void)readRegister(context, SCPI_REG_OPERE);
    return SCPI_RES_OK;
}

scpi_result_t SCPI_StatusOperationEnableQ(scpi_t* context) {
    return answerRegister(context, SCPI_REG_OPERE);
}

scpi_result_t SCPI_StatusPreset(scpi_t* context) {
    SCPI_RegSet(context, SCPI_REG_QUES, 0);
    return SCPI_RES_OK;
}
