#ifndef BENCH_TOOL_SCREEN_COMMANDS_H
#define BENCH_TOOL_SCREEN_COMMANDS_H

#include "ToolAnswer.h"

/// Commands that look at the program's screen and touch it. Each takes its own name as the first
/// word.

int ScreenCommands_list(const std::string& world, const Words& words);
int ScreenCommands_text(const std::string& world, const Words& words);
int ScreenCommands_wait(const std::string& world, const Words& words);
int ScreenCommands_tap(const std::string& world, const Words& words);
int ScreenCommands_drag(const std::string& world, const Words& words);
int ScreenCommands_screenshot(const std::string& world, const Words& words);

#endif
