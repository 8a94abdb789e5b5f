/*
 * Handlers of the SYSTem and STATus commands that every instrument has, and stubs.
 */
#ifndef SCPI_MINIMAL_H
#define SCPI_MINIMAL_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Does nothing. */
scpi_result_t SCPI_Stub(scpi_t* context);
/* Answers 0. */
scpi_result_t SCPI_StubQ(scpi_t* context);

scpi_result_t SCPI_SystemVersionQ(scpi_t* context);
scpi_result_t SCPI_SystemErrorNextQ(scpi_t* context);
scpi_result_t SCPI_SystemErrorCountQ(scpi_t* context);
scpi_result_t SCPI_StatusQuestionableEventQ(scpi_t* context);
scpi_result_t SCPI_StatusQuestionableConditionQ(scpi_t* context);
scpi_result_t SCPI_StatusQuestionableEnable(scpi_t* context);
scpi_result_t SCPI_StatusQuestionableEnableQ(scpi_t* context);
scpi_result_t SCPI_StatusOperationEventQ(scpi_t* context);
scpi_result_t SCPI_StatusOperationConditionQ(scpi_t* context);
scpi_result_t SCPI_StatusOperationEnable(scpi_t* context);
scpi_result_t SCPI_StatusOperationEnableQ(scpi_t* context);
/* Clears the questionable event register only. */
scpi_result_t SCPI_StatusPreset(scpi_t* context);

#ifdef __cplusplus
}
#endif

#endif
