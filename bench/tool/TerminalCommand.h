#ifndef BENCH_TOOL_TERMINAL_COMMAND_H
#define BENCH_TOOL_TERMINAL_COMMAND_H

#include <string>

/// Connects standard input and output to the far end of the meter's command port: a person's
/// terminal, each key sent as it is typed, or a pipe. Returns true when Ctrl-C was typed, the bench
/// has ended, or the input has ended and no reply has come for a second. False with the reason when
/// there is no command port.
bool TerminalCommand_run(const std::string& world, std::string& error);

#endif
