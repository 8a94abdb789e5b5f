// Lines in, responses out.
#include "ExampleInstrument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

using namespace std::string_view_literals;

namespace {

struct InputExample {
    std::vector<std::string_view> calls;
    std::string_view output;
    std::string_view returns;
    std::vector<QueuedError> queue;
    std::optional<std::string_view> callbacks;
    int queueSize;
};

const std::vector<InputExample>& inputExamples() {
    static const std::vector<InputExample> examples = {
#include "InputExamples.inc"
    };
    return examples;
}

std::string joined(const std::vector<std::string_view>& calls) {
    std::string text;
    for (const std::string_view call : calls) {
        text += "[" + std::string(call) + "]";
    }
    return text;
}

TEST(ScpiInput, AnswersEveryExampleByteForByte) {
    ASSERT_EQ(inputExamples().size(), 383u);
    for (const InputExample& example : inputExamples()) {
        SCOPED_TRACE(joined(example.calls));
        ExampleInstrument instrument(example.queueSize);
        std::string returns;
        for (const std::string_view call : example.calls) {
            returns += instrument.input(call) ? 'T' : 'F';
        }
        EXPECT_EQ(instrument.output, example.output);
        EXPECT_EQ(returns, example.returns);
        if (example.callbacks) {
            const bool withOutput = example.callbacks->find("write(") != std::string_view::npos;
            EXPECT_EQ(instrument.callbacks(withOutput), *example.callbacks);
        }
        EXPECT_EQ(instrument.takeErrors(), describeErrors(example.queue));
    }
}

// A command's own text must not change what it answers, so the examples that show the buffer are
// left out here.
bool showsBuffer(const InputExample& example) {
    return joined(example.calls).find("SHOW") != std::string::npos;
}

// A quote or a block whose end arrives later is read otherwise, and an overrun depends on the
// pieces by nature.
bool dependsOnPieces(const InputExample& example) {
    const std::string text = joined(example.calls);
    return text.find_first_of("\"'#") != std::string::npos || text.size() > 255;
}

TEST(ScpiInput, AnswersTheSameWhenEveryByteArrivesAlone) {
    for (const InputExample& example : inputExamples()) {
        if (showsBuffer(example) || dependsOnPieces(example)) {
            continue;
        }
        SCOPED_TRACE(joined(example.calls));
        ExampleInstrument instrument(example.queueSize);
        for (const std::string_view call : example.calls) {
            if (call.empty()) {
                instrument.input(call);
            }
            for (size_t i = 0; i < call.size(); i++) {
                instrument.input(call.substr(i, 1));
            }
        }
        EXPECT_EQ(instrument.output, example.output);
        EXPECT_EQ(instrument.takeErrors(), describeErrors(example.queue));
    }
}

std::string randomLine(std::mt19937& random) {
    static const std::string_view pieces[] = {
        "*IDN?",      "*OPC?",  "TEST:TREE:A?", "B?",    ";",  ";",   " ",     " ",
        ",",          "1",      "2.5 V",        "1E",    "\"", "'",   "\"q\"", "#",
        "#H1F",       "#13abc", "#19",          "(1,2)", "(",  "FOO", ":",     "\xff",
        "SYST:VERS?", "*ESE 1", "DEF"};
    std::string line;
    for (auto count = 1 + random() % 8; count > 0; count--) {
        line += pieces[random() % std::size(pieces)];
    }
    return line + "\n";
}

// SCPI_Input keeps what it has seen of a line's only unit; SCPI_Parse looks for itself.
TEST(ScpiInput, RunsALineAsParseDoes) {
    std::mt19937 random(5);
    for (int round = 0; round < 5000; round++) {
        std::string line = randomLine(random);
        SCOPED_TRACE(line);
        ExampleInstrument fed;
        ExampleInstrument parsed;
        const bool result = fed.input(line);
        if (fed.scpi.buffer.position > 0) {
            continue; // its end counts as a block's data
        }
        ASSERT_EQ(result, SCPI_Parse(parsed.context(), line.data(), static_cast<int>(line.size())));
        ASSERT_EQ(fed.output, parsed.output);
        ASSERT_EQ(fed.takeErrors(), parsed.takeErrors());
    }
}

TEST(ScpiInput, KeepsThePathAfterAnUndefinedHeader) {
    ExampleInstrument instrument;
    EXPECT_FALSE(instrument.input("TEST:TREE:A?;FOO?;B?\n"));
    EXPECT_EQ(instrument.output, "10;20\r\n");
    EXPECT_EQ(instrument.takeErrors(), "-113 <FOO?;>");
}

TEST(ScpiInput, LeavesTheTextOfAnUndefinedHeaderAsItWasReceived) {
    ExampleInstrument instrument;
    EXPECT_FALSE(instrument.input("TEST:TREE:A?;   FOO?\n"));
    EXPECT_EQ(instrument.takeErrors(), "-113 <   FOO?>");
}

TEST(ScpiInput, AcceptsBlanksBetweenANumberAndItsComma) {
    ExampleInstrument instrument;
    EXPECT_TRUE(instrument.input("VAL:LIST? 1 , 2 ,3\n"));
    EXPECT_EQ(instrument.output, "3,1,2,3\r\n");
}

TEST(ScpiInput, PutsANulBehindWhatIsLeftOfTheBuffer) {
    ExampleInstrument instrument;
    EXPECT_TRUE(instrument.input("*OPC?\nSHOW?\n"));
    EXPECT_EQ(instrument.output, "1\r\n42,SHOW?,5,\"SHOW?\n\",0,\"\n\",6,\"SHOW?\n\"\r\n");
}

TEST(ScpiInput, TakesAHeaderWithNothingBehindItsTable) {
    const scpi_command_t none[] = {SCPI_CMD_LIST_END};
    ExampleInstrument instrument(17, scpi_units_def, none);
    EXPECT_FALSE(instrument.input("*IDN?\n"));
    EXPECT_EQ(instrument.takeErrors(), "-113 <*IDN?>");
}

TEST(ScpiInput, MindsNothingThatStoodInItsContextBefore) {
    char input[16];
    scpi_error_t queue[2];
    ExampleInstrument instrument;
    instrument.scpi.buffer.position = 7;
    instrument.scpi.cmd_error = TRUE;
    instrument.scpi.registers[SCPI_REG_ESR] = 0xff;
    SCPI_Init(instrument.context(), exampleCommands(), &instrument.interface, nullptr, "ACME",
              nullptr, nullptr, nullptr, input, sizeof input, queue, 2);
    instrument.scpi.user_context = &instrument;
    EXPECT_TRUE(instrument.input("*ESR?\n"));
    EXPECT_EQ(instrument.output, "0\r\n");
}

TEST(ScpiInput, RefusesWhatIsNoInput) {
    ExampleInstrument instrument;
    EXPECT_FALSE(SCPI_Input(nullptr, "*OPC?\n", 6));
    EXPECT_FALSE(SCPI_Input(instrument.context(), nullptr, 6));
    EXPECT_FALSE(SCPI_Input(instrument.context(), "*OPC?\n", -1));
    EXPECT_EQ(instrument.output, "");
    EXPECT_EQ(instrument.takeErrors(), "");
}

TEST(ScpiInput, RefusesEverythingWithoutABuffer) {
    ExampleInstrument instrument;
    instrument.scpi.buffer = {0, 0, nullptr};
    EXPECT_FALSE(instrument.input("*OPC?\n"));
    EXPECT_EQ(instrument.takeErrors(), "-363");
}

TEST(ScpiInput, RunsNoParametersOfABlockWhoseHeaderIsCutByAForcedEnd) {
    for (const std::string_view block : {"#2"sv, "#21"sv, "#15"sv, "#15hel"sv}) {
        ExampleInstrument instrument;
        EXPECT_TRUE(instrument.input("VAL:BLOC? " + std::string(block)));
        EXPECT_FALSE(instrument.input(""));
        EXPECT_EQ(instrument.takeErrors(), "-109") << block;
    }
}

TEST(ScpiParse, RunsSeveralLinesAsOneMessage) {
    const scpi_command_t table[] = {
        {"A:ONE?", [](scpi_t* c) { return SCPI_ResultInt32(c, 1) ? SCPI_RES_OK : SCPI_RES_ERR; },
         0},
        {"A:TWO?", [](scpi_t* c) { return SCPI_ResultInt32(c, 2) ? SCPI_RES_OK : SCPI_RES_ERR; },
         0},
        SCPI_CMD_LIST_END,
    };
    ExampleInstrument instrument(17, scpi_units_def, table);
    char line[] = "A:ONE?\nTWO?\n";
    EXPECT_TRUE(SCPI_Parse(instrument.context(), line, 12));
    EXPECT_EQ(instrument.output, "1;2\r\n");
    EXPECT_FALSE(SCPI_Parse(nullptr, line, 12));
}

TEST(ScpiParse, KnowsTheCurrentCommandAfterwards) {
    ExampleInstrument instrument;
    EXPECT_FALSE(SCPI_IsCmd(instrument.context(), "TEST:TREE:A?"));
    EXPECT_EQ(SCPI_CmdTag(instrument.context()), 0);
    instrument.input("TEST:TREE:A?\n");
    for (const char* same : {"TEST:TREE:A?", "test:tree:a?", ":TEST:TREE:A?"}) {
        EXPECT_TRUE(SCPI_IsCmd(instrument.context(), same)) << same;
    }
    EXPECT_FALSE(SCPI_IsCmd(instrument.context(), "TEST:TREE:B?"));
    instrument.input("DUPL?\n");
    EXPECT_EQ(SCPI_CmdTag(instrument.context()), 9);
}

struct ScanExample {
    std::string_view line;
    int parameters;
    std::string_view data;
    message_termination_t termination;
};

TEST(ScpiParse, KnowsTheParametersOfTheLastUnitAfterwards) {
    const ScanExample examples[] = {
        {"*CLS\n"sv, 0, ""sv, SCPI_MESSAGE_TERMINATION_NL},
        {"*CLS"sv, 0, ""sv, SCPI_MESSAGE_TERMINATION_NONE},
        {"*CLS;"sv, 0, ""sv, SCPI_MESSAGE_TERMINATION_SEMICOLON},
        {"VAL:INT? 1\n"sv, 1, "1"sv, SCPI_MESSAGE_TERMINATION_NL},
        {"VAL:INT? 1 , 2,3 \n"sv, 3, "1 , 2,3"sv, SCPI_MESSAGE_TERMINATION_NL},
        {"VAL:INT? \n"sv, -1, ""sv, SCPI_MESSAGE_TERMINATION_NL},
        {"VAL:INT? 1,\n"sv, -1, ""sv, SCPI_MESSAGE_TERMINATION_NL},
    };
    for (const ScanExample& example : examples) {
        SCOPED_TRACE(example.line);
        ExampleInstrument instrument;
        std::string line(example.line);
        SCPI_Parse(instrument.context(), line.data(), static_cast<int>(line.size()));
        const scpi_parser_state_t& state = instrument.scpi.parser_state;
        EXPECT_EQ(state.numberOfParameters, example.parameters);
        EXPECT_EQ(
            std::string_view(state.programData.ptr, static_cast<size_t>(state.programData.len)),
            example.data);
        EXPECT_EQ(state.programData.type,
                  example.parameters > 0 ? SCPI_TOKEN_ALL_PROGRAM_DATA : SCPI_TOKEN_UNKNOWN);
        EXPECT_EQ(state.termination, example.termination);
    }
}

// Text that is likely to reach far into the parser.
std::string randomInput(std::mt19937& random) {
    static const std::vector<std::string_view> pieces = {
        "*IDN?",  "*OPC?", ":",     ";",      ",",    " ",     "\t",    "\n",     "\r\n",  "?",
        "VAL:",   "INT?",  "CHAR?", "TEXT?",  "RAW?", "LIST?", "NUMB?", "TEST:",  "TREE:", "A?",
        "#",      "#15",   "#B1",   "#HFF",   "\"",   "'",     "(",     ")",      "@",     "1",
        "-2.5e3", "1 V",   "MIN",   "10.0.0", "SHOW", "BLOC?", "CLIS?", "(@1!2)", "\x80",  "\0"sv,
        "NSTR?",  "FOO",   "EMIT",  "SYST:",  "ERR?", "FAIL",  "CHO?",  "SOUR1:", "CHAN2?"};
    std::uniform_int_distribution<size_t> pick(0, pieces.size() - 1);
    std::string text;
    for (int i = 0; i < 30; i++) {
        text += pieces[pick(random)];
    }
    return text;
}

TEST(ScpiInput, SurvivesAnyTextInAnyPiecesAndStartsCleanBehindIt) {
    std::mt19937 random(20240611);
    std::uniform_int_distribution<size_t> cut(1, 40);
    for (int round = 0; round < 3000; round++) {
        ExampleInstrument instrument(4, scpi_units_def, nullptr, 64);
        SCPI_SetOptions(instrument.context(), static_cast<uint32_t>(round % 8));
        std::string text = randomInput(random);
        SCOPED_TRACE(text);
        while (!text.empty()) {
            const std::string piece = text.substr(0, cut(random));
            text.erase(0, piece.size());
            instrument.input(piece);
            ASSERT_LT(instrument.scpi.buffer.position, 64u);
        }
        instrument.input("");
        ASSERT_EQ(instrument.scpi.buffer.position, 0u);
        instrument.output.clear();
        ASSERT_TRUE(instrument.input("*OPC?\n"));
        ASSERT_EQ(instrument.output, "1\r\n");
    }
}

} // namespace
