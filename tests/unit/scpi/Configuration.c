/*
 * One instrument for every configuration of the library, checked by what it answers.
 */
#include "scpi/scpi.h"

#include <stdio.h>

static char output[4096];
static size_t outputLength;
static int failures;

static size_t writeBytes(scpi_t* context, const char* data, size_t len) {
    (void)context;
    if (len < sizeof output - outputLength) {
        memcpy(output + outputLength, data, len);
        outputLength += len;
        output[outputLength] = '\0';
    }
    return len;
}

static scpi_result_t answerNumber(scpi_t* context) {
    scpi_number_t number;
    if (!SCPI_ParamNumber(context, scpi_special_numbers_def, &number, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultDouble(context, number.content.value);
    SCPI_ResultInt32(context, (int32_t)number.unit);
    return SCPI_RES_OK;
}

static const scpi_command_t commands[] = {{"*CLS", SCPI_CoreCls
#if USE_COMMAND_TAGS
                                           ,
                                           0
#endif
                                          },
                                          {"SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ
#if USE_COMMAND_TAGS
                                           ,
                                           0
#endif
                                          },
                                          {"NUMBer?", answerNumber
#if USE_COMMAND_TAGS
                                           ,
                                           0
#endif
                                          },
                                          SCPI_CMD_LIST_END};

static void expectAnswer(scpi_t* context, const char* line, const char* expected) {
    outputLength = 0;
    output[0] = '\0';
    SCPI_Input(context, line, (int)strlen(line));
    if (strcmp(output, expected) != 0) {
        fprintf(stderr, "%s answered %s instead of %s", line, output, expected);
        failures++;
    }
}

static void expectNumber(const char* what, long got, long expected) {
    if (got != expected) {
        fprintf(stderr, "%s is %ld instead of %ld\n", what, got, expected);
        failures++;
    }
}

#if USE_DEVICE_DEPENDENT_ERROR_INFORMATION && !USE_MEMORY_ALLOCATION_FREE
static void push(scpi_t* context, const char* text) {
    char copy[32];
    strncpy(copy, text, sizeof copy - 1);
    copy[sizeof copy - 1] = '\0';
    SCPI_ErrorPushEx(context, -220, copy, 0);
}

/* 16 bytes: each text takes its length and one more, what does not fit is left out. */
static void checkRing(scpi_t* context) {
    static char ring[16];
    int round;

    push(context, "no ring yet");
    expectAnswer(context, "SYST:ERR?\n", "-220,\"Parameter error\"\r\n");
    SCPI_InitHeap(context, ring, sizeof ring);
    for (round = 0; round < 5; round++) {
        push(context, "Test6");
        push(context, "Test7");
        push(context, "Test8");
        push(context, "abc");
        expectAnswer(context, "SYST:ERR?\n", "-220,\"Parameter error;Test6\"\r\n");
        push(context, "wrap");
        expectAnswer(context, "SYST:ERR?;ERR?\n",
                     "-220,\"Parameter error;Test7\";-220,\"Parameter error\"\r\n");
        expectAnswer(context, "SYST:ERR?\n", "-220,\"Parameter error;abc\"\r\n");
        expectAnswer(context, "SYST:ERR?\n", "-220,\"Parameter error;wrap\"\r\n");
        expectNumber("free bytes", (long)context->error_info_heap.count, 16);
    }
    push(context, "x");
    expectAnswer(context, "SYST:ERR?\n", "-220,\"Parameter error;x\"\r\n");
    push(context, "");
    expectNumber("free bytes beside no text", (long)context->error_info_heap.count, 16);
    expectAnswer(context, "SYST:ERR?\n", "-220,\"Parameter error\"\r\n");
    for (round = 0; round < 8; round++) {
        push(context, "ab");
    }
    expectAnswer(context, "*CLS\n", "");
    expectNumber("free bytes after *CLS", (long)context->error_info_heap.count, 16);
}
#endif

#if USE_CUSTOM_REGISTERS
static void checkRegisters(scpi_t* context) {
    SCPI_RegSet(context, USER_REG_TRANSE, 0xffff);
    SCPI_RegSet(context, USER_REG_TRANSP, 0x0001);
    SCPI_RegSet(context, USER_REG_TRANSN, 0x0002);
    SCPI_RegSet(context, SCPI_REG_QUESE, 0x0400);
    SCPI_RegSet(context, USER_REG_TRANSC, 0x0002);
    expectNumber("events of a bit that appears unfiltered", SCPI_RegGet(context, USER_REG_TRANS),
                 0);
    SCPI_RegSet(context, USER_REG_TRANSC, 0x0001);
    expectNumber("events", SCPI_RegGet(context, USER_REG_TRANS), 3);
    expectNumber("parent condition", SCPI_RegGet(context, SCPI_REG_QUESC), 0x0400);
    expectNumber("parent event", SCPI_RegGet(context, SCPI_REG_QUES), 0x0400);
    expectNumber("status byte", SCPI_RegGet(context, SCPI_REG_STB), STB_QES);
    expectAnswer(context, "*CLS\n", "");
    expectNumber("events after *CLS", SCPI_RegGet(context, USER_REG_TRANS), 0);
    SCPI_ErrorPush(context, USER_ERROR_HOT);
    expectAnswer(context, "SYST:ERR?\n", "1001,\"Transducer too hot\"\r\n");
}
#endif

#if USE_UNITS_IMPERIAL
static void checkImperialUnits(scpi_t* context) {
    static const struct {
        const char* text;
        scpi_unit_t unit;
    } units[] = {{"IN", SCPI_UNIT_INCH},
                 {"FT", SCPI_UNIT_FOOT},
                 {"MI", SCPI_UNIT_MILE},
                 {"NAMI", SCPI_UNIT_NAUTICAL_MILE},
                 {"FAR", SCPI_UNIT_FAHRENHEIT}};
    size_t i;

    for (i = 0; i < sizeof units / sizeof units[0]; i++) {
        char line[32];
        char expected[32];
        snprintf(line, sizeof line, "NUMB? 2 %s\n", units[i].text);
        snprintf(expected, sizeof expected, "2,%d" SCPI_LINE_ENDING, (int)units[i].unit);
        expectAnswer(context, line, expected);
    }
}
#endif

int main(void) {
    static scpi_t context;
    static char input[64];
    static scpi_error_t queue[5];
    scpi_interface_t callbacks = {NULL, writeBytes, NULL, NULL, NULL};

    SCPI_Init(&context, commands, &callbacks, scpi_units_def, NULL, NULL, NULL, NULL, input,
              sizeof input, queue, 5);
    expectAnswer(&context, "NUMB? 2 KHZ\n", "2000,4" SCPI_LINE_ENDING);
    expectAnswer(&context, "number? 2 FT;:SYST:ERR?\n",
                 USE_UNITS_IMPERIAL ? "2,27;0,\"No error\"" SCPI_LINE_ENDING
                                    : "-131,\"Invalid suffix\"" SCPI_LINE_ENDING);
#if USE_DEVICE_DEPENDENT_ERROR_INFORMATION && USE_MEMORY_ALLOCATION_FREE
    expectAnswer(&context, "BAD;SYST:ERR?\n", "-113,\"Undefined header;BAD;\"" SCPI_LINE_ENDING);
#else
    expectAnswer(&context, "BAD;SYST:ERR?\n", "-113,\"Undefined header\"" SCPI_LINE_ENDING);
#endif
    SCPI_ErrorPush(&context, -222);
    expectNumber("queued errors", (long)SCPI_ErrorCount(&context), 1);
    expectAnswer(&context, "SYST:ERR?\n",
                 USE_FULL_ERROR_LIST ? "-222,\"Data out of range\"" SCPI_LINE_ENDING
                                     : "-222,\"Unknown error\"" SCPI_LINE_ENDING);
#if USE_DEVICE_DEPENDENT_ERROR_INFORMATION && !USE_MEMORY_ALLOCATION_FREE
    checkRing(&context);
#endif
#if USE_CUSTOM_REGISTERS
    checkRegisters(&context);
#endif
#if USE_UNITS_IMPERIAL
    checkImperialUnits(&context);
#endif
    return failures ? 1 : 0;
}
