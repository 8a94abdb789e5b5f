#ifndef REMOTE_SERIAL_COMMAND_INTERPRETER_H
#define REMOTE_SERIAL_COMMAND_INTERPRETER_H

/// Recognises the older meter's commands, one received character at a time. Commands have no
/// terminator; a half-received one waits for its next character for ever.

enum command_t : int {
    COMMAND_NONE = 0, ///< nothing complete yet, or an ignored or invalid sequence
    COMMAND_TRIGGER_1 = 1,
    COMMAND_TRIGGER_5 = 2,
    COMMAND_FORWARD = 3,
    COMMAND_REFLECTED = 4,
    COMMAND_ENTER = 5,
    COMMAND_R00 = 6,
    COMMAND_R01 = 7,
    COMMAND_R02 = 8,
    COMMAND_R03 = 9,
    COMMAND_R04 = 10,
    COMMAND_R05 = 11,
    COMMAND_R06 = 12,
    COMMAND_R07 = 13,
    COMMAND_R08 = 14,
    COMMAND_R09 = 15,
    COMMAND_R10 = 16,
    COMMAND_R11 = 17,
    COMMAND_R12 = 18,
    COMMAND_R13 = 19,
    COMMAND_R14 = 20,
    COMMAND_R15 = 21,
    COMMAND_R16 = 22,
    COMMAND_R17 = 23,
    COMMAND_RNN = 24,
    COMMAND_RYY = 25,
    COMMAND_STATUS0 = 26,
    COMMAND_STATUS1 = 27,
    COMMAND_STATUS2 = 28,
    COMMAND_STATUSA = 29,
    COMMAND_RESET = 30,
    COMMAND_SELFTEST = 31,
    COMMAND_RETRY = 32 ///< the same character is to be fed again, as the start of a new command
};

enum receive_state_t : int {
    RECEIVE_STATE_INITIAL = 0,
    RECEIVE_STATE_TRIGGER = 1,
    RECEIVE_STATE_FORWARD = 2,
    RECEIVE_STATE_R = 3,
    RECEIVE_STATE_RY = 4,
    RECEIVE_STATE_RN = 5,
    RECEIVE_STATE_R0 = 6,
    RECEIVE_STATE_R1 = 7,
    RECEIVE_STATE_ENTER_E = 8,
    RECEIVE_STATE_ENTER_N = 9,
    RECEIVE_STATE_STATUS_U = 10,
    RECEIVE_STATE_RESET_I = 11,
    RECEIVE_STATE_RESET_N = 12,
    RECEIVE_STATE_SELFTEST_J = 13,
    RECEIVE_STATE_TERMINATOR_Y = 14,
    RECEIVE_STATE_PREFIX_P = 15,
    RECEIVE_STATE_SOFTWAREHANDSHAKE_X = 16
};
constexpr int receiveStateCount = 17;

/// What has been received of a command so far. Belongs to the input thread.
extern receive_state_t receive_state;

/// Takes one character; letters count in either case. A character that does not belong where it
/// stands clears a status flag. After COMMAND_RETRY the state is the initial one, so that the
/// second feed never asks for a third. Input thread.
command_t serial_command_interpret_input(char character);

/// Forgets a half-received command.
void serial_command_interpreter_reset();

#endif
