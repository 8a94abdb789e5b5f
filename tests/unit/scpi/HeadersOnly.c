/*
 * A program in the common part of all standards of C and C++ that uses every header and every
 * kind of initialiser.
 */
#include "scpi/scpi.h"

static scpi_result_t answer(scpi_t* context) {
    SCPI_ResultMnemonic(context, "text");
    SCPI_ResultInt8(context, 1);
    SCPI_ResultUInt8(context, 1);
    SCPI_ResultUInt16Base(context, 1, 16);
    SCPI_ResultUInt32(context, 1);
    SCPI_ResultUInt64(context, 1);
    SCPI_ResultInt(context, 1);
    return SCPI_RES_OK;
}

static size_t writeBytes(scpi_t* context, const char* data, size_t len) {
    (void)context;
    (void)data;
    return len;
}

static const scpi_command_t commands[] = {{"TEST#?", answer, 1}, SCPI_CMD_LIST_END};

static const scpi_unit_def_t units[] = {{"V", SCPI_UNIT_VOLT, 1}, SCPI_UNITS_LIST_END};

static const scpi_choice_def_t choices[] = {{"BUS", 1}, SCPI_CHOICE_LIST_END};

static scpi_interface_t callbacks = {NULL, writeBytes, NULL, NULL, NULL};

int main(void) {
    static scpi_t context;
    static char buffer[64];
    static scpi_error_t queue[4];
    int32_t value = FALSE;
    scpi_bool_t on = TRUE;
    const double limits[2] = {INFINITY, NAN};

    SCPI_Init(&context, commands, &callbacks, units, "a", "b", NULL, "d", buffer, sizeof buffer,
              queue, 4);
    SCPI_SetOptions(&context, SCPI_OPTION_DOTTED_ADDRESS);
    (void)SCPI_ParamInt(&context, &value, FALSE);
    (void)SCPI_ParamChoice(&context, choices, &value, FALSE);
    (void)SCPI_ParamBool(&context, &on, FALSE);
    SCPI_EventClear(&context);
    return SCPI_Input(&context, "TEST1?\n", 7) && limits[0] > 0 ? 0 : 1;
}
