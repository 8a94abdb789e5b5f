// The SCPI library's input: any bytes in any pieces, with any options. The first byte chooses the
// options, the second the size of the pieces; the rest is what a client sends.
#include "scpi/scpi.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t inputSize = 96;

scpi_result_t readEverything(scpi_t* context) {
    scpi_parameter_t parameter{};
    while (SCPI_Parameter(context, &parameter, FALSE)) {
        SCPI_ResultCharacters(context, parameter.ptr, static_cast<size_t>(parameter.len));
        double value = 0;
        int64_t whole = 0;
        SCPI_ParamToDouble(context, &parameter, &value);
        SCPI_ParamToInt64(context, &parameter, &whole);
    }
    return SCPI_RES_OK;
}

scpi_result_t readNumbers(scpi_t* context) {
    scpi_number_t number{};
    std::array<char, 16> text{};
    std::array<int32_t, 3> suffixes{};
    SCPI_CommandNumbers(context, suffixes.data(), suffixes.size(), 1);
    while (SCPI_ParamNumber(context, scpi_special_numbers_def, &number, FALSE)) {
        SCPI_NumberToStr(context, scpi_special_numbers_def, &number, text.data(), text.size());
        SCPI_ResultText(context, text.data());
    }
    return SCPI_RES_OK;
}

scpi_result_t readText(scpi_t* context) {
    std::array<char, 8> text{};
    size_t length = 0;
    if (!SCPI_ParamCopyText(context, text.data(), text.size(), &length, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultText(context, text.data());
    return SCPI_RES_OK;
}

scpi_result_t readLists(scpi_t* context) {
    scpi_parameter_t list{};
    scpi_bool_t isRange = FALSE;
    std::array<int32_t, 2> from{};
    std::array<int32_t, 2> to{};
    size_t dimensions = 0;
    if (!SCPI_Parameter(context, &list, TRUE)) {
        return SCPI_RES_ERR;
    }
    for (int i = 0; SCPI_ExprNumericListEntryInt(context, &list, i, &isRange, from.data(),
                                                 to.data()) == SCPI_EXPR_OK;
         i++) {
        SCPI_ResultInt32(context, from[0]);
    }
    for (int i = 0; SCPI_ExprChannelListEntry(context, &list, i, &isRange, from.data(), to.data(),
                                              from.size(), &dimensions) == SCPI_EXPR_OK;
         i++) {
        SCPI_ResultInt32(context, to[1]);
    }
    return SCPI_RES_OK;
}

constexpr scpi_command_t commands[] = {
    {"*CLS", SCPI_CoreCls, 0},
    {"*ESE", SCPI_CoreEse, 0},
    {"*SRE", SCPI_CoreSre, 0},
    {"*IDN?", SCPI_CoreIdnQ, 0},
    {"SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ, 0},
    {"STATus:QUEStionable:ENABle", SCPI_StatusQuestionableEnable, 0},
    {"READ[:ALL]?", readEverything, 0},
    {"READ#[:CHANnel#]:NUMBer#?", readNumbers, 0},
    {"READ:TEXT[:9X]?", readText, 0},
    {"[:READ]:LIST?", readLists, 0},
    SCPI_CMD_LIST_END,
};

size_t countBytes(scpi_t* context, const char* data, size_t len) {
    // Every byte is looked at, so that a sanitizer sees what is not there.
    size_t* sum = static_cast<size_t*>(context->user_context);
    for (size_t i = 0; i < len; i++) {
        *sum += static_cast<unsigned char>(data[i]);
    }
    return len;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) {
        return 0;
    }
    static scpi_t context;
    scpi_interface_t callbacks = {nullptr, countBytes, nullptr, nullptr, nullptr};
    // Allocated, so that an access behind its end is noticed.
    char* input = static_cast<char*>(std::malloc(inputSize));
    std::array<scpi_error_t, 3> errors{};
    size_t sum = 0;

    SCPI_Init(&context, commands, &callbacks, scpi_units_def, "A", "B", nullptr, "D", input,
              inputSize, errors.data(), static_cast<int16_t>(errors.size()));
    context.user_context = &sum;
    SCPI_SetOptions(&context, data[0] % 8u);
    const size_t pieceSize = 1 + data[1] % inputSize;
    for (size_t at = 2; at < size; at += pieceSize) {
        const size_t length = std::min(pieceSize, size - at);
        SCPI_Input(&context, reinterpret_cast<const char*>(data) + at, static_cast<int>(length));
    }
    SCPI_Input(&context, nullptr, 0);
    SCPI_ErrorClear(&context);
    std::free(input);
    return 0;
}
