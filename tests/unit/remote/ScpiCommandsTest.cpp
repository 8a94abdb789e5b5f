#include "ScpiCommands.h"

#include "CommandForms.h"
#include "RemoteInstrument.h"
#include "ScpiErrors.h"
#include "World.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

// clang-format off
const std::vector<std::string> commonPatterns = {
    "*CLS",
    "*ESE",
    "*ESE?",
    "*ESR?",
    "*IDN?",
    "*OPC",
    "*OPC?",
    "*RST",
    "*SRE",
    "*SRE?",
    "*STB?",
    "*TST?",
    "*WAI",
    "SYSTem:ERRor[:NEXT]?",
    "SYSTem:ERRor:COUNt?",
    "SYSTem:VERSion?",
    "STATus:QUEStionable[:EVENt]?",
    "STATus:QUEStionable:ENABle",
    "STATus:QUEStionable:ENABle?",
    "STATus:PRESet",
};

const std::vector<std::string> identityPatterns = {
    "SYSTem:IDENtity[:8830K][:MODel]?",
    "SYSTem:IDENtity[:8830K]:SN?",
    "SYSTem:IDENtity[:8830K]:FWRev?",
    "SYSTem:IDENtity:SENSor[:MODel]?",
    "SYSTem:IDENtity:SENSor:SN?",
    "SYSTem:IDENtity:SENSor:FWRev?",
};
// clang-format on

