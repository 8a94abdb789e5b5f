#include "SerialCommandInterpreter.h"

#include "SerialStatus.h"

#include <array>

namespace {

/// A character that a state expects, and where it leads.
struct Transition {
    receive_state_t state;
    char character; ///< letters in upper case
    receive_state_t next;
    command_t command;
};

// clang-format off
constexpr std::array transitions = std::to_array<Transition>({
    {RECEIVE_STATE_INITIAL,    'E', RECEIVE_STATE_ENTER_E,             COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'F', RECEIVE_STATE_FORWARD,             COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'I', RECEIVE_STATE_RESET_I,             COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'J', RECEIVE_STATE_SELFTEST_J,          COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'P', RECEIVE_STATE_PREFIX_P,            COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'R', RECEIVE_STATE_R,                   COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'T', RECEIVE_STATE_TRIGGER,             COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'U', RECEIVE_STATE_STATUS_U,            COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'X', RECEIVE_STATE_SOFTWAREHANDSHAKE_X, COMMAND_NONE},
    {RECEIVE_STATE_INITIAL,    'Y', RECEIVE_STATE_TERMINATOR_Y,        COMMAND_NONE},
    {RECEIVE_STATE_TRIGGER,    '1', RECEIVE_STATE_INITIAL,             COMMAND_TRIGGER_1},
    {RECEIVE_STATE_TRIGGER,    '5', RECEIVE_STATE_INITIAL,             COMMAND_TRIGGER_5},
    {RECEIVE_STATE_FORWARD,    'C', RECEIVE_STATE_INITIAL,             COMMAND_FORWARD},
    {RECEIVE_STATE_R,          '0', RECEIVE_STATE_R0,                  COMMAND_NONE},
    {RECEIVE_STATE_R,          '1', RECEIVE_STATE_R1,                  COMMAND_NONE},
    {RECEIVE_STATE_R,          'C', RECEIVE_STATE_INITIAL,             COMMAND_REFLECTED},
    {RECEIVE_STATE_R,          'N', RECEIVE_STATE_RN,                  COMMAND_NONE},
    {RECEIVE_STATE_R,          'Y', RECEIVE_STATE_RY,                  COMMAND_NONE},
    {RECEIVE_STATE_RY,         'Y', RECEIVE_STATE_INITIAL,             COMMAND_RYY},
    {RECEIVE_STATE_RN,         'N', RECEIVE_STATE_INITIAL,             COMMAND_RNN},
    {RECEIVE_STATE_R0,         '0', RECEIVE_STATE_INITIAL,             COMMAND_R00},
    {RECEIVE_STATE_R0,         '1', RECEIVE_STATE_INITIAL,             COMMAND_R01},
    {RECEIVE_STATE_R0,         '2', RECEIVE_STATE_INITIAL,             COMMAND_R02},
    {RECEIVE_STATE_R0,         '3', RECEIVE_STATE_INITIAL,             COMMAND_R03},
    {RECEIVE_STATE_R0,         '4', RECEIVE_STATE_INITIAL,             COMMAND_R04},
    {RECEIVE_STATE_R0,         '5', RECEIVE_STATE_INITIAL,             COMMAND_R05},
    {RECEIVE_STATE_R0,         '6', RECEIVE_STATE_INITIAL,             COMMAND_R06},
    {RECEIVE_STATE_R0,         '7', RECEIVE_STATE_INITIAL,             COMMAND_R07},
    {RECEIVE_STATE_R0,         '8', RECEIVE_STATE_INITIAL,             COMMAND_R08},
    {RECEIVE_STATE_R0,         '9', RECEIVE_STATE_INITIAL,             COMMAND_R09},
    {RECEIVE_STATE_R1,         '0', RECEIVE_STATE_INITIAL,             COMMAND_R10},
    {RECEIVE_STATE_R1,         '1', RECEIVE_STATE_INITIAL,             COMMAND_R11},
    {RECEIVE_STATE_R1,         '2', RECEIVE_STATE_INITIAL,             COMMAND_R12},
    {RECEIVE_STATE_R1,         '3', RECEIVE_STATE_INITIAL,             COMMAND_R13},
    {RECEIVE_STATE_R1,         '4', RECEIVE_STATE_INITIAL,             COMMAND_R14},
    {RECEIVE_STATE_R1,         '5', RECEIVE_STATE_INITIAL,             COMMAND_R15},
    {RECEIVE_STATE_R1,         '6', RECEIVE_STATE_INITIAL,             COMMAND_R16},
    {RECEIVE_STATE_R1,         '7', RECEIVE_STATE_INITIAL,             COMMAND_R17},
    {RECEIVE_STATE_ENTER_E,    'N', RECEIVE_STATE_ENTER_N,             COMMAND_NONE},
    {RECEIVE_STATE_ENTER_N,    'T', RECEIVE_STATE_INITIAL,             COMMAND_ENTER},
    {RECEIVE_STATE_STATUS_U,   '0', RECEIVE_STATE_INITIAL,             COMMAND_STATUS0},
    {RECEIVE_STATE_STATUS_U,   '1', RECEIVE_STATE_INITIAL,             COMMAND_STATUS1},
    {RECEIVE_STATE_STATUS_U,   '2', RECEIVE_STATE_INITIAL,             COMMAND_STATUS2},
    {RECEIVE_STATE_STATUS_U,   'A', RECEIVE_STATE_INITIAL,             COMMAND_STATUSA},
    {RECEIVE_STATE_RESET_I,    'N', RECEIVE_STATE_RESET_N,             COMMAND_NONE},
    {RECEIVE_STATE_RESET_N,    'T', RECEIVE_STATE_INITIAL,             COMMAND_RESET},
    {RECEIVE_STATE_SELFTEST_J, '0', RECEIVE_STATE_INITIAL,             COMMAND_SELFTEST},
    // Accepted and ignored: the older meter's terminator, prefix and handshake settings.
    {RECEIVE_STATE_TERMINATOR_Y,        'T', RECEIVE_STATE_INITIAL, COMMAND_NONE},
    {RECEIVE_STATE_PREFIX_P,            'Y', RECEIVE_STATE_INITIAL, COMMAND_NONE},
    {RECEIVE_STATE_SOFTWAREHANDSHAKE_X, 'F', RECEIVE_STATE_INITIAL, COMMAND_NONE},
});

/// What becomes of any other character.
enum class Other {
    ignored,      ///< invalid command, nothing begun
    retry,        ///< invalid command; the character may begin the next one
    badParameter, ///< invalid parameter
};

constexpr std::array<Other, receiveStateCount> others = {
    Other::ignored,      // INITIAL
    Other::badParameter, // TRIGGER
    Other::retry,        // FORWARD
    Other::retry,        // R
    Other::retry,        // RY
    Other::retry,        // RN
    Other::badParameter, // R0
    Other::badParameter, // R1
    Other::retry,        // ENTER_E
    Other::retry,        // ENTER_N
    Other::badParameter, // STATUS_U
    Other::retry,        // RESET_I
    Other::retry,        // RESET_N
    Other::badParameter, // SELFTEST_J
    Other::badParameter, // TERMINATOR_Y
    Other::badParameter, // PREFIX_P
    Other::badParameter, // SOFTWAREHANDSHAKE_X
};
// clang-format on

constexpr char upperCase(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A')
                                                : character;
}

command_t refuse(Other other) {
    receive_state = RECEIVE_STATE_INITIAL;
    if (other == Other::badParameter) {
        SerialStatus_SetParameterStatus(false);
        return COMMAND_NONE;
    }
    SerialStatus_SetCommandStatus(false);
    return other == Other::retry ? COMMAND_RETRY : COMMAND_NONE;
}

} // namespace

receive_state_t receive_state = RECEIVE_STATE_INITIAL;

command_t serial_command_interpret_input(char character) {
    const char wanted = upperCase(character);
    for (const Transition& row : transitions) {
        if (row.state == receive_state && row.character == wanted) {
            receive_state = row.next;
            return row.command;
        }
    }
    return refuse(others[static_cast<size_t>(receive_state)]);
}

void serial_command_interpreter_reset() {
    receive_state = RECEIVE_STATE_INITIAL;
}
