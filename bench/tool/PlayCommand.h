#ifndef BENCH_TOOL_PLAY_COMMAND_H
#define BENCH_TOOL_PLAY_COMMAND_H

#include "ToolAnswer.h"

#include <string_view>

/// The commands that may stand in a scenario.
struct PlayedCommands {
    bool (*knows)(std::string_view name);
    int (*run)(const std::string& world, const Words& words, const std::string& folder);
};

/// "play FILE": carries out the commands of a scenario at their times.
///
/// Each line is a time since the start (30s, 5m) or since the line before (+10s), and a command as
/// it is typed behind "quorvel-bench", with words that have blanks in double quotes. '#' begins a
/// remark. The times are the bench's: "clock speed 60" plays an hour in a minute. The whole file
/// is read before the first command; the first one that fails ends the play.
int PlayCommand_run(const std::string& world, const Words& words, const PlayedCommands& commands);

#endif
