/*
 * A voltmeter with one range, on standard input and output:
 *
 *     $ printf 'CONF:RANG 500 mV;RANG?;:MEAS:VOLT?\nBOGUS;:SYST:ERR?\n' | ./voltmeter
 *     0.5;0.1234
 *     -113,"Undefined header;BOGUS;"
 */
#include "scpi/scpi.h"

#include <stdio.h>

static double range_V = 10.0;

static scpi_result_t setRange(scpi_t* context) {
    scpi_number_t range;

    if (!SCPI_ParamNumber(context, scpi_special_numbers_def, &range, TRUE)) {
        return SCPI_RES_ERR;
    }
    if (range.special || (range.unit != SCPI_UNIT_NONE && range.unit != SCPI_UNIT_VOLT)) {
        SCPI_ErrorPush(context, SCPI_ERROR_ILLEGAL_PARAMETER_VALUE);
        return SCPI_RES_ERR;
    }
    range_V = range.content.value;
    return SCPI_RES_OK;
}

static scpi_result_t answerRange(scpi_t* context) {
    SCPI_ResultDouble(context, range_V);
    return SCPI_RES_OK;
}

static scpi_result_t measure(scpi_t* context) {
    SCPI_ResultDouble(context, 0.1234);
    return SCPI_RES_OK;
}

static size_t writeBytes(scpi_t* context, const char* data, size_t len) {
    return fwrite(data, 1, len, (FILE*)context->user_context);
}

static scpi_result_t flush(scpi_t* context) {
    return fflush((FILE*)context->user_context) == 0 ? SCPI_RES_OK : SCPI_RES_ERR;
}

static const scpi_command_t commands[] = {
    {"*CLS", SCPI_CoreCls, 0},
    {"*IDN?", SCPI_CoreIdnQ, 0},
    {"SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ, 0},
    {"CONFigure:RANGe", setRange, 0},
    {"CONFigure:RANGe?", answerRange, 0},
    {"MEASure[:VOLTage]?", measure, 0},
    SCPI_CMD_LIST_END,
};

int main(void) {
    static scpi_t context;
    static char input[256];
    static scpi_error_t errors[16];
    scpi_interface_t callbacks = {NULL, writeBytes, NULL, flush, NULL};
    int byte;

    SCPI_Init(&context, commands, &callbacks, scpi_units_def, "EXAMPLE", "VOLTMETER", NULL, "1.0",
              input, sizeof input, errors, 16);
    context.user_context = stdout;
    while ((byte = getchar()) != EOF) {
        const char received = (char)byte;
        SCPI_Input(&context, &received, 1);
    }
    SCPI_Input(&context, NULL, 0);
    SCPI_ErrorClear(&context);
    return 0;
}
