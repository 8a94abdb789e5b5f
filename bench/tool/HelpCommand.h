#ifndef BENCH_TOOL_HELP_COMMAND_H
#define BENCH_TOOL_HELP_COMMAND_H

#include "ToolAnswer.h"

/// "help" on one screen, "help TOPIC" with all that a command takes.
int HelpCommand_run(const Words& words);

#endif
