/*
 * IEEE 488.2: common commands and status registers.
 */
#ifndef SCPI_IEEE488_H
#define SCPI_IEEE488_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Handlers of the common commands that their names end in. */
scpi_result_t SCPI_CoreCls(scpi_t* context);
scpi_result_t SCPI_CoreEse(scpi_t* context);
scpi_result_t SCPI_CoreEseQ(scpi_t* context);
scpi_result_t SCPI_CoreEsrQ(scpi_t* context);
scpi_result_t SCPI_CoreIdnQ(scpi_t* context);
scpi_result_t SCPI_CoreOpc(scpi_t* context);
scpi_result_t SCPI_CoreOpcQ(scpi_t* context);
scpi_result_t SCPI_CoreRst(scpi_t* context);
scpi_result_t SCPI_CoreSre(scpi_t* context);
scpi_result_t SCPI_CoreSreQ(scpi_t* context);
scpi_result_t SCPI_CoreStbQ(scpi_t* context);
scpi_result_t SCPI_CoreTstQ(scpi_t* context);
scpi_result_t SCPI_CoreWai(scpi_t* context);

/* Status byte. */
#define STB_R01 0x01 /* not used */
#define STB_PRO 0x02 /* protection event */
#define STB_QMA 0x04 /* error queue is not empty */
#define STB_QES 0x08 /* questionable status */
#define STB_MAV 0x10 /* message available */
#define STB_ESR 0x20 /* standard event status */
#define STB_SRQ 0x40 /* service request */
#define STB_OPS 0x80 /* operation status */

/* Standard event status. */
#define ESR_OPC 0x01 /* operation complete */
#define ESR_REQ 0x02 /* request control */
#define ESR_QER 0x04 /* query error */
#define ESR_DER 0x08 /* device error */
#define ESR_EER 0x10 /* execution error */
#define ESR_CER 0x20 /* command error */
#define ESR_URQ 0x40 /* user request */
#define ESR_PON 0x80 /* power on */

/* Value of a register, 0 for a name that is none. */
scpi_reg_val_t SCPI_RegGet(scpi_t* context, scpi_reg_name_t name);
/* Writes a register and lets the status system follow; an equal value changes nothing. */
void SCPI_RegSet(scpi_t* context, scpi_reg_name_t name, scpi_reg_val_t val);
void SCPI_RegSetBits(scpi_t* context, scpi_reg_name_t name, scpi_reg_val_t bits);
void SCPI_RegClearBits(scpi_t* context, scpi_reg_name_t name, scpi_reg_val_t bits);

/* Sets the standard event status to 0. */
void SCPI_EventClear(scpi_t* context);

#ifdef __cplusplus
}
#endif

#endif
