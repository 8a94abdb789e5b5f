#include "ExampleInstrument.h"

#include <array>
#include <cstdlib>

namespace {

ExampleInstrument& instrumentOf(scpi_t* context) {
    return *static_cast<ExampleInstrument*>(context->user_context);
}

size_t onWrite(scpi_t* context, const char* data, size_t len) {
    instrumentOf(context).output.append(data, len);
    instrumentOf(context).calls.push_back("write(" + std::to_string(len) + ")");
    return len;
}

int onError(scpi_t* context, int_fast16_t error) {
    instrumentOf(context).calls.push_back("error(" + std::to_string(error) + ")");
    return 0;
}

scpi_result_t onControl(scpi_t* context, scpi_ctrl_name_t ctrl, scpi_reg_val_t val) {
    instrumentOf(context).calls.push_back("control(" + std::to_string(ctrl) + "," +
                                          std::to_string(val) + ")");
    return SCPI_RES_OK;
}

scpi_result_t onFlush(scpi_t* context) {
    instrumentOf(context).calls.emplace_back("flush");
    return SCPI_RES_OK;
}

scpi_result_t onReset(scpi_t* context) {
    instrumentOf(context).calls.emplace_back("reset");
    return SCPI_RES_OK;
}

// Reads one mandatory value and writes it back.
template <auto Reader, auto Writer, typename Value> scpi_result_t echo(scpi_t* context) {
    Value value{};
    if (!Reader(context, &value, TRUE)) {
        return SCPI_RES_ERR;
    }
    Writer(context, value);
    return SCPI_RES_OK;
}

size_t writeUInt32(scpi_t* context, uint32_t value) {
    return SCPI_ResultUInt32(context, value);
}

constexpr std::array<scpi_choice_def_t, 4> triggerSources = {
    {{"BUS", 5}, {"IMMediate", 6}, {"EXTernal", 7}, SCPI_CHOICE_LIST_END}};

scpi_result_t echoChoice(scpi_t* context) {
    int32_t tag = 0;
    const char* name = nullptr;
    if (!SCPI_ParamChoice(context, triggerSources.data(), &tag, TRUE) ||
        !SCPI_ChoiceToName(triggerSources.data(), tag, &name)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultInt32(context, tag);
    SCPI_ResultMnemonic(context, name);
    return SCPI_RES_OK;
}

scpi_result_t echoText(scpi_t* context) {
    std::array<char, 16> text{};
    size_t length = 0;
    if (!SCPI_ParamCopyText(context, text.data(), text.size(), &length, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultInt32(context, static_cast<int32_t>(length));
    SCPI_ResultText(context, text.data());
    return SCPI_RES_OK;
}

scpi_result_t echoCharacters(scpi_t* context) {
    const char* text = nullptr;
    size_t length = 0;
    if (!SCPI_ParamCharacters(context, &text, &length, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultInt32(context, static_cast<int32_t>(length));
    SCPI_ResultCharacters(context, text, length);
    return SCPI_RES_OK;
}

scpi_result_t echoBlock(scpi_t* context) {
    const char* data = nullptr;
    size_t length = 0;
    if (!SCPI_ParamArbitraryBlock(context, &data, &length, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultArbitraryBlock(context, data, length);
    return SCPI_RES_OK;
}

scpi_result_t showNumber(scpi_t* context) {
    scpi_number_t number{};
    if (!SCPI_ParamNumber(context, scpi_special_numbers_def, &number, TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultBool(context, number.special);
    if (number.special) {
        SCPI_ResultInt32(context, number.content.tag);
    } else {
        SCPI_ResultDouble(context, number.content.value);
    }
    SCPI_ResultInt32(context, number.unit);
    SCPI_ResultInt32(context, number.base);
    return SCPI_RES_OK;
}

scpi_result_t showNumberText(scpi_t* context) {
    scpi_number_t number{};
    std::array<char, 32> text{};
    if (!SCPI_ParamNumber(context, scpi_special_numbers_def, &number, TRUE)) {
        return SCPI_RES_ERR;
    }
    const size_t length =
        SCPI_NumberToStr(context, scpi_special_numbers_def, &number, text.data(), text.size());
    SCPI_ResultCharacters(context, text.data(), length);
    return SCPI_RES_OK;
}

scpi_result_t echoList(scpi_t* context) {
    std::array<int32_t, 4> values{};
    size_t count = 0;
    if (!SCPI_ParamArrayInt32(context, values.data(), values.size(), &count, SCPI_FORMAT_ASCII,
                              TRUE)) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultInt32(context, static_cast<int32_t>(count));
    SCPI_ResultArrayInt32(context, values.data(), count, SCPI_FORMAT_ASCII);
    return SCPI_RES_OK;
}

scpi_result_t showOptional(scpi_t* context) {
    int32_t value = -1;
    const scpi_bool_t result = SCPI_ParamInt32(context, &value, FALSE);
    SCPI_ResultBool(context, result);
    SCPI_ResultInt32(context, value);
    SCPI_ResultBool(context, SCPI_ParamErrorOccurred(context));
    return SCPI_RES_OK;
}

scpi_result_t showToken(scpi_t* context) {
    scpi_parameter_t token{};
    const scpi_bool_t result = SCPI_Parameter(context, &token, FALSE);
    SCPI_ResultBool(context, result);
    SCPI_ResultBool(context, SCPI_ParamIsValid(&token));
    SCPI_ResultInt32(context, token.type);
    SCPI_ResultInt32(context, token.len);
    if (token.len > 0) {
        SCPI_ResultCharacters(context, token.ptr, static_cast<size_t>(token.len));
    }
    return SCPI_RES_OK;
}

/// Shows every entry of the list that is the parameter, and "END" behind the last one.
template <typename ShowEntry> scpi_result_t showEntries(scpi_t* context, ShowEntry showEntry) {
    scpi_parameter_t list{};
    if (!SCPI_Parameter(context, &list, TRUE)) {
        return SCPI_RES_ERR;
    }
    scpi_expr_result_t result = SCPI_EXPR_OK;
    for (int i = 0; result == SCPI_EXPR_OK; i++) {
        result = showEntry(context, list, i);
    }
    if (result == SCPI_EXPR_ERROR) {
        return SCPI_RES_ERR;
    }
    SCPI_ResultMnemonic(context, "END");
    return SCPI_RES_OK;
}

scpi_expr_result_t showNumericEntry(scpi_t* context, scpi_parameter_t& list, int index) {
    scpi_bool_t isRange = FALSE;
    int32_t from = 0;
    int32_t to = 0;
    const scpi_expr_result_t result =
        SCPI_ExprNumericListEntryInt(context, &list, index, &isRange, &from, &to);
    if (result == SCPI_EXPR_OK) {
        SCPI_ResultInt32(context, from);
    }
    if (result == SCPI_EXPR_OK && isRange) {
        SCPI_ResultMnemonic(context, "TO");
        SCPI_ResultInt32(context, to);
    }
    return result;
}

scpi_result_t showNumericList(scpi_t* context) {
    return showEntries(context, showNumericEntry);
}

scpi_expr_result_t showChannelEntry(scpi_t* context, scpi_parameter_t& list, int index) {
    scpi_bool_t isRange = FALSE;
    std::array<int32_t, 3> from{};
    std::array<int32_t, 3> to{};
    size_t dimensions = 0;
    const scpi_expr_result_t result = SCPI_ExprChannelListEntry(
        context, &list, index, &isRange, from.data(), to.data(), from.size(), &dimensions);
    if (result == SCPI_EXPR_OK) {
        const size_t shown = std::min(dimensions, from.size());
        SCPI_ResultMnemonic(context, isRange ? "R" : "S");
        SCPI_ResultArrayInt32(context, from.data(), shown, SCPI_FORMAT_ASCII);
        SCPI_ResultArrayInt32(context, to.data(), isRange ? shown : 0, SCPI_FORMAT_ASCII);
    }
    return result;
}

scpi_result_t showChannelList(scpi_t* context) {
    return showEntries(context, showChannelEntry);
}

scpi_result_t fail(scpi_t*) {
    return SCPI_RES_ERR;
}

scpi_result_t writeAndFail(scpi_t* context) {
    SCPI_ResultInt32(context, 9);
    return SCPI_RES_ERR;
}

scpi_result_t pushAndFail(scpi_t* context) {
    SCPI_ErrorPush(context, SCPI_ERROR_PARAMETER_ERROR);
    return SCPI_RES_ERR;
}

scpi_result_t pushAndSucceed(scpi_t* context) {
    SCPI_ErrorPush(context, SCPI_ERROR_SETTINGS_CONFLICT);
    SCPI_ResultInt32(context, 4);
    return SCPI_RES_OK;
}

scpi_result_t succeed(scpi_t*) {
    return SCPI_RES_OK;
}

template <int Value> scpi_result_t write(scpi_t* context) {
    SCPI_ResultInt32(context, Value);
    return SCPI_RES_OK;
}

scpi_result_t writeSeveral(scpi_t* context) {
    SCPI_ResultInt32(context, 1);
    SCPI_ResultMnemonic(context, "TWO");
    SCPI_ResultText(context, "th\"ree");
    SCPI_ResultBool(context, TRUE);
    return SCPI_RES_OK;
}

scpi_result_t showNumbers(scpi_t* context) {
    std::array<int32_t, 2> numbers = {-7, -7};
    const scpi_bool_t result = SCPI_CommandNumbers(context, numbers.data(), numbers.size(), 1);
    SCPI_ResultBool(context, result);
    SCPI_ResultArrayInt32(context, numbers.data(), numbers.size(), SCPI_FORMAT_ASCII);
    return SCPI_RES_OK;
}

// All that a handler may look at.
scpi_result_t show(scpi_t* context) {
    SCPI_ResultInt32(context, SCPI_CmdTag(context));
    SCPI_ResultMnemonic(context, context->param_list.cmd->pattern);
    SCPI_ResultInt32(context, static_cast<int32_t>(context->param_list.cmd_raw.length));
    SCPI_ResultText(context, context->param_list.cmd_raw.data);
    SCPI_ResultInt32(context, context->param_list.lex_state.len);
    SCPI_ResultText(context, context->param_list.lex_state.buffer);
    SCPI_ResultInt32(context, static_cast<int32_t>(context->buffer.position));
    SCPI_ResultText(context, context->buffer.data);
    scpi_parameter_t token{};
    while (SCPI_Parameter(context, &token, FALSE)) {
    }
    return SCPI_RES_OK;
}

scpi_result_t writeTag(scpi_t* context) {
    SCPI_ResultInt32(context, SCPI_CmdTag(context));
    return SCPI_RES_OK;
}

constexpr scpi_command_t commands[] = {
    {"*CLS", SCPI_CoreCls, 0},
    {"*ESE", SCPI_CoreEse, 0},
    {"*ESE?", SCPI_CoreEseQ, 0},
    {"*ESR?", SCPI_CoreEsrQ, 0},
    {"*IDN?", SCPI_CoreIdnQ, 0},
    {"*OPC", SCPI_CoreOpc, 0},
    {"*OPC?", SCPI_CoreOpcQ, 0},
    {"*RST", SCPI_CoreRst, 0},
    {"*SRE", SCPI_CoreSre, 0},
    {"*SRE?", SCPI_CoreSreQ, 0},
    {"*STB?", SCPI_CoreStbQ, 0},
    {"*TST?", SCPI_CoreTstQ, 0},
    {"*WAI", SCPI_CoreWai, 0},
    {"SYSTem:ERRor[:NEXT]?", SCPI_SystemErrorNextQ, 0},
    {"SYSTem:ERRor:COUNt?", SCPI_SystemErrorCountQ, 0},
    {"SYSTem:VERSion?", SCPI_SystemVersionQ, 0},
    {"STATus:QUEStionable[:EVENt]?", SCPI_StatusQuestionableEventQ, 0},
    {"STATus:QUEStionable:CONDition?", SCPI_StatusQuestionableConditionQ, 0},
    {"STATus:QUEStionable:ENABle", SCPI_StatusQuestionableEnable, 0},
    {"STATus:QUEStionable:ENABle?", SCPI_StatusQuestionableEnableQ, 0},
    {"STATus:OPERation[:EVENt]?", SCPI_StatusOperationEventQ, 0},
    {"STATus:OPERation:CONDition?", SCPI_StatusOperationConditionQ, 0},
    {"STATus:OPERation:ENABle", SCPI_StatusOperationEnable, 0},
    {"STATus:OPERation:ENABle?", SCPI_StatusOperationEnableQ, 0},
    {"STATus:PRESet", SCPI_StatusPreset, 0},
    {"STUB", SCPI_Stub, 0},
    {"STUB?", SCPI_StubQ, 0},
    {"VALue:INTeger?", echo<SCPI_ParamInt32, SCPI_ResultInt32, int32_t>, 0},
    {"VALue:UINTeger?", echo<SCPI_ParamUInt32, writeUInt32, uint32_t>, 0},
    {"VALue:LONG?", echo<SCPI_ParamInt64, SCPI_ResultInt64, int64_t>, 0},
    {"VALue:FLOat?", echo<SCPI_ParamFloat, SCPI_ResultFloat, float>, 0},
    {"VALue:DOUBle?", echo<SCPI_ParamDouble, SCPI_ResultDouble, double>, 0},
    {"VALue:BOOLean?", echo<SCPI_ParamBool, SCPI_ResultBool, scpi_bool_t>, 0},
    {"VALue:CHOice?", echoChoice, 0},
    {"VALue:TEXT?", echoText, 0},
    {"VALue:CHARacters?", echoCharacters, 0},
    {"VALue:BLOCk?", echoBlock, 0},
    {"VALue:NUMBer?", showNumber, 0},
    {"VALue:NSTRing?", showNumberText, 0},
    {"VALue:LIST?", echoList, 0},
    {"VALue:OPTional?", showOptional, 0},
    {"VALue:RAW?", showToken, 0},
    {"VALue:NLISt?", showNumericList, 0},
    {"VALue:CLISt?", showChannelList, 0},
    {"FAIL", fail, 0},
    {"FAIL?", fail, 0},
    {"FAIL:OUTPut?", writeAndFail, 0},
    {"FAIL:PUSH?", pushAndFail, 0},
    {"FAIL:LATE?", pushAndSucceed, 0},
    {"NOOUt?", succeed, 0},
    {"EMIT", write<7>, 0},
    {"MULTi?", writeSeveral, 0},
    {"NOHAndler?", nullptr, 0},
    {"NOHAndler", nullptr, 0},
    {"SOURce#:CHANnel#?", showNumbers, 0},
    {"GEN#[:PORT#]:LEVel?", showNumbers, 0},
    {"LINE[:TAP#]?", showNumbers, 0},
    {"SHOW?", show, 42},
    {"SHOW", show, 43},
    {"TEST:SHOW?", show, 44},
    {"TEST:TREE:A?", write<10>, 0},
    {"TEST:TREE:B?", write<20>, 0},
    {"[:SENSe]:FREQuency[:CW]?", writeTag, 1},
    {"READ[:SCALar][:LEFT][:RIGHt]:AVERage?", writeTag, 2},
    {"MARKer[:AREA]:POINt1[:MEAN]?", writeTag, 3},
    {"MARKer[:AREA]:POINt2[:MEAN]?", writeTag, 4},
    {"MARKer[:AREA]:POIN2[:MEAN]?", writeTag, 5},
    {"SYSTem:UNIT[:9X]:SN?", writeTag, 6},
    {"CLOCk[:MAIN]:PERiod?", writeTag, 7},
    {"SYSTem:COMMunicate:RS232:BAUD?", writeTag, 8},
    {"DUPLicate?", writeTag, 9},
    {"DUPL?", writeTag, 10},
    SCPI_CMD_LIST_END,
};

} // namespace

const scpi_command_t* exampleCommands() {
    return commands;
}

ExampleInstrument::ExampleInstrument(int queueSize, const scpi_unit_def_t* units,
                                     const scpi_command_t* table, size_t bufferSize)
    : interface {
    onError, onWrite, onControl, onFlush, onReset
}, buffer(std::make_unique<char[]>(bufferSize)), queue(static_cast<size_t>(queueSize)) {
    SCPI_Init(&scpi, table ? table : commands, &interface, units, "ACME", "M1", nullptr, "1.0",
              buffer.get(), bufferSize, queue.data(), static_cast<int16_t>(queueSize));
    scpi.user_context = this;
}

ExampleInstrument::~ExampleInstrument() {
    SCPI_ErrorClear(&scpi);
}

bool ExampleInstrument::input(std::string_view bytes) {
    return SCPI_Input(&scpi, bytes.empty() ? nullptr : bytes.data(),
                      static_cast<int>(bytes.size()));
}

std::string ExampleInstrument::takeErrors() {
    std::string text;
    while (SCPI_ErrorCount(&scpi) > 0) {
        scpi_error_t error{};
        SCPI_ErrorPop(&scpi, &error);
        text += text.empty() ? "" : ", ";
        text += std::to_string(error.error_code);
        if (error.device_dependent_info) {
            text += " <" + std::string(error.device_dependent_info) + ">";
            std::free(error.device_dependent_info);
        }
    }
    return text;
}

std::string ExampleInstrument::callbacks(bool withOutput) const {
    std::string text;
    for (const std::string& call : calls) {
        if (withOutput || (call != "flush" && !call.starts_with("write("))) {
            text += (text.empty() ? "" : " ") + call;
        }
    }
    return text;
}

std::string describeErrors(const std::vector<QueuedError>& errors) {
    std::string text;
    for (const QueuedError& error : errors) {
        text += text.empty() ? "" : ", ";
        text += std::to_string(error.code);
        if (error.info) {
            text += " <" + std::string(*error.info) + ">";
        }
    }
    return text;
}
