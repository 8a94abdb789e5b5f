#include "SerialCommandInterpreter.h"

#include "SerialStatus.h"
#include "SerialTerminal.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace {

/// What the table promises for one character in one state.
struct Expected {
    char character;
    receive_state_t next;
    command_t command;
};
enum class Others { ignored, retry, badParameter };
struct State {
    receive_state_t state;
    const char* received; ///< leads from the initial state here
    Others others;
    std::vector<Expected> expected;
};

constexpr auto initial = RECEIVE_STATE_INITIAL;

std::vector<Expected> digits(int count, int first) {
    std::vector<Expected> rows;
    for (int digit = 0; digit < count; ++digit) {
        rows.push_back(
            {static_cast<char>('0' + digit), initial, static_cast<command_t>(first + digit)});
    }
    return rows;
}

const std::vector<State>& states() {
    static const std::vector<State> table = {
        {RECEIVE_STATE_INITIAL,
         "",
         Others::ignored,
         {{'E', RECEIVE_STATE_ENTER_E, COMMAND_NONE},
          {'F', RECEIVE_STATE_FORWARD, COMMAND_NONE},
          {'I', RECEIVE_STATE_RESET_I, COMMAND_NONE},
          {'J', RECEIVE_STATE_SELFTEST_J, COMMAND_NONE},
          {'P', RECEIVE_STATE_PREFIX_P, COMMAND_NONE},
          {'R', RECEIVE_STATE_R, COMMAND_NONE},
          {'T', RECEIVE_STATE_TRIGGER, COMMAND_NONE},
          {'U', RECEIVE_STATE_STATUS_U, COMMAND_NONE},
          {'X', RECEIVE_STATE_SOFTWAREHANDSHAKE_X, COMMAND_NONE},
          {'Y', RECEIVE_STATE_TERMINATOR_Y, COMMAND_NONE}}},
        {RECEIVE_STATE_TRIGGER,
         "T",
         Others::badParameter,
         {{'1', initial, COMMAND_TRIGGER_1}, {'5', initial, COMMAND_TRIGGER_5}}},
        {RECEIVE_STATE_FORWARD, "F", Others::retry, {{'C', initial, COMMAND_FORWARD}}},
        {RECEIVE_STATE_R,
         "R",
         Others::retry,
         {{'0', RECEIVE_STATE_R0, COMMAND_NONE},
          {'1', RECEIVE_STATE_R1, COMMAND_NONE},
          {'C', initial, COMMAND_REFLECTED},
          {'N', RECEIVE_STATE_RN, COMMAND_NONE},
          {'Y', RECEIVE_STATE_RY, COMMAND_NONE}}},
        {RECEIVE_STATE_RY, "RY", Others::retry, {{'Y', initial, COMMAND_RYY}}},
        {RECEIVE_STATE_RN, "RN", Others::retry, {{'N', initial, COMMAND_RNN}}},
        {RECEIVE_STATE_R0, "R0", Others::badParameter, digits(10, COMMAND_R00)},
        {RECEIVE_STATE_R1, "R1", Others::badParameter, digits(8, COMMAND_R10)},
        {RECEIVE_STATE_ENTER_E, "E", Others::retry, {{'N', RECEIVE_STATE_ENTER_N, COMMAND_NONE}}},
        {RECEIVE_STATE_ENTER_N, "EN", Others::retry, {{'T', initial, COMMAND_ENTER}}},
        {RECEIVE_STATE_STATUS_U,
         "U",
         Others::badParameter,
         {{'0', initial, COMMAND_STATUS0},
          {'1', initial, COMMAND_STATUS1},
          {'2', initial, COMMAND_STATUS2},
          {'A', initial, COMMAND_STATUSA}}},
        {RECEIVE_STATE_RESET_I, "I", Others::retry, {{'N', RECEIVE_STATE_RESET_N, COMMAND_NONE}}},
        {RECEIVE_STATE_RESET_N, "IN", Others::retry, {{'T', initial, COMMAND_RESET}}},
        {RECEIVE_STATE_SELFTEST_J, "J", Others::badParameter, {{'0', initial, COMMAND_SELFTEST}}},
        {RECEIVE_STATE_TERMINATOR_Y, "Y", Others::badParameter, {{'T', initial, COMMAND_NONE}}},
        {RECEIVE_STATE_PREFIX_P, "P", Others::badParameter, {{'Y', initial, COMMAND_NONE}}},
        {RECEIVE_STATE_SOFTWAREHANDSHAKE_X,
         "X",
         Others::badParameter,
         {{'F', initial, COMMAND_NONE}}},
    };
    return table;
}