namespace {

/// Every pattern of the command table, in its order.
const std::vector<std::string>& allPatterns() {
    static const std::vector<std::string> patterns = [] {
        std::vector<std::string> all;
        for (const auto* subsystem :
             {&commonPatterns, &measurePatterns, &pulsePatterns, &identityPatterns, &serialPatterns,
              &lanPatterns, &pulseModePatterns, &screenPatterns, &tracePatterns}) {
            all.insert(all.end(), subsystem->begin(), subsystem->end());
        }
        return all;
    }();
    return patterns;
}

/// First row whose pattern matches; the count of rows if none does.
size_t firstRow(const std::string& header) {
    size_t row = 0;
    while (row < ScpiCommands_count() &&
           !SCPI_Match(scpi_commands[row].pattern, header.c_str(), header.size())) {
        ++row;
    }
    return row;
}

/// The row that a link ran for this header; the count of rows if it was undefined.
size_t rowRun(RemoteInstrument& instrument, const std::string& header) {
    instrument.context.param_list.cmd = nullptr;
    instrument.send(header);
    SCPI_ErrorClear(&instrument.context);
    const scpi_command_t* row = instrument.context.param_list.cmd;
    return row == nullptr ? ScpiCommands_count() : static_cast<size_t>(row - scpi_commands.data());
}

TEST(ScpiCommands, HoldEveryPatternInItsOrder) {
    const std::vector<std::string>& patterns = allPatterns();
    ASSERT_EQ(patterns.size(), ScpiCommands_count());
    for (size_t row = 0; row < ScpiCommands_count(); ++row) {
        EXPECT_EQ(scpi_commands[row].pattern, patterns[row]);
        EXPECT_NE(scpi_commands[row].callback, nullptr);
        EXPECT_EQ(scpi_commands[row].tag, 0);
    }
    EXPECT_EQ(scpi_commands[ScpiCommands_count()].pattern, nullptr);
}

TEST(ScpiCommands, AreFoundInEveryFormOverALink) {
    RemoteInstrument instrument;
    for (size_t row = 0; row < ScpiCommands_count(); ++row) {
        for (const std::string& header : CommandForms_all(allPatterns()[row])) {
            SCOPED_TRACE(header);
            const size_t expected = firstRow(header);
            ASSERT_LE(expected, row);
            EXPECT_EQ(scpi_commands[expected].callback, scpi_commands[row].callback);
            EXPECT_EQ(rowRun(instrument, header), expected);
        }
    }
}

TEST(ScpiCommands, AreNotFoundByTheirNearMisses) {
    RemoteInstrument instrument;
    for (const std::string& pattern : allPatterns()) {
        const std::string header = CommandForms_spelled(pattern, true, true);
        const bool isQuery = header.back() == '?';
        const std::string stem = isQuery ? header.substr(0, header.size() - 1) : header;
        for (const std::string& miss :
             {stem + "X" + (isQuery ? "?" : ""), "X" + header, stem + ":X" + (isQuery ? "?" : ""),
              stem.substr(0, stem.size() - 1) + (isQuery ? "?" : "")}) {
            if (firstRow(miss) == ScpiCommands_count()) {
                EXPECT_EQ(rowRun(instrument, miss), ScpiCommands_count()) << miss;
            } else {
                EXPECT_EQ(rowRun(instrument, miss), firstRow(miss)) << miss;
            }
        }
    }
}

TEST(ScpiCommands, KeepTheirOddSpellings) {
    // D is the short form of the states' Delay, DEL that of the gates'.
    EXPECT_EQ(firstRow("CALC:STAT2:BEG:DEL"), ScpiCommands_count());
    EXPECT_LT(firstRow("CALC:STAT2:BEG:D"), ScpiCommands_count());
    EXPECT_LT(firstRow("CALC:STAT2:BEG:DELAY"), ScpiCommands_count());
    EXPECT_LT(firstRow("CALC:GATE:BEG:DEL"), ScpiCommands_count());
    EXPECT_EQ(firstRow("CALC:GATE:BEG:D"), ScpiCommands_count());
    // The short form of STATe1 is STAT.
    EXPECT_EQ(firstRow("MEAS:STAT?"), firstRow("MEAS:STATE1?"));
    EXPECT_LT(firstRow("SYST:PULS:CONF:SYNC"), ScpiCommands_count());
    EXPECT_LT(firstRow("SYST:PULS:CONF:SYNCRONIZE"), ScpiCommands_count());
    EXPECT_EQ(firstRow("SYST:PULS:CONF:SYNCHRONIZE"), ScpiCommands_count());
}

/// Patterns of the manual's tables: what stands in backquotes in their first columns, a row with
/// <n> once for each state.
std::multiset<std::string> documentedPatterns() {
    std::ifstream manual(QUORVEL_REMOTE_CONTROL_MANUAL);
    const std::regex quoted("`([^`]*)`");
    std::multiset<std::string> found;
    for (std::string line; std::getline(manual, line);) {
        const std::string column = line.substr(0, line.find(" | "));
        if (!line.starts_with("| `") || column.find_first_of("*:") == std::string::npos) {
            continue;
        }
        for (std::sregex_iterator at(column.begin(), column.end(), quoted), end; at != end; ++at) {
            const std::string pattern = (*at)[1];
            const size_t number = pattern.find("<n>");
            for (int state = 1; state <= (number == std::string::npos ? 1 : 4); ++state) {
                found.insert(number == std::string::npos
                                 ? pattern
                                 : std::string(pattern).replace(number, 3, std::to_string(state)));
            }
        }
    }
    return found;
}

TEST(ScpiCommands, AreAllInTheManualAndNoOther) {
    const std::multiset<std::string> expected(allPatterns().begin(), allPatterns().end());
    EXPECT_EQ(documentedPatterns(), expected);
}

TEST(ScpiCommands, AnswerTheInstrumentsIdentity) {
    RemoteInstrument instrument;
    const SCPI_S* record = scpi;
    const std::string model = record->modelNum;
    const std::string serial = record->serialNum;
    const std::string version = record->fwVersion;
    EXPECT_EQ(instrument.send("*IDN?"),
              "QUORVEL-TECHNOLOGIES," + model + "," + serial + "," + version + "\r\n");
    for (const char* header : {"SYST:IDEN?", "SYST:IDEN:8830K?", "SYST:IDEN:8830K:MOD?"}) {
        EXPECT_EQ(instrument.send(header), model + "\r\n") << header;
    }
    for (const char* header : {"SYST:IDEN:SN?", "SYST:IDEN:8830K:SN?", "syst:iden:8830k:sn?"}) {
        EXPECT_EQ(instrument.send(header), serial + "\r\n") << header;
    }
    EXPECT_EQ(instrument.send("SYST:IDEN:FWR?"), version + "\r\n");
    EXPECT_EQ(instrument.errors(), "");
}

TEST(ScpiCommands, AnswerTheCommonQueries) {
    const Exchange exchanges[] = {
        {"*TST?", "0\r\n", ""},
        {"*RST", "", ""},
        {"*WAI", "", ""},
        {"*OPC;*ESR?", "1\r\n", ""},
        {"*ESE 32;*ESE?;*SRE 4;*SRE?", "32;4\r\n", ""},
        {"SYST:VERS?", "1999.0\r\n", ""},
        {"SYST:ERR:COUN?", "0\r\n", ""},
        {"STAT:QUES:ENAB 3;ENAB?", "3\r\n", ""},
        {"*TST? 1", "0\r\n", "-108,\"Parameter not allowed\""},
        {"BOGUS?", "", "-113,\"Undefined header;BOGUS?\""},
    };
    for (const Exchange& exchange : exchanges) {
        RemoteInstrument instrument;
        expectExchange(instrument, exchange);
    }
}

TEST(ScpiCommands, ClearTheStatusAndPresetOnlyTheQuestionablePart) {
    RemoteInstrument instrument;
    SCPI_RegSet(&instrument.context, SCPI_REG_OPER, 1);
    SCPI_RegSet(&instrument.context, SCPI_REG_QUES, 2);
    instrument.send("FOO;STAT:PRES");
    EXPECT_EQ(SCPI_RegGet(&instrument.context, SCPI_REG_OPER), 1);
    EXPECT_EQ(SCPI_RegGet(&instrument.context, SCPI_REG_QUES), 0);
    SCPI_RegSet(&instrument.context, SCPI_REG_QUES, 2);
    EXPECT_EQ(instrument.send("*CLS;*ESR?;:STAT:QUES?;:SYST:ERR:COUN?"), "0;0;0\r\n");
    EXPECT_EQ(SCPI_RegGet(&instrument.context, SCPI_REG_OPER), 0);
}

TEST(ScpiCommands, FailToResetWithoutACallback) {
    const scpi_command_callback_t reset = scpi_commands[firstRow("*RST")].callback;
    scpi_t context{};
    EXPECT_EQ(reset(nullptr), SCPI_RES_ERR);
    EXPECT_EQ(reset(&context), SCPI_RES_ERR);
}

TEST(ScpiErrors, AreReportedAsStandardErrorsWithTheirTexts) {
    const struct {
        int16_t code;
        const char* answer;
    } rows[] = {
        {101, "-220,\"Parameter error;The channel number is not valid\""},
        {102, "-220,\"Parameter error;No sensor connected on the channel\""},
        {103, "-220,\"Parameter error;The state is not valid\""},
        {104, "-100,\"Command error;The command is not valid in CW mode.\""},
        {105, "-100,\"Command error;The command is not supported in 3163 family sensors.\""},
        {106, "-220,\"Parameter error\""},
        {107, "-220,\"Parameter error;The pulse model is not valid\""},
        {108, "-100,\"Command error;The command is not supported when using the Pulse Gate "
              "model.\""},
        {109, "-100,\"Command error;The command is not supported when using the Triggered Gate "
              "model.\""},
        {110, "-100,\"Command error;The command is not supported for 513x CW sensors.\""},
        {111, "111,\"Unknown error\""},
        {-222, "-222,\"Data out of range\""},
    };
    for (const auto& row : rows) {
        RemoteInstrument instrument;
        pushCustomScpiError(&instrument.context, row.code);
        EXPECT_EQ(instrument.errors(), row.answer);
    }
}

TEST(ScpiErrors, AreSeventeenAtMost) {
    RemoteInstrument instrument;
    for (int error = 0; error < 20; ++error) {
        instrument.send("FOO");
    }
    EXPECT_EQ(instrument.send("SYST:ERR:COUN?"), "17\r\n");
    std::string expected;
    for (int error = 0; error < 16; ++error) {
        expected += "-113,\"Undefined header;FOO\"\n";
    }
    EXPECT_EQ(instrument.errors(), expected + "-350,\"Queue overflow\"");
}

TEST(ScpiErrors, CarryTheCallersText) {
    RemoteInstrument instrument;
    pushCustomScpiErrorWithMsg(&instrument.context, 106, "Freq is not valid");
    pushCustomScpiErrorWithMsg(&instrument.context, -222, "too high");
    EXPECT_EQ(instrument.errors(), "-220,\"Parameter error;Freq is not valid\"\n"
                                   "-222,\"Data out of range;too high\"");
}

} // namespace
