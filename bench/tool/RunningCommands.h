#ifndef BENCH_TOOL_RUNNING_COMMANDS_H
#define BENCH_TOOL_RUNNING_COMMANDS_H

#include "ToolAnswer.h"

/// Commands about this user's benches as a whole.

/// "list": a line for each bench; a star marks the one that later commands mean.
int RunningCommands_list(const Words& words);

/// "stop": ends the bench of the given world, or the one that later commands mean, or with --all
/// every one. Returns when they have ended.
int RunningCommands_stop(const std::string& givenWorld, const Words& words);

#endif