class Interpreter : public testing::Test {
protected:
    Interpreter() {
        serial_command_interpreter_reset();
        SerialStatus_InitializeStatus();
    }

    /// Feeds a text as the input thread does; the commands that come out.
    static std::vector<command_t> feed(const std::string& text) {
        std::vector<command_t> commands;
        for (const char character : text) {
            command_t command = serial_command_interpret_input(character);
            if (command == COMMAND_RETRY) {
                command = serial_command_interpret_input(character);
                EXPECT_NE(command, COMMAND_RETRY);
            }
            if (command != COMMAND_NONE) {
                commands.push_back(command);
            }
        }
        return commands;
    }

    /// The flags as the U1 reply tells them; it resets them.
    std::string flags() {
        SerialStatus_HandleCommand1();
        return terminal.readLine();
    }

    SerialTerminal terminal;
};

constexpr const char* allValid = " 6610  VCM VCO FL \r\n";
constexpr const char* commandInvalid = " 6610  ICM VCO FL \r\n";
constexpr const char* parameterInvalid = " 6610  VCM ICO FL \r\n";

TEST_F(Interpreter, EveryStateTakesEveryCharacterAsItsTableSays) {
    ASSERT_EQ(states().size(), static_cast<size_t>(receiveStateCount));
    for (const State& row : states()) {
        for (int code = 0; code < 256; ++code) {
            const char character = static_cast<char>(code);
            serial_command_interpreter_reset();
            feed(row.received);
            ASSERT_EQ(receive_state, row.state) << row.received;
            const command_t command = serial_command_interpret_input(character);
            const Expected* expected = nullptr;
            for (const Expected& candidate : row.expected) {
                if (character == candidate.character || character == tolower(candidate.character)) {
                    expected = &candidate;
                }
            }
            const std::string legend = row.received + std::string("+") + std::to_string(code);
            if (expected != nullptr) {
                EXPECT_EQ(receive_state, expected->next) << legend;
                EXPECT_EQ(command, expected->command) << legend;
                ASSERT_EQ(flags(), allValid) << legend;
                continue;
            }
            EXPECT_EQ(receive_state, RECEIVE_STATE_INITIAL) << legend;
            EXPECT_EQ(command, row.others == Others::retry ? COMMAND_RETRY : COMMAND_NONE)
                << legend;
            ASSERT_EQ(flags(),
                      row.others == Others::badParameter ? parameterInvalid : commandInvalid)
                << legend;
        }
    }
}

TEST_F(Interpreter, ARejectedCharacterMayBeginTheNextCommand) {
    const struct {
        const char* text;
        std::vector<command_t> commands;
        receive_state_t state;
        const char* flags;
    } cases[] = {
        {"RX", {}, RECEIVE_STATE_SOFTWAREHANDSHAKE_X, commandInvalid},
        {"RXF", {}, initial, commandInvalid},
        {"FFC", {COMMAND_FORWARD}, initial, commandInvalid},
        {"EENT", {COMMAND_ENTER}, initial, commandInvalid},
        {"ENU0", {COMMAND_STATUS0}, initial, commandInvalid},
        {"RRC", {COMMAND_REFLECTED}, initial, commandInvalid},
        {"RYRNN", {COMMAND_RNN}, initial, commandInvalid},
        {"INIT", {}, RECEIVE_STATE_TRIGGER, commandInvalid},
        {"ININT", {COMMAND_RESET}, initial, commandInvalid},
        {"R18", {}, initial, parameterInvalid},
        {"T2FC", {COMMAND_FORWARD}, initial, parameterInvalid},
        {"YTPYXF", {}, initial, allValid},
        {"\r\n", {}, initial, commandInvalid},
        {"entFcrnNinTuA",
         {COMMAND_ENTER, COMMAND_FORWARD, COMMAND_RNN, COMMAND_RESET, COMMAND_STATUSA},
         initial,
         allValid},
    };
    for (const auto& row : cases) {
        serial_command_interpreter_reset();
        EXPECT_EQ(feed(row.text), row.commands) << row.text;
        EXPECT_EQ(receive_state, row.state) << row.text;
        EXPECT_EQ(flags(), row.flags) << row.text;
    }
}

TEST_F(Interpreter, ResetForgetsAHalfReceivedCommand) {
    feed("EN");
    serial_command_interpreter_reset();
    EXPECT_TRUE(feed("T").empty());
    EXPECT_EQ(receive_state, RECEIVE_STATE_TRIGGER);
}

} // namespace
